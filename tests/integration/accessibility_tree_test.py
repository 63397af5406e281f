#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Reads the real program over AT-SPI like a screen reader: names, roles, states, values and actions.

Usage: accessibility_tree_test.py PROGRAM
Starts its own session bus and display, with an empty settings folder.  Exits with 77 if a tool is missing.
"""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

from waiting import PATIENCE, wait_until

try:
    import gi
    gi.require_version("Atspi", "2.0")
    from gi.repository import Atspi, GLib
except (ImportError, ValueError) as missing:
    print(missing)
    sys.exit(77)

SLIDERS = {  # name: (value, minimum, maximum) of the virtual camera
    "Brightness": (0, -64, 64), "Contrast": (32, 0, 64), "Saturation": (64, 0, 128),
    "White Balance": (4600, 2800, 6500), "Sharpness": (5, 0, 10), "Zoom": (100, 100, 400),
    "Tilt (Up/Down)": (0, -10, 10), "Pan (Left/Right)": (0, -10, 10),
}
CAMERA_BUTTONS = ("Cam 1", "Cam 2")
POWER_LINE_BUTTONS = ("50 Hz", "60 Hz")
PROFILE_BUTTONS = ("PROFILE 1", "PROFILE 2", "PROFILE 3", "PROFILE 4")
OTHER_BUTTONS = ("SAVE TO PROFILE", "RESTORE CAMERA DEFAULTS", "Minimise", "Close")


class Program:
    """The panel on a private display, with accessibility always on."""

    def __init__(self, path, *arguments):
        self._folder = tempfile.TemporaryDirectory()
        os.environ.update(XDG_CONFIG_HOME=self._folder.name, LC_ALL="C.UTF-8",
                          QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", QT_QPA_PLATFORM="xcb")
        read_end, write_end = os.pipe()
        self._server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_end), "-screen", "0", "1280x800x24", "-nolisten", "tcp", "-noreset"],
            pass_fds=[write_end], stderr=subprocess.DEVNULL)
        os.close(write_end)
        with os.fdopen(read_end) as answer:
            os.environ["DISPLAY"] = f":{answer.readline().strip()}"  # printed once the server is ready
        self.process = subprocess.Popen([path, *arguments])
        try:
            self.window = wait_until("the panel's window on the bus", self._find_window)
        except BaseException:
            self.close()
            raise

    def close(self):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        self._server.terminate()
        self._server.wait()
        self._folder.cleanup()

    def _find_window(self):
        if self.process.poll() is not None:
            raise AssertionError(f"the panel ended with status {self.process.returncode}")
        for application in children(Atspi.get_desktop(0)):
            if application.get_process_id() == self.process.pid and application.get_child_count():
                return application.get_child_at_index(0)
        return None

    def find(self, name, role):
        """The only element with that name and role."""
        found = [element for element in descendants(self.window)
                 if (element.get_name(), element.get_role()) == (name, role)]
        if len(found) != 1:
            raise AssertionError(f"{len(found)} elements are called {name!r} and are a {role.value_nick}")
        return found[0]

    def slider(self, name):
        return self.find(name, Atspi.Role.SLIDER)


def press_key(key):
    """Presses a key on the display's keyboard.  The panel has the focus, as it is the only window."""
    subprocess.run(["xdotool", "key", key], check=True, timeout=PATIENCE)


def children(element):
    element.clear_cache()
    found = (element.get_child_at_index(index) for index in range(element.get_child_count()))
    return [child for child in found if child is not None]


def descendants(element):
    for child in children(element):
        yield child
        yield from descendants(child)


def has(element, state):
    element.clear_cache()
    return element.get_state_set().contains(state)


def value(element):
    return element.get_value_iface().get_current_value()


def limits(element):
    values = element.get_value_iface()
    return values.get_minimum_value(), values.get_maximum_value()


def actions(element):
    interface = element.get_action_iface()
    return [interface.get_action_name(index) for index in range(interface.get_n_actions())]


def act(element, name):
    element.get_action_iface().do_action(actions(element).index(name))


