"""What the benchmarks of whole processes stand on: networks of two sides in namespaces of the run, daemons in them,
and what a program has used."""

import asyncio
import json
import os
import pathlib
import signal
import subprocess
import sys

sys.path.append(str(pathlib.Path(__file__).resolve().parents[1] / "tests/support"))
import isolation
from crowd import txt_of

TYPES = ["_http._tcp", "_ipp._tcp", "_ssh._tcp", "_airprobe._tcp", "_mesh._udp"]
NO_BUS = "unix:path=/nonexistent"
BUS = """<busconfig><type>system</type><listen>unix:path={socket}</listen><auth>EXTERNAL</auth>
<policy context="default"><allow user="*"/><allow own="*"/><allow send_destination="*"/>
<allow send_type="method_call"/><allow receive_sender="*"/></policy></busconfig>"""
# As Debian's; the neighbour's cache would not hold what the others publish, too.
AVAHI = """[server]\nhost-name={name}\nallow-interfaces=v0\nenable-dbus={bus}\n{more}
ratelimit-interval-usec=1000000\nratelimit-burst=1000\n[wide-area]\nenable-wide-area=yes
[publish]\npublish-hinfo=no\npublish-workstation=no\n"""
SERVICE = """<?xml version="1.0"?><!DOCTYPE service-group SYSTEM "avahi-service.dtd"><service-group>
<name>Device {number}</name><service><type>{type}</type><host-name>near-{number}.local</host-name><port>{port}</port>
{txt}</service></service-group>"""


def enter():
    """Into namespaces of this run, with which all ends that it starts; ends with status 77 where the kernel refuses."""
    isolation.enter()
    os.environ["AMBREL_CONFIG"] = ""  # not what its user has set
    # The daemons' users are none in the namespace of an ordinary user.
    run("mount -t tmpfs users /mnt", "for user in root avahi messagebus; do echo $user:x:0:0::/:/bin/sh; done >/mnt/passwd",
        "for group in root avahi netdev messagebus; do echo $group:x:0:; done >/mnt/group",
        "mount --bind /mnt/passwd /etc/passwd; mount --bind /mnt/group /etc/group")
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))


class Network:
    """Two namespaces that a pair of links joins: scanners run in the near one, their neighbours in the far one."""

    def __init__(self, folder, number):
        self.folder = pathlib.Path(folder) / str(number)
        self.folder.mkdir()
        self.near, self.far = f"near{number}", f"far{number}"
        run(f"ip netns add {self.near}; ip netns add {self.far}",
            f"ip -n {self.near} link add v0 type veth peer name v0 netns {self.far}")
        for host, side in (1, self.near), (2, self.far):
            run(f"for link in all default v0; do ip netns exec {side} sysctl -qw net.ipv6.conf.$link.accept_dad=0; done",
                f"ip -n {side} addr add 10.77.0.{host}/16 dev v0; ip -n {side} addr add fd77::{host}/64 dev v0",
                f"ip -n {side} link set lo up; ip -n {side} link set v0 up")

    async def start(self, side, command, env=None, **options):
        env = {**os.environ, "DBUS_SYSTEM_BUS_ADDRESS": NO_BUS, **(env or {})}
        return await asyncio.create_subprocess_exec("ip", "netns", "exec", side, *map(str, command), env=env, **options)

    async def crowd(self, count, *options):
        """Responders, one for each service."""
        crowd = await self.start(self.far, [pathlib.Path(__file__).with_name("crowd.py"), "v0", count, *options, *TYPES],
                                 stdout=subprocess.PIPE)
        await crowd.stdout.readline()

    async def neighbour(self, count):
        """One daemon that publishes the services, each of a host of its own."""
        services = self.folder / "services"
        services.mkdir()
        with open(self.folder / "hosts", "w", encoding="ascii") as hosts:
            for number in range(count):
                txt = "".join(f"<txt-record>{text}</txt-record>" for text in txt_of(number))
                (services / f"{number}.service").write_text(
                    SERVICE.format(number=number, type=TYPES[number % len(TYPES)], port=1000 + number, txt=txt))
                hosts.write(f"10.77.{1 + number // 250}.{1 + number % 250} near-{number}.local\n"
                            f"fd77::1:{number:x} near-{number}.local\n")
        daemon = await self.avahi(self.far, "far", NO_BUS, f"mount --bind {services} /etc/avahi/services;"
                                  f"mount --bind {self.folder}/hosts /etc/avahi/hosts;")
        await reached(self.folder / "far.log", ".service) successfully established", count)
        await rested(daemon)

    async def avahi(self, side, name, bus, mounts="", objects=1024):
        more = f"objects-per-client-max={objects}" if bus != NO_BUS else "cache-entries-max=65536"
        (self.folder / f"{name}.conf").write_text(AVAHI.format(name=name, bus="no" if bus == NO_BUS else "yes", more=more))
        log = self.folder / f"{name}.log"
        with open(log, "w", encoding="utf-8") as file:
            daemon = await self.start(side, ["sh", "-ec", f"""mount -t tmpfs run /run; {mounts}
                exec avahi-daemon -f {self.folder}/{name}.conf --no-drop-root --no-chroot --no-rlimits --no-proc-title"""],
                stderr=file, env={"DBUS_SYSTEM_BUS_ADDRESS": bus})
        await reached(log, "startup complete")
        await rested(daemon)
        return daemon

    async def bus(self):
        """A bus of its own, and its address."""
        socket = self.folder / "bus"
        (self.folder / "bus.conf").write_text(BUS.format(socket=socket))
        socket.unlink(missing_ok=True)
        bus = await asyncio.create_subprocess_exec("dbus-daemon", "--nofork", "--nopidfile", "--nosyslog",
                                                   f"--config-file={self.folder}/bus.conf", stderr=subprocess.DEVNULL)
        while not socket.exists():
            await asyncio.sleep(0.01)
        return bus, f"unix:path={socket}"

    async def measure(self, programs, seconds, command, bus=NO_BUS):
        """What the command has written, and what it used; it is ended after so many seconds."""
        report = self.folder / "usage"
        process = await self.start(self.near, [programs / "Usage", report, seconds, *command], stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, env={"DBUS_SYSTEM_BUS_ADDRESS": bus})
        output, errors = await process.communicate()
        return output.decode(), errors.decode(), json.loads(report.read_text())


def run(*scripts):
    for script in scripts:
        subprocess.run(["sh", "-ec", script], check=True)


def services():
    """The options of a scan that is to look for those of the neighbours."""
    return [argument for kind in TYPES for argument in ("--service", kind)]


async def reached(log, text, count=1):
    for _ in range(1200):
        if log.read_text().count(text) >= count:
            return
        await asyncio.sleep(0.05)
    raise RuntimeError(f"waited in vain for {count} times {text}:\n{log.read_text()[-2000:]}")


async def rested(daemon):
    """Until a daemon has announced itself and all that it publishes, which it does thrice."""
    for _ in range(60):
        before = milliseconds_of(daemon)
        await asyncio.sleep(1.5)
        if milliseconds_of(daemon) - before < 2:
            return
    raise RuntimeError("waited in vain for a daemon to rest")


def milliseconds_of(process):
    """The processor time of a process that has one thread."""
    return int(pathlib.Path(f"/proc/{process.pid}/schedstat").read_text().split()[0]) / 1e6


def report(bounds):
    """Prints each (what, value, bound, whether it holds); the exit status."""
    kept = True
    for what, value, bound, holds in bounds:
        print(f"{'ok' if holds else 'FAILED':8}{what}: {value:.4g}, bound {bound:.4g}")
        kept = kept and holds
    return 0 if kept else 1
