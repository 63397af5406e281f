#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""A panel that crashes leaves a report that names its functions, and says so at its next start.

usage: crash_report_test.py TAVELO-CONTROL-PANEL TAVELOCTL"""
import ctypes
import os
import pathlib
import resource
import signal
import subprocess
import sys
import tempfile
import time
import unittest

from waiting import PATIENCE, wait_until

sys.path.append(str(pathlib.Path(__file__).resolve().parent.parent / "system"))

# pylint: disable=wrong-import-position
from rig.processes import thread_names


class CrashReport(unittest.TestCase):
    panel, taveloctl = "", ""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.environment = {name: value for name, value in os.environ.items()
                            if name not in ("DISPLAY", "WAYLAND_DISPLAY", "DBUS_SESSION_BUS_ADDRESS")}
        self.environment |= {"QT_QPA_PLATFORM": "offscreen", "XDG_STATE_HOME": f"{self.folder}/state",
                             "XDG_CONFIG_HOME": f"{self.folder}/config"}

    def crash(self):
        """Ends a panel, whose picture runs, as a wrong pointer would."""
        panel = subprocess.Popen([self.panel, "--virtual-cameras", "1"], env=self.environment, stderr=subprocess.DEVNULL,
                                 preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CORE, (0, 0)))
        self.addCleanup(panel.kill)
        patience = time.monotonic() + PATIENCE
        while "kt.captureQueue" not in thread_names(panel.pid):
            self.assertLess(time.monotonic(), patience, "no picture")
            self.assertIsNone(panel.poll())
            time.sleep(0.02)
        main_thread = panel.pid
        # While it runs it may be between two functions, in code of the linker's that has no table for a backtrace.
        state = pathlib.Path(f"/proc/{panel.pid}/task/{main_thread}/stat")
        wait_until("the main thread to wait", lambda: state.read_text(encoding="utf-8").rpartition(")")[2].split()[0] == "S")
        ctypes.CDLL(None).tgkill(panel.pid, main_thread, signal.SIGSEGV)
        self.assertEqual(panel.wait(PATIENCE), -signal.SIGSEGV)

    def start(self, program, *words):
        done = subprocess.run([program, *words], env=self.environment, check=False, text=True, capture_output=True,
                              timeout=PATIENCE)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stderr

    def test_the_next_start_says_where_the_report_lies_and_the_one_after_says_nothing(self):
        self.crash()
        still = f"{self.folder}/still.png"
        said = self.start(self.panel, "--virtual-cameras", "1", "--snapshot", still)
        (report,) = (self.folder / "state/tavelo").iterdir()
        self.assertEqual(said, f"tavelo-control-panel: it crashed; what it was doing is in {report}\n")
        text = report.read_text(encoding="utf-8")
        self.assertTrue(text.startswith("tavelo-control-panel 1."), text)
        for expected in ("signal 11, Segmentation fault", "(main+0x"):
            self.assertIn(expected, text)
        self.assertEqual(self.start(self.panel, "--virtual-cameras", "1", "--snapshot", f"{self.folder}/second.png"), "")

    def test_a_crash_of_the_panel_is_not_told_by_taveloctl(self):
        self.crash()
        self.assertEqual(self.start(self.taveloctl, "--virtual-cameras", "1", "list"), "")


if __name__ == "__main__":
    CrashReport.taveloctl = sys.argv.pop(2)
    CrashReport.panel = sys.argv.pop(1)
    unittest.main()
