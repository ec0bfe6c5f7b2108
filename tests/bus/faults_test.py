#!/usr/bin/env python3
"""Runs `ambrel watch` over daemons and a bus that die, hang and lie, before a collection, in it and at its end: each is
delivered in its time with what was seen, says how its sources fared, and leaves nothing; the next one is whole.

Each fault befalls a bus of its own, all daemons on it together, and all run beside each other.
"""

import asyncio
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time
import unittest

sys.path.append(str(pathlib.Path(__file__).parents[1] / "support"))
import isolation

isolation.enter()
subprocess.run("ip link add wlan0 type veth peer name far && ip link set far up && ip link set wlan0 up &&"
               "ip address add 192.0.2.7/24 dev wlan0 && ip route add default dev wlan0", shell=True, check=True)

import fake_bus
import fake_daemons
from fake_bus import error

AMBREL = sys.argv.pop(1)
SOURCES = ["bluetooth", "services", "location", "lifecycle"]
PATIENCE = 60
SCAN = ["--every", "12s", "--service", "_ipp._tcp", "--mdns", "daemon", "--location", "geoclue", "--json"]


def each(action):
    return lambda bus: [action(daemon) for daemon in bus.daemons.values()]


def silence(daemon):
    daemon.silent = True


def silence_bus(bus):
    bus.silent = True


def close_at_once(bus):
    bus.stop()
    bus.closes = True
    bus.start()


def later(first, seconds, then):
    def happen(bus):
        first(bus)
        bus.loop.call_later(seconds, then, bus)
    return happen


def in_turn(*actions):
    return lambda bus: [action(bus) for action in actions]


def answering(answer):
    return each(lambda daemon: daemon.lies.update({"*": answer}))


def never_starting(bus):
    kill(bus)
    bus.starts = dict.fromkeys(bus.daemons)


