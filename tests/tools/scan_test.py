#!/usr/bin/env python3
"""Runs `ambrel` as a user does: exit statuses, what goes where, signals, pipes, a terminal.

It runs in a network of its own, on a link that leads out, and no daemon runs there.
"""

import fcntl
import json
import os
import pathlib
import pty
import re
import select
import signal
import struct
import subprocess
import sys
import tempfile
import termios
import time
import unittest

sys.path.append(str(pathlib.Path(__file__).parents[1] / "support"))
import isolation

isolation.enter()
subprocess.run("ip link add wlan0 type veth peer name far && ip link set far up && ip link set wlan0 up &&"
               "ip address add 192.0.2.7/24 dev wlan0 && ip route add default dev wlan0", shell=True, check=True)

AMBREL = sys.argv.pop(1)
os.environ["AMBREL_CONFIG"] = ""  # not what this user has set
NOTHING = ["--without", "bluetooth,location,network"]  # is delivered at once
RUNNING = ["--only", "location"]  # takes its ten seconds, in silence
NO_BUS = {"DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/nowhere"}
SEEN = "location "  # in the progress line
NOTE = "ambrel: note: location: "
PATIENCE = 30


def environment(**changes):
    kept = {k: v for k, v in os.environ.items() if k not in ("AMBREL_INFO", "NO_COLOR")}
    return {**kept, "TERM": "xterm", **changes}


def ambrel(*arguments, stdout=subprocess.PIPE, given=None, **changes):
    return subprocess.run([AMBREL, *arguments], env=environment(**changes), input=given, stdout=stdout,
                          stderr=subprocess.PIPE, text=True, timeout=PATIENCE, check=False)


