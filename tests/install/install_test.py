#!/usr/bin/env python3
"""Installs a build, static or shared; hosts outside the tree find it, build and start."""

import glob
import json
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE, BUILD, COMPILER, VERSION, *FLAGS = sys.argv[1:]
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
        # As a package is made, and then moved to where nobody said that it would be.
        stage, cls.prefix = (os.path.join(cls.folder.name, name) for name in ("stage", "prefix"))
        run("cmake", "--install", BUILD, "--prefix", "/opt/ambrel", env={**os.environ, "DESTDIR": stage})
        os.rename(f"{stage}/opt/ambrel", cls.prefix)
        [cls.library] = glob.glob(f"{cls.prefix}/**/libambrelkit.*[ao]", recursive=True)
        cls.shared = cls.library.endswith(".so")
        cls.library = os.path.dirname(cls.library)
        # All that pkg-config is to know beside AmbrelKit itself.
        modules = os.path.join(cls.folder.name, "pkgconfig")
        os.mkdir(modules)
        shutil.copy(run("pkg-config", "--variable=pcfiledir", "nlohmann_json").strip() + "/nlohmann_json.pc", modules)
        cls.few_modules = {**os.environ, "PKG_CONFIG_PATH": "", "PKG_CONFIG_LIBDIR": f"{cls.library}/pkgconfig:{modules}"}

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
        run("cmake", "-S", HOST, "-B", build, "-G", "Ninja", f"-DCMAKE_CXX_FLAGS={' '.join(FLAGS)}",
            f"-DCMAKE_CXX_COMPILER={COMPILER}", f"-DCMAKE_PREFIX_PATH={self.prefix}",
            env=self.few_modules if self.shared else None)
        run("cmake", "--build", build)
        self.check_host(os.path.join(build, "host"))
        record = json.loads(run(os.path.join(build, "host_test")))
        self.assertEqual(record["bleScan"][0]["name"], "Lamp")

    def test_pkg_config(self):
        def known(option):
            return run("pkg-config", option, "ambrelkit", env=self.few_modules).split()
        self.assertEqual(known("--modversion"), [VERSION])
        [include] = {os.path.realpath(flag.removeprefix("-I")) for flag in known("--cflags")} - {"/usr/include"}
        self.assertEqual(include, os.path.join(self.prefix, "include"))
        program = os.path.join(self.folder.name, "host")
        run(COMPILER, *FLAGS, "-std=c++20", os.path.join(HOST, "host.cpp"), *known("--cflags"),
            *known("--libs"), f"-Wl,-rpath,{self.library}", "-o", program)
        self.check_host(program)


class Tarball(unittest.TestCase):
    def test_whoever_builds_it_gets_neither_tests_nor_errors_for_warnings(self):
        with tempfile.TemporaryDirectory() as folder:
            source, build = os.path.join(folder, "source"), os.path.join(folder, "build")
            os.mkdir(source)
            for name in set(os.listdir(SOURCE)) - {".git", "build"}:
                os.symlink(os.path.join(SOURCE, name), os.path.join(source, name))
            run("cmake", "-S", source, "-B", build, "-G", "Ninja", f"-DCMAKE_CXX_COMPILER={COMPILER}")
            with open(f"{build}/CMakeCache.txt", encoding="utf-8") as cache:
                entries = cache.read().splitlines()
            self.assertIn("AMBREL_BUILD_TESTS:BOOL=OFF", entries)
            self.assertIn("AMBREL_WERROR:BOOL=OFF", entries)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
