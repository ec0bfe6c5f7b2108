#!/usr/bin/env python3
"""Runs pytest in namespaces of its own; the arguments are pytest's."""

import pathlib
import sys
import tempfile

import pytest

sys.path.append(str(pathlib.Path(__file__).parents[1] / "support"))
import isolation

isolation.enter()
with tempfile.TemporaryDirectory() as folder:
    sys.exit(pytest.main(["-q", "-p", "no:cacheprovider", f"--basetemp={folder}/tests", *sys.argv[1:]]))