class Terminal:
    """A pseudo-terminal of 60 columns."""

    def __init__(self, columns=60):
        self.master, self.slave = pty.openpty()
        fcntl.ioctl(self.slave, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        self.text = ""

    def draws(self, count=1):
        """Waits until so many further states of the progress line have been drawn."""
        wanted = self.text.count(SEEN) + count
        end = time.monotonic() + PATIENCE
        while self.text.count(SEEN) < wanted and time.monotonic() < end:
            if select.select([self.master], [], [], 0.1)[0]:
                self.text += os.read(self.master, 65536).decode()
        return self.text.count(SEEN) >= wanted

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


def read_details(path):
    with open(path, encoding="utf-8") as file:
        return [json.loads(line) for line in file]


def left_behind(arguments, folder):
    """The temporary files of a command that is interrupted, over and over, at some time soon."""
    left = []
    for attempt in range(25):
        process = subprocess.Popen([AMBREL, *arguments], env=environment(AMBREL_DOCUMENTS_DIR=folder),
                                   stdout=subprocess.DEVNULL)
        time.sleep(attempt * 0.002)
        process.send_signal(signal.SIGINT)
        process.wait(timeout=PATIENCE)
        left += [name for name in os.listdir(folder) if name.startswith(".")]
    return left


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


class CommandLine(unittest.TestCase):
    def test_what_is_wrong_is_named_in_one_line(self):
        permissions = "is not one of bluetooth, location, network (see ambrel scan --help)"
        interval = "is not a time from 10s to 366d, such as 90, 15m or 2h (see ambrel watch --help)"
        threshold = "is not a number of seconds from 0 to 30 (see ambrel watch --help)"
        for line, problem in [
            ("", "a command is missing (see ambrel --help)"),
            ("--foo", "not expected: --foo (see ambrel --help)"),
            ("wtach", '"wtach" is no command; did you mean watch? (see ambrel --help)'),
            ("list", '"list" is no command; did you mean store list? (see ambrel --help)'),
            ("store foo", '"foo" is no command (see ambrel store --help)'),
            ("help stoer", '"stoer" is no command; did you mean store? (see ambrel --help)'),
            ("scan --timeout 3 x", "not expected: --timeout 3 x (see ambrel scan --help)"),
            ("scan --quiet -- x", "not expected: x (see ambrel scan --help)"),
            ("scan --servce=_ipp._tcp", "not expected: --servce=_ipp._tcp; did you mean --service?"
                                        " (see ambrel scan --help)"),
            ("watch --thre 3", "not expected: --thre 3; did you mean --threshold? (see ambrel watch --help)"),
            ("--quiet scan", "not expected: --quiet (see ambrel scan --help)"),
            ("scan --threshold 3", "not expected: --threshold 3 (see ambrel scan --help)"),
            ("scan --service", "--service: TYPE missing (see ambrel scan --help)"),
            ("scan --service _ipp._tcp --service _i_p._tcp x",
             '--service: "_i_p._tcp" is not a service type, such as _ipp._tcp, nor all (see ambrel scan --help)'),
            ("scan --only bluetooth,wifi", f'--only: "wifi" {permissions}'),
            ("scan --without none", f'--without: "none" {permissions}'),
            ("scan --only=", "--only: LIST missing (see ambrel scan --help)"),
            ("scan --location moon", '--location: "moon" is not one of auto, geoclue, gpsd, none'
                                     " (see ambrel scan --help)"),
            ("scan --format xml", '--format: "xml" is not one of json, pretty, table (see ambrel scan --help)'),
            ("scan --columns name,x", '--columns: "x" is not one of name, identifier, seen, type, address, txt'
                                      " (see ambrel scan --help)"),
            ("scan --columns name --json", "--columns is for tables, not for json"),
            ("scan --type ipp", '--type: "ipp" is not a service type, such as _ipp._tcp (see ambrel scan --help)'),
            ("scan --json --pretty", "--json and --pretty are two formats: choose one"),
            ("watch --every 9.9", f'--every: "9.9" {interval}'),
            ("watch --every 367d", f'--every: "367d" {interval}'),
            ("watch --threshold 31", f'--threshold: "31" {threshold}'),
            ("watch --threshold=-1", f'--threshold: "-1" {threshold}'),
            ("watch --threshold 1.5", f'--threshold: "1.5" {threshold}'),
            ("record", "FILE is required (see ambrel record --help)"),
            ("scan --outcome= --details=d", "--outcome: FILE missing (see ambrel scan --help)"),
            ("scan --details --quiet", "--details: FILE missing (see ambrel scan --help)"),
            ("scan --outcome /tmp/a --details /tmp/./a", '"/tmp/a" can\'t hold two things: name two files'),
            ("record /tmp/a --details /tmp/a", '"/tmp/a" can\'t hold two things: name two files'),
            ("record -", '"-" is where the dictionary is printed: name a file'),
            ("doctor --only wifi --without network", "--only and --without leave no source to examine"),
        ]:
            with self.subTest(line):
                result = ambrel(*line.split())
                self.assertEqual((result.returncode, result.stdout), (2, ""))
                self.assertEqual(result.stderr, f"ambrel: {problem}\n")

    def test_help_fits_a_terminal_and_names_every_option(self):
        for command, named in [
            ("", ["scan", "watch", "live", "record", "replay", "store", "doctor", "help", "--version"]),
            ("scan", ["--service", "--only", "--without", "--location", "--details", "--format", "--save", "--progress", "--quiet"]),
            ("watch", ["--every", "--threshold"]),
            ("store export", ["Usage: ambrel store export", "--since"]),
        ]:
            result = ambrel("help", *command.split())
            self.assertEqual((result.returncode, result.stderr), (0, ""))
            self.assertEqual(result.stdout, ambrel(*command.split(), "--help").stdout)
            for name in named:
                self.assertIn(name, result.stdout)
            self.assertLessEqual(max(map(len, result.stdout.splitlines())), 80, result.stdout)
            terminal = Terminal(40)
            ambrel("help", *command.split(), stdout=terminal.slave)
            narrow = terminal.read_rest()
            self.assertEqual(narrow.split(), result.stdout.split())
            self.assertLessEqual(max(map(len, narrow.splitlines())), 40, narrow)

    def test_a_replay_says_why_it_ends(self):
        header, step = '{"ambrelReplay":1}\n', '{"at":1,"host":"startScanning"}\n'
        late = header + step + "\n" + step.replace("1", "0.5")
        with open("/dev/full", "w", encoding="utf-8") as full:
            for file, given, output, status, problem in [
                ("-", late, None, 2, 'standard input:4: "at" is before that of the step before'),
                ("/nowhere/script", "", None, 1, "/nowhere/script: No such file or directory"),
                ("/", "", None, 1, "/: can't read the script: Is a directory"),
                ("-", header + step, full, 1, "can't write the trace"),
            ]:
                result = ambrel("replay", file, given=given, stdout=output or subprocess.PIPE)
                self.assertEqual((result.returncode, result.stderr), (status, f"ambrel: {problem}\n"))
        self.assertEqual(ambrel("replay", "--quiet", "-", given=header + step).stdout.count("\n"), 1)

    @unittest.skipIf(b"__asan_init" in pathlib.Path(AMBREL).read_bytes(), "the sanitizers need descriptors themselves")
    def test_few_descriptors_are_told_in_one_line(self):
        script = '{"ambrelReplay":1}\n{"at":1,"host":"startScanning"}\n'
        with tempfile.TemporaryDirectory() as folder:
            ambrel("store", "save", "-", given='{"timestamp":1}', AMBREL_DOCUMENTS_DIR=folder)
            for limit in range(5, 13):  # with fewer no program starts
                for command in "scan " + " ".join(NOTHING), "store list", "store last", "replay -", "report -o -", "doctor":
                    result = subprocess.run(
                        ["sh", "-c", f'ulimit -n {limit} && exec "$0" "$@"', AMBREL, *command.split()], input=script,
                        env=environment(AMBREL_DOCUMENTS_DIR=folder, **NO_BUS), capture_output=True, text=True,
                        timeout=PATIENCE, check=False)
                    with self.subTest(f"{limit}: {command}"):
                        told = [line for line in result.stderr.splitlines() if not line.startswith("ambrel: note: ")]
                        self.assertIn(result.returncode, (0, 1, 3), result.stderr)
                        self.assertRegex("\n".join(told), r"^(ambrel: .+)?$")
                        self.assertEqual(bool(told), result.returncode == 1)

    def test_the_doctor_judges_what_is_asked(self):
        for option, asked in [
            ("--only=bluetooth", ["bluetooth"]),
            ("--only=address,services", ["services", "address"]),
            ("--without=network,location", ["bluetooth", "lifecycle"]),
        ]:
            result = ambrel("doctor", option, "--format", "json", **NO_BUS)
            found = [json.loads(line) for line in result.stdout.splitlines()]
            self.assertEqual([one["source"] for one in found], asked)
            self.assertEqual(result.returncode, 0 if all(one["usable"] for one in found) else 3)
            for one in found:
                if one["source"] in ("bluetooth", "lifecycle"):
                    self.assertIn((one["state"], one["code"]), [("unavailable", "no-bus"), ("left-out", "left-out")])

    def test_a_library_that_is_missing_is_named(self):
        known = subprocess.run(["ldconfig", "-p"], capture_output=True, text=True, check=True).stdout
        library = os.path.realpath(re.search(r"libavahi-core\.so\.7 .*=> (\S+)", known)[1])
        subprocess.run(["mount", "--bind", "/dev/null", library], check=True)
        self.addCleanup(subprocess.run, ["umount", library], check=True)
        result = ambrel("doctor", "--only", "services", **NO_BUS)
        self.assertEqual(result.returncode, 3)
        self.assertRegex(result.stdout, "libavahi-core can't be loaded|not in this build")


class Refused(unittest.TestCase):
    """With every permission refused the empty record is there at once."""

    def test_formats(self):
        compact = ambrel("scan", *NOTHING, "--service", "_ipp._tcp.")
        self.assertEqual((compact.returncode, compact.stderr), (0, ""))
        self.assertEqual(compact.stdout.count("\n"), 1)
        data = json.loads(compact.stdout)
        self.assertEqual((data["bleScan"], data["nearbyDevices"]), ([], []))
        self.assertIs(data["ambrel_analytics"]["network_permission"], False)
        self.assertIsInstance(data["ambrel_analytics"]["network_setting"], bool)

        pretty = ambrel("scan", *NOTHING, "--format", "json", "--format", "pretty").stdout  # the last one holds
        self.assertGreater(pretty.count("\n"), 5)
        self.assertEqual(json.loads(pretty).keys(), data.keys())
        self.assertEqual(ambrel("scan", *NOTHING, "--pretty", "--name", "x").stdout.count("\n"), pretty.count("\n"))

    def test_a_terminal_gets_tables(self):
        for options, changes, services in [
            ([], {}, "\x1b[1mServices:\x1b[0m \x1b[2mnot collected, since not permitted\x1b[0m\r\n"),
            ([], {"NO_COLOR": "1"}, "Services: not collected, since not permitted\r\n"),
            (["--color=always"], {"TERM": "dumb"}, "\x1b[1mServices:\x1b[0m "),
            (["--json"], {}, '"nearbyDevices":[]'),
        ]:
            terminal = Terminal()
            ambrel("scan", *NOTHING, *options, stdout=terminal.slave, **changes)
            self.assertIn(services, terminal.read_rest())
        terminal = Terminal(40)
        watch = subprocess.Popen([AMBREL, "watch", *NOTHING, "--color=never"], env=environment(), stdout=terminal.slave,
                                 stderr=subprocess.DEVNULL)
        while "Services: not" not in terminal.text and select.select([terminal.master], [], [], PATIENCE)[0]:
            terminal.text += os.read(terminal.master, 4096).decode()
        watch.kill()
        watch.wait()
        self.assertRegex(terminal.read_rest(), r"^── 20\d\d-.* ─+\r\nIPv4 address ")

    def test_save_keeps_what_is_printed(self):
        with tempfile.TemporaryDirectory() as folder:
            result = ambrel("scan", *NOTHING, "--save", AMBREL_DOCUMENTS_DIR=folder)
            self.assertEqual((result.returncode, result.stderr), (0, ""))
            [name] = os.listdir(f"{folder}/collections")
            with open(f"{folder}/collections/{name}", encoding="utf-8") as file:
                self.assertEqual(json.load(file), json.loads(result.stdout))

            result = ambrel("scan", *NOTHING, "--save", AMBREL_DOCUMENTS_DIR=f"{folder}/collections/{name}")
            self.assertEqual((result.returncode, len(result.stderr.splitlines())), (1, 1))
            json.loads(result.stdout)

    def test_an_interrupt_leaves_no_temporary_file(self):
        with tempfile.TemporaryDirectory() as folder:
            self.assertEqual(left_behind(["record", f"{folder}/script", *NOTHING], folder), [])
            self.assertEqual(left_behind(["scan", *NOTHING, "--save"], folder), [])

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
                result = ambrel("scan", *NOTHING, AMBREL_INFO=info)
                self.assertEqual(result.returncode, 0)
                self.assertIn(reason, result.stderr)
                self.assertEqual(len(result.stderr.splitlines()), 1)
                json.loads(result.stdout)
                self.assertEqual(ambrel("scan", *NOTHING, "--quiet", AMBREL_INFO=info).stderr, "")

    def test_an_output_that_takes_nothing(self):
        with open("/dev/full", "w", encoding="utf-8") as full:
            for arguments in [["scan", *NOTHING], ["--version"], ["help"]]:
                result = ambrel(*arguments, stdout=full)
                self.assertEqual(result.returncode, 1)
                self.assertIn("No space left", result.stderr)

        reader, writer = os.pipe()
        os.close(reader)
        result = ambrel("scan", *NOTHING, stdout=writer)
        os.close(writer)
        self.assertEqual((result.returncode, result.stderr), (-signal.SIGPIPE, ""))


class Running(unittest.TestCase):
    def start(self, *arguments, changes=None, granted=tuple(RUNNING), columns=60, **options):
        self.terminal = Terminal(columns)
        process = subprocess.Popen([AMBREL, "scan", *granted, *arguments], text=True, env=environment(**changes or {}),
                                   **{"stdout": subprocess.PIPE, "stderr": self.terminal.slave, **options})
        self.addCleanup(process.kill)
        return process

    def test_a_whole_scan(self):
        begin = time.monotonic()
        with tempfile.TemporaryDirectory() as folder:
            with open(f"{folder}/output", "w", encoding="utf-8") as file:
                process = self.start("--format", "json", "--strict", "--outcome", f"{folder}/outcome",
                                     "--details", f"{folder}/details", stdout=file)
                self.assertEqual(process.wait(timeout=PATIENCE), 3)
            elapsed = time.monotonic() - begin
            output = pathlib.Path(file.name).read_text(encoding="utf-8")
            details = read_details(f"{folder}/details")
            self.assertEqual(os.stat(f"{folder}/details").st_mode & 0o777, 0o600)
            outcome = json.loads(pathlib.Path(f"{folder}/outcome").read_text(encoding="utf-8"))
        self.assertTrue(10 <= elapsed < 15, elapsed)
        data = json.loads(output)
        self.assertEqual(output.count("\n"), 1)
        self.assertEqual(data["ip"], "192.0.2.7")
        [address] = [line for line in details if line["source"] == "address"]
        self.assertEqual((address["ip"], address["interface"]), ("192.0.2.7", "wlan0"))
        self.assertTrue(1 <= address["time"] - data["timestamp"] < 3, address)

        sources = outcome["sources"]
        self.assertEqual(sources["location"]["outcome"], "failed")
        self.assertTrue("not-asked" == sources["bluetooth"]["outcome"] or "left-out" == sources["bluetooth"]["code"])

        drawn, note = self.terminal.read_rest().split(NOTE.replace("note:", "\x1b[33mnote:\x1b[0m"))
        self.assertLessEqual(max(map(len, (NOTE + note).splitlines())), 60)
        self.assertIn(sources["location"]["reason"], " ".join(note.split()))
        self.assertNotIn("note", note)
        self.assertIn("#---", drawn)
        self.assertIn("location \x1b[31mno", drawn)
        self.assertNotIn("bluetooth", drawn)  # is not granted
        self.assertIn("\x1b[32m", drawn)
        self.assertLess(drawn.count("\r"), 50, "renewed more than a few times a second")
        self.assertNotIn("\n", drawn)
        for moment in drawn.split("\r"):
            self.assertLess(len(on_screen(moment)), 60, "the line would break")
        self.assertEqual(on_screen(drawn), "")

    def test_signals_stop_the_scan_and_are_what_it_dies_of(self):
        for stop in [signal.SIGINT, signal.SIGTERM, signal.SIGHUP]:
            with self.subTest(stop):
                process = self.start("--progress", changes={"NO_COLOR": "1"})
                self.assertTrue(self.terminal.draws())
                process.send_signal(stop)
                self.assertEqual(process.communicate(timeout=5)[0], "")
                self.assertEqual(process.returncode, -stop)
                drawn = self.terminal.read_rest()
                self.assertNotIn("\x1b[3", drawn)
                self.assertEqual(on_screen(drawn), "")

    def test_the_progress_fits_the_terminal(self):
        for columns, last in [(20, r" dns [-0-9no]+"), (40, r"[-#]{3,4} ble .* wifi [-0-9no]+"),
                              (80, r"[-#]{16,18}  bluetooth .* wifi [-0-9no]+"), (120, r"[-#]{20}  .* wifi [-0-9no]+")]:
            with self.subTest(columns):
                process = self.start(stdout=subprocess.DEVNULL, granted=(), columns=columns)
                time.sleep(1.2)
                process.terminate()
                process.wait(timeout=5)
                for moment in filter(None, map(on_screen, self.terminal.read_rest().split("\r"))):
                    self.assertLess(len(moment), columns - 2)
                    self.assertRegex(moment, last + "$")

    def shell(self, terminal, line):
        """A shell that the terminal belongs to; `ambrel` in the line stands for a scan."""
        process = subprocess.Popen(
            ["bash", "-c", line.replace("ambrel", f"'{AMBREL}' scan {' '.join(RUNNING)}")],
            stdin=terminal.slave, stdout=terminal.slave, stderr=terminal.slave, env=environment(),
            start_new_session=True, preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0))
        self.addCleanup(process.kill)
        return process

    def test_no_progress_from_the_background(self):
        terminal = Terminal()
        shell = self.shell(terminal, "set -m; ambrel & sleep 2; kill $!")
        self.assertEqual(shell.wait(timeout=PATIENCE), 0)
        self.assertNotIn(SEEN, terminal.read_rest())

    def test_an_interrupt_ends_the_loop_of_a_shell_too(self):
        terminal = Terminal()
        shell = self.shell(terminal, "for i in 1 2 3; do ambrel; echo again; done")
        self.assertTrue(terminal.draws())
        os.write(terminal.master, b"\x03")
        self.assertEqual(shell.wait(timeout=5), -signal.SIGINT)
        self.assertNotIn("again", terminal.read_rest())

    def test_an_interrupted_recording_leaves_an_earlier_one(self):
        with tempfile.TemporaryDirectory() as folder:
            file = f"{folder}/script"
            with open(file, "w", encoding="utf-8") as earlier:
                earlier.write("earlier")
            process = subprocess.Popen([AMBREL, "record", file, *RUNNING])
            self.addCleanup(process.kill)
            self.assertTrue(waits_in_scan(process.pid))
            process.terminate()
            self.assertEqual(process.wait(timeout=5), -signal.SIGTERM)
            self.assertEqual(os.listdir(folder), ["script"])
            with open(file, encoding="utf-8") as earlier:
                self.assertEqual(earlier.read(), "earlier")

    def test_a_signal_that_was_to_be_ignored_is(self):
        process = self.start("--progress", preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_IGN))
        self.assertTrue(self.terminal.draws())
        process.send_signal(signal.SIGINT)
        self.assertTrue(self.terminal.draws(3), "the scan has ended")
        process.terminate()
        self.assertEqual(process.wait(timeout=5), -signal.SIGTERM)
        self.terminal.read_rest()

    def test_a_reader_that_goes_away_ends_the_scan(self):
        process = self.start("--progress")
        self.assertTrue(self.terminal.draws())
        process.stdout.close()
        self.assertEqual(process.wait(timeout=5), -signal.SIGPIPE)
        self.assertEqual(on_screen(self.terminal.read_rest()), "")

    def test_a_stopped_terminal_holds_nothing_up(self):
        process = self.start("--progress")
        self.assertTrue(self.terminal.draws())
        termios.tcflow(self.terminal.slave, termios.TCOOFF)
        time.sleep(1)  # it would draw meanwhile
        process.terminate()
        self.assertEqual(process.wait(timeout=5), -signal.SIGTERM)
        self.terminal.read_rest()

    def test_without_an_output_it_sleeps_too(self):
        process = self.start(preexec_fn=lambda: os.close(1))
        self.assertTrue(waits_in_scan(process.pid))
        time.sleep(1)
        with open(f"/proc/{process.pid}/stat", encoding="utf-8") as file:
            user, system = file.read().split()[13:15]
        self.assertLess((int(user) + int(system)) / os.sysconf("SC_CLK_TCK"), 0.3)
        process.terminate()
        self.terminal.read_rest()

    def test_no_progress_where_it_is_not_wanted(self):
        for arguments, changes in [
            ([], {}),  # the program behind the pipe may draw on the same terminal
            (["--progress", "--quiet"], {}),
            (["--progress"], {"TERM": "dumb"}),
            (["--progress"], {"TERM": ""}),
        ]:
            with self.subTest(arguments=arguments, changes=changes):
                process = self.start(*arguments, changes=changes)
                self.assertTrue(waits_in_scan(process.pid))
                process.terminate()
                self.assertEqual(process.wait(timeout=5), -signal.SIGTERM)
                self.assertEqual(self.terminal.read_rest(), "")


