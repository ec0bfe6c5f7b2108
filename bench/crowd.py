#!/usr/bin/env python3
"""Many devices in one process, each of which answers multicast DNS for itself, over IPv4 and IPv6 and in datagrams
of its own, as RFC 6762 has it: a host with an address of each kind that offers one service.

    crowd.py INTERFACE COUNT [--loss SHARE] [--slow SECONDS] [--seed NUMBER] [--ipv4] TYPE...

The services are of the types in turn; each has its number in its name, in its port and as the id in its TXT record.
A share of the answers is lost, and each takes up to so many seconds longer; with the same seed, a device's answers
do so alike. Writes a line when it listens; with --ipv4 not to IPv6.
"""

import argparse
import heapq
import random
import selectors
import socket
import struct
import time

PORT = 5353
A, PTR, TXT, AAAA, SRV, ANY = 1, 12, 16, 28, 33, 255
SHARED, UNIQUE, UNICAST = 0x0001, 0x8001, 0x8000
SHORT, LONG = 120, 4500  # how long records hold, in seconds
RESPONSE, TRUNCATED = 0x8000, 0x0200
META_TYPE = "_services._dns-sd._udp.local"
ADDRESS, SERVICE, POINTER, SERVICE_TYPE = range(4)  # what a device answers with


def txt_of(number):
    return [f"id={number}", "model=Crowd 1", "path=/status", "flag"]


class Answer:
    """A datagram that is written, its names compressed; of its records the first `asked` ones were asked for."""

    def __init__(self, asked, *records):
        self.offsets = {}
        self.bytes = struct.pack(">6H", 0, RESPONSE | 0x0400, 0, asked, 0, len(records) - asked)
        for name, kind, flags, life, data, target in records:
            self.name(name)
            self.bytes += struct.pack(">2HI", kind, flags, life)
            length = len(self.bytes)
            self.bytes += b"\0\0" + data
            if target:
                self.name(target)
            size = struct.pack(">H", len(self.bytes) - length - 2)
            self.bytes = self.bytes[:length] + size + self.bytes[length + 2:]

    def name(self, rest):
        while rest:
            if rest in self.offsets:
                self.bytes += struct.pack(">H", 0xC000 | self.offsets[rest])
                return
            self.offsets[rest] = len(self.bytes)
            label, _, rest = rest.partition(".")
            self.bytes += bytes([len(label)]) + label.encode()
        self.bytes += b"\0"


class Device:
    def __init__(self, number, kind, seed):
        self.random = {family: random.Random(f"{seed} {number} {family}") for family in (socket.AF_INET, socket.AF_INET6)}
        self.type, self.host, self.instance = kind, f"crowd-{number}.local", f"Device {number}.{kind}"
        low = number + 1
        txt = b"".join(bytes([len(text)]) + text.encode() for text in txt_of(number))
        addresses = [(self.host, A, UNIQUE, SHORT, struct.pack(">I", 0x0A4D0100 + low), None),
                     (self.host, AAAA, UNIQUE, SHORT, bytes.fromhex("fd77") + struct.pack(">10xI", 0x10000 + low), None)]
        service = [(self.instance, SRV, UNIQUE, SHORT, struct.pack(">3H", 0, 0, 1000 + number), self.host),
                   (self.instance, TXT, UNIQUE, LONG, txt, None)]
        pointer = (self.type, PTR, SHARED, LONG, b"", self.instance)
        self.answers = {
            ADDRESS: Answer(2, *addresses).bytes,
            SERVICE: Answer(2, *service, *addresses).bytes,
            POINTER: Answer(1, pointer, *service, *addresses).bytes,
            SERVICE_TYPE: Answer(1, (META_TYPE, PTR, SHARED, LONG, b"", self.type)).bytes,
        }


class Query:
    """What a datagram asks for, as (name, type, class), and the targets of the pointers that it knows already."""

    def __init__(self, data):
        self.data, self.at, self.questions, self.known = data, 12, [], set()
        _, self.flags, questions, answers = struct.unpack_from(">4H", data)
        if self.flags & RESPONSE:
            return
        for _ in range(questions):
            self.questions.append((self.name(), *self.take(">2H")))
        for _ in range(answers):
            self.name()
            kind, _, life, size = self.take(">2HIH")
            end = self.at + size
            if kind == PTR and life > LONG / 2:
                self.known.add(self.name())
            self.at = end

    def take(self, layout):
        values = struct.unpack_from(layout, self.data, self.at)
        self.at += struct.calcsize(layout)
        return values

    def name(self):
        labels, at, end = [], self.at, None
        for _ in range(128):
            length = self.data[at]
            if length >= 0xC0:
                end = end or at + 2
                at = struct.unpack_from(">H", self.data, at)[0] & 0x3FFF
                continue
            at += 1 + length
            if length == 0:
                self.at = end or at
                return ".".join(labels)
            labels.append(self.data[at - length:at].decode().lower())
        raise ValueError("a name without end")


