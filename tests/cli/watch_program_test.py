#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs `taveloctl watch` and `taveloctl monitor` with virtual cameras and ends them.

Usage: watch_program_test.py TAVELOCTL
"""
import os
import signal
import subprocess
import sys
import tempfile
import unittest

PROGRAM = ""
LIMIT = 60  # seconds


class Watching(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.environment = dict(os.environ, XDG_CONFIG_HOME=folder.name, LC_ALL="C.UTF-8")
        self.environment.pop("DBUS_SESSION_BUS_ADDRESS", None)  # the user's own panel is no part of this

    def run_to_end(self, *words):
        return subprocess.run([PROGRAM, *words], env=self.environment, capture_output=True, text=True, timeout=LIMIT, check=False)

    def start(self, *words):
        program = subprocess.Popen([PROGRAM, *words], env=self.environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.addCleanup(program.stderr.close)
        self.addCleanup(program.stdout.close)
        self.addCleanup(program.wait)
        self.addCleanup(program.kill)
        return program

    def test_watch_writes_the_stored_profile_and_ends_when_asked(self):
        self.assertEqual(self.run_to_end("--virtual-cameras", "1", "save", "2").returncode, 0)
        for number in (signal.SIGINT, signal.SIGTERM):
            program = self.start("--virtual-cameras", "2", "watch", "2", "--keep")
            self.assertEqual(program.stdout.readline(), "Tavelo Virtual Camera 1: profile 2 applied\n")
            self.assertEqual(program.stdout.readline(), "Tavelo Virtual Camera 2: profile 2 is not stored yet\n")
            program.send_signal(number)
            self.assertEqual(program.wait(LIMIT), 0)
            self.assertEqual(program.stderr.read(), "")

    def test_watch_follows_the_selected_profile(self):
        program = self.start("--virtual-cameras", "1", "watch")
        self.assertEqual(program.stdout.readline(), "Tavelo Virtual Camera 1: no profile is selected yet\n")

    def test_a_camera_that_is_not_there_yet_is_waited_for(self):
        program = self.start("--virtual-cameras", "1", "--camera", "nobody", "monitor")
        self.assertIn("; waiting for it\n", program.stderr.readline())
        program.terminate()
        self.assertEqual(program.wait(LIMIT), 0)
        self.assertEqual(program.stdout.read(), "")

    def test_watch_ends_when_nobody_reads(self):
        program = self.start("--virtual-cameras", "1", "watch")
        program.stdout.close()
        self.assertEqual(program.wait(LIMIT), 1)
        self.assertEqual(program.stderr.read(), "taveloctl: the output cannot be written\n")

    def test_wrong_numbers_are_refused(self):
        for words in (("watch", "0"), ("watch", "5"), ("monitor", "--count", "0"), ("monitor", "--count", "-1")):
            result = self.run_to_end(*words)
            self.assertEqual(result.returncode, 2, words)
            self.assertEqual(len(result.stderr.splitlines()), 1)


if __name__ == "__main__":
    PROGRAM = sys.argv[1]
    unittest.main(argv=sys.argv[:1], verbosity=2)
