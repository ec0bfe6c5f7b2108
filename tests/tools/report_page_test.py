#!/usr/bin/env python3
"""Opens pages of `ambrel report` in Chromium, without a network, and uses them as people do."""

import importlib.util
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from collections import Counter

sys.path.append(str(pathlib.Path(__file__).parents[1] / "support"))
import isolation

if not (shutil.which("chromedriver") and importlib.util.find_spec("selenium")):
    print("skipped: Chromium's driver or Selenium for Python is not installed")
    sys.exit(77)
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
ODD_NAMES = {MARKUP: MARKUP, "evil\u202egnp.exe\u0007": "evil\\u202egnp.exe\\u0007", "\u3164": "\\u3164",
             " \u00a0": "Unnamed 3"}  # and how they are shown
SIZES = [10, 1000, 10000]
A_WEEK = 7 * 86400
FLAGS = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--disable-quic", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-sync"]


def setUpModule():
    global folder, collections, driver
    place = tempfile.TemporaryDirectory()
    unittest.addModuleCleanup(place.cleanup)
    folder = pathlib.Path(place.name)
    script = subprocess.run([SAMPLE, str(A_WEEK // 600)], stdout=subprocess.PIPE, check=True).stdout
    lines = subprocess.run([AMBREL, "replay", "--quiet", "-"], input=script, stdout=subprocess.PIPE, check=True).stdout
    collections = [{**one, "timestamp": one["timestamp"] + week * A_WEEK}
                   for week in range(10) for one in map(json.loads, lines.splitlines())][:SIZES[-1]]
    for collection in collections[:9]:
        collection["bleScan"] += [{"address": str(index), "name": name} for index, name in enumerate(ODD_NAMES)]
        collection.setdefault("nearbyDevices", []).append({"protocolType": "__proto__._tcp.", "name": ""})  # no TXT record
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
    def open(self, size=10, width=1280, scheme="light"):
        driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [{"name": "prefers-color-scheme", "value": scheme}]})
        driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                               {"width": width, "height": 900, "deviceScaleFactor": 1, "mobile": False})
        driver.get(f"file://{folder}/{size}.html")

    def tearDown(self):  # what breaks the page's policy is there, too
        self.assertEqual([each["message"] for each in driver.get_log("browser") if "file://" in each["message"]], [])

    def js(self, expression):
        return driver.execute_script(f"return {expression}")

    def find(self, selector, index=0):
        return driver.find_elements(By.CSS_SELECTOR, selector)[index]

    def texts(self, selector):
        return self.js(f"[...document.querySelectorAll('{selector}')].map((each) => each.textContent)")

    def until(self, condition):
        WebDriverWait(driver, 20, 0.05).until(lambda _: condition())

    def test_numbers_are_those_of_the_store_and_all_fits_soon(self):
        for size, width in [(size, width) for size in SIZES for width in (1280, 360)]:
            with self.subTest(size=size, width=width):
                self.open(size, width)
                shown = {key: self.find(f"#{key}-figure").text for key in FIGURES}
                self.assertEqual(shown, {key: f"{count(collections[:size]):,}" for key, count in FIGURES.items()})
                self.assertFalse(self.js("document.documentElement.scrollWidth > document.documentElement.clientWidth"))
                ready = self.js("performance.getEntriesByName('ready')[0].startTime")
                print(f"{size} collections, {width} pixels: ready after {ready:.0f} ms", flush=True)
                self.assertLess(ready, 6000)

    def test_names_are_text(self):
        self.open()
        self.assertLess(set(ODD_NAMES.values()), set(self.texts("#peripherals tbody th")))
        self.assertIn("Unnamed __proto__._tcp", self.texts("#services tbody th"))
        self.assertEqual(driver.title, "What was around: ambrel report")
        self.assertEqual(self.texts("img"), [])

    def test_tables_sort_and_filter(self):
        self.open(1000)
        cells = lambda: [re.findall(r"\d+", cell.replace(",", "")) for cell in self.texts("#peripherals tbody td:nth-child(3)")]
        seen = lambda: [int(count) for count, _ in cells()]
        counts = Counter(each["address"] for one in collections[:1000] for each in one["bleScan"])
        heading = self.find("#peripherals thead th", 2)
        for order in "descending", "ascending":
            heading.find_element(By.TAG_NAME, "button").click()
            self.assertEqual((heading.get_attribute("aria-sort"), seen()),
                             (order, sorted(counts.values(), reverse=order == "descending")[:25]))
            for count, percent in cells():
                self.assertAlmostEqual(int(percent), int(count) / 10, delta=0.5 + (count == "1"))  # "< 1 %"
        self.find("#filter").send_keys("EARBUDS")
        self.until(lambda: self.texts("#peripherals tbody th") == ["Earbuds"])
        self.assertEqual(seen(), [counts[self.texts("#peripherals tbody code")[0]]])
        self.assertEqual(self.texts("#presence li"), ["Earbuds"])

    def test_time_zooms_and_moves(self):
        self.open(1000)
        label, strip = self.find("#presence .what"), self.find("#presence .strip")
        shown = lambda: (self.texts("#range")[0], self.js("document.querySelector('#networks .strip path').getAttribute('d')"))
        wheel = "new WheelEvent('wheel', {bubbles: true, cancelable: true, clientX: 700, deltaY: -100, ctrlKey: true})"
        ways = [(self.find("#zoom button", 2).click, self.find("#zoom button", 3).click),
                (lambda: label.send_keys("+"), lambda: label.send_keys(Keys.ARROW_LEFT)),
                (lambda: driver.execute_script(f"arguments[0].dispatchEvent({wheel})", strip),
                 ActionChains(driver).move_to_element(strip).click_and_hold().move_by_offset(150, 0).release().perform)]
        whole = shown()
        for way in ways:
            for act in way:
                before = shown()
                act()
                self.until(lambda: all(now != then for now, then in zip(shown(), before)))
            label.send_keys("0")
            self.until(lambda: shown() == whole)

    def test_a_clock_that_was_not_set_leaves_the_first_view_to_the_others(self):
        (folder / "odd/collections").mkdir(parents=True, mode=0o700)
        for time in 0, *(one["timestamp"] for one in collections[:10]):
            (folder / f"odd/collections/{time}.0").write_text(json.dumps({"timestamp": time}))
        subprocess.run([AMBREL, "report", "-o", folder / "odd.html"], env={"AMBREL_DOCUMENTS_DIR": f"{folder}/odd"}, check=True)
        self.open("odd")
        self.assertNotIn("1969", self.texts("#range")[0])  # where the margin begins
        self.find("#zoom button", 4).click()
        self.until(lambda: "1969" in self.texts("#range")[0])

    def test_keyboard_reaches_everything(self):
        self.open()
        all_of_it = "[...document.querySelectorAll('a[href], button:enabled, input, select, [tabindex=\"0\"]')]"
        missed = f"{all_of_it}.filter((each) => each.checkVisibility() && !each.dataset.met).map((each) => each.outerHTML)"
        self.js(f"{all_of_it}.forEach((each) => each.addEventListener('focus', () => {{ each.dataset.met = 1; }}))")
        ActionChains(driver).send_keys(Keys.TAB * self.js(f"{missed}.length")).perform()
        self.assertEqual(self.js(missed), [])

    def test_colours_follow_the_system_and_the_switch(self):
        red = "Number(getComputedStyle(document.body).backgroundColor.match(/\\d+/)[0])"
        scheme = lambda: "light" if self.js(red) > 128 else "dark"
        for system, other in ("light", "dark"), ("dark", "light"):
            self.open(scheme=system)
            self.assertEqual(scheme(), system)
            self.find("#theme").click()
            self.assertEqual(scheme(), other)

    def test_week_of_a_chosen_thing(self):
        self.open(1000)
        Select(self.find("#week-thing")).select_by_visible_text("Printer 3rd floor")
        cells = self.texts(".week td span")
        self.assertEqual(len(cells), 7 * 24)
        self.assertRegex(cells[24 + 10], r"^Tue 10:00–11:00: in \d\d+ % of 6 collections$")
        self.assertRegex(cells[5 * 24 + 3], r"^Sat 03:00–04:00: in 0 % of 6 collections$")

    def test_without_scripts_the_numbers_are_told(self):
        driver.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": True})
        self.addCleanup(driver.execute_cdp_cmd, "Emulation.setScriptExecutionDisabled", {"value": False})
        self.open(1000)
        self.assertIn("Collections: 1000", self.find("header").text)


unittest.main(verbosity=2)
