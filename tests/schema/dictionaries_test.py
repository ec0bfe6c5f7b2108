"""Every dictionary that the replay scripts and a scan deliver has the documented form, and so has
every account of the sources that the board's tests make, and every line of details and of changes that
the tool's make; the documented forms are no wider.

    dictionaries_test.py SOURCE_DIRECTORY AMBREL SOURCE_BOARD_TESTS
"""

import copy
import glob
import json
import os
import re
import subprocess
import sys
import tempfile
import unittest

import jsonschema

SOURCE, AMBREL, BOARD_TESTS = sys.argv[1:4]
REMOVED = object()


def validator(name):
    with open(f"{SOURCE}/docs/{name}.schema.json", encoding="utf-8") as file:
        schema = json.load(file)
    jsonschema.Draft202012Validator.check_schema(schema)
    return jsonschema.Draft202012Validator(schema)


VALIDATOR = validator("ambrel-data")


def with_change(whole, path, value):
    changed = copy.deepcopy(whole)
    place = changed
    for step in path[:-1]:
        place = place[step]
    if value is REMOVED:
        del place[path[-1]]
    else:
        place[path[-1]] = value
    return changed


def delivered(script, text=None):
    run = subprocess.run([AMBREL, "replay", "--quiet", script], input=text, capture_output=True)
    return [json.loads(line) for line in run.stdout.splitlines()]


def sample(count):
    generator = [sys.executable, f"{SOURCE}/bench/sample_collections.py", str(count)]
    return delivered("-", subprocess.run(generator, capture_output=True, check=True).stdout)


class Dictionaries(unittest.TestCase):
    def test_delivered_ones_have_the_form(self):
        count = 0
        for script in glob.glob(f"{SOURCE}/tests/**/*.ndjson", recursive=True):
            for dictionary in delivered(script):
                with self.subTest(script=script, dictionary=dictionary):
                    VALIDATOR.validate(dictionary)
                count += 1
        for dictionary in sample(200):
            VALIDATOR.validate(dictionary)
            count += 1
        self.assertGreaterEqual(count, 200)

    def test_a_scan_delivers_the_form(self):
        scan = [AMBREL, "scan", "--without", "bluetooth,location,network"]
        run = subprocess.run(scan, capture_output=True)
        if b"scan" in run.stderr:
            self.skipTest("built without a platform to scan on")
        VALIDATOR.validate(json.loads(run.stdout))

    def test_what_is_never_delivered_is_refused(self):
        full = next(each for each in sample(200) if
                    {"ip", "wifiNetwork", "locationCollection"} <= each.keys()
                    and each["bleScan"] and each["nearbyDevices"])
        changes = [
            (["timestamp"], REMOVED), (["bleScan"], REMOVED), (["ambrel_analytics"], REMOVED),
            (["nearbyDevices"], REMOVED), (["timestamp"], 1.5), (["timestamp"], "1"),
            (["ip"], None), (["ip"], "fe80::1"), (["ip"], "192.168.1.256"), (["id"], "x"),
            (["bleScan", 0, "address"], "8b1f0c6e-0000-4000-8000-00000000000a"),
            (["bleScan", 0, "rssi"], -60), (["bleScan", 0, "timestamp"], REMOVED),
            (["nearbyDevices", 0, "txtRecord"], {"key": 1}),
            (["nearbyDevices", 0, "address"], ""), (["nearbyDevices", 0, "name"], REMOVED),
            (["wifiNetwork", "connectedDevices", 0, "bssid"], "02:00:00:00:00:01"),
            (["wifiNetwork", "connectedDevices"], REMOVED),
            (["locationCollection", "lat"], "1"), (["locationCollection", "lon"], REMOVED),
            (["ambrel_analytics", "network_setting"], 1), (["ambrel_analytics", "other"], True),
        ]
        VALIDATOR.validate(full)
        for path, value in changes:
            with self.subTest(path=path, value=value):
                self.assertFalse(VALIDATOR.is_valid(with_change(full, path, value)))


