#!/usr/bin/env python3
"""A neighbour that means harm, or is broken: it sends multicast DNS, so many datagrams a second, of one kind.

    flood.py INTERFACE RATE KIND [--count N] TYPE...

KIND is one of those of `Flood` below. Where it lies about services, it lies about those of the types. Ends after N
datagrams, else when it is ended.
"""

import argparse
import itertools
import os
import random
import socket
import struct
import time

import crowd
from crowd import A, AAAA, LONG, PTR, SHARED, SHORT, SRV, TXT, UNIQUE, Answer

CNAME = 5
ETHERNET = bytes.fromhex("01005e0000fb 020000000001 0800")  # to the group, from nobody, IPv4
KEPT = 64  # datagrams of others, and names of their services


class Flood:
    """What is sent, by kind: each makes the next datagram."""

    def __init__(self, interface, types):
        self.types = [f"{kind}.local" for kind in types]
        self.random = random.Random(1)
        self.numbers = itertools.count()
        self.hearing = crowd.Link(socket.AF_INET, interface, [], None)
        self.heard, self.pointers = [], []
        self.raw = socket.socket(socket.AF_PACKET, socket.SOCK_RAW)
        self.raw.bind((interface, 0))

    def hear(self):
        """Keeps what others send."""
        while True:
            try:
                data, _ = self.hearing.socket.recvfrom(9000)
            except BlockingIOError:
                return
            kept = self.pointers if data[2] & 0x80 else self.heard
            kept.append(data)
            del kept[:-KEPT]

    def service(self, kind, life=LONG, flags=SHARED):
        number = next(self.numbers)
        host, instance = f"flood-{number}.local", f"Flood {number}.{kind}"
        return Answer(1, (kind, PTR, flags, life, b"", instance),
                      (instance, SRV, UNIQUE, SHORT, struct.pack(">3H", 0, 0, 9), host),
                      (instance, TXT, UNIQUE, LONG, b"\7flood=1", None),
                      (host, A, UNIQUE, SHORT, struct.pack(">I", 0x0A4DF000 + number % 4096), None)).bytes

    def same(self):
        self.numbers = itertools.count()
        return self.service(self.types[0])

    def services(self):
        return self.service(self.random.choice(self.types))

    def pointers_only(self):
        kind = self.random.choice(self.types)
        return Answer(20, *[(kind, PTR, SHARED, LONG, b"", f"Flood {next(self.numbers)}.{kind}") for _ in range(20)]).bytes

    def strangers(self):
        return self.service(f"_flood{next(self.numbers) % 999}._tcp.local")

    def addresses(self):
        names = [f"flood-{next(self.numbers)}" for _ in range(10)]
        return Answer(30, *[(f"{name}.local", A, UNIQUE, SHORT, os.urandom(4), None) for name in names],
                      *[(f"{name}.local", AAAA, UNIQUE, SHORT, os.urandom(16), None) for name in names],
                      *[(f"{name}.in-addr.arpa", PTR, UNIQUE, SHORT, b"", f"{name}.local") for name in names]).bytes

    def junk(self):
        return os.urandom(self.random.choice([1, 11, 12, 40, 500, 1400]))

    def broken(self):
        whole = self.services()
        return self.random.choice([
            whole[:self.random.randrange(len(whole))],                                         # cut short
            whole[:6] + b"\xff\xff" + whole[8:],                                               # counts what is not there
            whole[:12] + b"\xc0\x0c" + whole[14:],                                             # a name that is itself
            whole[:12] + b"\xff\xff" + whole[14:],                                             # one beyond the end
            whole.replace(struct.pack(">I", SHORT), struct.pack(">I", SHORT) + b"\xff\xff"),   # lengths beyond the end
            bytes(self.random.choice([byte, byte, byte, 0xC0, 0xFF]) for byte in whole),       # anything
        ])

    def queries(self):
        name = f"flood-{next(self.numbers)}.local" if self.random.random() < 0.5 else self.random.choice(self.types)
        question = Answer(1, (name, PTR, SHARED, 0, b"", None)).bytes
        return struct.pack(">6H", 0, 0, 1, 0, 0, 0) + question[12:-6]

    def echoes(self):
        return self.random.choice(self.heard or [self.queries()])

    def answers_again(self):
        return self.random.choice(self.pointers or [self.queries()])

    def goodbyes(self):
        """For what others have told, as they told it."""
        said = self.random.choice(self.pointers or [self.same()])
        return said.replace(struct.pack(">I", LONG), bytes(4)).replace(struct.pack(">I", SHORT), bytes(4))

    def flushes(self):
        """What replaces others' pointers, addresses and places."""
        kind = self.random.choice(self.types)
        number = self.random.randrange(200)
        return Answer(3, (kind, PTR, UNIQUE, LONG, b"", f"Flood {next(self.numbers)}.{kind}"),
                      (f"crowd-{number}.local", A, UNIQUE, SHORT, os.urandom(4), None),
                      (f"Device {number}.{self.types[number % len(self.types)]}", SRV, UNIQUE, SHORT, os.urandom(6),
                       f"flood-{number}.local")).bytes

    def aliases(self):
        """Names that stand for themselves, and for one another."""
        kind = self.random.choice(self.types)
        return Answer(1, (kind, CNAME, SHARED, LONG, b"", self.random.choice([kind, *self.types]))).bytes

    def spoofed(self):
        return self.services()

    def send(self, kind):
        data = getattr(self, kind)()
        host = 0x0A4D0000 + (self.random.randrange(0x3000, 0xFF00) if kind == "spoofed" else 0x0909)
        udp = struct.pack(">4H", crowd.PORT, crowd.PORT, 8 + len(data), 0)
        header = struct.pack(">BBHHHBBHI", 0x45, 0, 28 + len(data), 0, 0, 255, 17, 0, host) + socket.inet_aton("224.0.0.251")
        checksum = sum(struct.unpack(">10H", header))
        for _ in range(2):
            checksum = (checksum & 0xFFFF) + (checksum >> 16)
        self.raw.send(ETHERNET + header[:10] + struct.pack(">H", 0xFFFF - checksum) + header[12:] + udp + data)


KINDS = ["same", "services", "pointers_only", "strangers", "addresses", "junk", "broken", "queries", "echoes", "answers_again",
         "goodbyes", "flushes", "aliases", "spoofed"]


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("interface")
    parser.add_argument("rate", type=float)
    parser.add_argument("kind", choices=KINDS)
    parser.add_argument("--count", type=int)
    parser.add_argument("types", nargs="+")
    options = parser.parse_args()
    flood = Flood(options.interface, options.types)
    print("listening", flush=True)
    start, sent = time.monotonic(), 0
    while options.count is None or sent < options.count:
        flood.hear()
        due = int((time.monotonic() - start) * options.rate)
        for _ in range(min(due - sent, 100)):
            flood.send(options.kind)
        sent = due
        time.sleep(0.002)


if __name__ == "__main__":
    main()
