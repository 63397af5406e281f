#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Starts and ends the real program in several ways, on a private session bus.

usage: program_lifecycle_test.py PROGRAM"""
import fcntl
import os
import pty
import signal
import subprocess
import sys
import tempfile
import termios
import time
import unittest

PROGRAM = sys.argv.pop()
SERVICE = "org.tavelo.ControlPanel"
PATIENCE = 60  # seconds; sanitizers are slow


def take_terminal(terminal):
    """Makes `terminal` the controlling terminal; runs in the child process."""
    os.setsid()
    signal.signal(signal.SIGHUP, signal.SIG_DFL)  # it is ignored if the test itself was started by nohup
    fcntl.ioctl(terminal, termios.TIOCSCTTY, 0)


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
        return self.run_program("--renderer", "cpu", *arguments, **changes)

    def run_program(self, *arguments, stderr=subprocess.PIPE, preexec_fn=None, **changes):
        process = subprocess.Popen([PROGRAM, *arguments], text=True, preexec_fn=preexec_fn,
                                   env=environment(self.home.name, **changes),
                                   stdout=subprocess.PIPE, stderr=stderr)
        self.started.append(process)
        return process

    def start_recording(self, movie, **how):
        """Starts recording; returns the process once the movie file exists."""
        process = self.run_program("--virtual-cameras", "1", "--renderer", "cpu", "--record", movie, **how)
        while not os.path.exists(movie) or os.path.getsize(movie) == 0:
            self.assertIsNone(process.poll())
            time.sleep(0.01)
        return process

    def assert_finished(self, movie):
        """An unfinished movie still has fragments."""
        boxes = []
        with open(movie, "rb") as file:
            while len(header := file.read(8)) == 8:
                size = int.from_bytes(header[:4], "big")
                boxes.append(header[4:].decode())
                if size == 1:
                    size = int.from_bytes(file.read(8), "big") - 8
                file.seek(size - 8, os.SEEK_CUR)
        self.assertIn("moov", boxes)
        self.assertNotIn("moof", boxes)

    def start_panel(self):
        """Starts the first process and waits until it answers on the bus."""
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
        self.assertEqual(self.end(self.run_program()), "")
        self.assertEqual(self.end(self.run_program()), "")
        self.assertIsNone(first.poll())

    def test_options_that_a_running_panel_cannot_obey_are_named_in_one_line(self):
        self.start_panel()
        errors = self.end(self.run_program("--size", "640x480", "--renderer=cpu", "--transport", "usb"))
        self.assertEqual(errors.count("\n"), 1, errors)
        for option in ("--size", "--renderer", "--transport"):
            self.assertIn(option, errors)
        for other in ("--fps", "--format", "--virtual-cameras", "--verbose", "cpu"):
            self.assertNotIn(other, errors)

    def test_sigterm_and_sigint_quit_with_zero(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            process = self.start_panel()
            process.send_signal(number)
            self.end(process)

    def test_a_closed_terminal_finishes_the_movie(self):
        movie = os.path.join(self.home.name, "movie.mp4")
        terminal, its_end = pty.openpty()
        process = self.start_recording(movie, stderr=its_end, preexec_fn=lambda: take_terminal(its_end))
        os.close(its_end)
        os.close(terminal)
        self.assertEqual(process.wait(timeout=PATIENCE), 0)
        self.assert_finished(movie)

    def test_a_message_that_nobody_can_read_kills_nobody(self):
        reader, writer = os.pipe()
        os.close(reader)
        unwritable = os.path.join(self.home.name, "no such folder", "movie.mp4")
        process = self.run_program("--virtual-cameras", "1", "--record", unwritable, stderr=writer)
        os.close(writer)
        self.assertEqual(process.wait(timeout=PATIENCE), 1, "its own exit status, not SIGPIPE")

    def test_nohup_keeps_a_recording_going(self):
        movie = os.path.join(self.home.name, "movie.mp4")
        process = self.start_recording(movie, preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
        process.send_signal(signal.SIGHUP)
        size = os.path.getsize(movie)
        while os.path.getsize(movie) <= size:
            self.assertIsNone(process.poll())
            time.sleep(0.01)
        process.send_signal(signal.SIGTERM)
        self.end(process)
        self.assert_finished(movie)

    def test_a_first_process_that_was_killed_leaves_the_place_free(self):
        killed = self.start_panel()
        killed.kill()
        killed.communicate()
        self.start_panel()

    def test_a_screenshot_is_taken_beside_an_open_panel(self):
        first = self.start_panel()
        picture = os.path.join(self.home.name, "picture.png")
        screenshot = self.start("--virtual-cameras", "1", "--screenshot", picture)
        self.end(screenshot)
        self.assertGreater(os.path.getsize(picture), 0)
        self.assertIsNone(first.poll())

    def test_on_a_small_screen_the_panel_is_scaled_down_to_fit(self):
        screen = os.path.join(self.home.name, "screen.json")
        with open(screen, "w", encoding="utf-8") as file:
            file.write('{"screens": [{"name": "netbook", "x": 0, "y": 0, "width": 1024, "height": 600}]}')
        picture = os.path.join(self.home.name, "picture.png")
        self.end(self.start("--virtual-cameras", "1", "--screenshot", picture, QT_SCALE_FACTOR="1",
                            QT_QPA_PLATFORM="offscreen:configfile=" + screen))
        with open(picture, "rb") as file:
            header = file.read(24)
        self.assertEqual([int.from_bytes(header[at:at + 4], "big") for at in (16, 20)], [1010, 600])

    def test_without_a_bus_each_start_is_a_panel_of_its_own(self):
        homes = [os.path.join(self.home.name, name) for name in ("first", "second")]
        panels = [self.start("--virtual-cameras", "1", DBUS_SESSION_BUS_ADDRESS="unix:path=/no such bus",
                             DISPLAY=None, XDG_CONFIG_HOME=home) for home in homes]
        # Once both have stored their camera's record, both are running.
        while not all(os.path.isdir(home) and os.listdir(home) for home in homes):
            for panel in panels:
                self.assertIsNone(panel.poll())
            time.sleep(0.01)
        for panel in panels:
            panel.send_signal(signal.SIGTERM)
            self.end(panel)

    def test_without_a_display_the_panel_says_so_in_one_line(self):
        process = self.start("--virtual-cameras", "1", QT_QPA_PLATFORM=None, DISPLAY=None, WAYLAND_DISPLAY=None)
        self.assertEqual(self.end(process, status=1),
                         "tavelo-control-panel: no display: neither DISPLAY nor WAYLAND_DISPLAY is set\n")

    def test_a_display_that_cannot_be_opened_is_one_line_and_status_one(self):
        process = self.start(QT_QPA_PLATFORM="xcb", DISPLAY=":nosuchdisplay", WAYLAND_DISPLAY=None)
        errors = self.end(process, status=1)
        self.assertEqual(errors.count("\n"), 1, errors)
        self.assertIn("no Qt platform plugin could be initialized", errors)


if __name__ == "__main__":
    unittest.main()
