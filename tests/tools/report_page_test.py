#!/usr/bin/env python3
"""Opens pages of `ambrel report` in Chromium, without a network, and uses them as people do."""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

sys.path.append(str(pathlib.Path(__file__).parents[1] / "support"))
import isolation

isolation.enter()

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import Select, WebDriverWait

AMBREL = pathlib.Path(sys.argv.pop(1)).resolve()
SAMPLE = pathlib.Path(__file__).parents[2] / "bench/sample_collections.py"
MARKUP = "</script><script>document.title='x'</script><img src=x onerror=document.title='y'>"
TURNED = "evil\u202egnp.exe\u0007"
SIZES = [10, 1000, 10000]
FLAGS = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--disable-quic", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-sync", "--force-prefers-reduced-motion"]


def setUpModule():
    global folder, collections, driver
    place = tempfile.TemporaryDirectory()
    unittest.addModuleCleanup(place.cleanup)
    folder = pathlib.Path(place.name)
    script = subprocess.run([SAMPLE, str(SIZES[-1])], stdout=subprocess.PIPE, check=True).stdout
    lines = subprocess.run([AMBREL, "replay", "--quiet", "-"], input=script, stdout=subprocess.PIPE, check=True).stdout
    collections = [json.loads(line) for line in lines.splitlines()]
    for identifier, name in enumerate([MARKUP, TURNED]):
        for collection in collections[:9]:
            collection["bleScan"].append({"address": str(identifier), "name": name, "timestamp": collection["timestamp"]})
    (folder / "collections").mkdir(mode=0o700)
    for collection in collections:
        (folder / f"collections/{collection['timestamp']}.0").write_text(json.dumps(collection))
    for size in SIZES:
        subprocess.run([AMBREL, "report", "--until", str(collections[size - 1]["timestamp"]), "-o", folder / f"{size}.html"],
                       env={"AMBREL_DOCUMENTS_DIR": str(folder), "TZ": "Europe/Stockholm"}, check=True)
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    for flag in [*FLAGS, f"--user-data-dir={folder}/profile"]:
        options.add_argument(flag)
    driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
    unittest.addModuleCleanup(driver.quit)


def distinct(key, *identity):
    return lambda those: len({tuple(each[name] for name in identity) for one in those for each in one.get(key, [])})


FIGURES = {
    "collection": len,
    "peripheral": distinct("bleScan", "address"),
    "service": distinct("nearbyDevices", "protocolType", "name"),
    "network": lambda those: len({each["name"] for one in those for each in one["wifiNetwork"]["connectedDevices"]}),
}


