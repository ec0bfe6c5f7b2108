#!/usr/bin/env python3
"""Runs `ambrel watch --every 10s --threshold 0` for long, among many neighbours and on a busy machine, and fails where
it grows or loses a source.

    soak.py [--programs FOLDER] [--seconds N] [--peripherals N] [--services N]

In a network of the run's own: Bluetooth peripherals of which some leave and others come each second, a crowd of DNS-SD
responders behind an avahi-daemon that gives few objects to a client, and gpsd with a receiver that tells a place each
second. Each twelfth of the run, and never more often than every 20 s, the middle of a collection is looked at: memory,
descriptors, and what the bus holds for its clients. Also told is how late collections are delivered, beside how late
a sleep of ten seconds ends in this process.
"""

import argparse
import asyncio
import collections
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time

import network

HERE = pathlib.Path(__file__).resolve().parent
COLLECTION = 10  # seconds
NMEA_PORT = 20047
OBJECTS = 64  # that the avahi-daemon gives to a client: one forgotten in each collection would use them up
PLACE = "4812.5094,N,01622.3248,E"
Mark = collections.namedtuple("Mark", "collections kib descriptors matches daemon")


async def receiver(folder):
    """A GNSS receiver at a port of the near side, and gpsd that reads it."""
    async def tell(_, writer):
        while True:
            now = time.gmtime()
            bodies = [f"GPGGA,{time.strftime('%H%M%S.00', now)},{PLACE},1,08,1.0,171.0,M,43.0,M,,",
                      f"GPRMC,{time.strftime('%H%M%S.00', now)},A,{PLACE},1.2,045.0,{time.strftime('%d%m%y', now)},,,A",
                      "GPGSA,A,3,01,03,06,09,12,,,,,,,,1.8,1.0,1.5"]
            for body in bodies:
                check = 0
                for byte in body.encode():
                    check ^= byte
                writer.write(f"${body}*{check:02X}\r\n".encode())
            await writer.drain()
            await asyncio.sleep(1)

    server = await asyncio.start_server(tell, "127.0.0.1", NMEA_PORT)
    with open(pathlib.Path(folder) / "gpsd.log", "w", encoding="utf-8") as log:
        await asyncio.create_subprocess_exec("gpsd", "-N", "-n", f"tcp://127.0.0.1:{NMEA_PORT}", stderr=log)
    async with server:
        await server.serve_forever()


def of_status(pid, key):
    return int(re.search(rf"^{key}:\s+(\d+)", pathlib.Path(f"/proc/{pid}/status").read_text(), re.MULTILINE)[1])


def child_of(pid):
    """The program that a shell runs, or itself."""
    children = pathlib.Path(f"/proc/{pid}/task/{pid}/children").read_text().split()
    return int(children[0]) if children else pid


