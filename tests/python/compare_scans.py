#!/usr/bin/env python3
"""compare_scans.py AMBREL: prints the dictionary of a scan by the module, if it is byte for byte the tool's of the same time,
points in time aside."""

import asyncio
import json
import re
import subprocess
import sys

import ambrelkit


async def scan():
    tool = await asyncio.create_subprocess_exec(*sys.argv[1:], stdout=subprocess.PIPE)
    record, (printed, _) = await asyncio.gather(ambrelkit.scan(bluetooth=False, location=False), tool.communicate())
    return json.dumps(record, ensure_ascii=False, separators=(",", ":")) + "\n", printed.decode()


def timeless(text):
    return re.sub(r'"timestamp":\d+', '"timestamp":0', text)


own, tools = asyncio.run(scan())
if timeless(own) != timeless(tools):
    sys.exit(f"the module: {own}the tool:   {tools}")
print(own, end="")
