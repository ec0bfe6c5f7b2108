"""Every dictionary that the replay scripts and a scan deliver has the documented form, and the
documented form is no wider than that.

    dictionaries_test.py SOURCE_DIRECTORY AMBREL
"""

import copy
import glob
import json
import subprocess
import sys
import unittest

import jsonschema

SOURCE, AMBREL = sys.argv[1:3]

with open(f"{SOURCE}/docs/ambrel-data.schema.json", encoding="utf-8") as file:
    SCHEMA = json.load(file)
jsonschema.Draft202012Validator.check_schema(SCHEMA)
VALIDATOR = jsonschema.Draft202012Validator(SCHEMA)


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
        REMOVED = object()
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
            changed = copy.deepcopy(full)
            place = changed
            for step in path[:-1]:
                place = place[step]
            if value is REMOVED:
                del place[path[-1]]
            else:
                place[path[-1]] = value
            with self.subTest(path=path, value=value):
                self.assertFalse(VALIDATOR.is_valid(changed))


unittest.main(argv=sys.argv[:1])
