#!/usr/bin/env python3
"""Installs a build into an empty prefix; hosts outside the tree find it there, build and run."""

import json
import os
import subprocess
import sys
import tempfile
import unittest

BUILD, COMPILER, VERSION, FLAGS = sys.argv[1:5]
HOST = os.path.join(os.path.dirname(os.path.abspath(__file__)), "host")


def run(*command, **options):
    result = subprocess.run(command, text=True, capture_output=True, check=False, **options)
    if result.returncode != 0:
        raise AssertionError(f"{' '.join(command)}\n{result.stdout}{result.stderr}")
    return result.stdout


class Installation(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.prefix = os.path.join(cls.folder.name, "prefix")
        run("cmake", "--install", BUILD, "--prefix", cls.prefix)

    def check_host(self, program):
        record, error = run(program).splitlines()
        self.assertEqual(json.loads(record)["nearbyDevices"], [])
        self.assertIn("Threshold", error)

    def test_only_what_is_promised_is_installed(self):
        top = sorted(os.listdir(os.path.join(self.prefix, "include", "AmbrelKit")))
        self.assertEqual(top, ["AmbrelError.hpp", "AmbrelPermissionStatus.hpp", "AmbrelSDK.hpp",
                               "AmbrelSDKDelegate.hpp", "AmbrelStorage.hpp", "Linux", "Platform",
                               "Simulated"])
        tool = os.path.join(self.prefix, "bin", "ambrel")
        if os.path.exists(tool):
            self.assertEqual(run(tool, "--version"), f"ambrel {VERSION}\n")

    def test_find_package(self):
        build = os.path.join(self.folder.name, "build")
        run("cmake", "-S", HOST, "-B", build, "-G", "Ninja", f"-DCMAKE_CXX_FLAGS={FLAGS}",
            f"-DCMAKE_CXX_COMPILER={COMPILER}", f"-DCMAKE_PREFIX_PATH={self.prefix}")
        run("cmake", "--build", build)
        self.check_host(os.path.join(build, "host"))
        record = json.loads(run(os.path.join(build, "host_test")))
        self.assertEqual(record["bleScan"][0]["name"], "Lamp")

    def test_pkg_config(self):
        library = subprocess.check_output(
            ["find", self.prefix, "-name", "ambrelkit.pc", "-printf", "%h"], text=True)
        environment = {**os.environ, "PKG_CONFIG_PATH": library}
        self.assertEqual(run("pkg-config", "--modversion", "ambrelkit", env=environment).strip(),
                         VERSION)
        flags = run("pkg-config", "--cflags", "--libs", "ambrelkit", env=environment).split()
        program = os.path.join(self.folder.name, "host")
        run(COMPILER, *FLAGS.split(), os.path.join(HOST, "host.cpp"), *flags, "-o", program)
        self.check_host(program)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
