#!/usr/bin/env python3
"""Drives `ambrel live` in tmux as a user does: what is shown, and that the terminal is left as it was found."""

import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time
import unittest

AMBREL = sys.argv.pop(1)
PATIENCE = 60
GRANTED = {query: "granted" for query in ("bluetoothPermissionStatus", "networkPermissionStatus")}
TXT = b"\x09txtvers=1\x12note=2nd\x1b[31mfloor"


def script():
    identifier = "00000000-0000-4000-8000-00000000000"
    steps = [
        {"at": 0, "statuses": GRANTED},
        {"at": 0, "network": {"interfaces": [{"name": "en0", "address": "192.0.2.7"}]}},
        {"at": 0, "host": "startScanning"},
        {"at": 0, "bluetooth": {"discover": {"identifier": identifier + "A", "name": "Zither \x1b[2J\u202e\u6e29"}}},
        {"at": 0, "bonjour": {"found": {"type": "_ipp._tcp.", "name": "Printer"}}},
        {"at": 0, "bonjour": {"resolved": {"type": "_ipp._tcp.", "name": "Printer",
                                           "addresses": ["10020277C0000209" + "00" * 8], "txt": TXT.hex()}}},
        {"at": 2, "bluetooth": {"discover": {"identifier": identifier + "B", "name": "Kettle"}}},
        {"at": 10000, "end": True},
    ]
    header = {"ambrelReplay": 1, "bonjourServices": ["_ipp._tcp."]}
    return "\n".join(json.dumps(line) for line in [header, *steps])


def child(pid):
    """The one that a process has."""
    for stat in pathlib.Path("/proc").glob("[0-9]*/stat"):
        try:
            parent = stat.read_text(encoding="utf-8", errors="replace").rpartition(")")[2].split()[1]
        except OSError:  # it has ended
            continue
        if int(parent) == pid:
            return int(stat.parent.name)
    raise AssertionError(f"{pid} has no child")


class Terminal:
    """A shell in a tmux of its own, of 100 columns."""

    def __init__(self, folder):
        self.tmux = ["tmux", "-S", f"{folder}/tmux", "-f", "/dev/null"]
        # Where it was built with sanitizers: a crash is the kernel's to tell, and curses keeps what it has allocated.
        pathlib.Path(folder, "kept").write_text("leak:libtinfo\nleak:libncurses\n", encoding="ascii")
        sanitizers = ("ASAN_OPTIONS=handle_segv=0:handle_abort=0 "
                      f"LSAN_OPTIONS=print_suppressions=0:suppressions='{folder}/kept'")
        shell = f"exec env {sanitizers} LC_ALL=C.UTF-8 PS1='ready> ' ENV= SCRIPT='{folder}/script' sh -i"
        subprocess.run([*self.tmux, "new-session", "-d", "-x", "100", "-y", "20", shell], check=True,
                       env={**os.environ, "LC_ALL": "C.UTF-8"})
        self.ask("set-option", "-g", "status", "off")
        self.wait_for("ready> ?$")
        self.type("stty -g\n")
        self.wait_for(r"\n[0-9a-f:]+\nready> ?$")
        self.settings = self.screen().split("\n")[-2]

    def ask(self, *command):
        return subprocess.run([*self.tmux, *command], check=True, capture_output=True, text=True).stdout.rstrip("\n")

    def type(self, text):
        self.ask("send-keys", "-l", text)

    def press(self, *keys):
        self.ask("send-keys", *keys)

    def screen(self):
        return self.ask("capture-pane", "-p")

    def wait_until(self, holds, what):
        end = time.monotonic() + PATIENCE
        while time.monotonic() < end:
            if holds():
                return
            time.sleep(0.02)
        raise AssertionError(f"never: {what}\n{self.screen()}")

    def wait_for(self, pattern):
        self.wait_until(lambda: re.search(pattern, self.screen()), pattern)

    def wait_for_none(self, pattern):
        self.wait_until(lambda: not re.search(pattern, self.screen()), f"without {pattern}")

    def live(self, arguments='--replay "$SCRIPT"'):
        """Starts it, and returns the numbers of both processes once it shows something."""
        self.type(f"clear; '{AMBREL}' live {arguments}\n")
        self.wait_for(r"ambrel live  replay, \d+ s")
        guard = child(int(self.ask("display-message", "-p", "#{pane_pid}")))
        return guard, child(guard)

    def is_on_other_screen(self):
        return self.ask("display-message", "-p", "#{alternate_on}") == "1"


