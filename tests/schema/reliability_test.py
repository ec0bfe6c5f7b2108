"""Every row of docs/reliability.md names a test, and every test that it names is there.

    reliability_test.py SOURCE_DIRECTORY BUILD_DIRECTORY CTEST
"""

import json
import pathlib
import re
import subprocess
import sys
import unittest

SOURCE, BUILD = map(pathlib.Path, sys.argv[1:3])
TOLD = subprocess.run([sys.argv[3], "--show-only=json-v1"], cwd=BUILD, capture_output=True, check=True).stdout
SUITE = {test["name"]: test.get("command", []) for test in json.loads(TOLD)["tests"]}
PLAIN = SUITE.keys() | {re.sub(r"^\w+/|/\d+$", "", name) for name in SUITE}  # of those with parameters


def declares(files, words):
    return any(re.search(words, pathlib.Path(file).read_text(encoding="utf-8")) for file in files)


def is_there(name):
    name, _, case = name.partition(":")
    if name == "guest":
        words = r"TEST\w*\(" + case.replace(".", r",\s*") + r"\)"
        return declares((SOURCE / "tests/guest").rglob("*.cpp"), words)
    if case:
        scripts = [part for part in SUITE.get(name, []) if part.endswith(".py") and part.startswith(str(SOURCE))]
        return declares(scripts, rf"def {case}\(")
    if name.startswith("./dev "):
        return declares([SOURCE / "dev"], rf"(?m)^{name.split()[1]}\)")
    return name in PLAIN or "/" in name and (SOURCE / name).is_file()


def rows():
    for line in (SOURCE / "docs/reliability.md").read_text(encoding="utf-8").splitlines():
        if line.startswith("| ") and not line.endswith("| test |"):
            yield line.strip("|").split(" | ")


class Page(unittest.TestCase):
    def test_every_row_is_shown_by_tests_that_are_there(self):
        self.assertGreater(len(list(rows())), 40)
        for row in rows():
            with self.subTest(row[0]):
                self.assertEqual(len(row), 3)
                named = re.findall("`([^`]+)`", row[-1])
                self.assertTrue(named)
                self.assertEqual([name for name in named if not is_there(name)], [])


unittest.main(argv=sys.argv[:1])
