#!/usr/bin/env python3
"""What a collection costs that finds nothing, what `ambrel watch` does between two of them, and how much memory one
takes that finds much.

    collection_bench.py [--programs FOLDER] [--rounds N]

Each has a network of its own with one neighbour, which is silent in the empty ones, and a bus only where there are
peripherals. Prints medians, and fails when a bound is exceeded.
"""

import argparse
import asyncio
import json
import pathlib
import re
import statistics
import subprocess
import sys
import tempfile

import network

HERE = pathlib.Path(__file__).resolve().parent
SECONDS = 10
PERIPHERALS, SERVICES = 1000, 200


async def empty(net, programs):
    output, _, usage = await net.measure(programs, 2 * SECONDS, [programs / "ambrel", "scan", "--quiet"])
    record = json.loads(output)
    if record.get("bleScan") or record.get("nearbyDevices"):
        raise RuntimeError(f"the empty collection is not empty: {output}")
    return usage


async def timers_set(net, programs):
    """How often the loop has set its timer: counted apart, since that takes time."""
    process = await net.start(net.near, ["strace", "-fqc", "-e", "timerfd_settime", programs / "ambrel", "scan", "--quiet"],
                              stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    _, table = await process.communicate()
    counted = re.search(r"(\d+) +timerfd_settime$", table.decode(), re.MULTILINE)
    return int(counted[1]) if counted else 0


async def wakeups(net, programs):
    """How often `watch` wakes in ten seconds, once it has delivered its first collection."""
    watch = await net.start(net.near, [programs / "ambrel", "watch", "--quiet"], stdout=subprocess.PIPE)
    await watch.stdout.readline()
    await asyncio.sleep(1)

    def switches():
        status = pathlib.Path(f"/proc/{watch.pid}/status").read_text()
        return sum(map(int, re.findall(r"ctxt_switches:\t(\d+)", status)))

    before = switches()
    await asyncio.sleep(SECONDS)
    after = switches()
    watch.terminate()
    await watch.wait()
    return after - before


async def full(net, programs):
    bus, address = await net.bus()
    await net.crowd(SERVICES)
    peripherals = await net.start(net.far, [programs / "Peripherals", PERIPHERALS], stdout=subprocess.PIPE,
                                  env={"DBUS_SYSTEM_BUS_ADDRESS": address})
    await peripherals.stdout.readline()
    output, _, usage = await net.measure(programs, 2 * SECONDS, [programs / "ambrel", "scan", "--quiet", *network.services()],
                                         address)
    record = json.loads(output)
    usage["peripherals"], usage["services"] = len(record["bleScan"]), len(record["nearbyDevices"])
    for process in peripherals, bus:
        process.terminate()
        await process.wait()
    return usage


async def measured(options, folder):
    nets = [network.Network(folder, number) for number in range(options.rounds + 3)]
    *empties, timers, woken, filled = await asyncio.gather(
        *(empty(net, options.programs) for net in nets[3:]),
        timers_set(nets[0], options.programs), wakeups(nets[1], options.programs), full(nets[2], options.programs))
    return empties, timers, woken, filled


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--programs", type=pathlib.Path, default=HERE.parent / "build/release/bin")
    parser.add_argument("--rounds", type=int, default=5)
    options = parser.parse_args()
    network.enter()
    with tempfile.TemporaryDirectory() as folder:
        empties, timers, woken, filled = asyncio.run(measured(options, folder))
    median = {key: statistics.median(each[key] for each in empties) for key in empties[0]}
    print(f"an empty collection: {1000 * median['cpu']:.1f} ms of CPU, {median['switches']:.0f} switches, "
          f"{median['kib'] / 1024:.1f} MiB, {median['faults']:.0f} page faults, its timer set {timers} times")
    print(f"{PERIPHERALS} peripherals and {SERVICES} services: {1000 * filled['cpu']:.0f} ms of CPU, "
          f"{filled['switches']} switches, {filled['kib'] / 1024:.1f} MiB")
    return network.report([
        ("an empty collection: ms of CPU", 1000 * median["cpu"], 10, 1000 * median["cpu"] <= 10),
        ("an empty collection: switches", median["switches"], 20, median["switches"] <= 20),
        (f"watch, {SECONDS} s between two collections: wake-ups", woken, 0, woken == 0),
        ("much: peripherals", filled["peripherals"], PERIPHERALS, filled["peripherals"] == PERIPHERALS),
        ("much: services", filled["services"], SERVICES, filled["services"] == SERVICES),
        ("much: MiB", filled["kib"] / 1024, 14, filled["kib"] <= 14 * 1024),
    ])


if __name__ == "__main__":
    sys.exit(main())