def match_rules(address):
    answer = subprocess.run(["dbus-send", f"--bus={address}", "--print-reply", "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                             "org.freedesktop.DBus.Debug.Stats.GetStats"], capture_output=True, text=True, check=True)
    return int(re.search(r'"MatchRules"\s+variant\s+uint32 (\d+)', answer.stdout)[1])


class Soak:
    def __init__(self, options, folder):
        self.options, self.folder = options, pathlib.Path(folder)
        self.outcome = self.folder / "outcome"
        self.marks, self.late, self.slept, self.poor = [], [], [], []

    async def run(self):
        net = network.Network(self.folder, 0)
        bus, address = await net.bus()
        await net.crowd(self.options.services)
        avahi = await net.avahi(net.near, "near", address, objects=OBJECTS)
        radio = await net.start(net.far, [self.options.programs / "Peripherals", self.options.peripherals,
                                          max(1, self.options.peripherals // 100)],
                                stdout=subprocess.PIPE, env={"DBUS_SYSTEM_BUS_ADDRESS": address})
        await radio.stdout.readline()
        sky = await net.start(net.near, [sys.executable, __file__, "--receiver", net.folder])
        for _ in range(2):
            await net.start(net.near, ["nice", "timeout", self.options.seconds + 60, "sh", "-c", "while :; do :; done"])
        watch = await net.start(net.near, [
            self.options.programs / "ambrel", "watch", "--every", "10s", "--threshold", "0", "--json", "--mdns", "daemon",
            "--location", "gpsd", "--outcome", self.outcome, *network.services()],
            stdout=subprocess.PIPE, limit=1 << 26, env={"DBUS_SYSTEM_BUS_ADDRESS": address})
        sleeper = asyncio.create_task(self.sleep())
        await self.follow(watch, child_of(avahi.pid), address)
        sleeper.cancel()
        watch.terminate()
        status = await watch.wait()
        for process in sky, radio, bus:
            process.terminate()
            await process.wait()
        return status

    async def sleep(self):
        while True:
            begin = time.monotonic()
            await asyncio.sleep(COLLECTION)
            self.slept.append(time.monotonic() - begin - COLLECTION)

    async def follow(self, watch, daemon, address):
        begin = time.monotonic()
        interval = max(20, self.options.seconds / 12)
        next_mark = begin + 2 * COLLECTION
        while time.monotonic() < begin + self.options.seconds:
            line = await watch.stdout.readline()
            delivered = time.time()
            if not line:
                raise RuntimeError(f"ended by itself: {await watch.wait()}")
            record, fared = json.loads(line), json.loads(self.outcome.read_text())
            self.late.append(delivered - fared["began"] - COLLECTION)
            self.judge(record, fared["sources"])
            if time.monotonic() >= next_mark:
                await asyncio.sleep(COLLECTION / 2)
                self.marks.append(Mark(len(self.late), of_status(watch.pid, "VmRSS"),
                                       len(os.listdir(f"/proc/{watch.pid}/fd")), match_rules(address),
                                       of_status(daemon, "VmRSS")))
                next_mark += interval
                print(f"{time.monotonic() - begin:6.0f} s: {self.marks[-1]}", flush=True)

    def judge(self, record, sources):
        """Everything that is there is found, each time."""
        counts = {"peripherals": (len(record["bleScan"]), self.options.peripherals),
                  "services": (len(record["nearbyDevices"]), self.options.services),
                  "places": (int("locationCollection" in record), 1)}
        lacks = [f"{found} of {there} {what}" for what, (found, there) in counts.items() if found < there]
        lacks += [f"{name}: {each['outcome']}" for name, each in sources.items()
                  if name in ("bluetooth", "services", "location") and each["outcome"] != "listened"]
        if lacks:
            self.poor.append(f"collection {len(self.late)}: {', '.join(lacks)}")
            print(self.poor[-1], flush=True)


def share(values, part):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, int(part * len(ordered)))]


def judged(soak, status):
    first, last = soak.marks[0], soak.marks[-1]
    bounds = [("marks", len(soak.marks), 2, len(soak.marks) >= 2)]
    for what, slack in ("kib", 512), ("descriptors", 0), ("matches", 0), ("daemon", 1024):
        value, bound = getattr(last, what), getattr(first, what) + slack
        bounds.append((f"{what} at the last mark", value, bound, value <= bound))
    bounds.append(("collections that lack something", len(soak.poor), 0, not soak.poor))
    bounds.append(("dies of the signal", status, -15, status == -15))
    print(f"{len(soak.late)} collections; delivered late by {1000 * share(soak.late, 0.5):.1f} ms (median), "
          f"{1000 * share(soak.late, 0.99):.1f} ms (99th percentile), {1000 * max(soak.late):.1f} ms (at most); "
          f"a sleep of ten seconds: {1000 * share(soak.slept, 0.5):.1f}, {1000 * share(soak.slept, 0.99):.1f}, "
          f"{1000 * max(soak.slept):.1f} ms")
    return bounds


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--programs", type=pathlib.Path, default=HERE.parent / "build/release/bin")
    parser.add_argument("--seconds", type=int, default=3600)
    parser.add_argument("--peripherals", type=int, default=300)
    parser.add_argument("--services", type=int, default=100)
    parser.add_argument("--receiver", type=pathlib.Path, help=argparse.SUPPRESS)
    options = parser.parse_args()
    if options.receiver:
        return asyncio.run(receiver(options.receiver))
    network.enter()
    with tempfile.TemporaryDirectory() as folder:
        soak = Soak(options, folder)
        status = asyncio.run(soak.run())
    return network.report(judged(soak, status))


if __name__ == "__main__":
    sys.exit(main())
