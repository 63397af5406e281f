#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The program's window under a real window manager (openbox), with real keys and a real mouse.

usage: window_manager_test.py PROGRAM
Exits with 77 if a tool is missing."""
import itertools
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

from waiting import PATIENCE, wait_until

SCREEN = (0, 0, 1280, 800)
ON_PICTURE, ON_BACKGROUND = (700, 330), (240, 45)  # in the window
# The window manager's own keys; nothing else, so that it takes none of the panel's.
SETTINGS = """<openbox_config xmlns="http://openbox.org/3.4/rc"><desktops><popupTime>0</popupTime></desktops><keyboard>
  <keybind key="W-f"><action name="ToggleFullscreen"/></keybind>
  <keybind key="A-F4"><action name="Close"/></keybind>
  <keybind key="W-1"><action name="GoToDesktop"><to>1</to></action></keybind>
  <keybind key="W-2"><action name="GoToDesktop"><to>2</to></action></keybind>
</keyboard></openbox_config>"""


def run(*words):
    return subprocess.run([*map(str, words)], check=False, text=True, capture_output=True, timeout=PATIENCE).stdout


class ManagedWindow(unittest.TestCase):
    program = ""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        read_end, write_end = os.pipe()
        self.keep(["Xvfb", "-displayfd", str(write_end), "-screen", "0", "1280x800x24", "-nolisten", "tcp", "-noreset"],
                  pass_fds=[write_end])
        os.close(write_end)
        with os.fdopen(read_end) as answer:
            os.environ["DISPLAY"] = f":{answer.readline().strip()}"  # printed once the server is ready
        settings = self.folder / "rc.xml"
        settings.write_text(SETTINGS, encoding="utf-8")
        self.manager = self.keep(["openbox", "--config-file", str(settings)])
        wait_until("the window manager", lambda: "window id" in run("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"))
        self.use_keyboard()
        self.panel = self.keep(self.command("--virtual-cameras", "1"))
        self.place = wait_until("the window", lambda: self.has_panel() and self.geometry(self.window()))

    def keep(self, command, **how):
        process = subprocess.Popen(command, env=self.environment(), stderr=subprocess.DEVNULL, **how)
        self.addCleanup(process.wait)
        self.addCleanup(process.terminate)
        return process

    def command(self, *arguments):
        return [self.program, "--renderer", "cpu", *arguments]

    def environment(self):
        return dict(os.environ, QT_QPA_PLATFORM="xcb", QT_SCALE_FACTOR="1", LC_ALL="C.UTF-8",
                    XDG_CONFIG_HOME=str(self.folder))

    @staticmethod
    def use_keyboard():
        """The first press of a server tells every program that the keyboard is another one.  The window manager
        then gives up its keys and takes them again one by one, and presses meanwhile go elsewhere."""
        for key, desktop in (("super+2", "= 1"), ("super+1", "= 0")):
            wait_until("the window manager's key", lambda: run("xdotool", "key", key) == "" and desktop in run(
                "xprop", "-root", "_NET_CURRENT_DESKTOP"))

    def start_again(self):
        """The panel that runs already shows its window."""
        again = subprocess.run([self.program], env=self.environment(), timeout=PATIENCE, check=False)
        self.assertEqual(again.returncode, 0)

    def visible(self):
        self.assertIsNone(self.panel.poll(), "the panel ended")
        return run("xdotool", "search", "--onlyvisible", "--pid", self.panel.pid).split()

    def window(self):
        """The window that the window manager knows, or nothing."""
        managed = re.findall("0x[0-9a-f]+", run("xprop", "-root", "_NET_CLIENT_LIST"))
        return next((window for window in self.visible() if hex(int(window)) in managed), None)

    @staticmethod
    def geometry(window):
        words = dict(line.split("=") for line in run("xdotool", "getwindowgeometry", "--shell", window).split())
        return tuple(int(words.get(word, -1)) for word in ("X", "Y", "WIDTH", "HEIGHT"))

    def is_in_state(self, name):
        return "_NET_WM_STATE_" + name in run("xprop", "-id", self.window(), "_NET_WM_STATE")

    def has_panel(self):
        """The window has the panel's size and shows the preview in its place."""
        window = self.window()
        return window and self.geometry(window)[2:] == (1111, 660) and (536, 424) in [
            self.geometry(each)[2:] for each in self.visible()]

    def has_picture_alone(self):
        window = self.window()
        return window and self.is_in_state("FULLSCREEN") and self.geometry(window) == SCREEN and SCREEN in [
            self.geometry(each) for each in self.visible() if each != window]

    def expect_panel(self):
        wait_until("the panel", self.has_panel)
        wait_until("its place", lambda: self.geometry(self.window()) == self.place)

    def expect_picture_alone(self):
        wait_until("the picture alone", self.has_picture_alone)

    def has_focus(self):
        return run("xdotool", "getwindowfocus").strip() == self.window()

    def press(self, key):
        wait_until("the focus", self.has_focus)  # the window manager gives it a while after it was asked to
        run("xdotool", "key", key)

    def move_to(self, place):
        run("xdotool", "mousemove", self.place[0] + place[0], self.place[1] + place[1])

    def click(self, place, *options):
        self.move_to(place)
        run("xdotool", "click", *options, 1)

    def test_keys_show_the_picture_alone_and_the_panel_again(self):
        for end in ("F11", "Escape"):
            self.press("F11")
            self.expect_picture_alone()
            self.press(end)
            self.expect_panel()

    def test_a_click_leaves_keys_and_pointer_to_the_program(self):
        # A window manager that is asked to move a window keeps both until the button goes up.
        for place in (ON_PICTURE, ON_BACKGROUND):
            self.move_to(place)
            run("xdotool", "mousedown", 1, "mousemove_relative", 2, 1, "mouseup", 1)  # no hand is quite still
            self.move_to((500, 20))
            self.press("F11")
            self.expect_picture_alone()
            self.press("F11")
            self.expect_panel()

    def test_a_click_while_the_window_manager_is_busy_does_too(self):
        # It sees each press first.  What waited for it arrives at the place where the pointer is by then.
        for place in (ON_PICTURE, ON_BACKGROUND):
            self.move_to(place)
            self.manager.send_signal(signal.SIGSTOP)
            run("xdotool", "click", 1)
            self.move_to((500, 20))
            self.manager.send_signal(signal.SIGCONT)
            self.press("F11")
            self.expect_picture_alone()
            self.press("F11")
            self.expect_panel()

    def test_a_double_click_on_the_picture_does_the_same(self):
        self.click(ON_PICTURE, "--repeat", 2, "--delay", 100)
        self.expect_picture_alone()
        run("xdotool", "mousemove", 640, 400, "click", "--repeat", 2, "--delay", 100, 1)
        self.expect_panel()

    def test_the_window_is_dragged_by_its_background(self):
        self.move_to(ON_BACKGROUND)
        run("xdotool", "mousedown", 1)
        start = self.place
        ways = itertools.count(1)

        def is_moved():
            self.move_to((ON_BACKGROUND[0] + next(ways) % 300, ON_BACKGROUND[1]))
            return self.geometry(self.window())[0] > start[0] + 20

        wait_until("a move", is_moved)
        run("xdotool", "mouseup", 1)
        self.assertEqual(self.geometry(self.window())[2:], start[2:])

    @staticmethod
    def leave_area(left, top, width, height):
        """What the desktop's own panels leave of the screen, as window managers tell it."""
        run("xprop", "-root", "-format", "_NET_WORKAREA", "32c", "-set", "_NET_WORKAREA",
            ",".join(map(str, (left, top, width, height) * 4)))  # of each desktop

    def test_the_window_goes_where_the_desktop_leaves_it_room(self):
        left, top = self.place[:2]
        self.assertGreater(left, 20)
        self.leave_area(left + 16, 0, 1280 - left - 16, 800)
        wait_until("the move to the right", lambda: self.geometry(self.window()) == (left + 16, top, 1111, 660))
        self.leave_area(0, 0, 1280, top + 600)
        wait_until("the move up", lambda: self.geometry(self.window()) == (left + 16, top - 60, 1111, 660))
        self.leave_area(40, 50, 800, 600)
        wait_until("the smaller panel", lambda: self.geometry(self.window()) == (40, 50, 800, 475))
        self.leave_area(0, 0, 1280, 800)
        wait_until("the panel", lambda: self.geometry(self.window()) == (40, 50, 1111, 660))

    def test_the_window_managers_own_key_does_the_same(self):
        self.press("super+f")
        self.expect_picture_alone()
        self.press("Escape")
        self.expect_panel()
        self.press("F11")
        self.expect_picture_alone()
        self.press("super+f")
        self.expect_panel()

    def test_a_window_that_was_closed_in_full_screen_comes_back_with_the_panel(self):
        self.press("F11")
        self.expect_picture_alone()
        self.press("alt+F4")
        wait_until("the window to close", lambda: not self.window())
        self.start_again()
        self.expect_panel()
        self.press("F11")
        self.expect_picture_alone()
        self.press("F11")
        self.expect_panel()

    def test_a_window_that_was_minimised_in_full_screen_comes_back_in_it(self):
        for _ in range(3):  # how the states follow each other differs from time to time
            self.press("F11")
            self.expect_picture_alone()
            run("xdotool", "windowminimize", self.window())
            wait_until("the window to go", lambda: not self.window())
            self.start_again()
            self.expect_picture_alone()
            self.press("Escape")
            self.expect_panel()

    def choose_on_top(self):
        closed = len(self.visible())
        self.move_to(ON_BACKGROUND)
        run("xdotool", "click", 3)
        wait_until("the menu", lambda: len(self.visible()) > closed)
        run("xdotool", "key", *["Up"] * 7, "Return")  # from below, since cameras and their functions are above it

    def is_above(self, other):
        """Whether the panel is above another window."""
        stack = re.findall("0x[0-9a-f]+", run("xprop", "-root", "_NET_CLIENT_LIST_STACKING"))
        window = hex(int(self.window()))
        return {window, other} <= set(stack) and stack.index(window) > stack.index(other)

    def test_always_on_top_is_above_other_windows_until_it_is_switched_off(self):
        self.choose_on_top()
        wait_until("the state", lambda: self.is_in_state("ABOVE"))
        self.keep(["xmessage", "-geometry", "300x200+200+200", "a note"])
        found = wait_until("the note", lambda: run("xdotool", "search", "--onlyvisible", "--name", "xmessage"))
        other = hex(int(found.split()[0]))
        wait_until("the panel above the note", lambda: self.is_above(other))
        run("xdotool", "windowactivate", self.window())
        self.press("F11")
        self.expect_picture_alone()
        self.press("F11")
        self.expect_panel()
        self.assertTrue(self.is_in_state("ABOVE"))
        self.click((1066, 45))
        wait_until("the window to close", lambda: not self.window())
        self.start_again()
        wait_until("the panel", self.has_panel)  # the window manager chooses its place
        self.place = self.geometry(self.window())
        wait_until("the state", lambda: self.is_in_state("ABOVE"))
        self.choose_on_top()
        wait_until("the state's end", lambda: not self.is_in_state("ABOVE"))
        run("xdotool", "windowactivate", int(other, 16))
        wait_until("the note above the panel", lambda: not self.is_above(other))


if __name__ == "__main__":
    for tool in ("Xvfb", "openbox", "xdotool", "xprop", "xmessage"):
        if shutil.which(tool) is None:
            print(f"{tool} is missing")
            sys.exit(77)
    ManagedWindow.program = sys.argv.pop(1)
    unittest.main(verbosity=2)
