#!/usr/bin/env python3
"""Installs a build, builds each example by the line that stands in it, and runs them, and the one in Python, beside a
neighbour with services.

Exit status 77: they are built, and the kernel refuses the network to run them in.
"""

import glob
import os
import re
import subprocess
import sys
import tempfile
import time

SOURCE, BUILD, COMPILER, *FLAGS = sys.argv[1:]
BED = [sys.executable, f"{SOURCE}/tests/network/bed.py", "--types", "_ipp._tcp,_http._tcp"]
# Those that go on after the collection: once it is delivered, they are told to end, or their input ends.
DELIVERED = "for each in $(seq 600); do [ -s $0.out ] && break; {}sleep 0.1; done"
TOLD = (f"$0 >$0.out & {DELIVERED.format('kill -0 $! || break; ')}; kill $!; wait $!; status=$?; cat $0.out; "
        "exit $status")
UNTIL = {"poll": f"{{ {DELIVERED.format('')}; }} | $0 >$0.out; status=$?; cat $0.out; exit $status",
         "qt": TOLD.replace("exit $status", "[ $status -eq 143 ]"), "gtk": TOLD,
         "minimal_py": f"exec {sys.executable} $0"}


def run(*command, **options):
    subprocess.run(command, check=True, **options)


def build(folder):
    """The programs by their examples' names."""
    prefix = f"{folder}/prefix"
    run("cmake", "--install", BUILD, "--prefix", prefix, stdout=subprocess.DEVNULL)
    [modules] = glob.glob(f"{prefix}/**/pkgconfig", recursive=True)
    shared = glob.glob(f"{modules}/../libambrelkit.so")
    warnings = "-Wall -Wextra -Wpedantic -Werror"
    compilers = {"c++": f"{COMPILER} {' '.join(FLAGS)} {warnings}", "cc": f"cc {warnings}"}
    environment = {**os.environ, "PKG_CONFIG_PATH": modules, "LD_RUN_PATH": os.path.dirname(modules)}
    programs = {}
    for example in sorted(glob.glob(f"{SOURCE}/examples/*.c") + glob.glob(f"{SOURCE}/examples/*.cpp")):
        with open(example, encoding="utf-8") as file:
            compiler, options = re.search(r"^// (cc|c\+\+) (.*)$", file.read(), re.MULTILINE).groups()
        if compiler == "cc" and not shared:
            continue  # an archive is linked as C++ is
        program = f"{folder}/{os.path.basename(example)}.program"
        begin = time.monotonic()
        run("sh", "-c", f"{compilers[compiler]} {re.sub('-o [a-z]+', '-o ' + program, options)}",
            cwd=f"{SOURCE}/examples", env=environment)
        print(f"{os.path.basename(example)}: built in {time.monotonic() - begin:.1f} s", flush=True)
        programs[os.path.splitext(os.path.basename(example))[0] + ("_c" if compiler == "cc" else "")] = program
    if shared:
        run("cmake", "--install", BUILD, "--prefix", prefix, "--component", "Python", stdout=subprocess.DEVNULL)
        os.environ |= {"PYTHONPATH": f"{prefix}/lib/python3/dist-packages", "AMBRELKIT_LIBRARY_DIR": f"{modules}/.."}
        programs["minimal_py"] = f"{SOURCE}/examples/minimal.py"
    return programs


def main():
    with tempfile.TemporaryDirectory() as folder, \
            subprocess.Popen(["Xvfb", "-displayfd", "1", "-ac", "-nolisten", "tcp"], stdout=subprocess.PIPE,
                             stderr=subprocess.DEVNULL, text=True) as display:
        try:
            programs = build(folder)
            # Leaks of the toolkits are not ours to mend. A session bus that one of them started through the display
            # would end with its bed, and GLib ends every other program that is on it.
            os.environ |= {"DISPLAY": f":{display.stdout.readline().strip()}", "ASAN_OPTIONS": "detect_leaks=0",
                           "GTK_A11Y": "none", "DBUS_SESSION_BUS_ADDRESS": "disabled:"}
            running = {name: subprocess.Popen([*BED, "sh", "-c", UNTIL.get(name, "exec $0"), program],
                                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
                       for name, program in programs.items()}
            outputs = {name: process.communicate()[0] for name, process in running.items()}
        finally:
            display.terminate()
    for name, output in outputs.items():
        print(f"{name}: exit status {running[name].returncode}\n{output}")
    statuses = {process.returncode for process in running.values()}
    return 77 if statuses == {77} else int(statuses != {0})


if __name__ == "__main__":
    sys.exit(main())
