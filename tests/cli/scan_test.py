#!/usr/bin/env python3
"""Runs `ambrel scan` and `ambrel watch` as a user does: exit statuses, what goes where, signals, pipes, a terminal.

Nothing here looks at a network: only the location is ever granted.
"""

import fcntl
import json
import os
import pty
import re
import select
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time
import unittest

AMBREL = sys.argv.pop(1)
NOTHING = ["--without", "bluetooth,location,network"]  # is delivered at once
RUNNING = ["--only", "location"]  # takes its ten seconds, in silence
PATIENCE = 30


def environment(**changes):
    kept = {k: v for k, v in os.environ.items() if k not in ("AMBREL_INFO", "NO_COLOR")}
    return {**kept, "TERM": "xterm", **changes}


def scan(*arguments, command="scan", **changes):
    return subprocess.run([AMBREL, command, *arguments], env=environment(**changes),
                          capture_output=True, text=True, timeout=PATIENCE)


class Terminal:
    """A pseudo-terminal of 60 columns for a program's standard error."""

    def __init__(self, columns=60):
        self.master, self.slave = pty.openpty()
        fcntl.ioctl(self.slave, 0x5414, struct.pack("HHHH", 24, columns, 0, 0))  # TIOCSWINSZ
        self.text = ""

    def read_lines(self, count):
        """Waits until so many further states of the progress line have been drawn."""
        wanted = self.text.count("peripherals") + count
        end = time.monotonic() + PATIENCE
        while self.text.count("peripherals") < wanted and time.monotonic() < end:
            if select.select([self.master], [], [], 0.1)[0]:
                self.text += os.read(self.master, 65536).decode()
        return self.text.count("peripherals") >= wanted

    def read_rest(self):
        os.close(self.slave)
        try:
            while True:
                self.text += os.read(self.master, 65536).decode()
        except OSError:  # how Linux tells the end
            os.close(self.master)
            return self.text


def on_screen(text):
    """What a terminal shows in its line after `text`, without colours."""
    line, column = [], 0
    for part in re.findall(r"\x1b\[[0-9;]*[A-Za-z]|.", text, re.DOTALL):
        if part == "\r":
            column = 0
        elif part == "\x1b[K":
            del line[column:]
        elif part == "\n":
            line, column = [], 0
        elif not part.startswith("\x1b"):
            line[column:column + 1] = part
            column += 1
    return "".join(line)


def waits_in_scan(pid):
    """Waits until the process sleeps with its signals held back, as it does in a scan."""
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        with open(f"/proc/{pid}/status", encoding="utf-8") as file:
            status = dict(line.split(":", 1) for line in file)
        held_back = int(status["SigBlk"], 16) >> (signal.SIGTERM - 1) & 1
        if held_back and status["State"].strip().startswith("S"):
            return True
        time.sleep(0.01)
    return False


def machine_has_an_address():
    for name in os.listdir("/sys/class/net"):
        if os.path.exists(f"/sys/class/net/{name}/device"):
            request = struct.pack("256s", name.encode())
            try:
                with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as asker:
                    fcntl.ioctl(asker, 0x8915, request)  # SIOCGIFADDR
                return True
            except OSError:
                pass
    return False


class CommandLine(unittest.TestCase):
    def test_what_is_wrong_is_named_in_one_line(self):
        for arguments, named in [
            (["--foo"], "--foo"),
            (["extra"], "extra"),
            (["--service", "ipp"], "ipp"),
            (["--service", "_ipp._tcp", "--service", "_i_p._tcp"], "_i_p._tcp"),
            (["--service"], "--service"),
            (["--only", "bluetooth,wifi"], "wifi"),
            (["--without", "none"], "none"),
            (["--only", ""], "--only"),
            (["--threshold", "31"], "31"),
            (["--threshold", "-1"], "-1"),
            (["--threshold", "1.5"], "1.5"),
            (["--threshold", ""], "--threshold"),
            (["--format", "xml"], "xml"),
            (["--location", "moon"], "moon"),
        ]:
            with self.subTest(arguments):
                result = scan(*arguments)
                self.assertEqual(result.returncode, 2)
                self.assertEqual(result.stdout, "")
                self.assertEqual(len(result.stderr.splitlines()), 1, result.stderr)
                self.assertIn(named, result.stderr)

        self.assertEqual(scan("--every", "0.5", command="watch").returncode, 2)
        self.assertIn('"foo" is no command', scan("foo", command="store").stderr)
        self.assertEqual(scan("-", command="record").returncode, 2)
        self.assertIn("No such file", scan("/nowhere/script", command="record").stderr)

    def test_help_fits_a_terminal_and_names_every_option(self):
        result = scan("--help")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        for option in ["--service", "--only", "--without", "--threshold", "--format", "--save", "--quiet"]:
            self.assertIn(option, result.stdout)
        self.assertLessEqual(max(map(len, result.stdout.splitlines())), 90)


