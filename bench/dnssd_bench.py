#!/usr/bin/env python3
"""What looking for services costs: the whole process of `ambrel scan`, with the Avahi daemon and without it, beside
python3-zeroconf and `avahi-browse -artp`, which do the same in the same run.

    dnssd_bench.py [--programs FOLDER] [--rounds N] [--beds NAME,...] [--scanners NAME,...]

A bed is a network of the run's own with services in it: of one neighbouring daemon, or of a crowd of responders,
whose answers may be lost or slow. Prints medians of the rounds, and of what was found the least; fails when a bound
is exceeded.
"""

import argparse
import asyncio
import collections
import json
import pathlib
import statistics
import sys
import tempfile

import network

SECONDS = 10
LOSSY_BEDS = 4
HERE = pathlib.Path(__file__).resolve().parent
GAPS = {3: 0.5, 200: 1.5, 1000: 2.5}  # seconds in which a scan of so many does most of its work
SCANNERS = ["embedded", "daemon", "zeroconf", "browse"]

# How many services were found whole, when the last of them (the rest is not measured then), and what that took.
Run = collections.namedtuple("Run", "found last usage daemon bus notes", defaults=(0, 0, ""))
Bed = collections.namedtuple("Bed", "name count net neighbours scanners rounds")


class Bench:
    def __init__(self, programs):
        self.programs = programs
        self.starting = asyncio.Lock()
        self.runs = collections.defaultdict(list)

    async def measure(self, bed, command, bus=network.NO_BUS, seconds=2 * SECONDS):
        # Scans overlap, but not while most of their work is done.
        async with self.starting:
            scan = asyncio.create_task(bed.net.measure(self.programs, seconds, command, bus))
            await asyncio.sleep(GAPS[bed.count])
        return await scan

    async def kit(self, bed, timed, bus=network.NO_BUS):
        details = bed.net.folder / "details"  # tell the time, and cost some
        output, notes, usage = await self.measure(
            bed, [self.programs / "ambrel", "scan", "--only", "network", "--format", "json", *network.services(),
                  *(["--details", details] if timed else [])], bus)
        last = None
        if timed:
            lines = map(json.loads, details.read_text().splitlines())
            last = max((line["time"] for line in lines if line["report"] == "resolved"), default=0) - usage["begin"]
        return Run(len(whole(json.loads(output)["nearbyDevices"])), last, usage, notes=notes)

    async def with_daemon(self, bed, scan):
        bus, address = await bed.net.bus()
        daemon = await bed.net.avahi(bed.net.near, "scan", address)
        before = network.milliseconds_of(daemon), network.milliseconds_of(bus)
        run = await scan(address)
        after = network.milliseconds_of(daemon), network.milliseconds_of(bus)
        for process in daemon, bus:
            process.terminate()
            await process.wait()
        return run._replace(daemon=after[0] - before[0], bus=after[1] - before[1])

    async def embedded(self, bed, timed):
        return await self.kit(bed, timed)

    async def daemon(self, bed, timed):
        return await self.with_daemon(bed, lambda bus: self.kit(bed, timed, bus))

    async def zeroconf(self, bed, _):
        output, _, usage = await self.measure(bed, [HERE / "zeroconf_scan.py", SECONDS, *network.TYPES])
        services = json.loads(output)
        last = max((each["time"] for each in services), default=0) - usage["begin"]
        return Run(len(whole(services)), last, usage)

    async def browse(self, bed, _):
        async def scan(bus):
            output, _, usage = await self.measure(bed, ["avahi-browse", "-artp"], bus, SECONDS)
            lines = [line.split(";", 9) for line in output.splitlines() if line.startswith("=")]
            found = {line[9].partition('"id=')[2].partition('"')[0] for line in lines if line[7]}
            return Run(len(found), usage["seconds"], usage)
        return await self.with_daemon(bed, scan)

    async def of(self, bed):
        await bed.neighbours
        for number in range(-1, bed.rounds):
            turn = number % len(bed.scanners)
            for scanner in bed.scanners[turn:] + bed.scanners[:turn]:
                timed = number == -1
                if not timed or scanner in ("embedded", "daemon"):
                    self.runs[bed.name, scanner].append(await getattr(self, scanner)(bed, timed))


def whole(services):
    """The numbers of the services that have what belongs to them."""
    return {txt["id"] for service in services for txt in [service.get("txtRecord", {})]
            if service.get("address") and txt.get("path") == "/status" and service["name"] == f"Device {txt['id']}"}


