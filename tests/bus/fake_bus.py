"""A system bus for one program that is tried: it serves, falls silent or dies as it is told to, and so do the daemons on it
(fake_daemons.py). What the program asks and leaves behind can be counted."""

import array
import collections
import itertools
import os
import socket
import struct

from jeepney.low_level import Endianness, Header, HeaderFields, Message, MessageFlag, MessageType, Parser

BUS = "org.freedesktop.DBus"


def error(name):
    """In place of an answer."""
    return (name,)


class Peer:
    """A connection of the program's."""

    def __init__(self, bus, connection):
        self.bus, self.socket = bus, connection
        self.name = f":1.{next(bus.numbers)}"
        self.has_greeted, self.matches = False, collections.Counter()
        self.parser, self.lines = Parser(), b""
        self.serials = itertools.count(1)
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_SNDTIMEO, struct.pack("ll", 5, 0))
        bus.loop.add_reader(connection, self.read)

    def close(self):
        if self in self.bus.peers:
            self.bus.peers.remove(self)
            self.bus.loop.remove_reader(self.socket)
            self.socket.close()
            self.bus.left(self)

    def read(self):
        try:
            data = self.socket.recv(65536, socket.MSG_DONTWAIT)
        except OSError:
            data = b""
        if not data:
            return self.close()
        if self.lines is not None:
            data = self.authenticate(data)
        for message in self.parser.feed(data) if data else []:
            self.bus.received(self, message)
            if self not in self.bus.peers:
                return None
        return None

    def authenticate(self, data):
        self.lines += data
        while self.lines is not None and b"\r\n" in self.lines:
            line, self.lines = self.lines.split(b"\r\n", 1)
            words = line.strip(b"\0").split()
            if words == [b"BEGIN"]:
                data, self.lines = self.lines, None
                return data
            asked = words[:2] == [b"AUTH", b"EXTERNAL"] and len(words) == 2
            answer = b"DATA" if asked else b"AGREE_UNIX_FD" if words == [b"NEGOTIATE_UNIX_FD"] else b"OK " + b"0" * 32
            self.write(answer + b"\r\n")
        return b""

    def write(self, data, descriptors=()):
        """What nobody takes any more is lost."""
        try:
            socket.send_fds(self.socket, [data], descriptors) if descriptors else self.socket.sendall(data)
        except OSError:
            pass

    def send(self, kind, sender, signature, body, **fields):
        fields = {getattr(HeaderFields, name): value for name, value in fields.items() if value is not None}
        if sender:
            fields[HeaderFields.sender] = sender
        if signature:
            fields[HeaderFields.signature] = signature
        header = Header(Endianness.little, kind, MessageFlag.no_reply_expected, 1, 0, next(self.serials), fields)
        descriptors = array.array("i")
        self.write(Message(header, body).serialise(fds=descriptors), descriptors)
        for descriptor in descriptors:
            os.close(descriptor)

    def answer(self, call, sender, answer):
        serial = call.header.serial
        if len(answer) == 1:
            self.send(MessageType.error, sender, "s", ("as the test wants it",), reply_serial=serial,
                      destination=self.name, error_name=answer[0])
        else:
            self.send(MessageType.method_return, sender, *answer, reply_serial=serial, destination=self.name)


class Bus:
    def __init__(self, loop, path, kinds):
        self.loop, self.path = loop, path
        self.numbers = itertools.count(1)
        self.peers = []
        self.greeted, self.at_work = loop.create_future(), loop.create_future()  # since all have told what they know
        self.socket, self.silent, self.closes, self.queue = None, False, False, []
        self.starts = {}  # by name, what a request to start it is answered; None: nothing
        self.daemons = {kind.name: kind(self) for kind in kinds}
        self.ending = None  # is called once when the program lets go of something
        self.start()
        for daemon in self.daemons.values():
            daemon.live()

    def start(self):
        if self.socket:
            return  # by somebody else meanwhile
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.bind(self.path)
        self.socket.listen(64)
        self.loop.add_reader(self.socket, self.accept)

    def stop(self):
        if self.socket:
            self.loop.remove_reader(self.socket)
            self.socket.close()
            os.unlink(self.path)
            self.socket = None
        for peer in list(self.peers):
            peer.close()

    def accept(self):
        connection, _ = self.socket.accept()
        if self.closes:
            connection.close()
        else:
            self.peers.append(Peer(self, connection))

    def go_on(self):
        self.silent = False
        for peer, message in self.queue:
            if peer in self.peers:
                self.received(peer, message)
        self.queue = []

    def end(self):
        if self.ending:
            ending, self.ending = self.ending, None
            ending()

    def left(self, peer):
        for daemon in self.daemons.values():
            daemon.left(peer)

    def received(self, peer, message):
        if self.silent:
            self.queue.append((peer, message))
            return
        fields = message.header.fields
        to, member = fields.get(HeaderFields.destination), fields.get(HeaderFields.member)
        if message.header.message_type != MessageType.method_call:
            return
        if to == BUS:
            answer = self.asked(peer, member, message.body)
            if answer:
                peer.answer(message, BUS, answer)
            return
        for daemon in self.daemons.values():
            if daemon.owner and to in (daemon.owner, daemon.name):
                daemon.asked(peer, message)
                return
        peer.answer(message, BUS, error(f"{BUS}.Error.ServiceUnknown"))

    def asked(self, peer, member, body):
        if member == "Hello":
            peer.has_greeted = True
            if not self.greeted.done():
                self.greeted.set_result(None)
            return "s", (peer.name,)
        if member == "GetNameOwner":
            daemon = self.daemons.get(body[0])
            return ("s", (daemon.owner,)) if daemon and daemon.owner else error(f"{BUS}.Error.NameHasNoOwner")
        if member == "StartServiceByName":
            return self.starts.get(body[0], error(f"{BUS}.Error.ServiceUnknown"))
        if member in ("AddMatch", "RemoveMatch"):
            peer.matches[body[0]] += 1 if member == "AddMatch" else -1
        return None, ()

    def signal(self, sender, path, interface, member, signature, body):
        for peer in [] if self.silent else list(self.peers):
            if peer.has_greeted:
                peer.send(MessageType.signal, sender, signature, body, path=path, interface=interface, member=member)

    def owner_changed(self, name, before, after):
        self.signal(BUS, "/org/freedesktop/DBus", BUS, "NameOwnerChanged", "sss", (name, before or "", after or ""))