class Live(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        (self.folder / "script").write_text(script(), encoding="utf-8")
        self.terminal = Terminal(folder.name)
        self.addCleanup(self.terminal.ask, "kill-server")

    def check_restored(self, status):
        terminal = self.terminal
        terminal.wait_until(lambda: not terminal.is_on_other_screen(), "the screen of the shell")
        terminal.wait_for(r"ready> ?$")
        terminal.type("echo status $?; stty -g\n")
        terminal.wait_for(rf"\nstatus {status}\n{terminal.settings}\nready> ?$")

    def test_what_is_seen_can_be_sorted_filtered_and_looked_into(self):
        terminal = self.terminal
        terminal.live()
        terminal.wait_for(r"\* Kettle +peripheral")
        order = [r"Zither \\u001b\[2J\\u202e\u6e29 +peripheral", "Printer +service +_ipp._tcp", "192.0.2.7 +address"]
        terminal.wait_for("(?s)" + ".*".join(["Kettle", *order]))
        terminal.type("s")
        terminal.wait_for("(?s)192.*Kettle.*Printer.*Zither.*sort by name")
        terminal.type("/PRIN")
        terminal.wait_for_none("Kettle")
        terminal.press("Enter", "Enter")
        terminal.wait_for(r"note  2nd\\u001b\[31mfloor")
        terminal.wait_for("addresses  192.0.2.9")
        terminal.press("Enter", "Escape")
        terminal.wait_for("Kettle")
        terminal.ask("resize-window", "-x", "40", "-y", "10")
        terminal.wait_for(r"(?m)^\* ?Kettle +peripheral +(now|\d+ s)$|^  Kettle +peripheral +(now|\d+ s)$")
        terminal.wait_for("sort by name  /")
        terminal.type(" ")
        terminal.wait_for("ambrel live  paused")
        terminal.ask("resize-window", "-x", "100", "-y", "20")
        terminal.wait_for("FIRST")
        terminal.type(" q")
        self.check_restored(0)

    def test_a_pipe_without_its_next_line_leaves_the_keys_alone(self):
        terminal = self.terminal
        os.mkfifo(self.folder / "pipe")
        terminal.type(f"clear; '{AMBREL}' live --replay '{self.folder}/pipe'\n")
        *first, kettle, _ = script().splitlines(keepends=True)
        with open(self.folder / "pipe", "w", encoding="utf-8") as pipe:
            print(*first, "\n", kettle[:9], sep="", end="", flush=True, file=pipe)
            terminal.wait_for("live  waiting for the script, 0 s")
            terminal.type("/" + "x" * 120 + "Ket")
            terminal.wait_for(r"(?m)^/…x{94}Ket▏$")
            terminal.press("Escape")
            terminal.wait_for("Printer(?s:.*)space: pause")
            print(kettle[9:], end="", flush=True, file=pipe)
            terminal.wait_for("Kettle")
        terminal.wait_for("live  the script has ended")
        terminal.wait_for_none("space:")
        terminal.type("q")
        self.check_restored(0)

    def test_the_terminal_is_restored_on_every_way_out(self):
        terminal = self.terminal
        guard_or_child = {"guard": 0, "child": 1}
        for who, number in [("guard", signal.SIGTERM), ("guard", signal.SIGHUP), ("child", signal.SIGKILL),
                            ("child", signal.SIGSEGV), ("child", signal.SIGABRT), ("child", signal.SIGTERM)]:
            with self.subTest(who, signal=number.name):
                processes = terminal.live()
                os.kill(processes[guard_or_child[who]], number)
                self.check_restored(128 + number)
        with self.subTest("interrupted"):
            terminal.live()
            terminal.press("C-c")
            self.check_restored(130)
        with self.subTest("the guard itself is killed"):
            guard, shown = terminal.live()
            os.kill(guard, signal.SIGKILL)
            terminal.wait_until(lambda: not os.path.exists(f"/proc/{shown}"), "the end of the child")
            terminal.press("Enter")  # what the shell said meanwhile is gone with the other screen
            self.check_restored(137)

    def test_it_stops_and_goes_on_with_the_job(self):
        terminal = self.terminal
        terminal.live()
        for _ in range(2):
            terminal.press("C-z")
            terminal.wait_for("Stopped")
            self.check_restored(128 + signal.SIGSTOP)
            terminal.type("fg\n")
            terminal.wait_until(terminal.is_on_other_screen, "the other screen")
            terminal.wait_for("Kettle")
        terminal.type("q")
        self.check_restored(0)

    def test_what_is_no_terminal_is_told_in_one_line(self):
        for arguments, environment, status, problem in [
            ([], {}, 2, "ambrel: live needs a terminal: standard input and output have to be one\n"),
            (["--without", "bluetooth,location,network"], {}, 2,
             "ambrel: --only and --without leave no source to show\n"),
            (["--replay", "-"], {}, 2, "ambrel: standard input is the keyboard: name the script's file\n"),
        ]:
            with self.subTest(arguments):
                result = subprocess.run([AMBREL, "live", *arguments], capture_output=True, text=True, check=False,
                                        stdin=subprocess.DEVNULL, env={**os.environ, **environment})
                self.assertEqual((result.returncode, result.stdout, result.stderr), (status, "", problem))
        self.terminal.type(f"clear; TERM=nonsense '{AMBREL}' live; echo \"status $?\"\n")
        self.terminal.wait_for('ambrel: nothing is known of the terminal "nonsense" that TERM names\nstatus 1\n')
        self.terminal.type(f"clear; TERM=dumb '{AMBREL}' live; echo \"status $?\"\n")
        self.terminal.wait_for("ambrel: the terminal that TERM names can't be drawn on\nstatus 1\n")


if __name__ == "__main__":
    unittest.main()