def beds(options, folder):
    numbers = iter(range(100))

    def bed(name, count, kind, *answers, scanners=tuple(SCANNERS), rounds=options.rounds):
        if options.beds and name not in options.beds:
            return []
        net = network.Network(folder, next(numbers))
        scanners = [scanner for scanner in scanners if scanner in options.scanners]
        return [Bed(name, count, net, getattr(net, kind)(count, *answers), scanners, rounds)]

    alone = ("embedded", "zeroconf")
    return [*(each for kind in ("neighbour", "crowd") for count in GAPS for each in bed(f"{kind}-{count}", count, kind)),
            *bed("slow-200", 200, "crowd", "--slow", 2, scanners=alone),
            *(each for seed in range(LOSSY_BEDS)
              for name, *more in (["lossy-200"], ["lossy4-200", "--ipv4"])
              for each in bed(name, 200, "crowd", "--loss", 0.2, "--seed", seed, *more, scanners=alone, rounds=4))]


async def measured(options, folder):
    bench = Bench(options.programs)
    await asyncio.gather(*map(bench.of, beds(options, folder)))
    return bench.runs


class Result:
    """The medians of some runs."""

    def __init__(self, runs):
        untimed = [run for run in runs if run.last is None] or runs
        self.runs = len(runs)
        self.found, self.notes = min(run.found for run in runs), runs[-1].notes
        self.last = statistics.median(run.last for run in runs if run.last is not None)
        self.cpu = 1000 * statistics.median(run.usage["cpu"] for run in untimed)
        self.mib = statistics.median(run.usage["kib"] for run in untimed) / 1024
        self.switches = statistics.median(run.usage["switches"] for run in untimed)
        self.daemon, self.bus = (statistics.median(getattr(run, each) for run in untimed) for each in ("daemon", "bus"))


def print_table(results):
    print(f"{'services':15}{'scanner':10}{'runs':>5}{'found':>7}{'last s':>8}{'CPU ms':>9}{'/zeroconf':>10}{'daemon ms':>10}"
          f"{'bus ms':>8}{'MiB':>6}{'switches':>9}")
    for (bed, scanner), each in sorted(results.items()):
        peer = results.get((bed, "zeroconf"))
        ratio = f"{each.cpu / peer.cpu:.2f}" if peer else ""
        print(f"{bed:15}{scanner:10}{each.runs:5}{each.found:7}{each.last:8.2f}{each.cpu:9.1f}{ratio:>10}{each.daemon:10.1f}"
              f"{each.bus:8.1f}{each.mib:6.1f}{each.switches:9.0f}")


def bounds(results):
    """What has to hold: of what, the value, and the most or, of what is found, the least."""
    for (bed, scanner), each in sorted(results.items()):
        count = int(bed.rpartition("-")[2])
        zeroconf, browse = results.get((bed, "zeroconf")), results.get((bed, "browse"))
        if scanner == "embedded":
            yield f"{bed}, embedded: found in the worst of {each.runs}", each.found, count, each.found == count
            if zeroconf and count >= 200 and bed.startswith(("neighbour", "crowd")):
                yield f"{bed}, embedded: CPU, of zeroconf's", each.cpu / zeroconf.cpu, 1, each.cpu <= zeroconf.cpu
            if count == 1000:
                yield f"{bed}, embedded: MiB", each.mib, 12, each.mib <= 12
        if scanner == "daemon":
            # The stock daemon's cache is too small for a thousand: then the scan says so.
            said = count == 1000 and "cache-entries-max" in each.notes
            yield f"{bed}, daemon: found{' (and said why)' if said else ''}", each.found, count, each.found == count or said
            if browse and count == 200:
                yield f"{bed}, daemon: the daemon's CPU, of that for avahi-browse", each.daemon / browse.daemon, 1.1, \
                    each.daemon <= 1.1 * browse.daemon


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--programs", type=pathlib.Path, default=HERE.parent / "build/release/bin")
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--beds", type=lambda text: text.split(","))
    parser.add_argument("--scanners", type=lambda text: text.split(","), default=SCANNERS)
    options = parser.parse_args()
    network.enter()
    with tempfile.TemporaryDirectory() as folder:
        runs = asyncio.run(measured(options, folder))
    results = {key: Result(each) for key, each in runs.items()}
    print_table(results)
    return network.report(bounds(results))


if __name__ == "__main__":
    sys.exit(main())
