#!/usr/bin/env python3
"""What a store of many files costs: time and peak memory of the commands of `ambrel store`, and of
`ambrel report`, beside `cat` of the same files, in one run, each three times; a pruning that leaves one
collection once, at the end.

    bench/store_scale.py AMBREL COLLECTIONS.ndjson [COUNT]

The collections (see sample_collections.py) are repeated with later timestamps until there are COUNT
files (100,000 without it).
"""

import json
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time


def fill(directory, path, count):
    with open(path, encoding="utf-8") as file:
        collections = [json.loads(line) for line in file]
    span = collections[-1]["timestamp"] - collections[0]["timestamp"] + 1
    size = 0
    for i in range(count):
        collection = dict(collections[i % len(collections)])
        collection["timestamp"] += i // len(collections) * span
        text = json.dumps(collection, ensure_ascii=False, separators=(",", ":"))
        with open(f"{directory}/{collection['timestamp']}.0", "w", encoding="utf-8") as file:
            size += file.write(text)
    return size


def fill_apart(*arguments):
    """In a process of its own: what is started by a large process counts as large itself."""
    child = os.fork()
    if child == 0:
        print(f"{arguments[-1]} files, {fill(*arguments) / 1e6:.0f} million characters", flush=True)
        os._exit(0)
    if os.waitpid(child, 0)[1] != 0:
        sys.exit("the files can't be written")


def measure(command):
    """Seconds, seconds of processor time, and the peak memory in MB of the greatest process."""
    with open(os.devnull, "wb") as nothing:
        begin = time.monotonic()
        process = subprocess.Popen(command, stdout=nothing, stderr=nothing)
        _, status, usage = os.wait4(process.pid, 0)
        if status != 0:
            sys.exit(f"{command}: {status}")
        return time.monotonic() - begin, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    ambrel, collections = os.path.abspath(sys.argv[1]), sys.argv[2]
    documents = tempfile.mkdtemp(prefix="ambrel-store-")
    os.environ["AMBREL_DOCUMENTS_DIR"] = documents
    directory = f"{documents}/collections"
    os.mkdir(directory)
    try:
        count = int(sys.argv[3]) if len(sys.argv) == 4 else 100_000
        fill_apart(directory, collections, count)
        store = [ambrel, "store"]
        newest = max(os.listdir(directory), key=float)
        recent = str(float(newest) - 600 * count / 100)  # about a hundredth of them is later
        commands = {
            "cat": ["sh", "-c", f"find {directory} -type f -print0 | xargs -0 cat"],
            "export": [*store, "export"],
            "export --format csv": [*store, "export", "--format", "csv"],
            "export --format geojson": [*store, "export", "--format", "geojson"],
            "list": [*store, "list"],
            "list --format json": [*store, "list", "--format", "json"],
            "list --since, of 1 %": [*store, "list", "--since", recent],
            "last": [*store, "last"],
            "show last-9": [*store, "show", "last-9"],
            "show TIMESTAMP": [*store, "show", newest],
            "report": [ambrel, "report"],
            "prune --keep 1 --dry-run": [*store, "prune", "--keep", "1", "--dry-run"],
            "prune --keep 1": [*store, "prune", "--keep", "1"],
        }
        for name, command in commands.items():
            runs = [measure(command) for _ in range(1 if name == "prune --keep 1" else 3)]
            seconds, processor, memory = (statistics.median(each) for each in zip(*runs))
            print(f"{name:25}{seconds:7.2f} s  {processor:7.2f} s of processor  {memory:6.1f} MB", flush=True)
    finally:
        shutil.rmtree(documents)


main()
