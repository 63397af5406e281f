#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""The real program with its window closed, on a private display, and a session bus with a desktop of our own.

usage: tray_program_test.py PROGRAM
Exits with 77 if a tool is missing."""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

from waiting import PATIENCE, wait_until, xdotool

try:
    from gi.repository import GLib
    from fake_desktop import NOTIFICATIONS, WATCHER, FakeDesktop, Item
    from x_tray import XTray
except ImportError as missing:
    print(missing)
    sys.exit(77)

SERVICE, OBJECT = "org.tavelo.ControlPanel", "/org/tavelo/ControlPanel"
CAMERA_ON = "Tavelo Virtual Camera 1 is on"
RELEASED = "The camera is free for other programs"
DOT = "\U0001F534"


class ClosedWindow(unittest.TestCase):
    program = ""

    @classmethod
    def setUpClass(cls):
        read_end, write_end = os.pipe()
        server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_end), "-screen", "0", "1280x800x24", "-nolisten", "tcp", "-noreset"],
            pass_fds=[write_end], stderr=subprocess.DEVNULL)
        os.close(write_end)
        cls.addClassCleanup(server.wait)
        cls.addClassCleanup(server.terminate)
        with os.fdopen(read_end) as answer:
            os.environ["DISPLAY"] = f":{answer.readline().strip()}"  # printed once the server is ready

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        daemon = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address=1",
                                   f"--address=unix:dir={self.folder}"], stdout=subprocess.PIPE,
                                  stderr=subprocess.DEVNULL, text=True)
        self.addCleanup(daemon.stdout.close)
        self.addCleanup(daemon.wait)
        self.addCleanup(daemon.terminate)
        self.address = daemon.stdout.readline().strip()
        self.desktop = FakeDesktop(self.address)
        self.addCleanup(self.desktop.close)
        self.panel = None

    def start(self, *services):
        """Starts the panel on a desktop with these services and waits for its picture's camera."""
        for service in services:
            self.desktop.own(service)
        self.panel = self.start_program("--virtual-cameras", "1")
        self.addCleanup(self.panel.communicate)
        self.addCleanup(self.panel.kill)
        wait_until("the window", self.window_is_shown)
        wait_until("the camera", self.shown_camera)

    def start_program(self, *arguments):
        environment = dict(os.environ, QT_QPA_PLATFORM="xcb", QT_SCALE_FACTOR="1", LC_ALL="C.UTF-8",
                           XDG_CONFIG_HOME=str(self.folder), DBUS_SESSION_BUS_ADDRESS=self.address)
        for desktop in ("XDG_CURRENT_DESKTOP", "WAYLAND_DISPLAY"):
            environment.pop(desktop, None)
        environment["ASAN_OPTIONS"] = "detect_leaks=0"  # libdbus loses a buffer if a message comes at the end
        return subprocess.Popen([self.program, "--renderer", "cpu", *arguments], env=environment,
                                stderr=subprocess.PIPE, text=True)

    def start_again(self):
        """The panel that runs already shows its window."""
        with self.start_program() as again:
            self.assertEqual(again.wait(timeout=PATIENCE), 0)
        wait_until("the window", self.window_is_shown)

    def window_is_shown(self):
        self.assertIsNone(self.panel.poll(), "the panel ended")
        found = xdotool("search", "--onlyvisible", "--pid", self.panel.pid).split()
        return any("Geometry: 1111x660" in xdotool("getwindowgeometry", window) for window in found)

    def close_window(self):
        xdotool("mousemove", 1066, 45, "click", 1)
        wait_until("the window to close", lambda: not self.window_is_shown())

    def own_property(self, name):
        try:
            return self.desktop.property(SERVICE, OBJECT, SERVICE + "1", name)
        except GLib.Error:
            return ""

    def shown_camera(self):
        return self.own_property("ShownCamera")

    def close_and_find_item(self):
        known = len(self.desktop.items)
        self.close_window()
        wait_until("the entry", lambda: len(self.desktop.items) > known)
        return Item(self.desktop, self.desktop.items[-1])

    def end(self):
        """Returns what the panel printed."""
        self.panel.terminate()
        return self.panel.communicate(timeout=PATIENCE)[1]

    def record(self, movie, seconds=0.0):
        arguments = GLib.Variant("(ssd)", ("", str(movie), seconds))
        self.desktop.call(SERVICE, OBJECT, SERVICE + "1", "StartRecording", arguments)

    def test_no_tray_is_asked_before_the_window_is_closed(self):
        self.start(WATCHER, NOTIFICATIONS)
        self.assertEqual(self.desktop.calls, [])

    def test_the_entry_says_that_the_camera_is_on_and_goes_with_the_window(self):
        self.start(WATCHER, NOTIFICATIONS)
        item = self.close_and_find_item()
        wait_until("the line", lambda: CAMERA_ON in item.tip())
        self.assertEqual(item.tip(), "Tavelo Control Panel: " + CAMERA_ON)
        self.assertEqual([(text, enabled) for text, (_, enabled) in item.entries().items()],
                         [(CAMERA_ON, False), ("Show Window", True), ("Release Camera", True), ("Quit", True)])
        self.assertLessEqual({16, 22, 32}, set(item.pictures()))
        item.choose("Show Window")
        wait_until("the window", self.window_is_shown)
        wait_until("the entry's end", lambda: not item.is_there())
        self.assertTrue(self.close_and_find_item().is_there(), "closing again shows it again")
        self.assertEqual(self.desktop.called("Notify"), [])
        self.assertEqual(self.end(), "")

    def test_a_click_on_the_entry_shows_the_window(self):
        self.start(WATCHER)
        self.close_and_find_item().click()
        wait_until("the window", self.window_is_shown)

    def test_a_released_camera_is_taken_again_with_the_window(self):
        self.start(WATCHER)
        camera = self.shown_camera()
        item = self.close_and_find_item()
        item.choose("Release Camera")
        wait_until("the release", lambda: not self.shown_camera())
        wait_until("the line", lambda: RELEASED in item.tip())
        self.assertFalse(item.entries()["Release Camera"][1])
        self.assertTrue(item.entries()["Show Window"][1])
        item.choose("Show Window")
        wait_until("the camera", lambda: self.shown_camera() == camera)
        wait_until("the window", self.window_is_shown)
        item = self.close_and_find_item()
        wait_until("the line", lambda: CAMERA_ON in item.tip())
        self.assertTrue(item.entries()["Release Camera"][1])

    def test_quit_ends_the_program(self):
        self.start(WATCHER)
        self.close_and_find_item().choose("Quit")
        self.assertEqual(self.panel.wait(timeout=PATIENCE), 0)

    def test_a_movie_goes_on_is_seen_in_the_entry_and_ends_whole_with_the_release(self):
        self.start(WATCHER)
        movie = self.folder / "movie.mp4"
        ends = self.desktop.listen(SERVICE + "1", "RecordingEnded")
        item = self.close_and_find_item()
        plain = wait_until("the icon", item.pictures)
        self.record(movie)

        def seconds():
            found = re.search(DOT + r" 0:(\d\d)", item.tip())
            return int(found[1]) if found else -1

        wait_until("the dot", lambda: seconds() >= 0)
        begun = seconds()
        wait_until("the time", lambda: seconds() >= begun + 2)
        self.assertTrue(next(iter(item.entries())).startswith(DOT + " 0:0"))
        marked = item.pictures()
        self.assertNotEqual(marked[22], plain[22])
        size, pixels = 22, marked[22][1]
        _, red, green, blue = pixels[4 * (size * (size - 5) + size - 5):][:4]
        self.assertGreater(red, 200)
        self.assertLess(max(green, blue), 80)
        item.choose("Release Camera")
        wait_until("the movie's end", lambda: ends)
        self.assertEqual(ends, [(str(movie), True, "")])
        wait_until("the line", lambda: item.tip() == "Tavelo Control Panel: " + RELEASED)
        self.assertEqual(item.pictures()[22], plain[22])
        facts = subprocess.run(["ffprobe", "-v", "error", "-show_entries", "format=duration", "-of", "csv=p=0", movie],
                               capture_output=True, text=True, check=True, timeout=PATIENCE)
        self.assertEqual(facts.stderr, "")
        self.assertGreater(float(facts.stdout), 0.8)
        self.assertEqual(self.end(), "")

    def test_a_movie_beside_the_window_brings_no_entry_back(self):
        self.start(WATCHER)
        item = self.close_and_find_item()
        item.click()
        wait_until("the window", self.window_is_shown)
        wait_until("the entry's end", lambda: not item.is_there())
        known = len(self.desktop.items)
        ends = self.desktop.listen(SERVICE + "1", "RecordingEnded")
        self.record(self.folder / "movie.mp4", seconds=0.2)
        wait_until("the movie's end", lambda: ends)
        self.assertEqual(len(self.desktop.items), known)
        self.assertFalse(item.is_there())

    def test_an_entry_comes_back_with_a_tray_that_was_started_again(self):
        self.start(WATCHER)
        self.close_and_find_item()
        self.desktop.give_up(WATCHER)
        self.desktop.items.clear()
        self.desktop.own_again(WATCHER)
        wait_until("the entry", lambda: self.desktop.items)

    def test_a_tray_of_the_x_server_gets_the_entry(self):
        tray = XTray()
        self.addCleanup(tray.close)
        self.start(NOTIFICATIONS)
        self.assertEqual(tray.new_entries(), [])
        self.close_window()
        wait_until("the entry", tray.new_entries)
        self.assertEqual(self.desktop.called("Notify"), [])

    def test_without_a_tray_one_notification_says_it_once(self):
        self.start(NOTIFICATIONS)
        for _ in range(2):
            self.close_window()
            wait_until("the notification", lambda: self.desktop.called("Notify"))
            self.start_again()
        self.assertEqual(self.desktop.called("CloseNotification"), [(7,)])
        (said,) = self.desktop.called("Notify")
        name, replaced, icon, title, body, actions, hints, duration = said
        self.assertEqual((name, replaced, icon), ("Tavelo Control Panel", 0, "tavelo-control-panel"))
        self.assertEqual(title, "Tavelo Control Panel is still running")
        self.assertEqual(body, CAMERA_ON + "\nStart the program again to show its window.")
        self.assertEqual(actions, ["default", "Show Window", "release", "Release Camera", "quit", "Quit"])
        self.assertEqual(hints, {"desktop-entry": SERVICE})
        self.assertEqual(duration, -1, "as long as the desktop likes")
        self.assertEqual(self.end(), "")

    def test_a_tray_that_shows_nothing_counts_as_none(self):
        self.desktop.has_host = False
        self.start(WATCHER, NOTIFICATIONS)
        self.close_window()
        wait_until("the notification", lambda: self.desktop.called("Notify"))
        self.assertEqual(self.desktop.items, [])

    def test_the_notification_releases_shows_and_quits(self):
        self.start(NOTIFICATIONS)
        camera = self.shown_camera()
        self.close_window()
        wait_until("the notification", lambda: self.desktop.called("Notify"))
        self.desktop.emit("ActionInvoked", (8, "quit"))  # another program's notification
        self.desktop.emit("ActionInvoked", (7, "release"))
        wait_until("the release", lambda: not self.shown_camera())
        self.desktop.emit("ActionInvoked", (7, "default"))
        wait_until("the window", self.window_is_shown)
        wait_until("the camera", lambda: self.shown_camera() == camera)

    def test_a_notification_that_comes_after_the_window_came_back_is_closed(self):
        self.start(NOTIFICATIONS)
        self.desktop.may_notify.clear()
        self.close_window()
        self.assertTrue(self.desktop.is_asked_to_notify.wait(PATIENCE))
        self.start_again()
        self.desktop.may_notify.set()
        wait_until("the notification's end", lambda: self.desktop.called("CloseNotification") == [(7,)])

    def test_the_notification_quits(self):
        self.start(NOTIFICATIONS)
        self.close_window()
        wait_until("the notification", lambda: self.desktop.called("Notify"))
        self.desktop.emit("ActionInvoked", (7, "quit"))
        self.assertEqual(self.panel.wait(timeout=PATIENCE), 0)

    def test_a_desktop_with_neither_gets_nothing_and_no_line(self):
        self.start()
        for _ in range(2):
            self.close_window()
            self.assertTrue(self.shown_camera(), "the camera goes on")
            self.start_again()
        self.assertEqual(self.end(), "")

    def test_a_tray_that_hangs_delays_nothing(self):
        self.desktop.hangs = True
        self.start(WATCHER)
        self.close_window()
        wait_until("the question", lambda: self.desktop.calls)
        asked = time.monotonic()
        self.start_again()
        self.assertLess(time.monotonic() - asked, 20, "the bus gives up after 25 seconds")


if __name__ == "__main__":
    for tool in ("Xvfb", "xdotool", "dbus-daemon", "ffprobe"):
        if shutil.which(tool) is None:
            print(f"{tool} is missing")
            sys.exit(77)
    ClosedWindow.program = sys.argv.pop(1)
    unittest.main(verbosity=2)
