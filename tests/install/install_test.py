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

import exports

SOURCE, BUILD, COMPILER, VERSION, *FLAGS = sys.argv[1:]
HOST, C_HOST = (os.path.join(os.path.dirname(os.path.abspath(__file__)), name) for name in ("host", "c_host"))


def run(*command, **options):
    result = subprocess.run(command, text=True, capture_output=True, check=False, **options)
    if result.returncode != 0:
        raise AssertionError(f"{' '.join(command)}\n{result.stdout}{result.stderr}")
    return result.stdout


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


class Installation(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        # As a package is made, and then moved to where nobody said that it would be.
        stage, cls.prefix = (os.path.join(cls.folder.name, name) for name in ("stage", "prefix"))
        run("cmake", "--install", BUILD, "--prefix", "/opt/ambrel", env={**os.environ, "DESTDIR": stage})
        os.rename(f"{stage}/opt/ambrel", cls.prefix)
        [archive] = glob.glob(f"{cls.prefix}/**/libambrelkit.a", recursive=True)
        cls.library = os.path.dirname(archive)
        cls.shared = os.path.exists(f"{cls.library}/libambrelkit.so")
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
        self.assertEqual(top, ["Adapters", "AmbrelError.hpp", "AmbrelPermissionStatus.hpp", "AmbrelSDK.hpp",
                               "AmbrelSDKDelegate.hpp", "AmbrelStorage.hpp", "Difference.hpp", "Linux", "Platform",
                               "Simulated"])
        tool = os.path.join(self.prefix, "bin", "ambrel")
        if os.path.exists(tool):
            self.assertEqual(run(tool, "--version"), f"ambrel {VERSION}\n")

    def test_libraries_of_sources_are_loaded_by_who_uses_them_alone(self):
        for binary in filter(os.path.exists, (f"{self.prefix}/bin/ambrel", f"{self.library}/libambrelkit.so")):
            self.assertNotRegex(run("ldd", binary), "systemd|avahi|libnl|curses", binary)

    def test_shared_libraries_show_what_the_headers_declare_and_nothing_else(self):
        installed = glob.glob(f"{self.prefix}/include/**/*.h*", recursive=True)
        seam = glob.glob(f"{SOURCE}/AmbrelKit/**/*.hpp", recursive=True)
        declared = {}
        for header in installed:
            declared.update(exports.declared(read(header)))
        for header in seam:
            declared.update(exports.declared(read(header), "AMBRELKIT_SEAM"))
        for_others = {name for name in declared if declared[name]}
        for library in glob.glob(f"{self.library}/libambrelkit*.so"):
            shown = [symbol for symbol in exports.defined(library, "-D") if symbol[1] != "A"]
            names = {name for name, _, _ in shown}
            self.assertEqual(names - declared.keys(), set(), "are no host's business")
            inside = {name for name, kind, _ in exports.defined(library.replace(".so", ".a")) if kind == "T"}
            self.assertEqual((inside & for_others) - names, set(), "are declared, but hidden")
            for name, _, version in shown:
                self.assertEqual(version, "AMBRELKIT_0" if name.startswith("ambrel_") else f"AMBRELKIT_CXX_{VERSION}")

    def check_libraries(self, program, expected):
        """Of ours the program is linked with these, and all are of this installation."""
        loaded = [line.split() for line in run("ldd", program).splitlines() if "libambrelkit" in line]
        self.assertEqual(sorted(name for name, _, _, _ in loaded), expected if self.shared else [])
        for _, _, path, _ in loaded:
            self.assertEqual(os.path.realpath(os.path.dirname(path)), os.path.realpath(self.library))

    def test_find_package(self):
        build = os.path.join(self.folder.name, "build")
        configure = ["cmake", "-S", HOST, "-B", build, "-G", "Ninja", f"-DCMAKE_CXX_FLAGS={' '.join(FLAGS)}",
                     f"-DCMAKE_CXX_COMPILER={COMPILER}", f"-DCMAKE_PREFIX_PATH={self.prefix}"]
        run(*configure, env=self.few_modules if self.shared else None)
        run("cmake", "--build", build)
        self.check_host(f"{build}/host")
        self.check_libraries(f"{build}/host", ["libambrelkit.so.0"])
        self.assertEqual(json.loads(run(f"{build}/host_test"))["bleScan"][0]["name"], "Lamp")
        self.check_libraries(f"{build}/host_test", ["libambrelkit-simulated.so.0", "libambrelkit.so.0"])
        run(*configure, "-DSTATIC=ON")
        run("cmake", "--build", build)
        self.check_host(f"{build}/static_host")
        self.check_libraries(f"{build}/static_host", [])
        with self.assertRaisesRegex(AssertionError, "no component Statik"):
            run(*configure, "-DFURTHER=Statik")

    def test_a_host_in_c_needs_no_other_compiler(self):
        if not self.shared:
            self.skipTest("an archive is linked as C++ is")
        program = os.path.join(self.folder.name, "c_host")
        run("cmake", "-S", C_HOST, "-B", f"{program}.build", "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={self.prefix}",
            env=self.few_modules)
        run("cmake", "--build", f"{program}.build")
        flags = run("pkg-config", "--cflags", "--libs", "ambrelkit-simulated", env=self.few_modules).split()
        run("cc", "-std=c99", "-Wall", "-Wextra", "-Wpedantic", "-Werror", f"{C_HOST}/c_host.c", *flags,
            f"-Wl,-rpath,{self.library}", "-o", program)
        for host in program, f"{program}.build/c_host":
            self.assertEqual([json.loads(line)["bleScan"] for line in run(host).splitlines()], [[], []])

    def test_pkg_config(self):
        def known(*options):
            return run("pkg-config", *options, "ambrelkit", env=self.few_modules).split()
        self.assertEqual(known("--modversion"), [VERSION])
        [include] = {os.path.realpath(flag.removeprefix("-I")) for flag in known("--cflags")} - {"/usr/include"}
        self.assertEqual(include, os.path.join(self.prefix, "include"))
        program = os.path.join(self.folder.name, "host")
        run(COMPILER, *FLAGS, "-std=c++20", "-c", f"{HOST}/host.cpp", *known("--cflags"), "-o", f"{program}.o")
        static = [flag.replace("-lambrelkit", "-l:libambrelkit.a") for flag in known("--static", "--libs")]
        for flags, libraries in ((known("--libs"), ["libambrelkit.so.0"]), (static, [])):
            run(COMPILER, *FLAGS, f"{program}.o", *flags, f"-Wl,-rpath,{self.library}", "-o", program)
            self.check_host(program)
            self.check_libraries(program, libraries)
        simulated = run("pkg-config", "--cflags", "--libs", "ambrelkit-simulated", env=self.few_modules).split()
        self.assertIn("-lambrelkit-simulated", simulated)
        self.assertIn("-lambrelkit", simulated)
        giving_nothing = os.path.join(self.folder.name, "giving_nothing.cpp")  # which only is given dictionaries
        with open(f"{HOST}/host.cpp") as host, open(giving_nothing, "w") as file:
            file.writelines(line for line in host if "setInfoDictionary" not in line)
        with self.assertRaisesRegex(AssertionError, "undefined.*json_abi_diag"):
            run(COMPILER, *FLAGS, "-std=c++20", "-DJSON_DIAGNOSTICS=1", giving_nothing, *known("--cflags", "--libs"), "-o", program)

    def test_what_the_loader_finds_by_itself_has_no_search_path(self):
        stage = os.path.join(self.folder.name, "system")
        run("cmake", "--install", BUILD, "--prefix", "/usr", env={**os.environ, "DESTDIR": stage})
        binaries = [f"{stage}/usr/bin/ambrel", *glob.glob(f"{stage}/usr/lib/**/libambrelkit*.so", recursive=True)]
        for binary in filter(os.path.exists, binaries):
            self.assertNotIn("RUNPATH", run("readelf", "-d", binary), binary)


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