class Link:
    """The devices' common socket for one family of addresses."""

    def __init__(self, family, interface, devices, options):
        self.options, self.family = options, family
        self.by_name = {}  # who answers, and with what
        for device in devices:
            for name, answer in (device.type, POINTER), (device.instance, SERVICE), (device.host, ADDRESS):
                self.by_name.setdefault(name.lower(), []).append((device, answer))
        # Of those that offer a type the first says so; the others hear it, and need not.
        first_of_type = {device.type: device for device in reversed(devices)}
        self.by_name[META_TYPE] = [(device, SERVICE_TYPE) for device in first_of_type.values()]
        self.waiting, self.scheduled, self.sent = [], {}, {}
        self.group = ("224.0.0.251" if family == socket.AF_INET else "ff02::fb", PORT)
        self.socket = socket.socket(family, socket.SOCK_DGRAM)
        self.socket.setblocking(False)
        self.join(socket.if_nametoindex(interface))

    def join(self, index):
        four = self.family == socket.AF_INET
        level = socket.IPPROTO_IP if four else socket.IPPROTO_IPV6
        group = socket.inet_pton(self.family, self.group[0])
        interface = struct.pack("=4s4si", group, bytes(4), index) if four else struct.pack("=i", index)
        options = [(level, socket.IP_MULTICAST_IF, interface), (level, socket.IP_MULTICAST_TTL, 255),
                   (level, socket.IP_MULTICAST_LOOP, 0), (level, socket.IP_ADD_MEMBERSHIP, interface)] if four else [
                   (level, socket.IPV6_V6ONLY, 1), (level, socket.IPV6_MULTICAST_IF, interface),
                   (level, socket.IPV6_MULTICAST_HOPS, 255), (level, socket.IPV6_MULTICAST_LOOP, 0),
                   (level, socket.IPV6_JOIN_GROUP, group + interface)]
        for option in [(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1), *options]:
            self.socket.setsockopt(*option)
        self.socket.bind(("", PORT))

    def receive(self):
        while True:
            try:
                data, sender = self.socket.recvfrom(9000)
            except BlockingIOError:
                return
            self.hear(Query(data), sender)

    def hear(self, query, sender):
        now = time.monotonic()
        for name, kind, flags in query.questions:
            for device, answer in self.by_name.get(name.lower(), []):
                wanted = {SERVICE: (SRV, TXT, ANY), ADDRESS: (A, AAAA, ANY)}.get(answer, (PTR, ANY))
                if kind not in wanted:
                    continue
                to = sender if flags & UNICAST or sender[1] != PORT else self.group
                self.schedule(device, answer, to, now + self.delay(device, answer, query.flags))
        # Those that come in a later datagram of a truncated query count, too: the answers wait for them.
        for known in query.known:
            for key in [(POINTER, known), (SERVICE_TYPE, known)]:
                self.scheduled.pop(key, None)

    def delay(self, device, answer, flags):
        draw = device.random[self.family].random
        shared = answer in (POINTER, SERVICE_TYPE)
        least = 0.4 if flags & TRUNCATED else 0.02
        return (least + 0.1 * draw() if shared else 0) + self.options.slow * draw()

    def schedule(self, device, answer, to, due):
        target = {ADDRESS: device.host, SERVICE_TYPE: device.type}.get(answer, device.instance)
        key = (answer, target.lower())
        if key not in self.scheduled:
            self.scheduled[key] = due, device, to
            heapq.heappush(self.waiting, (due, key))

    def send_what_is_due(self):
        """Returns how long to wait for the next."""
        while self.waiting:
            due, key = self.waiting[0]
            now = time.monotonic()
            if due > now:
                return due - now
            heapq.heappop(self.waiting)
            if self.scheduled.get(key, (None,))[0] == due:
                _, device, to = self.scheduled.pop(key)
                self.send(device, key[0], to, now)
        return None

    def send(self, device, answer, to, now):
        # What everybody was told within the last second they are not told again.
        told = [(kind, device) for kind in range(answer + 1)] if answer != SERVICE_TYPE else [(answer, device)]
        if to == self.group:
            if now - self.sent.get(told[-1], -1) < 1:
                return
            self.sent.update((key, now) for key in told)
        if device.random[self.family].random() >= self.options.loss:
            self.socket.sendto(device.answers[answer], to)


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("interface")
    parser.add_argument("count", type=int)
    parser.add_argument("--loss", type=float, default=0)
    parser.add_argument("--slow", type=float, default=0)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--ipv4", action="store_true")
    parser.add_argument("types", nargs="+")
    options = parser.parse_args()
    devices = [Device(number, f"{options.types[number % len(options.types)]}.local", options.seed)
               for number in range(options.count)]
    families = (socket.AF_INET,) if options.ipv4 else (socket.AF_INET, socket.AF_INET6)
    links = [Link(family, options.interface, devices, options) for family in families]
    selector = selectors.DefaultSelector()
    for link in links:
        selector.register(link.socket, selectors.EVENT_READ, link)
    print("listening", flush=True)
    while True:  # until it is ended
        waits = [wait for wait in [link.send_what_is_due() for link in links] if wait is not None]
        for key, _ in selector.select(min(waits, default=None)):
            key.data.receive()


if __name__ == "__main__":
    main()
