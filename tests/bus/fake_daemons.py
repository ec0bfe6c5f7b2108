"""BlueZ, Avahi, GeoClue and logind as far as the program asks them, for fake_bus.Bus: each serves, falls silent, dies
or lies as it is told to."""

import os

from fake_bus import BUS, error
from jeepney.low_level import HeaderFields, MessageFlag

PROPERTIES = f"{BUS}.Properties"
OBJECTS = f"{BUS}.ObjectManager"


class Daemon:
    def __init__(self, bus):
        self.bus, self.owner = bus, None
        self.silent, self.queue, self.has_told = False, [], False
        self.lies = {}  # by member, or for all by "*": what it answers instead
        self.forget()

    def forget(self):
        """As it begins."""

    def left(self, peer):
        """The program has closed a connection."""

    def live(self):
        """Takes its name, from itself if it has it."""
        self.forget()
        self.silent, self.queue = False, []
        before, self.owner = self.owner, f":1.{next(self.bus.numbers)}"
        self.bus.owner_changed(self.name, before, self.owner)

    def die(self):
        self.forget()
        before, self.owner = self.owner, None
        if before:
            self.bus.owner_changed(self.name, before, None)

    def go_on(self):
        self.silent = False
        for peer, message in self.queue:
            if peer in self.bus.peers:
                self.asked(peer, message)
        self.queue = []

    def signal(self, path, interface, member, signature, body):
        if self.owner and not self.silent:
            self.bus.signal(self.owner, path, interface, member, signature, body)

    def asked(self, peer, message):
        fields = message.header.fields
        member = fields[HeaderFields.member]
        if member in ("StopDiscovery", "Free"):
            self.bus.end()
        if not self.owner:
            return
        if self.silent:
            self.queue.append((peer, message))
            return
        answer = self.lies.get(member) or self.lies.get("*") or \
            getattr(self, member)(peer, fields[HeaderFields.path], *message.body)
        if not message.header.flags & MessageFlag.no_reply_expected:
            peer.answer(message, self.owner, answer or (None, ()))
        self.answered(member, fields[HeaderFields.path])

    def answered(self, member, path):
        """Tells what follows."""

    def told(self):
        self.has_told = True
        if all(daemon.has_told for daemon in self.bus.daemons.values()) and not self.bus.at_work.done():
            self.bus.at_work.set_result(None)


class BlueZ(Daemon):
    name = "org.bluez"
    adapter, device = "/org/bluez/hci0", "/org/bluez/hci0/dev_C0_00_00_00_00_01"

    def forget(self):
        self.discoverers = set()

    def left(self, peer):
        self.discoverers.discard(peer)

    def GetManagedObjects(self, *_):
        adapter = {"Powered": ("b", True), "Discovering": ("b", bool(self.discoverers))}
        return "a{oa{sa{sv}}}", ({self.adapter: {"org.bluez.Adapter1": adapter}},)

    def SetDiscoveryFilter(self, *_):
        return None

    def StartDiscovery(self, peer, *_):
        self.discoverers.add(peer)

    def StopDiscovery(self, peer, *_):
        self.discoverers.discard(peer)

    def answered(self, member, path):
        if member in ("StartDiscovery", "StopDiscovery"):
            self.signal(self.adapter, PROPERTIES, "PropertiesChanged", "sa{sv}as",
                        ("org.bluez.Adapter1", {"Discovering": ("b", bool(self.discoverers))}, []))
            if self.discoverers:
                self.hear(self.device, "Phone")
                self.told()

    def hear(self, path, name):
        properties = {"Address": ("s", path[-17:].replace("_", ":")), "AddressType": ("s", "random"),
                      "Name": ("s", name), "RSSI": ("n", -50)}
        self.signal("/", OBJECTS, "InterfacesAdded", "oa{sa{sv}}", (path, {"org.bluez.Device1": properties}))


class Avahi(Daemon):
    name = "org.freedesktop.Avahi"
    interface = 1

    def forget(self):
        self.browsers = {}

    def left(self, peer):
        self.browsers = {path: one for path, one in self.browsers.items() if one != peer}

    def ServiceBrowserPrepare(self, peer, *_):
        path = f"/Client0/ServiceBrowser{next(self.bus.numbers)}"
        self.browsers[path] = peer
        return "o", (path,)

    def Start(self, *_):
        return None

    def Free(self, _, path):
        self.browsers.pop(path, None)

    def GetState(self, *_):
        return "i", (2,)

    def ResolveService(self, _, path, interface, protocol, name, kind, domain, *__):
        return "iissssisqaayu", (interface, 0, name, kind, domain, "near.local", 0, "10.0.0.9", 631, [b"a=b"], 0)

    def ResolveHostName(self, _, path, interface, protocol, host, family, *__):
        if family == 1:
            return error("org.freedesktop.Avahi.TimeoutError")
        return "iisisu", (interface, 0, host, 0, "10.0.0.9", 0)

    def answered(self, member, path):
        if member == "Start":
            self.signal(path, "org.freedesktop.Avahi.ServiceBrowser", "ItemNew", "iisssu",
                        (self.interface, 0, "Printer", "_ipp._tcp", "local", 0))
        elif member == "ResolveHostName":
            self.told()


class GeoClue(Daemon):
    name = "org.freedesktop.GeoClue2"

    def forget(self):
        self.clients = set()

    def left(self, peer):
        self.clients.discard(peer)

    def GetClient(self, peer, *_):
        self.clients.add(peer)
        return "o", ("/client",)

    def Set(self, *_):
        return None

    def Start(self, *_):
        return None

    def Get(self, *_):
        return "v", (("b", True),)

    def GetAll(self, *_):
        return "a{sv}", ({"Latitude": ("d", 48.0), "Longitude": ("d", 16.0), "Accuracy": ("d", 5.0)},)

    def answered(self, member, path):
        if member == "Start":
            self.signal("/client", "org.freedesktop.GeoClue2.Client", "LocationUpdated", "oo", ("/", "/location"))
        elif member == "GetAll":
            self.told()


class Logind(Daemon):
    name = "org.freedesktop.login1"
    session = "/org/freedesktop/login1/session/_31"

    def GetSessionByPID(self, *_):
        return "o", (self.session,)

    def Get(self, *_):
        return "v", (("s", "active"),)

    def GetAll(self, *_):
        return "a{sv}", ({"Active": ("b", True)},)

    def Inhibit(self, *_):
        return "h", (os.open("/dev/null", os.O_RDONLY),)

    def answered(self, member, path):
        if member == "GetAll":
            self.told()


DAEMONS = (BlueZ, Avahi, GeoClue, Logind)
