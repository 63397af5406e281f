#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Moves, closes and reopens the program's window on a private display, with a real mouse.

The display has no window manager; this test acts as one as far as the program needs it.

usage: main_window_test.py PROGRAM"""
import ctypes
import ctypes.util
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

from waiting import PATIENCE, wait_until, xdotool
from x_display import XDisplay

MOVE = 8  # _NET_WM_MOVERESIZE_MOVE
PROPERTY_REPLACE, ATOM = 0, 4
SUBSTRUCTURE_NOTIFY = 1 << 19


class Mode(ctypes.Structure):
    _fields_ = [("id", ctypes.c_ulong), ("width", ctypes.c_uint), ("height", ctypes.c_uint),
                ("dot_clock", ctypes.c_ulong), ("horizontal", ctypes.c_uint * 4), ("vertical", ctypes.c_uint * 3),
                ("name", ctypes.c_char_p), ("name_length", ctypes.c_uint), ("flags", ctypes.c_ulong)]


class Resources(ctypes.Structure):
    _fields_ = [("timestamps", ctypes.c_ulong * 2), ("crtc_count", ctypes.c_int),
                ("crtcs", ctypes.POINTER(ctypes.c_ulong)), ("output_count", ctypes.c_int),
                ("outputs", ctypes.POINTER(ctypes.c_ulong)), ("mode_count", ctypes.c_int),
                ("modes", ctypes.POINTER(Mode))]


class WindowManager(XDisplay):
    """Announces support for moving windows and records such requests; sets the screen's resolution."""

    def __init__(self):
        super().__init__()
        self._randr = ctypes.CDLL(ctypes.util.find_library("Xrandr"))
        self._randr.XRRGetScreenResources.restype = ctypes.POINTER(Resources)
        self._randr.XRRCreateMode.restype = ctypes.c_ulong
        self._move_resize = self._atom("_NET_WM_MOVERESIZE")
        supported = (ctypes.c_ulong * 1)(self._move_resize)
        self._x.XChangeProperty(self._display, self._root, ctypes.c_ulong(self._atom("_NET_SUPPORTED")),
                                ctypes.c_ulong(ATOM), 32, PROPERTY_REPLACE, supported, 1)
        self._x.XSelectInput(self._display, self._root, ctypes.c_long(SUBSTRUCTURE_NOTIFY))
        self._x.XSync(self._display, 0)

    def set_resolution(self, width, height):
        name = f"{width}x{height}".encode()
        mode = Mode(0, width, height, 60_000_000, (width + 8, width + 16, width + 24, 0),
                    (height + 2, height + 4, height + 6), name, len(name), 0)
        identifier = ctypes.c_ulong(self._randr.XRRCreateMode(self._display, self._root, ctypes.byref(mode)))
        resources = self._randr.XRRGetScreenResources(self._display, self._root)
        crtc, output = ctypes.c_ulong(resources.contents.crtcs[0]), ctypes.c_ulong(resources.contents.outputs[0])
        self._randr.XRRAddOutputMode(self._display, output, identifier)
        off, none = (resources, crtc, ctypes.c_ulong(0), 0, 0), ctypes.c_ulong(0)
        self._randr.XRRSetCrtcConfig(self._display, *off, none, 1, None, 0)
        self._randr.XRRSetScreenSize(self._display, self._root, width, height, width // 4, height // 4)
        self._randr.XRRSetCrtcConfig(self._display, *off, identifier, 1, (ctypes.c_ulong * 1)(output), 1)
        self._x.XSync(self._display, 0)

    def asked_to_move(self):
        """The number of move requests since the last call."""
        return sum(data[2] == MOVE for data in self._messages(self._move_resize))


class MainWindow(unittest.TestCase):
    program = ""

    def setUp(self):
        self.home = tempfile.TemporaryDirectory()
        self.addCleanup(self.home.cleanup)
        read_end, write_end = os.pipe()
        server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_end), "-screen", "0", "1280x800x24", "-nolisten", "tcp", "-noreset"],
            pass_fds=[write_end], stderr=subprocess.DEVNULL)
        os.close(write_end)
        self.addCleanup(server.wait)
        self.addCleanup(server.terminate)
        with os.fdopen(read_end) as answer:
            os.environ["DISPLAY"] = f":{answer.readline().strip()}"  # printed once the server is ready
        self.manager = WindowManager()
        self.addCleanup(self.manager.close)
        self.panel = self.start("--virtual-cameras", "1")
        self.addCleanup(self.panel.wait)
        self.addCleanup(self.panel.kill)
        wait_until("the window", self.shown)

    def start(self, *arguments):
        return subprocess.Popen([self.program, "--renderer", "cpu", *arguments], env=dict(
            os.environ, QT_QPA_PLATFORM="xcb", QT_SCALE_FACTOR="1", XDG_CONFIG_HOME=self.home.name), stderr=subprocess.DEVNULL)

    def windows(self):
        """Position and size of each visible window of the panel, by window identifier."""
        self.assertIsNone(self.panel.poll(), "the panel ended")
        for window in xdotool("search", "--onlyvisible", "--pid", self.panel.pid).split():
            words = dict(line.split("=") for line in xdotool("getwindowgeometry", "--shell", window).split())
            yield window, tuple(int(words[word]) for word in ("X", "Y", "WIDTH", "HEIGHT"))

    def shown(self):
        return next((window for window, place in self.windows() if place[2:] == (1111, 660)), None)

    def press(self, x, y):
        xdotool("mousemove", x, y, "mousedown", 1, "mousemove", x + 5, y + 5)

    def release(self):
        xdotool("mouseup", 1)

    def test_dragging_by_the_background_moves_the_window(self):
        background = {"above the title": (700, 15), "a title": (240, 47), "a row's title": (240, 150),
                      "the logo": (1010, 604), "beside the sliders": (490, 400)}
        for name, place in background.items():
            self.press(*place)
            wait_until(f"a move by {name}", self.manager.asked_to_move)
            self.release()

    def test_a_press_on_a_control_moves_nothing(self):
        for place in ((240, 174), (126, 600), (80, 600), (205, 600), (604, 124), (774, 604)):
            self.press(*place)
            self.release()
        # Events arrive in order, so a count of one means that only this press requested a move.
        self.press(700, 15)
        self.assertEqual(wait_until("a move", self.manager.asked_to_move), 1)
        self.release()

    def test_a_drag_that_is_over_before_the_panel_sees_it_moves_nothing(self):
        self.panel.send_signal(signal.SIGSTOP)
        self.press(700, 15)
        self.release()
        self.panel.send_signal(signal.SIGCONT)
        self.press(240, 47)
        self.assertEqual(wait_until("a move", self.manager.asked_to_move), 1)
        self.release()

    def test_on_a_smaller_resolution_the_whole_window_stays_in_view(self):
        window = self.shown()
        xdotool("windowmove", window, 150, 100)
        wait_until("the move", lambda: dict(self.windows()).get(window, ())[:2] == (150, 100))
        self.manager.set_resolution(1024, 600)
        wait_until("the small panel", lambda: dict(self.windows()).get(window) == (14, 0, 1010, 600))
        self.manager.set_resolution(1280, 720)
        wait_until("the panel in its own size", lambda: dict(self.windows()).get(window) == (14, 0, 1111, 660))

    def test_a_double_click_on_the_picture_shows_it_alone_until_escape(self):
        preview = next(place for _, place in self.windows() if place[2:] == (536, 424))
        xdotool("mousemove", 813, 360, "click", "--repeat", 2, "--delay", 60, 1)
        # Without a window manager the window keeps its size.
        wait_until("the picture over the whole window", lambda: (0, 0, 1111, 660) in
                   [place for window, place in self.windows() if window != self.shown()])
        xdotool("key", "Escape")
        wait_until("the preview in its place", lambda: preview in [place for _, place in self.windows()])

    def test_a_closed_window_comes_back_by_starting_the_program_again(self):
        xdotool("mousemove", 1066, 45, "click", 1)
        wait_until("the window to close", lambda: not self.shown())
        self.assertEqual(self.start().wait(timeout=PATIENCE), 0)
        wait_until("the window", self.shown)


if __name__ == "__main__":
    for tool in ("Xvfb", "xdotool"):
        if shutil.which(tool) is None:
            print(f"{tool} is missing")
            sys.exit(77)
    MainWindow.program = sys.argv.pop()
    unittest.main(verbosity=2)
