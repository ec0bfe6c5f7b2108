"""Many devices: what Dask answers, what becomes of the work of a worker that is killed, and what a broker carries.

fleet_test.py SOURCE AMBREL. $AMBREL_DUCKDB, a folder with @duckdb/node-api of npm, has DuckDB answer, too, and the
queries of the page run on its sample; $AMBREL_SPARK_PARSER, with dt-sql-parser and esbuild, has the page's Spark read.
"""

import fcntl
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

SOURCE, AMBREL = map(pathlib.Path, sys.argv[1:])
FLEET = SOURCE / "examples/fleet"
sys.path.append(str(SOURCE / "tests/support"))
import isolation

os.environ["PATH"] = f"{AMBREL.parent}:{os.environ['PATH']}:/usr/sbin"
DUCKDB = os.environ.get("AMBREL_DUCKDB")
BLOCKS = re.compile(r"```sql.*\n((?:.*\n)*?)```")
DEVICES, COLLECTIONS = 6, 70


def run(*command, **options):
    return subprocess.run(list(map(str, command)), check=True, stdout=subprocess.PIPE, timeout=240, **options).stdout


def numbers(cell):
    """DuckDB's JSON has large integers as texts."""
    if isinstance(cell, list):
        return [numbers(each) for each in cell]
    return int(cell) if isinstance(cell, str) and cell.isdigit() else cell


def duckdb(sql, folder):
    return {key: numbers(rows) for key, rows in json.loads(run("node", FLEET / "duckdb.mjs", folder, input=sql.encode())).items()}