class AccessibilityTree(unittest.TestCase):
    path = ""

    def start(self, cameras):
        # Draw on the CPU: OpenGL drivers are not tested here, and some leak memory.
        program = Program(self.path, "--virtual-cameras", str(cameras), "--renderer", "cpu")
        self.addCleanup(program.close)
        if cameras:  # the window stands before the first camera is bound
            name = "White Balance"
            wait_until("the camera's controls", lambda: limits(program.slider(name)) == SLIDERS[name][1:])
        return program

    def button(self, program, name):
        return program.find(name, Atspi.Role.PUSH_BUTTON)

    def choice(self, program, name):
        return program.find(name, Atspi.Role.RADIO_BUTTON)

    def expect_usable(self, element, action):
        self.assertTrue(has(element, Atspi.StateType.SENSITIVE), element.get_name())
        self.assertTrue(has(element, Atspi.StateType.FOCUSABLE), element.get_name())
        self.assertIn(action, actions(element), element.get_name())

    def wait_checked(self, element, checked=True):
        wait_until(f"{element.get_name()} checked: {checked}",
                   lambda: has(element, Atspi.StateType.CHECKED) == checked)

    def test_every_control_is_there_with_its_role_name_value_and_action(self):
        program = self.start(2)
        self.assertIn(program.window.get_role(), (Atspi.Role.FRAME, Atspi.Role.WINDOW))
        self.assertTrue(program.window.get_name())
        for name, (current, *wanted) in SLIDERS.items():
            slider = program.slider(name)
            self.expect_usable(slider, "Increase")
            self.assertIn("Decrease", actions(slider))
            self.assertEqual((value(slider), *limits(slider)), (current, *wanted), name)
        self.expect_usable(program.find("Mirror", Atspi.Role.CHECK_BOX), "Toggle")
        for name in CAMERA_BUTTONS + POWER_LINE_BUTTONS:
            self.expect_usable(self.choice(program, name), "Press")
        for name in PROFILE_BUTTONS + OTHER_BUTTONS:
            self.expect_usable(self.button(program, name), "Press")
        checked = [name for name in CAMERA_BUTTONS + POWER_LINE_BUTTONS
                   if has(self.choice(program, name), Atspi.StateType.CHECKED)]
        self.assertEqual(checked, ["Cam 1", "50 Hz"])

    def test_the_keyboard_moves_a_slider_and_its_value_follows(self):
        program = self.start(1)
        slider = program.slider("Contrast")
        slider.get_component_iface().grab_focus()
        wait_until("the focus", lambda: has(slider, Atspi.StateType.FOCUSED))
        press_key("Right")
        wait_until("contrast 33", lambda: value(slider) == 33)
        program.find("33", Atspi.Role.LABEL)
        press_key("Home")
        wait_until("the lowest contrast", lambda: value(slider) == 0)

    def test_a_value_change_is_told(self):
        program = self.start(1)
        slider = program.slider("Zoom")
        told = []
        listener = Atspi.EventListener.new(lambda event: told.append(event.source.get_name()))
        listener.register("object:property-change:accessible-value")
        self.addCleanup(listener.deregister, "object:property-change:accessible-value")
        act(slider, "Increase")
        events = GLib.MainContext.default()
        wait_until("the event", lambda: told or (events.iteration(False) and told))
        self.assertEqual(value(slider), 101)
        self.assertEqual(set(told), {"Zoom"})

    def test_actions_do_what_a_click_does(self):
        program = self.start(2)
        mirror = program.find("Mirror", Atspi.Role.CHECK_BOX)
        act(mirror, "Toggle")
        self.wait_checked(mirror)
        act(self.choice(program, "60 Hz"), "Press")
        self.wait_checked(self.choice(program, "60 Hz"))
        self.wait_checked(self.choice(program, "50 Hz"), False)
        program.slider("Brightness").get_value_iface().set_current_value(-20)
        wait_until("brightness -20", lambda: value(program.slider("Brightness")) == -20)

        act(self.button(program, "PROFILE 2"), "Press")
        self.wait_checked(self.button(program, "PROFILE 2"))
        wait_until("the profile's brightness", lambda: value(program.slider("Brightness")) == 0)
        act(self.choice(program, "Cam 2"), "Press")
        self.wait_checked(self.choice(program, "Cam 2"))
        self.wait_checked(self.button(program, "PROFILE 2"), False)

    def test_what_cannot_be_used_says_so(self):
        program = self.start(1)
        second = self.choice(program, "Cam 2")
        self.assertFalse(has(second, Atspi.StateType.SENSITIVE))
        self.assertNotIn("Press", actions(second))

    def test_the_context_menu_names_the_cameras_and_their_functions(self):
        """Qt tells of a menu and of the entry with the focus, but does not list the menu with the windows."""
        program = self.start(3)
        opened, focused = [], []

        def told(event):
            role = event.source.get_role()
            if event.detail1 and role == Atspi.Role.POPUP_MENU:
                opened.append(event.source)
            elif event.detail1 and role == Atspi.Role.MENU_ITEM:
                focused.append(event.source.get_name())
        listener = Atspi.EventListener.new(told)
        for kind in ("object:state-changed:showing", "object:state-changed:focused"):
            listener.register(kind)
            self.addCleanup(listener.deregister, kind)

        def heard(condition):
            while GLib.MainContext.default().iteration(False):
                pass
            return condition()

        def pressed(key, condition):
            press_key(key)
            wait_until(key, lambda: heard(condition))

        def opens_with_picture():
            opened.clear()
            pressed("shift+F10", lambda: opened)
            if "1280 × 720" in opened[-1].get_name():
                return True
            press_key("Escape")
            return False
        wait_until("the picture in the menu's name", opens_with_picture)
        menu = {entry.get_name(): entry for entry in children(opened[-1])}
        self.assertTrue(has(menu["1  Tavelo Virtual Camera 1"], Atspi.StateType.CHECKED))
        self.assertFalse(has(menu["3  Tavelo Virtual Camera 3"], Atspi.StateType.CHECKED))
        self.assertTrue(has(menu["Auto Focus"], Atspi.StateType.CHECKED))
        self.assertFalse(has(menu["Auto White Balance"], Atspi.StateType.CHECKED))
        for name in ("1  Tavelo Virtual Camera 1", "2  Tavelo Virtual Camera 2"):
            pressed("Down", lambda: name in focused)
        press_key("Return")
        self.wait_checked(self.choice(program, "Cam 2"))

    def test_the_close_button_puts_the_window_away(self):
        program = self.start(1)
        act(self.button(program, "Close"), "Press")
        wait_until("the window gone", lambda: not has(program.window, Atspi.StateType.SHOWING))
        self.assertIsNone(program.process.poll(), "the program keeps running")
        program.process.terminate()
        self.assertEqual(program.process.wait(timeout=PATIENCE), 0)


def main(path, *in_session):
    for tool in ("dbus-run-session", "Xvfb", "xdotool"):
        if shutil.which(tool) is None:
            print(f"no {tool}")
            sys.exit(77)
    if not in_session:
        os.execvp("dbus-run-session", ["dbus-run-session", "--", sys.executable, *sys.argv, "in-session"])
    AccessibilityTree.path = path
    unittest.main(argv=sys.argv[:1], verbosity=2, warnings="ignore")  # Atspi raises many deprecation warnings


if __name__ == "__main__":
    main(*sys.argv[1:])
