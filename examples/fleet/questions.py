"""The questions to a fleet, each device by itself and then of all: what they hold does not grow with the collections."""

import collections
import json
import pathlib
from typing import Any, Iterator

Answers = dict[str, Any]


def lines(folder: str) -> Iterator[dict[str, Any]]:
    """One collection at a time, each once, though what was sent twice is there twice; what was cut off is no line."""
    seen = set()
    for path in sorted(pathlib.Path(folder).glob("*.ndjson")):
        with path.open("rb") as file:
            for line in file:
                mark = hash(line)
                if mark in seen:
                    continue
                seen.add(mark)
                try:
                    collection = json.loads(line)
                except ValueError:
                    continue
                if isinstance(collection, dict) and "timestamp" in collection:
                    yield collection


def of_device(folder: str) -> Answers:
    """What the folder `device=NAME` says. A peripheral's identifier is known to one device only, so nothing else joins it."""
    device = pathlib.Path(folder).name.removeprefix("device=")
    busy: dict[str, list[int]] = collections.defaultdict(lambda: [0, 0, 0, 0])
    peripherals: dict[str, dict[str, Any]] = {}
    services: dict[tuple[str, str], dict[str, Any]] = {}
    for line in lines(folder):
        joined = line["wifiNetwork"]["connectedDevices"] if line.get("wifiNetwork") else []
        network = joined[0]["name"] if joined else None
        scan, nearby = line.get("bleScan") or [], line.get("nearbyDevices") or []
        totals = busy[network or "(none)"]
        for place, count in enumerate((1, len(scan), len(nearby), int(line.get("locationCollection") is not None))):
            totals[place] += count
        for each in scan:
            one = peripherals.setdefault(each["address"], {"name": None, "seen": 0, "networks": set()})
            one["name"] = one["name"] or each.get("name")
            one["seen"] += 1
            one["networks"] |= {network} - {None}
        for each in nearby:
            service = services.setdefault((each["name"], each["protocolType"]), {"seen": 0, "addresses": set()})
            service["seen"] += 1
            service["addresses"] |= {each.get("address")} - {None}
    return {
        "busy": dict(busy),
        "travel": [[device, address, one["name"], one["seen"], len(one["networks"])]
                   for address, one in peripherals.items() if len(one["networks"]) > 1],
        "services": {name: {**service, "devices": 1} for name, service in services.items()},
    }


def together(all_of_them: Answers, one: Answers) -> Answers:
    """Both, in the first."""
    for network, totals in one["busy"].items():
        before = all_of_them["busy"].get(network, [0] * len(totals))
        all_of_them["busy"][network] = [x + y for x, y in zip(before, totals)]
    all_of_them["travel"] += one["travel"]
    for name, service in one["services"].items():
        known = all_of_them["services"].setdefault(name, {"seen": 0, "addresses": set(), "devices": 0})
        known["seen"] += service["seen"]
        known["addresses"] |= service["addresses"]
        known["devices"] += service["devices"]
    return all_of_them


def nothing() -> Answers:
    return {"busy": {}, "travel": [], "services": {}}


def tables(answers: Answers) -> dict[str, list[list[Any]]]:
    """The rows of each answer, in order."""
    services = sorted(answers["services"].items())
    return {
        "busy": sorted([network, *totals] for network, totals in answers["busy"].items()),
        "travel": sorted(answers["travel"]),
        "printers": [[name, service["seen"], sorted(service["addresses"])]
                     for (name, kind), service in services if kind == "_ipp._tcp."],
        "shared": [[name, kind, service["devices"], service["seen"]]
                   for (name, kind), service in services if service["devices"] > 1],
    }
