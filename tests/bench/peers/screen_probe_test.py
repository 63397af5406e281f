#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Shows bar codes on a private display and compares what the probe says it sees.

usage: screen_probe_test.py SCREEN-PROBE SHOWN-CODE"""
import os
import shutil
import subprocess
import sys
import unittest

SKIPPED = 77
MOST_LATE = 5_000_000_000  # nanoseconds; a busy machine


class ScreenProbeTest(unittest.TestCase):
    probe = window = ""

    def start(self, *words, **options):
        process = subprocess.Popen(words, text=True, stdin=subprocess.PIPE, stdout=subprocess.PIPE, **options)
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        return process

    def setUp(self):
        server = self.start("Xvfb", "-displayfd", "1", "-screen", "0", "1280x800x24", "-nolisten", "tcp",
                            stderr=subprocess.DEVNULL)
        around = os.environ | {"DISPLAY": f":{server.stdout.readline().strip()}"}
        self.window = self.start(ScreenProbeTest.window, env=around)
        self.probe = self.start(ScreenProbeTest.probe, "2000", env=around)
        self.assertEqual(self.probe.stdout.readline(), "watching\n")

    def show(self, number, direction="plain"):
        self.window.stdin.write(f"{number} {direction}\n")
        self.window.stdin.flush()
        return int(self.window.stdout.readline())

    def check_seen(self, number, since):
        when, code = map(int, self.probe.stdout.readline().split())
        self.assertEqual(code, number)
        self.assertTrue(since <= when < since + MOST_LATE, f"{when - since} ns after it was drawn")

    def check_place(self, direction):
        words = self.probe.stdout.readline().split()
        self.assertEqual([words[0], words[1], *words[3:]], ["bar", "100", "640", direction])
        # The bar is the middle eighth of 360 rows that begin at 50; rows are searched eight apart.
        self.assertTrue(50 + 158 <= int(words[2]) < 50 + 202, words[2])

    def test_sees_each_picture_once_and_where_it_is(self):
        shown = self.show(5)
        self.check_place("plain")
        self.check_seen(5, shown)
        shown = self.show(63)
        self.check_seen(63, shown)
        for _ in range(50):  # the probe looks several times meanwhile
            self.show(63)
        shown = self.show(0)
        self.check_seen(0, shown)

    def test_sees_that_the_picture_is_mirrored_later(self):
        shown = self.show(5)
        self.check_place("plain")
        self.check_seen(5, shown)
        shown = self.show(6, "mirrored")
        self.check_place("mirrored")
        self.check_seen(6, shown)

    def test_refuses_a_rate_that_is_none(self):
        for words in ([], ["fast"], ["0"], ["20x"]):
            done = subprocess.run([ScreenProbeTest.probe, *words], check=False, text=True, capture_output=True)
            self.assertEqual((done.returncode, done.stdout), (2, ""))
            self.assertIn("usage", done.stderr)


if __name__ == "__main__":
    ScreenProbeTest.probe, ScreenProbeTest.window = sys.argv.pop(1), sys.argv.pop(1)
    if shutil.which("Xvfb") is None:
        print("needs Xvfb")
        sys.exit(SKIPPED)
    unittest.main()
