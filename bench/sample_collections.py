#!/usr/bin/env python3
"""Writes a replay script of many collections: ten weeks of a device that its user carries between a
home, an office, a café and a train, one collection every ten minutes.

    bench/sample_collections.py 10000 [DEVICE] | ambrel replay --quiet - > sample.ndjson

The same numbers give the same script, and thus the same collections, everywhere. Another DEVICE than 1 has another
home, and shares the office and the café.
"""

import json
import random
import sys

START = 1_700_000_000  # 2023-11-14T22:13:20Z, a Tuesday
EVERY = 600  # seconds from one collection to the next
TYPES = ["_ipp._tcp.", "_airplay._tcp.", "_ssh._tcp."]

if len(sys.argv) not in (2, 3) or not all(map(str.isdigit, sys.argv[1:])):
    sys.exit(__doc__)
device = int(sys.argv[2]) if len(sys.argv) == 3 else 1
rng = random.Random(device)
owner = f" {device}" if device > 1 else ""


def identifiers(count):
    def one():
        text = f"{rng.getrandbits(128):032X}"
        return "-".join((text[:8], text[8:12], text[12:16], text[16:20], text[20:]))

    return [one() for _ in range(count)]


def service(place, kind, name, host, **txt):
    return {"place": place, "type": kind, "name": name, "host": host, "txt": txt}


# SSID, interface address, how many of the place's peripherals are in range, and its location.
PLACES = {
    "home": (f"Birch House{owner}", "192.168.1.23", (4, 9), (59.3326, 18.0649)),
    "office": ("Office", "10.20.0.117", (25, 60), (59.3409, 18.0580)),
    "cafe": ("Café Nord", "172.16.4.52", (8, 20), (59.3358, 18.0712)),
    "train": (None, None, (15, 45), None),
}
RESIDENTS = {"home": identifiers(12), "office": identifiers(90)}
COMPANIONS = list(zip(identifiers(3), ["Watch", "Earbuds", "Key finder"]))
SERVICES = [
    service("home", "_ipp._tcp.", f"Home printer{owner}", 40, ty="InkPrint 200", color="T"),
    service("home", "_airplay._tcp.", f"Living room{owner}", 41, model="TV-55"),
    service("office", "_ipp._tcp.", "Printer 3rd floor", 30, ty="LaserPrint 9", color="F"),
    service("office", "_ipp._tcp.", "Printer 4th floor", 31, ty="LaserPrint 9", color="F"),
    service("office", "_ssh._tcp.", "build-07", 77),
    service("cafe", "_airplay._tcp.", "Bar screen", 9, model="TV-32"),
]


def place_at(time):
    day, hour = time // 86400, time % 86400 / 3600
    if (day + 3) % 7 >= 5:  # 1970-01-01 was a Thursday
        return "cafe" if 10 <= hour < 12 else "home"
    if 8 <= hour < 9 or 17 <= hour < 18:
        return "train"
    if 12 <= hour < 13:
        return "cafe"
    return "office" if 9 <= hour < 17 else "home"


def peripherals(place):
    """Strangers come once and never again; who lives or works there is met again."""
    seen = [each for each in COMPANIONS if rng.random() < 0.9]
    count = rng.randint(*PLACES[place][2])
    residents = RESIDENTS.get(place, [])
    known = rng.sample(residents, min(count, len(residents)) * 2 // 3)
    seen += [(each, f"Device {each[:4]}" if each < "8" else None) for each in known]
    seen += [(each, None) for each in identifiers(count - len(known))]
    return seen


def resolved(each, time):
    # A printer gets another address every week.
    host = each["host"] + (time // (7 * 86400) % 3 if each["type"] == "_ipp._tcp." else 0)
    prefix = PLACES[each["place"]][1].rsplit(".", 1)[0]
    octets = bytes(int(part) for part in f"{prefix}.{host}".split("."))
    pairs = [f"{key}={value}".encode() for key, value in each["txt"].items()]
    return {
        "type": each["type"],
        "name": each["name"],
        "addresses": [(b"\x10\x02\x02\x77" + octets + bytes(8)).hex()],
        "txt": b"".join(bytes([len(pair)]) + pair for pair in pairs).hex(),
    }


def collection(begin):
    time = START + begin
    place = place_at(time)
    ssid, address, _, position = PLACES[place]
    interfaces = [{"name": "en0", "address": address}] if address else []
    info = {"en0": {"SSID": ssid, "BSSID": "02:00:00:00:00:01"}} if ssid else {}
    yield 0, {"network": {"interfaces": interfaces}}
    yield 0, {"network": {"captive": {"supported": ["en0"] if ssid else None, "info": info}}}
    yield 0, {"host": "startScanningOnce"}
    yield 0.25, {"bluetooth": {"state": 5}}
    for identifier, name in peripherals(place):
        yield rng.uniform(0.3, 9), {"bluetooth": {"discover": {"identifier": identifier, "name": name}}}
    for each in SERVICES:
        if each["place"] == place and rng.random() < 0.95:
            at = rng.uniform(0.5, 3)
            yield at, {"bonjour": {"found": {"type": each["type"], "name": each["name"]}}}
            if rng.random() < 0.97:  # some never answer
                yield at + 0.25, {"bonjour": {"resolved": resolved(each, time)}}
    if position and rng.random() < 0.8:
        latitude, longitude = (round(rng.gauss(degrees, 0.0002), 6) for degrees in position)
        fix = {"latitude": latitude, "longitude": longitude, "timestamp": time + 2}
        yield 4, {"location": {"update": [fix]}}


def main():
    count = int(sys.argv[1])
    write = lambda line: print(json.dumps(line, ensure_ascii=False, separators=(",", ":")))
    write({"ambrelReplay": 1, "start": START, "bonjourServices": TYPES})
    granted = [f"{source}{kind}Status" for source in ("bluetooth", "location", "network")
               for kind in ("Setting", "Permission")]
    write({"at": 0, "statuses": dict.fromkeys(granted, "granted")})
    for begin in range(0, count * EVERY, EVERY):
        for offset, step in sorted(collection(begin), key=lambda pair: pair[0]):
            write({"at": round(begin + offset, 3), **step})
    write({"at": count * EVERY, "end": True})


main()
