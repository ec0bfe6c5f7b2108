#!/usr/bin/env python3
"""Counts for itself what `ambrel store export` prints, and compares that with the page of `ambrel report`."""

import collections
import datetime
import json
import math
import os
import pathlib
import pty
import random
import re
import stat
import subprocess
import sys
import tempfile
import unittest
import zoneinfo

AMBREL = str(pathlib.Path(sys.argv.pop(1)).resolve())
ZONE = "Europe/Stockholm"
HOUR, WEEK = 3600, 7 * 86400
BEGIN = 1711000000  # ten days before the clocks there are put forward
HOSTILE = ["</script><script>alert(1)</script>", "<!--<script>", "a\u2028b\u2029c", "\u202egnp.exe", "\x1b[2J\0", "é" * 300,
           "__proto__", ""]


def sample(count=2300, every=3000):
    """Residents that come and go, one that is there every other time, strangers, a service with a hostile name or two, two places a walk apart."""
    rng = random.Random(7)
    for i in range(count):
        home = rng.random() < 0.7
        seen = [f"resident {each}" for each in range(6) if (i // 20 + each) % 3] + [f"stranger {i}"]
        seen += ["every other time"] * (i % 2)
        yield {
            "timestamp": BEGIN + i * every, "ip": "192.0.2.7" if home else "198.51.100.9",
            "wifiNetwork": {"connectedDevices": [{"name": HOSTILE[0]}] if home else []},
            "bleScan": [{"address": each, "name": HOSTILE[i % len(HOSTILE)], "timestamp": 0} for each in seen],
            "nearbyDevices": [{"protocolType": "_x._tcp.", "name": name, "timestamp": 0, "address": f"192.0.2.{i % 7}",
                               "txtRecord": {name: name}} for name in HOSTILE if rng.random() < 0.5],
            # On both sides of the date line, in one place; and 0.01 degrees north.
            "locationCollection": {"lat": 0.01 * (not home), "lon": rng.choice([179.9999, -179.9999]), "timestamp": 0},
        }


def local_hour(time):
    there = datetime.datetime.fromtimestamp(time, zoneinfo.ZoneInfo(ZONE))
    return there.weekday() * 24 + there.hour


def shown(text):
    text = text if len(text) <= 256 else text[:256] + "…"
    return re.sub("[\x00-\x1f\u2028\u2029\u202e]", lambda odd: f"\\u{ord(odd[0]):04x}", text)


class Reports(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.environment = {**os.environ, "AMBREL_DOCUMENTS_DIR": folder.name, "TZ": ZONE}

    def ambrel(self, *arguments, status=0, **options):
        done = subprocess.run([AMBREL, *arguments], cwd=self.folder, env=self.environment, capture_output=True, text=True,
                              timeout=100, check=False, **options)
        self.assertEqual(done.returncode, status, done.stderr)
        return done

    def save(self, dictionaries):
        (self.folder / "collections").mkdir(exist_ok=True)
        for each in dictionaries:
            (self.folder / f"collections/{each['timestamp']}.0").write_text(json.dumps(each))

    def model(self, *arguments, status=0):
        page = self.ambrel("report", *arguments, status=status).stdout
        return json.loads(re.search(r'<script type="application/json" id="model">(.*?)</script>', page, re.S)[1])

    def check_table(self, table, sightings, begin, new_since):
        """`sightings`: the ordinal and the time of each collection that saw a thing, by the thing."""
        counts = [len(seen) for seen in sightings.values()]
        self.assertEqual((table["distinct"], table["once"]), (len(counts), counts.count(1)))
        self.assertEqual(table["new"], sum(seen[0][1] >= new_since for seen in sightings.values()))
        for thing in table["things"]:
            key = thing.get("id") or thing.get("address") or thing["name"]
            seen = sightings[key]
            self.assertEqual((thing["count"], thing["first"], thing["last"]), (len(seen), seen[0][1], seen[-1][1]))
            runs = [[seen[0], seen[0]]]
            for before, this in zip(seen, seen[1:]):
                goes_on = this[0] == before[0] + 1 and this[1] - before[1] <= HOUR
                if goes_on or this[1] - before[1] <= thing["gap"]:
                    runs[-1][1] = this
                else:
                    runs.append([this, this])
            self.assertEqual(thing["runs"], [end[1] - begin for run in runs for end in run], key)
            self.assertLessEqual(len(runs), 1000)
            if "week" in thing:
                hours = collections.Counter(local_hour(time) for _, time in seen)
                self.assertEqual(thing["week"], [hours[hour] for hour in range(168)])

    def test_counts_what_the_store_holds(self):
        self.save(sample())
        span = ["--since", str(BEGIN + 5), "--until", "2024-06-05"]
        exported = [json.loads(line) for line in self.ambrel("store", "export", *span).stdout.splitlines()]
        model = self.model(*span)
        tables = collections.defaultdict(lambda: collections.defaultdict(list))
        hours = collections.Counter()
        for ordinal, each in enumerate(exported):
            now = (ordinal, each["timestamp"])
            hours[local_hour(now[1])] += len(each["bleScan"])
            keys = {"peripherals": [one["address"] for one in each["bleScan"]], "addresses": [each["ip"]],
                    "services": [shown(one["name"]) for one in each["nearbyDevices"]],
                    "networks": [one["name"] for one in each["wifiNetwork"]["connectedDevices"]]}
            for table, things in keys.items():
                for thing in things:
                    tables[table][thing].append(now)
        first, last = exported[0]["timestamp"], exported[-1]["timestamp"]
        self.assertEqual((model["collections"], model["first"], model["last"]), (len(exported), first, last))
        self.assertEqual((model["since"], model["newSince"]), (BEGIN + 5, last - WEEK))
        for name, sightings in tables.items():
            self.check_table(model[name], sightings, first, last - WEEK)
        self.assertEqual(model["week"]["peripherals"], [hours[hour] for hour in range(168)])
        self.assertEqual(model["zones"], [[first, HOUR], [1711846800, 2 * HOUR]])
        txt = {thing["name"]: thing["txt"] for thing in model["services"]["things"]}
        self.assertEqual(txt, {shown(name): [[shown(name)] * 2] for name in HOSTILE})

        bins = model["bins"]
        self.assertEqual(bins["width"], HOUR)  # of half an hour there would be more than 2,000
        totals = [len(exported), sum(hours.values()), sum(map(len, tables["services"].values()))]
        self.assertEqual([sum(bins[column]) for column in ("collections", "peripheralSum", "serviceSum")], totals)
        self.assertEqual([model["joined"], model["located"]], [len(tables["networks"][HOSTILE[0]]), len(exported)])
        self.assertEqual({bins["origin"] + at * HOUR for at in bins["at"]}, {each["timestamp"] // HOUR * HOUR for each in exported})

        here, there = model["places"]["things"]
        self.assertEqual(here["count"] + there["count"], len(exported))
        self.assertAlmostEqual(math.hypot(there["x"], there["y"]), 6371008.8 * math.radians(0.01), delta=6)  # of few fixes
        self.assertAlmostEqual(abs(here["lon"]), 180, delta=0.0001)

    def test_no_name_becomes_markup(self):
        self.save(sample(20))
        page = self.ambrel("report").stdout
        self.assertEqual(page.count("<script"), 2)
        before, model, behind = re.split(r'(?<=id="model">)(.*?)(?=</script>)', page, maxsplit=1, flags=re.S)
        self.assertNotRegex(model, "[<\u2028\u2029\u202e\x00-\x1f]")
        for name in ("alert(1)", "gnp.exe", "resident"):
            self.assertNotIn(name, before + behind)
        self.assertNotIn("unsafe", page[:1000])

    def test_strangers_beyond_number_are_counted_and_not_kept(self):
        strangers = 110_000
        self.save({"timestamp": BEGIN + i * HOUR, "bleScan": [{"address": "again"}] +
                   [{"address": f"{i}-{each}"} for each in range(strangers)]} for i in range(2))
        table = self.model()["peripherals"]
        self.assertEqual((table["distinct"], table["once"], table["atMost"]), (2 * strangers + 1, 2 * strangers, True))
        self.assertEqual(len(table["things"]), 2000)
        self.assertEqual((table["things"][0]["id"], table["things"][0]["count"]), ("again", 2))
        self.assertEqual({thing["last"] for thing in table["things"]}, {BEGIN + HOUR})

    def test_a_clock_that_once_was_wrong_leaves_the_bins_fine(self):
        self.save([{"timestamp": 0}, *sample(100, 60)])
        self.assertEqual((self.model()["bins"]["width"], len(self.model()["bins"]["at"])), (60, 101))

    def test_what_is_no_collection_is_counted_apart(self):
        self.assertEqual(self.model()["collections"], 0)  # nothing was ever saved
        self.save([{"timestamp": 1}, {"timestamp": 2, "bleScan": 7, "nearbyDevices": [3, {}], "ip": [],
                                      "wifiNetwork": {"connectedDevices": {}}, "locationCollection": {"lat": "0", "lon": 91}}])
        (self.folder / "collections/3.0").write_text("{")
        (self.folder / "collections/note").write_text('{"timestamp": "today"}')
        (self.folder / "collections/1.5").write_text('{"timestamp": 5}')  # renamed, it hides none of the later ones
        model = self.model(status=1)
        self.assertEqual([model[key] for key in ("collections", "last", "unreadable", "untimed")], [2, 2, 1, 2])
        self.assertIn("left out: 2 ", self.ambrel("report", status=1).stderr)

    def test_says_where_it_does_not_write(self):
        master, slave = pty.openpty()
        done = subprocess.run([AMBREL, "report"], env=self.environment, stdout=slave, stderr=subprocess.PIPE, text=True,
                              check=False)
        self.assertEqual((done.returncode, done.stderr.count("\n")), (2, 1))
        self.assertIn("-o", done.stderr)
        os.close(master)
        os.close(slave)
        self.assertIn("nowhere", self.ambrel("report", "-o", "nowhere/page", status=1).stderr)
        self.assertEqual(self.ambrel("report", "-o", "", status=2).stdout, "")
        (self.folder / "link").symlink_to("page")  # to what is not there
        self.ambrel("report", "-o", "link")
        self.assertEqual(stat.S_IMODE((self.folder / "page").stat().st_mode), 0o600)
        self.assertIn("</html>", (self.folder / "page").read_text())


unittest.main(verbosity=2)