def voluntary_switches(pid):
    with open(f"/proc/{pid}/status", encoding="utf-8") as file:
        return [line for line in file if line.startswith("voluntary")]


class Watching(unittest.TestCase):
    """With every permission refused a dictionary is there at once, and then nothing is to be done."""

    def start(self, *arguments, permitted=None):
        process = subprocess.Popen([AMBREL, "watch", *(permitted or NOTHING), *arguments], env=environment(**NO_BUS),
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.addCleanup(process.kill)
        self.first = json.loads(process.stdout.readline())
        return process

    def test_sleeps_until_it_is_interrupted(self):
        process = self.start("--quiet")
        self.assertTrue(waits_in_scan(process.pid))
        time.sleep(1)  # for what daemons say of themselves at the start
        before = voluntary_switches(process.pid)
        time.sleep(10)
        self.assertEqual(voluntary_switches(process.pid), before)
        process.send_signal(signal.SIGINT)
        begin = time.monotonic()
        self.assertEqual(process.communicate(timeout=5), ("", ""))
        self.assertLess(time.monotonic() - begin, 0.5)
        self.assertEqual(process.returncode, -signal.SIGINT)

    def test_says_once_that_nobody_will_tell_of_a_return(self):
        note = re.compile("ambrel: note: lifecycle: the system bus does not run: .*; nothing but --every would "
                          "make it collect again\n")
        for arguments, said in [([], 1), (["--every", "15m"], 0), (["--quiet"], 0)]:
            process = subprocess.Popen([AMBREL, "watch", *RUNNING, *arguments], env=environment(**NO_BUS),
                                       stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
            time.sleep(1)
            process.terminate()
            errors = process.communicate(timeout=5)[1]
            self.assertEqual((len(note.findall(errors)), len(errors.splitlines())), (said, said), errors)

    def test_a_note_that_nobody_reads_holds_no_signal_up(self):
        reader, writer = os.pipe()
        os.set_blocking(writer, False)
        with self.assertRaises(BlockingIOError):
            while True:
                os.write(writer, b" ")
        os.set_blocking(writer, True)
        process = subprocess.Popen([AMBREL, "watch", *RUNNING], env=environment(**NO_BUS), stdout=subprocess.DEVNULL,
                                   stderr=writer)
        self.addCleanup(process.kill)
        time.sleep(1)
        process.terminate()
        self.assertEqual(process.wait(timeout=5), -signal.SIGTERM)
        os.close(reader)
        os.close(writer)

    def test_a_reader_that_goes_away_ends_it(self):
        process = self.start()
        process.stdout.close()
        self.assertEqual(process.wait(timeout=5), -signal.SIGPIPE)

    def test_collections_on_each_others_heels_are_all_delivered(self):
        begin = time.time()
        strict = subprocess.Popen([AMBREL, "watch", *RUNNING, "--strict", "--changes"], env=environment(**NO_BUS),
                                  stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.addCleanup(strict.kill)
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        pathlib.Path(f"{folder.name}/details").write_text('{"source": "earlier"}\n', encoding="utf-8")
        process = self.start("--every", "10s", "--details", f"{folder.name}/details", "--outcome",
                             f"{folder.name}/outcome", permitted=RUNNING)
        self.assertLess(self.first["timestamp"] - begin, 2)
        os.rename(f"{folder.name}/details", f"{folder.name}/rotated")
        second = json.loads(process.stdout.readline())
        outcome = json.loads(pathlib.Path(f"{folder.name}/outcome").read_text(encoding="utf-8"))
        self.assertEqual(int(outcome["began"]), second["timestamp"])
        self.assertLess(second["timestamp"] - self.first["timestamp"], 13)
        process.terminate()
        rotated, details = ([line["source"] for line in read_details(f"{folder.name}/{name}")]
                            for name in ("rotated", "details"))
        self.assertEqual((rotated[0], rotated.count("address"), details.count("address")), ("earlier", 1, 1))
        self.assertEqual(process.communicate()[1].count(NOTE), 1)  # of two collections
        self.assertEqual(json.loads(strict.communicate(timeout=5)[0])["now"], {"ip": "192.0.2.7"})
        self.assertEqual(strict.returncode, 3)


if __name__ == "__main__":
    unittest.main(verbosity=2)
