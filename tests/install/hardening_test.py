#!/usr/bin/env python3
"""hardening_test.py [--optimised] FILE...: fails where a program or shared library lacks what makes a fault harder to exploit."""

import platform
import re
import subprocess
import sys


def told(*command: str) -> str:
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def lacking(path: str, optimised: bool) -> list[str]:
    dynamic, headers = told("readelf", "-dW", path), told("readelf", "-lW", path)
    imports = told("readelf", "--dyn-syms", "-W", path)
    code = told("objdump", "-d", "--no-show-raw-insn", path)
    functions = re.findall(r"^[0-9a-f]+ <(?!.*@plt).*>:\n +[0-9a-f]+:\t(\S+)", code, re.MULTILINE)
    stack = re.search(r"GNU_STACK.*", headers)
    holds = {
        "a place that is not known beforehand": "DYN (" in told("readelf", "-hW", path),
        "relocations that are made at the start and read-only then": "GNU_RELRO" in headers and re.search(r"FLAGS.* NOW", dynamic),
        "a stack that is not executed": stack and " RWE " not in stack[0],
        "a guard behind each array on the stack": "__stack_chk_fail" in imports,
        # The linker marks the whole only where each of its parts is marked, and Debian's start-up code is not.
        "a mark where calls may arrive": platform.machine() != "x86_64" or functions.count("endbr64") > 0.5 * len(functions),
        "calls that know the size of their buffer": not optimised or re.search(r"__(memcpy|snprintf|vsnprintf|read|memset|strncpy|fdelt)_chk", imports),
    }
    return [what for what, there in holds.items() if not there]


arguments = sys.argv[1:]
optimised = "--optimised" in arguments
faults = [f"{path} lacks {what}" for path in arguments if path != "--optimised" for what in lacking(path, optimised)]
sys.exit("\n".join(faults) or 0)
