#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks what the configuration says on a machine that cannot build the project.

Usage: needs_test.py CMAKE MODULES
"""
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

CMAKE, MODULES = sys.argv[1:3]
FOUND_BY_PKG_CONFIG = {"libusb-1.0-0-dev", "libudev-dev", "libavformat-dev", "libavcodec-dev", "libavutil-dev",
                       "libswresample-dev", "libpipewire-0.3-dev", "libjpeg-dev", "libturbojpeg0-dev"}


class Needs(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def write(self, name, text):
        file = self.folder / name
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text, encoding="utf-8")

    def complaints(self, *options, before="", **variables):
        """The lines after "This machine cannot build the project:"; nothing if it can."""
        self.write("tree/CMakeLists.txt", "cmake_minimum_required(VERSION 3.25)\nproject(Tried LANGUAGES CXX)\n"
                   f"{before}\ninclude({MODULES}/TaveloNeeds.cmake)\n")
        done = subprocess.run([CMAKE, "-G", "Ninja", "-S", self.folder / "tree", "-B", self.folder / "build", *options], check=False,
                              capture_output=True, text=True, env={**os.environ, **variables}, timeout=120)
        _, mark, rest = done.stderr.partition("This machine cannot build the project:\n")
        self.assertEqual(done.returncode != 0, bool(mark), done.stderr)
        lines = [line.strip() for line in rest.partition("\nCall Stack")[0].splitlines()]
        return [line for line in lines if line]

    def packages(self, lines):
        return {line.partition("(Debian: ")[2].rstrip(")") for line in lines}

    def test_this_machine_has_all(self):
        self.assertEqual(self.complaints(), [])

    def test_each_missing_and_each_old_library_has_one_line(self):
        self.write("found/libusb-1.0.pc", "Name: libusb\nDescription: old\nVersion: 1.0.24\n")
        self.write("found/libudev.pc", "Name: libudev\nDescription: new\nVersion: 999\n")
        lines = self.complaints(PKG_CONFIG_LIBDIR=str(self.folder / "found"), PKG_CONFIG_PATH="")
        self.assertIn("libusb 1.0.26 or newer is needed, and 1.0.24 was found (Debian: libusb-1.0-0-dev)", lines)
        self.assertIn("libavcodec 59.37 or newer is needed and was not found (Debian: libavcodec-dev)", lines)
        self.assertEqual(len(lines), len(FOUND_BY_PKG_CONFIG) - 1)
        self.assertEqual(self.packages(lines), FOUND_BY_PKG_CONFIG - {"libudev-dev"})

    def test_an_old_qt_is_named_with_its_version(self):
        self.write("qt/Qt6Config.cmake", "set(Qt6_FOUND TRUE)\n")
        self.write("qt/Qt6ConfigVersion.cmake", 'set(PACKAGE_VERSION "6.2.4")\nset(PACKAGE_VERSION_COMPATIBLE TRUE)\n')
        lines = self.complaints(f"-DQt6_DIR={self.folder / 'qt'}")
        self.assertIn("Qt 6.4 or newer is needed, and 6.2.4 was found (Debian: qt6-base-dev)", lines)
        self.assertEqual(self.packages(lines), {"qt6-base-dev", "qt6-svg-dev"})

    def test_an_old_compiler_is_named(self):
        for name, version, wanted in (("GNU", "11.4", "GCC 12"), ("Clang", "13.0.1", "Clang 14")):
            before = f"set(CMAKE_CXX_COMPILER_ID {name})\nset(CMAKE_CXX_COMPILER_VERSION {version})"
            self.assertEqual(self.complaints(before=before),
                             [f"{wanted} or newer is needed, and {version} compiles (C++20)"])

    def test_the_core_needs_no_library(self):
        self.assertEqual(self.complaints("-DTAVELO_CORE_ONLY=ON", "-DCMAKE_DISABLE_FIND_PACKAGE_Qt6=ON",
                                         PKG_CONFIG_LIBDIR="/nowhere", PKG_CONFIG_PATH=""), [])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