class Refused(unittest.TestCase):
    """With every permission refused the empty record is there at once."""

    def test_formats(self):
        compact = scan(*NOTHING, "--threshold", "0", "--service", "_ipp._tcp.")
        self.assertEqual((compact.returncode, compact.stderr), (0, ""))
        self.assertEqual(compact.stdout.count("\n"), 1)
        data = json.loads(compact.stdout)
        self.assertEqual((data["bleScan"], data["nearbyDevices"]), ([], []))
        self.assertIs(data["ambrel_analytics"]["network_permission"], False)
        self.assertIsInstance(data["ambrel_analytics"]["network_setting"], bool)

        pretty = scan(*NOTHING, "--format", "pretty").stdout
        self.assertGreater(pretty.count("\n"), 5)
        self.assertEqual(json.loads(pretty).keys(), data.keys())
        self.assertIn("Services: none", scan(*NOTHING, "--format", "table").stdout)

    def test_save_keeps_what_is_printed(self):
        with tempfile.TemporaryDirectory() as folder:
            result = scan(*NOTHING, "--save", AMBREL_DOCUMENTS_DIR=folder)
            self.assertEqual((result.returncode, result.stderr), (0, ""))
            [name] = os.listdir(f"{folder}/collections")
            with open(f"{folder}/collections/{name}", encoding="utf-8") as file:
                self.assertEqual(json.load(file), json.loads(result.stdout))

            result = scan(*NOTHING, "--save", AMBREL_DOCUMENTS_DIR=f"{folder}/collections/{name}")
            self.assertEqual(result.returncode, 1)
            self.assertEqual(len(result.stderr.splitlines()), 1)
            json.loads(result.stdout)

    def test_an_information_dictionary_of_no_use_is_told(self):
        for text, reason in [
            ("{", "no JSON"),
            ("[]", "not a JSON object"),
            ('{"NSBonjourServices": [1]}', "not a list of strings"),
            (None, "No such file"),
        ]:
            with self.subTest(text), tempfile.TemporaryDirectory() as folder:
                info = os.path.join(folder, "Info.json")
                if text is not None:
                    with open(info, "w", encoding="utf-8") as file:
                        file.write(text)
                result = scan(*NOTHING, AMBREL_INFO=info)
                self.assertEqual(result.returncode, 0)
                self.assertIn(reason, result.stderr)
                self.assertEqual(len(result.stderr.splitlines()), 1)
                json.loads(result.stdout)
                self.assertEqual(scan(*NOTHING, "--quiet", AMBREL_INFO=info).stderr, "")

    def test_an_output_that_takes_nothing(self):
        with open("/dev/full", "w", encoding="utf-8") as full:
            result = subprocess.run([AMBREL, "scan", *NOTHING], stdout=full, text=True,
                                    stderr=subprocess.PIPE, timeout=PATIENCE, check=False)
        self.assertEqual(result.returncode, 1)
        self.assertIn("No space left", result.stderr)

        reader, writer = os.pipe()
        os.close(reader)
        result = subprocess.run([AMBREL, "scan", *NOTHING], stdout=writer, text=True,
                                stderr=subprocess.PIPE, timeout=PATIENCE, check=False)
        os.close(writer)
        self.assertEqual((result.returncode, result.stderr), (-signal.SIGPIPE, ""))


