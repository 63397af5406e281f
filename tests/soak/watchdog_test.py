#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""A panel that hangs is noticed, and what its threads do is printed; so is one that dies.

usage: watchdog_test.py PLUGGED-PANEL
Exits with 77 if a tool is missing."""
import os
import signal
import subprocess
import sys
import tempfile
import threading
import unittest

try:
    from stage import Failure, GLib, Panel, Stage, missing_tools
except ImportError as missing:
    print(missing)
    sys.exit(77)
from waiting import PATIENCE, wait_until
from watchdog import Watchdog


class WatchdogTest(unittest.TestCase):
    program = ""

    def start_panel(self, limit):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        stage = Stage(folder.name)
        self.addCleanup(stage.close)
        panel = Panel(stage, self.program, ["--virtual-cameras", "1"], limit)
        self.addCleanup(panel.close)

        def shows():
            try:
                return panel.property("ShownCamera")
            except GLib.Error:
                return False

        wait_until("the camera", shows)
        return stage, panel

    def test_a_stopped_panel_fails_and_its_stacks_are_printed(self):
        stage, panel = self.start_panel(limit=3)
        panel.process.send_signal(signal.SIGSTOP)
        with self.assertRaisesRegex(Failure, "^the main thread did not answer for 3 s$"):
            panel.wait_until("what never comes", lambda: False)
        said = wait_until("the stacks", lambda: (stage.folder / "stacks.txt").exists()
                          and (stage.folder / "stacks.txt").read_text(encoding="utf-8"))
        for expected in ("kt.captureQueue", "runProgram", "in main ("):
            self.assertIn(expected, said)

    def test_a_panel_that_dies_is_a_failure_and_no_silent_one(self):
        stage, panel = self.start_panel(limit=3)
        panel.process.send_signal(signal.SIGKILL)
        with self.assertRaisesRegex(Failure, "^the panel ended, with signal 9$"):
            panel.wait_until("what never comes", lambda: False)
        self.assertIsNone(panel.watchdog.failure)
        self.assertFalse((stage.folder / "stacks.txt").exists())

    def watch(self, process, answers, limit):
        """A watchdog that is told what the process answers, and what it reports."""
        reports, asked = [], threading.Event()

        def ask(_seconds):
            asked.set()
            return answers()

        watchdog = Watchdog(process.pid, ask, limit, reports.append)
        self.addCleanup(watchdog.close)
        self.assertTrue(asked.wait(PATIENCE))
        return watchdog, reports

    def sleeper(self):
        process = subprocess.Popen(["sleep", "1000"])
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process

    def test_a_process_that_answers_is_left_alone(self):
        count = iter(range(1000))
        done = threading.Event()

        def answers():
            if next(count) == 5:
                done.set()
            return True

        watchdog, reports = self.watch(self.sleeper(), answers, limit=0.1)
        self.assertTrue(done.wait(PATIENCE))
        self.assertEqual((watchdog.failure, reports), (None, []))

    def test_a_process_that_has_ended_is_no_silent_one(self):
        process = self.sleeper()
        silent = threading.Event()

        def answers():
            process.kill()
            process.wait()
            silent.set()
            return False

        watchdog, reports = self.watch(process, answers, limit=0)
        self.assertTrue(silent.wait(PATIENCE))
        watchdog.close()
        self.assertEqual((watchdog.failure, reports), (None, []))


if __name__ == "__main__":
    lacking = missing_tools("gdb")
    if lacking:
        print(f"missing: {' '.join(lacking)}")
        sys.exit(77)
    WatchdogTest.program = os.path.abspath(sys.argv.pop(1))
    unittest.main(verbosity=2)