class ReportPage(unittest.TestCase):
    def open(self, size=10, **media):
        driver.execute_cdp_cmd("Emulation.setEmulatedMedia",
                               {"features": [{"name": "prefers-color-scheme", "value": media.get("scheme", "light")}]})
        driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": media.get("width", 1280), "height": 900, "deviceScaleFactor": 1, "mobile": False})
        driver.get(f"file://{folder}/{size}.html")

    def tearDown(self):
        self.assertEqual([each["message"] for each in driver.get_log("browser") if "file://" in each["message"]], [])

    def js(self, expression):
        return driver.execute_script(f"return {expression}")

    def all(self, selector):
        return driver.find_elements(By.CSS_SELECTOR, selector)

    def column(self, section, number):
        return self.js(f"[...document.querySelectorAll('#{section} tbody tr > :nth-child({number})')].map((cell) => cell.textContent)")

    def until(self, condition):
        WebDriverWait(driver, 20, 0.05).until(lambda _: condition())

    def shown_time(self):
        return self.js("document.getElementById('range').textContent")

    def test_numbers_are_those_of_the_store_and_all_fits_soon(self):
        for size in SIZES:
            for width in 1280, 360:
                with self.subTest(size=size, width=width):
                    self.open(size, width=width)
                    shown = {key: self.js(f"document.getElementById('{key}-figure').textContent") for key in FIGURES}
                    self.assertEqual(shown, {key: f"{count(collections[:size]):,}" for key, count in FIGURES.items()})
                    ready = self.js("performance.getEntriesByName('ready')[0].startTime")
                    print(f"{size} collections, {width} pixels: ready after {ready:.0f} ms", flush=True)
                    self.assertLess(ready, 6000)
                    self.assertFalse(self.js("document.documentElement.scrollWidth > document.documentElement.clientWidth"))

    def test_names_are_text(self):
        self.open()
        names = self.column("peripherals", 1)
        self.assertIn(MARKUP, names)
        self.assertIn("evil\\u{202E}gnp.exe\\u{7}", names)
        self.assertEqual(driver.title, "What was around: ambrel report")
        self.assertEqual(self.js("document.querySelectorAll('img').length"), 0)

    def test_tables_sort_and_filter(self):
        self.open(1000)
        seen = lambda: [int(cell.split(" ")[0].replace(",", "")) for cell in self.column("peripherals", 3)]
        heading = self.all("#peripherals thead th")[2]
        for order, ranked in ("descending", lambda: sorted(seen(), reverse=True)), ("ascending", lambda: sorted(seen())):
            heading.find_element(By.TAG_NAME, "button").click()
            self.assertEqual((heading.get_attribute("aria-sort"), seen()), (order, ranked()))
        self.assertEqual(seen()[0], 1)
        self.all("#filter")[0].send_keys("EARBUDS")
        self.until(lambda: self.column("peripherals", 1) == ["Earbuds"])
        count = sum(any(each.get("name") == "Earbuds" for each in one["bleScan"]) for one in collections[:1000])
        self.assertEqual(seen(), [count])
        self.assertEqual(self.js("document.querySelectorAll('#presence li').length"), 1)

    def test_time_zooms_and_moves(self):
        self.open(1000)
        whole = self.shown_time()
        strip = self.all("#presence .strip")[0]
        wheel = "document.querySelector('#presence .strip').dispatchEvent(new WheelEvent('wheel', {{bubbles: true, cancelable: true, clientX: 700, deltaY: {}, ctrlKey: true}}))"
        label = self.all("#presence .what")[0]
        drawn = lambda: self.js("document.querySelector('#networks .strip path').getAttribute('d')")
        zooms = [lambda: self.all("#zoom button")[2].click(), lambda: label.send_keys("+"), lambda: self.js(wheel.format(-100))]
        moves = [lambda: self.all("#zoom button")[3].click(), lambda: label.send_keys(Keys.ARROW_LEFT),
                 lambda: ActionChains(driver).move_to_element(strip).click_and_hold().move_by_offset(150, 0).release().perform()]
        for zoom, move in zip(zooms, moves):
            for act in zoom, move:
                before = self.shown_time(), drawn()
                act()
                self.until(lambda: self.shown_time() != before[0] and drawn() != before[1])
            label.send_keys("0")
            self.until(lambda: self.shown_time() == whole)

    def test_keyboard_reaches_everything(self):
        self.open()
        wanted = "a[href], button:enabled, input, select, [tabindex=\"0\"]"
        self.js(f"document.querySelectorAll('{wanted}').forEach((each) => each.addEventListener('focus', () => {{ each.dataset.met = 1; }}))")
        missed = f"[...document.querySelectorAll('{wanted}')].filter((each) => each.checkVisibility() && !each.dataset.met).map((each) => each.outerHTML)"
        ActionChains(driver).send_keys(Keys.TAB * self.js(f"{missed}.length")).perform()
        self.assertEqual(self.js(missed), [])

    def test_colours_follow_the_system_and_the_switch(self):
        light = lambda: sum(map(int, self.js("getComputedStyle(document.body).backgroundColor.match(/\\d+/g)"))) > 380
        for scheme in "light", "dark":
            self.open(scheme=scheme)
            self.assertEqual(light(), scheme == "light")
            self.all("#theme")[0].click()
            self.assertEqual(light(), scheme == "dark")

    def test_week_of_a_chosen_thing(self):
        self.open(1000)
        Select(self.all("#week-thing")[0]).select_by_visible_text("Printer 3rd floor")
        cells = self.js("[...document.querySelectorAll('.week td span')].map((each) => each.textContent)")
        self.assertEqual(len(cells), 168)
        self.assertRegex(cells[24 + 10], r"^Tue 10:00–11:00: in \d+ % of \d+ collections$")
        self.assertRegex(cells[5 * 24 + 3], r"^Sat 03:00–04:00: in 0 % of")

    def test_without_scripts_the_numbers_are_told(self):
        driver.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": True})
        self.addCleanup(driver.execute_cdp_cmd, "Emulation.setScriptExecutionDisabled", {"value": False})
        self.open(1000)
        self.assertIn("1000 collections", self.all("header")[0].text)


unittest.main(verbosity=2)