class Outcomes(unittest.TestCase):
    def test_have_the_form_and_no_wider_one(self):
        with tempfile.NamedTemporaryFile() as file:
            subprocess.run([BOARD_TESTS], env={**os.environ, "AMBREL_TEST_OUTCOMES": file.name},
                           stdout=subprocess.DEVNULL, check=True)
            outcomes = [json.loads(line) for line in file]
        outcome = validator("outcome")
        for each in outcomes:
            outcome.validate(each)
        away = next(each for each in outcomes
                    if "remedy" in each["sources"]["bluetooth"].get("absences", [{}])[-1])
        with open(f"{SOURCE}/AmbrelKit/Linux/Sources/SourceReasons.cpp", encoding="utf-8") as file:
            codes = set(re.findall(r'Row{\w+, \w+,\s*"([^"]+)"', file.read()))
        self.assertEqual(codes, set(outcome.schema["$defs"]["code"]["examples"]))
        for path, value in [
                (["sources"], REMOVED), (["began"], "1"), (["other"], 1),
                (["sources", "wifi"], REMOVED), (["sources", "other"], {}),
                (["sources", "bluetooth", "outcome"], "ok"),
                (["sources", "bluetooth", "reports"], -1),
                (["sources", "bluetooth", "means"], ""),
                (["sources", "bluetooth", "code"], "no-daemon"),  # and no reason
                (["sources", "bluetooth", "absences"], []),
                (["sources", "bluetooth", "absences", 0, "from"], REMOVED),
                (["sources", "bluetooth", "absences", 0, "code"], "No daemon"),
                (["sources", "bluetooth", "now", "state"], "ill"),
                (["sources", "bluetooth", "now", "since"], REMOVED)]:
            with self.subTest(path=path, value=value):
                self.assertFalse(outcome.is_valid(with_change(away, path, value)))


class Lines(unittest.TestCase):
    def test_one_of_every_kind_has_the_form_and_no_wider_one(self):
        for name, changes in [("details", [{"time": "1"}, {"report": "other"}]),
                              ("changes", [{"to": "1"}, {"kind": "other"}, {"change": "other"}])]:
            form = validator(name)
            with open(f"{SOURCE}/tests/tools/{name}.jsonl", encoding="utf-8") as file:
                lines = [json.loads(line) for line in file]
            self.assertEqual(len({(line.get("kind"), line.get("source"), line.get("report")) for line in lines}),
                             len(form.schema["oneOf"]))
            for line in lines:
                form.validate(line)
                for change in changes + [{"other": 1}] + [{key: None} for key in line if line[key] is not None]:
                    if change == {"from": None}:  # of a first collection
                        continue
                    with self.subTest(line=line, change=change):
                        self.assertFalse(form.is_valid(line | change))


def words(path, pattern):
    with open(f"{SOURCE}/{path}", encoding="utf-8") as file:
        return set(re.findall(pattern, file.read()))


class Pages(unittest.TestCase):
    """The man pages of section 5 name every key that there is."""

    def test_of_the_dictionary(self):
        keys = words("docs/ambrel-data.schema.json", r'"(\w+)": \{') - {"properties", "items", "additionalProperties"}
        keys -= words("docs/ambrel-data.schema.json", r'#/\$defs/(\w+)') - {"timestamp"}
        self.assertIn("connectedDevices", keys)
        self.assertEqual(keys - words("packaging/ambrel-record.5", r"\w+"), set())

    def test_of_the_script(self):
        grammar = [name for name in os.listdir(f"{SOURCE}/AmbrelKit/Simulated/Replay") if name.endswith("Grammar.cpp")]
        keys = set().union(*(words(f"AmbrelKit/Simulated/Replay/{name}", r'"([A-Za-z]+)"') for name in grammar))
        self.assertIn("onDelivery", keys)
        self.assertEqual(keys - words("packaging/ambrel-replay.5", r"\w+"), set())


unittest.main(argv=sys.argv[:1])
