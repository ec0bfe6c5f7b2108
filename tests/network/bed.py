#!/usr/bin/env python3
"""Runs a command that scans for services beside a real neighbour, and checks what it found.

    bed.py [--daemon | --daemon-alone] [--services N [--ipv6-only] | --variety] [--at SECONDS WHAT]...
        [--types TYPE,... | --subtype] [--details] [--fares HOW] COMMAND [ARGUMENT...]

The command runs in a network namespace that a veth pair joins to another, in which an avahi-daemon
publishes services of the three types below, N of them on hosts of their own, or 19 of twelve types. With --ipv6-only it
speaks nothing else, and tells no IPv4 address. The command is to print a collection's dictionary. With --daemon an
avahi-daemon on a private bus runs on the command's side, with --daemon-alone one that lets no other use its port. So long into the scan (at 0: before it)
the daemon gets a signal (KILL, STOP, CONT) or is started again (START), or the neighbour publishes
ten services more (PUBLISH). The command looks for services of all types, for those of --types, or for the one of a --subtype.
With --details it is `ambrel`, and what its details say of the services is checked, too; with --fares, how that search
ended, and by what means, such as "listened avahi-daemon".

All of it lives in namespaces of this run and is gone with it. Exit status 77: the kernel
refuses them.
"""

import argparse
import json
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time
from xml.sax.saxutils import escape

import jsonschema

sys.path.append(str(pathlib.Path(__file__).parents[1] / "support"))
import isolation

TYPES = ["_ipp._tcp", "_http._tcp", "_ambrel-test._udp"]
# The last of TYPES is one that nobody can know of.
MORE_TYPES = ["_ipps._tcp", "_printer._tcp", "_scanner._tcp", "_airplay._tcp", "_raop._tcp", "_hap._tcp", "_ssh._tcp",
              "_smb._tcp", "_matterc._udp"]
SUBTYPE = "_Colour-1%"
NEIGHBOUR_IPV4 = "10.77.0.2"

TXT = """<txt-record>id={id}</txt-record>
<txt-record value-format="binary-hex">bin=fffe00807a</txt-record>
<txt-record>Dup=first</txt-record><txt-record>dup=second</txt-record>
<txt-record>flag</txt-record><txt-record>empty=</txt-record>
<txt-record>eq=a=b</txt-record><txt-record>utf8=café</txt-record>"""


class Service:
    """A service that the neighbour publishes."""

    def __init__(self, number, name=None, host=None, protocol="any", address=NEIGHBOUR_IPV4,
                 types=TYPES):
        self.number, self.host, self.protocol, self.address = number, host, protocol, address
        self.name = name or f"Device {number}"
        self.type = types[number % len(types)]
        self.is_of_subtype = number == 0

    def file(self):
        subtype = f"<subtype>{SUBTYPE}._sub.{self.type}</subtype>" if self.is_of_subtype else ""
        host = f"<host-name>{self.host}</host-name>" if self.host else ""
        return (
            '<?xml version="1.0"?><!DOCTYPE service-group SYSTEM "avahi-service.dtd">'
            f'<service-group><name>{escape(self.name)}</name><service protocol="{self.protocol}">'
            f"<type>{self.type}</type>{subtype}{host}<port>{1000 + self.number}</port>"
            f"{TXT.format(id=self.number)}</service></service-group>"
        )

    def expected(self):
        txt = {"id": str(self.number), "Dup": "first", "flag": "", "empty": "", "eq": "a=b", "utf8": "café"}
        found = {"name": self.name, "protocolType": self.type + ".", "txtRecord": txt}
        return found | ({"address": self.address} if self.address else {})


def few_services():
    return [
        Service(0),
        Service(1, name="Café d.o\\t & 1"),
        Service(2),
        Service(3, name="By IPv6 only", protocol="ipv6"),
        Service(4, name="By IPv4 only", protocol="ipv4"),
        Service(5, name="IPv6 host", host="six.local", address=None),
    ], {"six.local": ["fd77::66"]}


def varied_services():
    types = TYPES + MORE_TYPES
    return [Service(number, types=types) for number in range(19)], {}