def make_noise(bus):
    """What nobody asked for, from somebody else, and much of it."""
    blue_z, avahi, *_ = bus.daemons.values()
    owner, blue_z.owner = blue_z.owner, ":1.9999"
    blue_z.hear(blue_z.device[:-1] + "2", "Somebody else's")
    blue_z.owner = owner
    for path in avahi.browsers:
        bus.signal(":1.9999", path, "org.freedesktop.Avahi.ServiceBrowser", "ItemNew", "iisssu",
                   (avahi.interface, 0, "Somebody else's", "_ipp._tcp", "local", 0))
    bus.signal(":1.9999", "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "PrepareForSleep", "b", (True,))
    bus.signal(":1.9999", "/org/freedesktop/DBus", fake_bus.BUS, "NameOwnerChanged", "sss", (blue_z.name, owner, ""))
    for peer in bus.peers:
        for serial in (1, 3, 100_000):
            peer.send(fake_bus.MessageType.method_return, owner, "as", (["x"],), reply_serial=serial)
    blue_z.signal("/", fake_daemons.OBJECTS, "InterfacesAdded", "oa{sa{sv}}", (
        blue_z.device[:-1] + "3", {"x.y": {"Much": ("as", ["x" * 10] * 100_000)}}))
    blue_z.hear(blue_z.device[:-1] + "4", "A noncharacter: \ufffe")


kill, live, hush = each(fake_daemons.Daemon.die), each(fake_daemons.Daemon.live), each(silence)
go_on = each(fake_daemons.Daemon.go_on)
restart = later(kill, 0.3, live)
stop_bus = fake_bus.Bus.stop

# Group, fault, when, and for each source what may come of it: listened, interrupted, or the code for which it failed.
LISTENED = ["listened"] * 4
EITHER = ["listened interrupted"] * 4
AWAY = ["interrupted"] * 4
GONE = ["no-daemon", "no-daemon", "not-installed no-daemon", "no-daemon"]
NO_BUS = ["no-bus"] * 4
SILENT = ["daemon-silent"] * 4
AT_THE_END = ["listened " + codes for codes in GONE]
# Only Avahi is asked again and again whether it is still there.
QUIET = ["listened", "daemon-silent", "listened", "listened"]
CASES = [
    ("nothing", "nothing", lambda bus: None, {"before": LISTENED}),
    ("death", "die", kill, {"before": GONE, 0: GONE, 1: GONE, 5: GONE, 9.9: AT_THE_END, "end": AT_THE_END}),
    ("death", "restart", restart, {0: EITHER, 1: AWAY, 5: AWAY, "end": EITHER,
                                   9.9: ["listened interrupted " + code for code in GONE]}),
    ("death", "are replaced", live, {0: EITHER, 1: AWAY, 5: AWAY, 9.9: ["listened interrupted daemon-silent"] * 4}),
    ("death", "restart three times at once", in_turn(kill, live, kill, live, kill, live), {1: AWAY}),
    ("death", "restart with all unanswered", later(hush, 1, restart), {"before": EITHER}),
    ("death", "are replaced by what hangs", in_turn(live, hush), {1: SILENT, 5: SILENT}),
    ("death", "can't be started", never_starting, {"before": ["no-daemon", "no-daemon", "daemon-silent", "no-daemon"]}),
    ("silence", "stop", hush, {"before": SILENT, 0: ["listened daemon-silent"] * 4, 1: QUIET, 5: QUIET,
                               9.9: LISTENED, "end": LISTENED}),
    ("silence", "stop and go on", later(hush, 1.5, go_on), {0: EITHER, 1: EITHER, 5: EITHER}),
    ("lies", "answer what nobody can read", answering(("(ai)as", (([1, 2],), ["x"]))),
     {"before": ["daemon-fails", "not-allowed", "daemon-fails", "listened"], 1: LISTENED}),
    ("lies", "answer errors with odd names", answering(error("x1.__.Y")),
     {"before": ["daemon-fails", "not-allowed", "daemon-fails", "listened"], 1: LISTENED}),
    ("lies", "refuse", answering(error(f"{fake_bus.BUS}.Error.AccessDenied")),
     {"before": ["not-allowed"] * 3 + ["listened"]}),
    ("lies", "are drowned in noise", make_noise, {1: LISTENED, 5: LISTENED}),
    ("bus", "bus dies", stop_bus, {"before": NO_BUS, 0: ["no-bus bus-refuses"] * 4, 1: NO_BUS, 5: NO_BUS,
                                   9.9: ["listened no-bus"] * 4, "end": ["listened no-bus"] * 4}),
    ("bus", "bus restarts", later(stop_bus, 0.5, fake_bus.Bus.start),
     {0: EITHER, 1: AWAY, 5: AWAY, 9.9: ["listened interrupted no-bus"] * 4}),
    ("bus", "bus hangs", silence_bus, {"before": ["bus-silent"] * 4, 0: ["listened daemon-silent bus-silent"] * 4,
                                       1: QUIET, 5: QUIET, 9.9: LISTENED}),
    ("bus", "bus closes what it accepts", close_at_once, dict.fromkeys(["before", 1], ["bus-refuses no-bus"] * 4)),
]


def recover(bus):
    bus.closes, bus.ending, bus.starts = False, None, {}
    bus.start()
    bus.go_on()
    for daemon in bus.daemons.values():
        daemon.lies = {}
        daemon.go_on()
        if not daemon.owner:
            daemon.live()


class Run:
    """One fault at one time, and what comes of it."""

    def __init__(self, folder, number, case, when):
        self.group, self.fault, self.happen, expected = case
        self.when, self.expected = when, expected[when]
        self.bus = fake_bus.Bus(asyncio.get_running_loop(), f"{folder}/{number}", fake_daemons.DAEMONS)
        self.outcome = pathlib.Path(f"{folder}/{number}.outcome")
        self.collections = []

    async def start(self):
        if self.when == "before":
            self.happen(self.bus)
        elif self.when == "end":
            self.bus.ending = lambda: self.happen(self.bus)
        kept = {**os.environ, "AMBREL_CONFIG": "", "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={self.bus.path}"}
        self.process = await asyncio.create_subprocess_exec(AMBREL, "watch", *SCAN, "--outcome", self.outcome, env=kept,
                                                            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        await asyncio.wait([self.bus.greeted], timeout=0.5 if self.when == "before" else PATIENCE)
        self.began = self.bus.loop.time()
        if self.when == 0:
            self.happen(self.bus)

    async def go(self):
        if isinstance(self.when, (int, float)) and self.when > 0:
            await asyncio.wait([self.bus.at_work], timeout=PATIENCE)
            self.bus.loop.call_at(self.began + self.when, self.happen, self.bus)
        for _ in range(2):
            record = json.loads(await asyncio.wait_for(self.process.stdout.readline(), PATIENCE))
            outcome = json.loads(self.outcome.read_text(encoding="utf-8"))
            self.collections.append((record, outcome, time.time() - outcome["began"]))
            await asyncio.sleep(0.2)
            recover(self.bus)
        await asyncio.sleep(0.8)
        blue_z, avahi, geo_clue, _ = self.bus.daemons.values()
        self.left = [len(os.listdir(f"/proc/{self.process.pid}/fd")), len(self.bus.peers),
                     sum(peer.matches.total() for peer in self.bus.peers),
                     len(blue_z.discoverers), len(avahi.browsers), len(geo_clue.clients)]
        self.process.terminate()
        await self.process.wait()
        self.bus.stop()


async def run_all():
    with tempfile.TemporaryDirectory() as folder:
        runs, tasks = [], []
        for case in CASES:
            for when in case[-1]:
                run = Run(folder, len(runs), case, when)
                await run.start()  # one at a time: the machine may be busy
                runs.append(run)
                tasks.append(asyncio.create_task(run.go()))
        await asyncio.gather(*tasks)
        return runs


def seen(record):
    return [bool(record["bleScan"]), bool(record["nearbyDevices"]), "locationCollection" in record, True]


class Faults(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        fake_daemons.Avahi.interface = int(pathlib.Path("/sys/class/net/wlan0/ifindex").read_text(encoding="utf-8"))
        cls.runs = asyncio.run(run_all())

    def check(self, group):
        for run in self.runs:
            if run.group == group:
                with self.subTest(f"{run.fault}: {run.when}"):
                    self.check_first(run)
                    self.check_next(run)

    def check_first(self, run):
        record, outcome, lasted = run.collections[0]
        self.assertTrue(10 <= lasted < 20, lasted)
        for source, expected, was_seen in zip(SOURCES, run.expected, seen(record)):
            account = outcome["sources"][source]
            fared = account["outcome"] if account["outcome"] != "failed" else account["code"]
            self.assertIn(fared, expected.split(), (source, account))
            if source != "lifecycle" and run.when != 0:  # by which time nothing may have been told
                self.assertEqual(was_seen, account["outcome"] != "failed" or "absences" in account, (source, account))
        self.assertNotIn("Somebody else", json.dumps(record))
        if run.happen is make_noise:
            self.assertEqual(len(record["bleScan"]), 2)

    def check_next(self, run):
        record, outcome, lasted = run.collections[1]
        self.assertTrue(10 <= lasted < 20, lasted)
        self.assertEqual(seen(record), [True] * 4)
        self.assertEqual([outcome["sources"][source]["outcome"] for source in SOURCES], LISTENED, outcome)
        for left, usually in zip(run.left, self.runs[0].left):
            self.assertLessEqual(left, usually, (run.left, self.runs[0].left))

    def test_of_no_daemon(self):
        self.check("nothing")

    def test_of_daemons_that_die(self):
        self.check("death")

    def test_of_daemons_that_hang(self):
        self.check("silence")

    def test_of_daemons_that_lie(self):
        self.check("lies")

    def test_of_the_bus(self):
        self.check("bus")


if __name__ == "__main__":
    unittest.main(verbosity=2)
