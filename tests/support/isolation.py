"""Namespaces for the run of a Python test; Isolation.hpp has the like for C++."""

import os
import subprocess
import sys

os.environ["PATH"] += ":/usr/sbin:/sbin"


def enter():
    """Starts this program again in a network, mounts and process ids of its own, as root in there, where none of the
    machine's daemons is: what it does changes nothing outside, and what it starts ends with it. Where the kernel refuses,
    it ends as a skipped test."""
    if os.environ.pop("AMBREL_TEST_IS_ISOLATED", None):
        for command in "mount -t sysfs sysfs /sys", "mount -t tmpfs run /run", "ip link set lo up":
            subprocess.run(command.split(), check=True)
        return
    user = [] if os.geteuid() == 0 else ["--user", "--map-root-user"]
    unshare = ["unshare", *user, "--net", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc"]
    trial = subprocess.run([*unshare, "true"], capture_output=True, text=True, check=False)
    if trial.returncode != 0:
        print(f"skipped: the kernel refuses namespaces: {trial.stderr.strip()}")
        sys.exit(77)
    os.environ["AMBREL_TEST_IS_ISOLATED"] = "1"
    os.execvp("unshare", [*unshare, sys.executable, *sys.argv])