def many_services(count, first=0):
    services, hosts = [], {}
    for i in range(first, first + count):
        address = f"10.77.{1 + i // 250}.{1 + i % 250}"
        services.append(Service(i, host=f"h{i}.local", address=address))
        hosts[f"h{i}.local"] = [address, f"fd77::1:{i:x}"]
    return services, hosts


class Bed:
    def __init__(self, folder):
        self.folder = pathlib.Path(folder)

    def shell(self, script, side=None, **options):
        inside = ["ip", "netns", "exec", side] if side else []
        return subprocess.Popen([*inside, "sh", "-ec", script], **options)

    def run(self, script, side=None):
        if self.shell(script, side).wait() != 0:
            raise RuntimeError(f"failed: {script}")

    def join_sides(self):
        # avahi-daemon hands its folder to this user, and only root exists in a user namespace.
        for file in "passwd", "group":
            (self.folder / file).write_text("root:x:0:\navahi:x:0:\n" if file == "group"
                                            else "root:x:0:0::/:\navahi:x:0:0::/:\n")
            self.run(f"mount --bind {self.folder}/{file} /etc/{file}")
        self.run("ip netns add scan; ip netns add near;"
                 "ip -n scan link add v0 type veth peer name v0 netns near")
        for number, side in enumerate(["scan", "near"], start=1):
            # Without duplicate address detection IPv6 is usable at once.
            self.run(f"""for f in all v0; do echo 0 > /proc/sys/net/ipv6/conf/$f/accept_dad || true; done
                ip addr add 10.77.0.{number}/16 dev v0; ip addr add fd77::{number}/64 dev v0 nodad
                ip link set lo up; ip link set v0 up""", side)

    def bus(self):
        socket = self.folder / "bus"
        (self.folder / "bus.conf").write_text(f"""<busconfig><type>system</type>
            <listen>unix:path={socket}</listen><auth>EXTERNAL</auth>
            <policy context="default"><allow user="*"/><allow own="*"/><allow send_destination="*"/>
            <allow send_type="method_call"/><allow receive_sender="*"/></policy></busconfig>""")
        log = self.folder / "bus.log"
        subprocess.Popen(["dbus-daemon", "--nofork", "--nopidfile", f"--config-file={self.folder}/bus.conf"],
                         stderr=open(log, "w"))
        wait_until(socket.exists, "the bus", log)
        os.environ["DBUS_SYSTEM_BUS_ADDRESS"] = f"unix:path={socket}"

    def write_services(self, services, hosts):
        folder = self.folder / "services"
        folder.mkdir(exist_ok=True)
        for service in services:
            (folder / f"{service.number}.service").write_text(service.file())
        with open(self.folder / "hosts", "a") as file:
            file.writelines(f"{a} {host}\n" for host, addresses in hosts.items() for a in addresses)

    def avahi(self, side, with_bus, alone=False, ipv4=True):
        folder = self.folder / side
        folder.mkdir(exist_ok=True)
        (folder / "conf").write_text(
            f"[server]\nhost-name={side}\nallow-interfaces=v0\nenable-dbus={'yes' if with_bus else 'no'}\n"
            f"use-ipv4={'yes' if ipv4 else 'no'}\n"
            f"disallow-other-stacks={'yes' if alone else 'no'}\n"
            "[wide-area]\nenable-wide-area=no\n[publish]\npublish-workstation=no\npublish-hinfo=no\n")
        own = f"mount --bind {self.folder}/services /etc/avahi/services; mount --bind {self.folder}/hosts /etc/avahi/hosts;"
        log = folder / "log"
        daemon = self.shell(
            f"""mount -t tmpfs run /run; {'' if with_bus else own}
            exec avahi-daemon -f {folder}/conf --no-drop-root --no-chroot --no-rlimits --no-proc-title""",
            side, stderr=open(log, "w"))
        wait_until(lambda: "startup complete" in log.read_text(), "avahi-daemon", log)
        return daemon

    def wait_for_services(self, count):
        log = self.folder / "near" / "log"
        wait_until(lambda: log.read_text().count("successfully established") >= count, "the services", log)


def wait_until(condition, what, log):
    for _ in range(400):
        if condition():
            return
        time.sleep(0.05)
    raise RuntimeError(f"waited in vain for {what}:\n{log.read_text()}")


