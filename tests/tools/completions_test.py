#!/usr/bin/env python3
"""Types into bash, zsh and fish, and looks at what the completion makes of it."""

import contextlib
import os
import pathlib
import pty
import re
import select
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import unittest

AMBREL = pathlib.Path(sys.argv.pop(1)).resolve()
COMPLETIONS = pathlib.Path(__file__).parents[2] / "packaging/completions"
ODD = "odd (na:me) $x.script"
PATIENCE = 20
# What is typed behind "ambrel", and the end that it gets; the same in every shell.
LINES = {
    "scan --format pr": "etty", "scan --format=pr": "etty", "doctor --format=js": "on", "store list --format pr": "",
    "store show --format pr": "etty", "scan --only bl": "uetooth", "scan --only bluetooth,lo": "cation",
    "watch --without=bluetooth,lo": "cation", "scan --only bluetooth,bl": "", "doctor --only wi": "fi", "watch --color=nev": "er",
    "store list --columns age,wi": "-fi", "scan --columns name,ide": "ntifier",
    "scan --only wi": "", "record file --location=gp": "sd", "live --mdns em": "bedded", "scan --service _work": "station._tcp", "store last --type _work": "station._tcp",
    "watch --service all --service=al": "l", "help store exp": "ort", "scan --outcome scan --deta": "ils",
    "store show 17": "00000000.5", "store show la": "st", "store show -": "", "store show -- -": "3", "store export --since=17": "00000000.5",
    "store list --since 17": "00000000.5", "store export --format=ge": "ojson", "store prune --keep 30": "d",
    "store diff last --format=js": "on-patch", "store diff last 17": "00000000.5", "store diff la": "st",
    "record a:b:c --stri": "ct", "nonsense x": "", "scan --vers": "", "help scan exp": "",
}
FILES = ["replay od", "report -o od", "record od", "store save od", "store diff last od", "scan --outcome od",
         "scan --details=od"]
RC = {
    "bash": """PS1=READY; bind 'set enable-bracketed-paste off'; source {}/ambrel.bash
bind -x '"\\C-o": printf "%s\\n" "$READLINE_LINE" >answers'""",
    "zsh": """PS1=READY; fpath=({} $fpath); autoload -U compinit; compinit -D -u; unsetopt autolist automenu; bindkey -e
answer() {{ print -r -- "$BUFFER" >answers }}; zle -N answer; bindkey '^O' answer""",
}


def offered(*path):
    """The options and commands in the help of a command, each as a line that names it."""
    text = subprocess.run([AMBREL, *path, "--help"], capture_output=True, text=True, check=True).stdout
    names = re.findall(r"^  (?:-[a-z],)?(--[a-z-]+)", text, re.M)
    commands = re.findall(r"^  ([a-z]+) ", text.partition("\nCommands:\n")[2], re.M)
    yield from (" ".join(["ambrel", *path, name]) for name in names + commands)
    for command in commands:
        yield from offered(*path, command)


class Completions(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = pathlib.Path(folder.name)
        (self.home / ODD).touch()
        self.environment = {"PATH": f"{AMBREL.parent}:{os.environ['PATH']}", "HOME": folder.name, "TERM": "dumb",
                            "ZDOTDIR": folder.name, "LC_ALL": "C.UTF-8", "AMBREL_DOCUMENTS_DIR": folder.name}
        self.shown = ""

    def start(self, shell, *options):
        (self.home / ".zshrc").write_text(RC[shell].format(COMPLETIONS))
        os.mkfifo(self.home / "answers")
        self.answers = os.open(self.home / "answers", os.O_RDWR)
        self.addCleanup(os.close, self.answers)
        process, self.terminal = pty.fork()
        if process == 0:
            os.chdir(self.home)
            os.execvpe(shell, [shell, *options], self.environment)
        self.addCleanup(os.waitpid, process, 0)
        self.addCleanup(os.kill, process, signal.SIGKILL)
        while "READY" not in self.shown:
            self.assertTrue(select.select([self.terminal], [], [], PATIENCE)[0], self.shown)
            self.shown += os.read(self.terminal, 4096).decode()
        threading.Thread(target=self.drain, daemon=True).start()

    def drain(self):
        with contextlib.suppress(OSError):  # it has ended
            while text := os.read(self.terminal, 4096):
                self.shown += text.decode(errors="replace")

    def typed(self, line):
        os.write(self.terminal, f"{line}\t\x0f".encode())
        self.assertTrue(select.select([self.answers], [], [], PATIENCE)[0], f"{line}: {self.shown}")
        os.write(self.terminal, b"\x15")
        return os.read(self.answers, 4096).decode().rstrip(" =,\n")  # what a shell sets behind a whole word

    def fish(self, line):
        done = subprocess.run(["fish", "-Nc", f"source {COMPLETIONS}/ambrel.fish; complete -C $argv[1]", line],
                              env=self.environment, cwd=self.home, capture_output=True, text=True, check=True)
        self.shown += done.stderr
        found = [each.split("\t")[0] for each in done.stdout.splitlines()]
        found = [each for each in found if each.startswith(line.rpartition(" ")[2])] or found  # fish 4 guesses, too
        return line.rpartition(" ")[0] + " " + shlex.quote(found[0]) if len(found) == 1 else line

    def check(self, complete):
        self.assertEqual(complete("ambrel store show 1"), "ambrel store show 1")  # nothing is there
        subprocess.run([AMBREL, "store", "save"], env=self.environment, check=True, text=True,
                       input='{"timestamp":1700000000.5}\n{"timestamp":-3}')
        config = self.home / ".config/ambrel/config.toml"
        config.parent.mkdir(parents=True)
        config.write_text("broken: what is completed does not depend on it")
        for line in offered():
            with self.subTest(line):
                self.assertEqual(complete(line[:-1]), line)
        for line, end in LINES.items():
            with self.subTest(line):
                self.assertEqual(complete(f"ambrel {line}"), f"ambrel {line}{end}")
        for line in FILES:
            with self.subTest(line):
                self.assertEqual(shlex.split(complete(f"ambrel {line}"))[-1].rpartition("=")[2], ODD)
        self.assertNotIn("ambrel: ", self.shown)


for name, arguments in {"bash": ["--noprofile", "--rcfile", ".zshrc", "-i"], "zsh": ["-d", "-i"], "fish": None}.items():
    def run(self, name=name, arguments=arguments):
        if arguments:
            self.start(name, *arguments)
        self.check(self.typed if arguments else self.fish)
    setattr(Completions, f"test_{name}", unittest.skipUnless(shutil.which(name), f"{name} is not installed")(run))

unittest.main(verbosity=2)