class Running(unittest.TestCase):
    def start(self, *arguments, **options):
        self.terminal = Terminal()
        changes = options.pop("changes", {})
        process = subprocess.Popen([AMBREL, "scan", *RUNNING, *arguments], text=True,
                                   stdout=subprocess.PIPE, stderr=self.terminal.slave,
                                   env=environment(**changes), **options)
        self.addCleanup(process.kill)
        return process

    def test_a_whole_scan(self):
        begin = time.monotonic()
        process = self.start()
        output = process.communicate(timeout=PATIENCE)[0]
        elapsed = time.monotonic() - begin
        self.assertEqual(process.returncode, 0)
        self.assertGreaterEqual(elapsed, 10.0)
        self.assertLess(elapsed, 15.0)
        data = json.loads(output)
        self.assertEqual(output.count("\n"), 1)
        if machine_has_an_address():
            socket.inet_aton(data["ip"])

        drawn = self.terminal.read_rest()
        self.assertIn("0 peripherals, 0 services, 0 fixes", drawn)
        self.assertIn("\x1b[32m", drawn)
        self.assertLess(drawn.count("\r"), 50, "renewed more than a few times a second")
        self.assertNotIn("\n", drawn)
        for moment in drawn.split("\r"):
            self.assertLess(len(on_screen(moment)), 60, "the line would break")
        self.assertEqual(on_screen(drawn), "")

    def test_signals_stop_the_scan(self):
        for stop in [signal.SIGINT, signal.SIGTERM]:
            with self.subTest(stop):
                process = self.start(changes={"NO_COLOR": "1"})
                self.assertTrue(self.terminal.read_lines(1))
                process.send_signal(stop)
                self.assertEqual(process.communicate(timeout=5)[0], "")
                self.assertEqual(process.returncode, 130)
                drawn = self.terminal.read_rest()
                self.assertNotIn("\x1b[3", drawn)
                self.assertEqual(on_screen(drawn), "")

    def test_an_interrupted_recording_leaves_an_earlier_one(self):
        with tempfile.TemporaryDirectory() as folder:
            file = f"{folder}/script"
            with open(file, "w", encoding="utf-8") as earlier:
                earlier.write("earlier")
            process = subprocess.Popen([AMBREL, "record", file, *RUNNING])
            self.addCleanup(process.kill)
            self.assertTrue(waits_in_scan(process.pid))
            process.terminate()
            self.assertEqual(process.wait(timeout=5), 130)
            self.assertEqual(os.listdir(folder), ["script"])
            with open(file, encoding="utf-8") as earlier:
                self.assertEqual(earlier.read(), "earlier")

    def test_a_signal_that_was_to_be_ignored_is(self):
        process = self.start(
            preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_IGN))
        self.assertTrue(self.terminal.read_lines(1))
        process.send_signal(signal.SIGINT)
        self.assertTrue(self.terminal.read_lines(3), "the scan has ended")
        process.terminate()
        self.assertEqual(process.wait(timeout=5), 130)
        self.terminal.read_rest()

    def test_a_reader_that_goes_away_ends_the_scan(self):
        process = self.start()
        self.assertTrue(self.terminal.read_lines(1))
        process.stdout.close()
        self.assertEqual(process.wait(timeout=5), -signal.SIGPIPE)
        self.assertEqual(on_screen(self.terminal.read_rest()), "")

    def test_no_progress_where_it_is_not_wanted(self):
        for arguments, changes in [(["--quiet"], {}), ([], {"TERM": "dumb"}), ([], {"TERM": ""})]:
            with self.subTest(arguments=arguments, changes=changes):
                process = self.start(*arguments, changes=changes)
                self.assertTrue(waits_in_scan(process.pid))
                process.terminate()
                self.assertEqual(process.wait(timeout=5), 130)
                self.assertEqual(self.terminal.read_rest(), "")


def voluntary_switches(pid):
    with open(f"/proc/{pid}/status", encoding="utf-8") as file:
        return [line for line in file if line.startswith("voluntary")]


class Watching(unittest.TestCase):
    """With every permission refused a dictionary is there at once, and then nothing is to be done."""

    def start(self, *arguments):
        process = subprocess.Popen([AMBREL, "watch", *NOTHING, *arguments], env=environment(),
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.addCleanup(process.kill)
        json.loads(process.stdout.readline())
        return process

    def test_sleeps_until_it_is_interrupted(self):
        for stop in [signal.SIGINT, signal.SIGTERM]:
            process = self.start()
            self.assertTrue(waits_in_scan(process.pid))
            time.sleep(1)  # for what daemons say of themselves at the start
            before = voluntary_switches(process.pid)
            time.sleep(10 if stop == signal.SIGINT else 0)
            self.assertEqual(voluntary_switches(process.pid), before)
            process.send_signal(stop)
            begin = time.monotonic()
            self.assertEqual(process.communicate(timeout=5), ("", ""))
            self.assertLess(time.monotonic() - begin, 0.5)
            self.assertEqual(process.returncode, 130)

    def test_a_reader_that_goes_away_ends_it(self):
        process = self.start()
        process.stdout.close()
        self.assertEqual(process.wait(timeout=5), -signal.SIGPIPE)

    def test_collections_on_each_others_heels_are_all_delivered(self):
        process = subprocess.Popen([AMBREL, "watch", *RUNNING, "--every", "10"], text=True,
                                   env=environment(), stdout=subprocess.PIPE)
        self.addCleanup(process.kill)
        begin = time.time()
        times = [json.loads(process.stdout.readline())["timestamp"] for _ in range(2)]
        self.assertLess(times[0] - begin, 2)
        self.assertLess(times[1] - times[0], 13)
        process.kill()
        process.communicate()

    def test_every(self):
        begin = time.monotonic()
        process = self.start("--every", "1.5")
        json.loads(process.stdout.readline())
        self.assertGreaterEqual(time.monotonic() - begin, 1.5)
        process.terminate()
        self.assertEqual(process.wait(timeout=5), 130)


if __name__ == "__main__":
    unittest.main(verbosity=2)
