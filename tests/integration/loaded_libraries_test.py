#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks which libraries the program loads, and when, on a private display.

usage: loaded_libraries_test.py PROGRAM"""
import glob
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

from waiting import wait_until

PROGRAM = sys.argv.pop()


def start_display(folder):
    """Returns a display's process and name."""
    reader, writer = os.pipe()
    with open(os.path.join(folder, "display.log"), "w", encoding="utf-8") as log:
        display = subprocess.Popen(["Xvfb", "-displayfd", str(writer), "-screen", "0", "1280x800x24", "-nolisten", "tcp",
                                    "-noreset"],  # xdotool comes and goes
                                   pass_fds=[writer], stdout=log, stderr=log)
    os.close(writer)
    with os.fdopen(reader) as number:
        return display, ":" + number.readline().strip()


class LoadedLibraries(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        display, name = start_display(self.folder.name)
        self.addCleanup(display.wait)
        self.addCleanup(display.terminate)
        self.environment = {**os.environ, "DISPLAY": name, "QT_QPA_PLATFORM": "xcb", "HOME": self.folder.name,
                            "XDG_CONFIG_HOME": self.folder.name, "DBUS_SESSION_BUS_ADDRESS": "disabled:",
                            "ASAN_OPTIONS": "detect_leaks=0"}

    def start(self, *arguments):
        program = subprocess.Popen([PROGRAM, "--virtual-cameras", "1", *arguments], env=self.environment)

        def end():
            program.terminate()
            program.wait()
        self.addCleanup(end)
        return program

    @staticmethod
    def libraries(program):
        with open(f"/proc/{program.pid}/maps", encoding="utf-8") as maps:
            paths = {line.split(maxsplit=5)[5].strip() for line in maps if ".so" in line}
        return {os.path.basename(path).split(".so")[0] for path in paths}

    def start_panel(self, *arguments):
        """A panel that shows the camera's picture."""
        panel = self.start(*arguments)

        def window():
            search = ["xdotool", "search", "--onlyvisible", "--name", "Tavelo Control Panel"]
            return subprocess.run(search, env=self.environment, capture_output=True, check=False).stdout.strip()
        wait_until("the window", window)
        return panel

    @unittest.skipIf(glob.glob("/dev/dri/renderD*"), "this machine has a graphics card")
    def test_a_panel_without_a_graphics_card_loads_no_compiler_for_one(self):
        loaded = self.libraries(self.start_panel())
        self.assertIn("libQt6Widgets", loaded)
        for library in ("libLLVM-", "swrast_dri", "libgallium"):
            self.assertFalse([name for name in loaded if name.startswith(library)], library)

    def test_a_panel_that_records_nothing_loads_no_encoder(self):
        loaded = self.libraries(self.start_panel())
        self.assertFalse(loaded & {"tavelo-movie", "libavcodec", "libavformat"})

    def test_a_recording_loads_the_encoder(self):
        movie = os.path.join(self.folder.name, "movie.mp4")
        recorder = self.start("--record", movie)
        wait_until("the movie", lambda: os.path.exists(movie) and os.path.getsize(movie) > 0)
        self.assertLessEqual({"tavelo-movie", "libavcodec", "libavformat"}, self.libraries(recorder))


if __name__ == "__main__":
    if not shutil.which("Xvfb") or not shutil.which("xdotool"):
        sys.exit(77)
    unittest.main(argv=sys.argv[:1], verbosity=2)
