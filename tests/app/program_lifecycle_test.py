#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The program as its user starts and ends it: whole processes on a session bus of their own.

usage: program_lifecycle_test.py PROGRAM"""
import os
import signal
import subprocess
import sys
import tempfile
import time
import unittest

PROGRAM = sys.argv.pop()
SERVICE = "org.tavelo.ControlPanel"
PATIENCE = 60  # seconds; sanitizers are slow


def environment(home, **changes):
    result = dict(os.environ, QT_QPA_PLATFORM="offscreen", XDG_CONFIG_HOME=home, LC_ALL="C.UTF-8")
    result.update(changes)
    return {name: value for name, value in result.items() if value is not None}


class Lifecycle(unittest.TestCase):
    def setUp(self):
        self.home = tempfile.TemporaryDirectory()
        self.addCleanup(self.home.cleanup)
        self.started = []
        self.addCleanup(self.end_all)

    def end_all(self):
        for process in self.started:
            if process.poll() is None:
                process.kill()
            process.communicate()

    def start(self, *arguments, **changes):
        process = subprocess.Popen([PROGRAM, "--renderer", "cpu", *arguments], text=True,
                                   env=environment(self.home.name, **changes),
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.started.append(process)
        return process

    def start_panel(self):
        """The first process, once it answers on the bus."""
        process = self.start("--virtual-cameras", "1")
        while process.poll() is None:
            call = subprocess.run(
                ["dbus-send", "--session", "--print-reply", "--dest=" + SERVICE, "/org/tavelo/ControlPanel",
                 "org.freedesktop.DBus.Peer.Ping"], capture_output=True, check=False)
            if call.returncode == 0:
                return process
        self.fail("the panel ended: " + process.stderr.read())

    def end(self, process, status=0):
        output, errors = process.communicate(timeout=PATIENCE)
        self.assertEqual((process.returncode, output), (status, ""), errors)
        return errors

    def test_second_start_ends_with_zero_and_the_first_goes_on(self):
        first = self.start_panel()
        self.end(self.start())
        self.end(self.start())
        self.assertIsNone(first.poll())

    def test_sigterm_and_sigint_quit_with_zero(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            process = self.start_panel()
            process.send_signal(number)
            self.end(process)

    def test_a_first_process_that_was_killed_leaves_the_place_free(self):
        killed = self.start_panel()
        killed.kill()
        killed.communicate()
        self.start_panel()

    def test_a_screenshot_is_taken_beside_an_open_panel(self):
        first = self.start_panel()
        picture = os.path.join(self.home.name, "picture.png")
        errand = self.start("--virtual-cameras", "1", "--screenshot", picture)
        self.end(errand)
        self.assertGreater(os.path.getsize(picture), 0)
        self.assertIsNone(first.poll())

    def test_without_a_bus_each_start_is_a_panel_of_its_own(self):
        homes = [os.path.join(self.home.name, name) for name in ("first", "second")]
        panels = [self.start("--virtual-cameras", "1", DBUS_SESSION_BUS_ADDRESS="unix:path=/no such bus",
                             DISPLAY=None, XDG_CONFIG_HOME=home) for home in homes]
        # Both run once they have stored their camera's record.
        while not all(os.path.isdir(home) and os.listdir(home) for home in homes):
            for panel in panels:
                self.assertIsNone(panel.poll())
            time.sleep(0.01)
        for panel in panels:
            panel.send_signal(signal.SIGTERM)
            self.end(panel)

    def test_a_display_that_cannot_be_opened_is_one_line_and_status_one(self):
        process = self.start(QT_QPA_PLATFORM="xcb", DISPLAY=":nosuchdisplay", WAYLAND_DISPLAY=None)
        errors = self.end(process, status=1)
        self.assertEqual(errors.count("\n"), 1, errors)
        self.assertIn("no Qt platform plugin could be initialized", errors)


if __name__ == "__main__":
    unittest.main()