class Questions(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        run(FLEET / "make", DEVICES, COLLECTIONS, cls.folder.name)
        cls.texts = {path.parent.name: path.read_text(encoding="utf-8") for path in pathlib.Path(cls.folder.name).glob("*/*.ndjson")}
        twice = pathlib.Path(cls.folder.name, "device=2/collections.ndjson")
        with twice.open("a", encoding="utf-8") as file:  # as a broker may have it
            file.write(cls.texts["device=2"].splitlines(keepends=True)[0])
            file.write(cls.texts["device=2"].splitlines()[0][:-2])  # as when it is being written, or the power went
        cls.answers = json.loads(run(sys.executable, FLEET / "ask", cls.folder.name))

    def found(self, pattern):
        """How often it is in the lines, and in how many devices'."""
        counts = [len(re.findall(pattern, text)) for text in self.texts.values()]
        return [sum(map(bool, counts)), sum(counts)]

    def test_the_answers_are_what_the_lines_say(self):
        busy = {network: totals for network, *totals in self.answers["busy"]}
        self.assertEqual(sum(totals[0] for totals in busy.values()), DEVICES * COLLECTIONS)
        self.assertEqual(sum(totals[1] for totals in busy.values()), self.found(r'"address":"[0-9A-F]{8}-')[1])
        self.assertEqual(busy["Office"][0], self.found('{"name":"Office"}')[1])
        self.assertEqual(sum(totals[3] for totals in busy.values()), self.found('"locationCollection":')[1])
        self.assertEqual({(device, name) for device, _, name, *_ in self.answers["travel"]},
                         {(str(device), name) for device in range(1, DEVICES + 1) for name in ("Watch", "Earbuds", "Key finder")})
        self.assertEqual([row[0] for row in self.answers["printers"]],
                         ["Home printer", *(f"Home printer {device}" for device in range(2, DEVICES + 1)), "Printer 3rd floor", "Printer 4th floor"])
        for name, kind, *counts in self.answers["shared"]:
            self.assertEqual(counts, self.found(f'"name":"{name}","protocolType":"{re.escape(kind)}"'), name)
        self.assertIn("build-07", [row[0] for row in self.answers["shared"]])

    def test_a_worker_that_is_killed_changes_no_answer(self):
        self.assertEqual(json.loads(run(sys.executable, FLEET / "ask", self.folder.name, "--kill")), self.answers)

    @unittest.skipUnless(DUCKDB, "no package of Debian has DuckDB")
    def test_another_engine_answers_the_same(self):
        self.assertEqual(duckdb((FLEET / "questions.sql").read_text(encoding="utf-8"), self.folder.name),
                         {question: numbers(rows) for question, rows in self.answers.items()})

    @unittest.skipUnless(os.environ.get("AMBREL_SPARK_PARSER"), "no package of Debian has a parser of Spark's SQL")
    def test_what_the_page_has_for_spark_parses(self):
        page = (SOURCE / "docs/analysis.md").read_text(encoding="utf-8")
        for sql, is_right in (BLOCKS.findall(page[page.index("\n## Spark"):])[0], True), ("SELECT FROM;", False):
            errors = json.loads(run("node", SOURCE / "tests/fleet/spark_syntax.mjs", input=sql.encode()))
            self.assertEqual(not errors, is_right, errors)

    @unittest.skipUnless(DUCKDB, "no package of Debian has DuckDB")
    def test_the_page_tells_what_its_queries_answer(self):
        page = (SOURCE / "docs/analysis.md").read_text(encoding="utf-8")
        page = page[page.index("\n## DuckDB"):page.index("\n## Spark")]
        tables = [[[cell.strip() for cell in line.strip("| ").split(" | ")] for line in table.splitlines()[2:]]
                  for table in re.findall(r"(?:^\|.*\n)+", page, re.MULTILINE)]
        with tempfile.TemporaryDirectory() as folder:
            script = run(SOURCE / "bench/sample_collections.py", 10000)
            pathlib.Path(folder, "collections.ndjson").write_bytes(run(AMBREL, "replay", "--quiet", "-", input=script))
            answers = duckdb("\n".join(BLOCKS.findall(page)), folder)
        shown = [[[f"[{', '.join(cell)}]" if isinstance(cell, list) else re.sub(r"\.0$", "", str(cell)) for cell in row] for row in rows]
                 for rows in answers.values()]
        self.assertEqual(len(tables), 3)
        self.assertEqual(shown, [[[re.sub(r"^(\d+)\.0$", r"\1", cell) for cell in row] for row in table] for table in tables])


class Broker(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.kept = self.folder / "archive"
        self.state = self.folder / "sent"
        self.conf = self.folder / "conf"
        self.conf.write_text(f"listener 1883 127.0.0.1\nallow_anonymous true\nuser root\npersistence true\npersistence_location {self.folder}/\n")
        self.environment = {**os.environ, "AMBREL_DOCUMENTS_DIR": str(self.folder / "documents")}
        self.lines = run(AMBREL, "replay", "--quiet", "-", input=run(SOURCE / "bench/sample_collections.py", 30)).splitlines()

    def enterContext(self, context):  # of Python 3.11
        value = context.__enter__()
        self.addCleanup(context.__exit__, None, None, None)
        return value

    def start(self, *command):
        process = subprocess.Popen(list(map(str, command)), stderr=subprocess.DEVNULL)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process

    def broker(self):
        process = self.start("mosquitto", "-c", self.conf)
        while subprocess.run(["mosquitto_pub", "-h", "127.0.0.1", "-t", "up", "-n"], stderr=subprocess.DEVNULL, check=False).returncode:
            time.sleep(0.1)
        return process

    def publish(self, topic, payload):
        run("mosquitto_pub", "-h", "127.0.0.1", "-q", "1", "-t", topic, "-s", input=payload)

    def archive(self):
        """From then on the broker holds what comes for it."""
        process = self.start(sys.executable, FLEET / "archive", self.kept, "127.0.0.1")
        while not (self.kept / "device=first").exists():
            self.publish("ambrel/first/collections", b"{}")
            time.sleep(0.1)
        return process

    def save(self, lines):
        run(AMBREL, "store", "save", "-", input=b"\n".join(lines) + b"\n", env=self.environment)

    def send(self, name="van-7"):
        return subprocess.run([sys.executable, FLEET / "send", name, self.state, "-h", "127.0.0.1"],
                              env=self.environment, stderr=subprocess.DEVNULL, timeout=240, check=False).returncode

    def arrived(self):
        place = self.kept / "device=van-7/collections.ndjson"
        return place.read_bytes().splitlines() if place.exists() else []

    def until(self, holds):
        begin = time.monotonic()
        while not holds():
            self.assertLess(time.monotonic() - begin, 60, "it has not come")
            time.sleep(0.02)

    def wait_for(self, lines):
        self.until(lambda: set(lines) <= set(self.arrived()))
        self.assertEqual(set(self.arrived()), set(lines))

    def test_nothing_is_lost_whoever_is_away_or_killed(self):
        self.save(self.lines[:6])
        self.assertNotEqual(self.send(), 0, "there is no broker")
        broker = self.broker()
        archive = self.archive()
        self.assertEqual(self.send(), 0)
        self.wait_for(self.lines[:6])
        self.assertEqual(len(self.arrived()), 6)
        before = self.state.read_bytes()

        archive.kill()
        self.save(self.lines[6:12])
        self.assertEqual(self.send(), 0)
        archive = self.archive()
        self.wait_for(self.lines[:12])

        self.state.write_bytes(before)  # as if killed before it said what was acknowledged
        self.save(self.lines[12:])
        sending = self.start("env", f"AMBREL_DOCUMENTS_DIR={self.folder}/documents", sys.executable, FLEET / "send", "van-7", self.state, "-h", "127.0.0.1")
        self.until(lambda: len(set(self.arrived())) >= 14)
        archive.kill()
        broker.terminate()
        broker.wait()
        self.assertNotEqual(sending.wait(), 0)
        self.broker()
        self.archive()
        self.assertEqual(self.send(), 0)
        self.wait_for(self.lines)

    def test_a_name_that_the_archive_would_pass_over_sends_nothing(self):
        self.broker()
        self.save(self.lines[:1])
        for name in "", "..", "a b", "a/b", "-v", "x\n", "x" * 65:
            self.assertNotEqual(self.send(name), 0, name)
        self.assertFalse(self.state.exists())

    def test_of_two_that_send_at_once_one_ends(self):
        with open(f"{self.state}.lock", "w", encoding="utf-8") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            self.assertNotEqual(self.send(), 0)

    def test_who_sends_something_else_writes_nowhere_else(self):
        self.broker()
        self.archive()
        good = b'{"timestamp":1}'
        for topic, payload in [("ambrel/../collections", good), ("ambrel/a b/collections", good), ("ambrel/van-7/collections", b"no JSON"),
                               ("ambrel/van-7/collections", b'{"a":1\n}'), ("ambrel/van-7/collections", good)]:
            self.publish(topic, payload)
        self.wait_for([good])
        self.assertEqual({path.name for path in self.kept.iterdir()}, {"device=first", "device=van-7"})


if __name__ == "__main__":
    isolation.enter()
    unittest.main(argv=sys.argv[:1])