def check_details(file, services):
    """The file has to tell where each service is served, in lines of the documented form."""
    schema = json.loads((pathlib.Path(__file__).parents[2] / "docs/details.schema.json").read_text())
    lines = [json.loads(line) for line in file.read_text().splitlines()]
    for line in lines:
        jsonschema.validate(line, schema)
    resolved = {line["name"]: line for line in lines if line["report"] == "resolved"}
    for service in services:
        told = resolved[service.name]
        place = told["hostName"], told["port"], told["interface"]
        assert place == (service.host or "near.local", 1000 + service.number, "v0"), told
        assert "62696e3dfffe00807a" in told["txtRecordData"], told
        assert (service.address or "fd77::66") in told["addresses"], told


def check(output, services):
    found = json.loads(output)["nearbyDevices"]
    for device in found:
        device.pop("timestamp", None)
    expected = [service.expected() for service in services]
    missing = [device for device in expected if device not in found]
    surplus = [device for device in found if device not in expected]
    for word, devices in ("missing", missing), ("unexpected", surplus):
        for device in devices[:10]:
            print(f"{word}: {json.dumps(device, ensure_ascii=False)}")
    print(f"{len(expected)} published, {len(found)} found, {len(missing)} missing, {len(surplus)} unexpected")
    return 0 if not missing and not surplus else 1


def inside(options):
    with tempfile.TemporaryDirectory() as folder:
        bed = Bed(folder)
        os.environ["DBUS_SYSTEM_BUS_ADDRESS"] = f"unix:path={folder}/no-bus"
        bed.join_sides()
        services, hosts = (varied_services() if options.variety else
                           many_services(options.services) if options.services else few_services())
        for service in services if options.ipv6_only else []:
            service.address = None
        bed.write_services(services, hosts)
        neighbour = bed.avahi("near", with_bus=False, ipv4=not options.ipv6_only)
        bed.wait_for_services(len(services))
        daemon = None

        def happen(what):
            nonlocal daemon
            if what == "START":
                daemon = bed.avahi("scan", with_bus=True, alone=options.daemon_alone)
            elif what == "PUBLISH":
                late, hosts = many_services(10, first=1000)
                bed.write_services(late, hosts)
                neighbour.send_signal(signal.SIGHUP)
                services.extend(late)
            else:
                daemon.send_signal(signal.Signals["SIG" + what])

        if options.daemon or options.daemon_alone:
            bed.bus()
            happen("START")
        for what in (what for seconds, what in options.at if seconds == "0"):
            happen(what)
        details = pathlib.Path(folder) / "details"
        outcome = pathlib.Path(folder) / "outcome"
        more = [*(["--details", details] if options.details else []), *(["--outcome", outcome] if options.fares else [])]
        scan = subprocess.Popen(["ip", "netns", "exec", "scan", *options.command, *more], stdout=subprocess.PIPE)
        start = time.monotonic()
        for seconds, what in (event for event in options.at if event[0] != "0"):
            time.sleep(max(0, start + float(seconds) - time.monotonic()))
            happen(what)
        output, _ = scan.communicate()
        if options.details:
            check_details(details, services)
        if options.fares:
            fared = json.loads(outcome.read_text())["sources"]["services"]
            assert f"{fared['outcome']} {fared['means']}" == options.fares, fared
        services = [service for service in services if (not options.types or service.type in options.types)
                    and (not options.subtype or service.is_of_subtype)]
        if scan.returncode != 0:
            print(f"ended with {scan.returncode}, having printed:\n{output.decode(errors='backslashreplace')}")
            return 1
        return check(output, services)


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--daemon", action="store_true")
    parser.add_argument("--services", type=int, default=0)
    parser.add_argument("--daemon-alone", action="store_true")
    parser.add_argument("--ipv6-only", action="store_true")
    parser.add_argument("--details", action="store_true")
    parser.add_argument("--fares")
    parser.add_argument("--at", nargs=2, action="append", default=[])
    parser.add_argument("--variety", action="store_true")
    parser.add_argument("--subtype", action="store_true")
    parser.add_argument("--types", type=lambda text: text.split(","), default=[])
    parser.add_argument("command", nargs=argparse.REMAINDER)
    options = parser.parse_args()
    isolation.enter()
    return inside(options)


if __name__ == "__main__":
    sys.exit(main())
