#!/usr/bin/env python3
"""picture.py PROGRAM FILE: runs the GTK example beside what this starts for it in namespaces of its own (a neighbour
with services, peripherals of a BlueZ by dbusmock, a gpsd's word), and keeps a picture of its window as a PNG."""

import os
import pathlib
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time
import zlib

import dbus

sys.path += [str(pathlib.Path(__file__).parents[2] / "tests" / folder) for folder in ("network", "support")]
import isolation
from bed import Bed, Service

WIDTH, HEIGHT = 760, 480
SERVICES = [("Laser Printer, 2nd floor", "_ipp._tcp"), ("Colour Printer", "_ipp._tcp"), ("Router", "_http._tcp"),
            ("Weather station", "_http._tcp"), ("Living room", "_airplay._tcp"), ("nas", "_ssh._tcp")]
PERIPHERALS = [("C4:7C:8D:6A:11:02", "Flower care", -71), ("E0:11:22:33:44:55", "Heart rate", -58),
               ("F1:0A:9B:3C:77:21", "Desk lamp", -49), ("D2:5E:91:00:4B:8F", "Thermometer", -83)]
GPSD = (b'{"class":"VERSION","release":"3.25","proto_major":3,"proto_minor":15}\n'
        b'{"class":"TPV","device":"/dev/ttyS0","mode":3,"time":"%s","lat":47.37692,"lon":8.54172,"eph":6.0}\n')


def bluez():
    subprocess.Popen(["/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "bluez5"])
    bus = dbus.SystemBus()
    while not bus.name_has_owner("org.bluez"):
        time.sleep(0.05)
    mock = dbus.Interface(bus.get_object("org.bluez", "/org/bluez"), "org.bluez.Mock")
    mock.AddAdapter("hci0", "desk")
    def hear():
        for address, name, rssi in PERIPHERALS:
            time.sleep(0.4)
            path = mock.AddDevice("hci0", address, name)
            device = dbus.Interface(bus.get_object("org.bluez", path), "org.freedesktop.DBus.Mock")
            device.UpdateProperties("org.bluez.Device1", {"RSSI": dbus.Int16(rssi)})
    return hear


def gpsd():
    server = socket.create_server(("127.0.0.1", 2947))
    while True:
        client, _ = server.accept()
        client.sendall(GPSD % time.strftime("%Y-%m-%dT%H:%M:%S.000Z", time.gmtime()).encode())
        globals().setdefault("clients", []).append(client)


def png(xwd):
    """Of a frame buffer as Xvfb keeps it: 32 bits a pixel, blue first."""
    header = struct.unpack(">25I", xwd[:100])
    begin, line = header[0] + 12 * header[19], header[12]
    rows = b"".join(b"\0" + bytes(byte for x in range(WIDTH) for byte in xwd[at + 4 * x: at + 4 * x + 3][::-1])
                    for at in range(begin, begin + HEIGHT * line, line))
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", WIDTH, HEIGHT, 8, 2, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))


def main(program, picture):
    with tempfile.TemporaryDirectory() as folder:
        bed = Bed(folder)
        bed.join_sides()
        bed.run("ip -n scan route add default via 10.77.0.2")
        bed.write_services([Service(number, name=name, types=[kind] * (number + 1))
                            for number, (name, kind) in enumerate(SERVICES)], {})
        bed.avahi("near", with_bus=False)
        bed.wait_for_services(len(SERVICES))
        bed.bus()
        hear = bluez()
        subprocess.Popen(["ip", "netns", "exec", "scan", sys.executable, __file__, "gpsd"])
        display = subprocess.Popen(["Xvfb", "-displayfd", "1", "-ac", "-nolisten", "tcp", "-fbdir", folder,
                                    "-screen", "0", f"{WIDTH}x{HEIGHT}x24"], stdout=subprocess.PIPE, text=True)
        os.environ |= {"DISPLAY": f":{display.stdout.readline().strip()}", "GTK_THEME": "Adwaita", "GSK_RENDERER": "cairo"}
        window = subprocess.Popen(["ip", "netns", "exec", "scan", program], stdout=subprocess.PIPE, text=True)
        threading.Thread(target=hear, daemon=True).start()
        time.sleep(6) # in the midst of the collection
        pathlib.Path(picture).write_bytes(png(pathlib.Path(folder, "Xvfb_screen0").read_bytes()))
        window.terminate()
        print("exit status", window.wait())
        display.terminate()


if __name__ == "__main__":
    if sys.argv[1] == "gpsd":
        gpsd()
    isolation.enter()
    main(*sys.argv[1:])
