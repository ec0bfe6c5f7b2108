#!/usr/bin/env python3
"""Runs `ambrel` with configuration files of every kind: what holds, and what is said of a mistake."""

import os
import pathlib
import subprocess
import sys
import tempfile
import tomllib
import unittest

AMBREL = str(pathlib.Path(sys.argv.pop(1)).resolve())
SCRIPT = '{"ambrelReplay":1}\n{"at":0,"statuses":{"networkPermissionStatus":"granted"}}\n{"at":1,"host":"startScanning"}\n{"at":20,"end":true}\n'
VALUE = "a value is expected: true, false, a decimal number, a text in quotes, or a list"


class Configuration(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = pathlib.Path(folder.name)
        self.file = self.home / ".config/ambrel/config.toml"
        self.file.parent.mkdir(parents=True)
        (self.home / "script").write_text(SCRIPT)
        self.environment = {"HOME": folder.name, "AMBREL_DOCUMENTS_DIR": f"{folder.name}/store"}

    def ambrel(self, *arguments, **changes):
        return subprocess.run([AMBREL, *arguments], env=self.environment | changes, cwd=self.home, check=False,
                              capture_output=True, text=True, timeout=30)

    def trace(self, *options, before=(), **changes):
        """How many lines a replay prints: many, or with --quiet one."""
        result = self.ambrel(*before, "replay", "script", *options, **changes)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return "one" if result.stdout.count("\n") == 1 else "many"

    def test_where_it_is_looked_for_and_that_the_command_line_wins(self):
        quiet = "[replay]\nquiet = true\n"
        self.assertEqual(self.trace(), "many")  # there is none
        self.file.write_text(quiet)
        (self.home / "loud").write_text("replay.quiet = false\n")
        (self.home / "xdg/ambrel").mkdir(parents=True)
        for lines, options, before, changes in [
            ("one", [], [], {}), ("many", ["--quiet=false"], [], {}), ("many", [], ["--config", "loud"], {}),
            ("many", [], [], {"AMBREL_CONFIG": "loud"}), ("many", [], [], {"AMBREL_CONFIG": ""}),
            ("one", [], ["--config", str(self.file)], {"AMBREL_CONFIG": "loud"}),
            ("many", [], [], {"XDG_CONFIG_HOME": f"{self.home}/xdg"}), ("one", [], [], {"XDG_CONFIG_HOME": "xdg"}),
            ("many", [], [], {"HOME": ""}), ("many", [], [], {"HOME": "/dev/null"}),
        ]:
            with self.subTest(options=options, before=before, changes=changes):
                self.assertEqual(self.trace(*options, before=before, **changes), lines)

    def test_a_short_form_on_the_command_line_wins_over_the_format_of_the_file(self):
        subprocess.run([AMBREL, "store", "save"], env=self.environment, input='{"timestamp":0,"ip":"192.0.2.7"}', text=True)
        for setting, option, lines in [("format = 'pretty'", "--json", 1), ("json = true", "--pretty", 4), ("pretty = true", "--format=json", 1),
                                       ("columns = ['name']", "--json", 1), ("columns = ['name']", "", 1)]:
            with self.subTest(setting):
                self.file.write_text(f"[store.last]\n{setting}\n")
                self.assertEqual(self.ambrel("store", "last", *option.split()).stdout.count("\n"), lines)

    def test_a_mistake_is_named_with_file_and_line(self):
        self.ambrel("store", "save", "script")
        for text, problem in [
            ("# a\n\n[replay]\nquite = true", "4: not expected: quite; did you mean --quiet? (see ambrel replay --help)"),
            ("[repaly]", '1: "repaly" is no command; did you mean replay? (see ambrel --help)'),
            ("[store.lsit]\nformat = 'json'", '1: "lsit" is no command; did you mean list? (see ambrel store --help)'),
            ("quiet = true", "1: not expected: quiet (see ambrel --help)"),
            ("[replay]\nhelp = true", "2: --help stands on the command line alone"),
            ("config = 'a'", "1: --config stands on the command line alone"),
            ("[replay]\nquiet = 'yes'", "2: quiet is true or false"),
            ("[replay]\nquiet = true\nquiet = false", "3: quiet stands there twice"),
            ("[replay]\nquiet", "2: a key and = are expected"),
            ("[replay]\nquiet =", f"2: {VALUE}"), ("[replay]\nquiet = yes", f"2: {VALUE}"),
            ("store.list.since = 0x10", f"1: {VALUE}"), ("store.list = { since = 1 }", f"1: {VALUE}"),
            ("[replay]\nquiet = true false", "2: nothing more is expected on this line"),
            ("[replay\nquiet = true", "1: the name of a table ends with ]"),
            ("[" + "a." * 99999, "1: no setting lies as deep"),
            ("[store.list]\nformat = \"json\nsince = 1", "2: a text ends in its line with the quote that it begins with"),
            ("[store.list]\nformat = '''json'''", "2: a text stands on one line, with one quote on either side"),
            ('[store.list]\nformat = "\\u0000"', "2: this is no text of TOML"),
            ("[scan]\nonly = [\n 'network'\n 'location']", "4: a list goes on with , or ends with ]"),
            ("[store.list]\nformat = [ 'json' ]", "2: format is one text or number"),
            ("[store.list]\nformat = 'xml'", "2: format: \"xml\" is not one of table, json"),
        ]:
            with self.subTest(text):
                self.file.write_text(text)
                result = self.ambrel(*(["replay", "script"] if "[replay]" in text else ["store", "list"]))
                self.assertEqual((result.returncode, result.stdout), (2, ""))
                self.assertEqual(result.stderr, f"ambrel: {self.file}:{problem}\n")
                self.assertEqual([self.ambrel(asked).returncode for asked in ("--version", "help")], [0, 0])
        self.file.unlink()
        self.file.mkdir()
        for before, name, reason in [([], self.file, "Is a directory"), (["--config", "a"], "a", "No such file or directory"),
                                     (["--config", "/dev/zero"], "/dev/zero", "a configuration has 1 MiB at most")]:
            result = self.ambrel(*before, "store", "path")
            self.assertEqual((result.returncode, result.stderr), (2, f"ambrel: {name}: {reason}\n"))

    def test_only_on_the_command_line_wins_over_without_in_the_file(self):
        self.file.write_text("[doctor]\nwithout = ['address']")
        self.assertIn('"address"', self.ambrel("doctor", "--only=address", "--json").stdout)

    def test_what_an_option_needs_may_come_from_the_file(self):
        self.file.write_text("\ufeff[store.prune]\nkeep = 1_000\ndry-run = true")
        self.assertEqual(self.ambrel("store", "prune").returncode, 0)
        self.assertEqual(self.ambrel("--config", "", "store", "prune").returncode, 2)

    def test_what_another_user_could_have_written_is_not_read(self):
        self.file.write_text("[replay]\nquiet = true\n")
        note = f"ambrel: note: {self.file} is not read: another user could have written it\n"
        for path, change in [(self.file, lambda: self.file.chmod(0o666)), (self.file.parent, lambda: self.file.parent.chmod(0o777))]:
            with self.subTest(path):
                mode = path.stat().st_mode
                change()
                self.assertEqual(self.ambrel("store", "path").stderr, note)
                self.assertEqual(self.trace("--quiet"), "one")
                path.chmod(mode)
        if os.geteuid() == 0:
            os.chown(self.file, 65534, 65534)
            self.assertEqual(self.ambrel("store", "path").stderr, note)
            self.assertEqual(self.trace("--quiet", before=["--config", str(self.file)]), "one")

    def test_what_is_printed_reads_back_to_the_same(self):
        text = ('[scan]\nservice = ["_ipp._tcp", \'_ssh._tcp\',\n  # more\n]\nonly = "bluetooth,network"\nsave = true\n'
                'outcome = "a #\\t\\u202e\\"b"\n[watch]\nthreshold = 7\n[store.list]\nformat = \'json\' # NDJSON\n')
        self.file.write_text(text)
        printed = self.ambrel("--print-config")
        self.assertEqual((printed.returncode, printed.stderr), (0, ""))
        if "[scan]" not in printed.stdout:
            self.skipTest("built without a platform to scan on")
        self.assertNotIn("\u202e", printed.stdout)
        told = tomllib.loads(printed.stdout)
        for path in ["scan", "watch", "store"]:
            self.assertEqual({key: value for key, value in told[path].items() if value},
                             tomllib.loads(text.replace("= 7", '= "7"'))[path])
        (self.home / "copy.toml").write_text(printed.stdout)
        self.assertEqual(self.ambrel("--config", "copy.toml", "--print-config").stdout.replace("copy.toml", str(self.file)),
                         printed.stdout)
        uncommented = [line[1:] for line in printed.stdout.splitlines() if line.startswith("#") and line[1:2] not in " "]
        for line in uncommented:  # each option is there, and is TOML once its # is gone
            tomllib.loads(line)
        self.assertIn("quiet = false", uncommented)
        self.file.write_text("[store.list]\nformat = 'xml'")
        self.assertEqual(self.ambrel("--print-config").returncode, 2)


unittest.main(verbosity=2)
