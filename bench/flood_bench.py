#!/usr/bin/env python3
"""What a scan costs beside a neighbour that floods the network, and how many of the real services it finds.

    flood_bench.py [--programs FOLDER] [--rate N] [--services N] [--kinds NAME,...] [--daemon]

Each kind of flood (those of flood.py) has a network of its own, of as many responders as services. With --daemon an
avahi-daemon looks for the services instead, and its processor time stands beside the scan's. Fails where a scan finds
less than all real services, or takes more than its share of a processor.
"""

import argparse
import asyncio
import json
import pathlib
import subprocess
import sys
import tempfile

import network
from flood import KINDS

HERE = pathlib.Path(__file__).resolve().parent
MOST_CPU = 8.5  # seconds of the ten
WITHOUT = "none"


async def beside(options, folder, number, kind):
    net = network.Network(folder, number)
    await net.crowd(options.services)
    bus, daemon = network.NO_BUS, None
    if options.daemon:
        _, bus = await net.bus()
        daemon = await net.avahi(net.near, "scan", bus)
    flood = None
    if kind != WITHOUT:
        flood = await net.start(net.far, [HERE / "flood.py", "v0", options.rate, kind, *network.TYPES], stdout=subprocess.PIPE)
        await flood.stdout.readline()
    before = network.milliseconds_of(daemon) if daemon else 0
    mdns = ["--mdns", "daemon"] if daemon else []
    output, _, usage = await net.measure(options.programs, 30, [
        "timeout", "--signal", "KILL", "15", options.programs / "ambrel", "scan", "--only", "network", "--format", "json", *mdns, *network.services()], bus)
    spent = network.milliseconds_of(daemon) - before if daemon and daemon.returncode is None else 0
    found = json.loads(output)["nearbyDevices"] if output else []
    real = {each["name"] for each in found if each["name"].startswith("Device ") and each.get("txtRecord")}
    whole = {each["name"] for each in found if each["name"] in real and each.get("address")}
    false = len(found) - sum(each["name"].startswith("Device ") for each in found)
    print(f"{kind:16}{usage['status']:8}{len(real):8}{len(whole):8}{false:9}{usage['cpu']:9.2f}{spent / 1000:10.2f}"
          f"{usage['kib'] / 1024:8.1f}{usage['seconds']:9.2f}", flush=True)
    if flood:
        flood.kill()
        await flood.wait()
    return [(f"{kind}: found whole", len(whole), options.services, len(whole) == options.services),
            (f"{kind}: CPU s", usage["cpu"], MOST_CPU, usage["cpu"] <= MOST_CPU)]


async def measured(options, folder):
    print(f"{'flood':16}{'status':>8}{'found':>8}{'whole':>8}{'false':>9}{'CPU s':>9}{'daemon s':>10}{'MiB':>8}{'seconds':>9}")
    return [bound for number, kind in enumerate(options.kinds) for bound in await beside(options, folder, number, kind)]


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--programs", type=pathlib.Path, default=HERE.parent / "build/release/bin")
    parser.add_argument("--rate", type=int, default=1500)
    parser.add_argument("--services", type=int, default=200)
    parser.add_argument("--kinds", type=lambda text: text.split(","), default=[WITHOUT, *KINDS])
    parser.add_argument("--daemon", action="store_true")
    options = parser.parse_args()
    network.enter()
    with tempfile.TemporaryDirectory() as folder:
        bounds = asyncio.run(measured(options, folder))
    return network.report(bounds)


if __name__ == "__main__":
    sys.exit(main())
