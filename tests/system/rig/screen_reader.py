# SPDX-License-Identifier: MIT
"""Reads a program's windows over AT-SPI, like a screen reader.

Run as a program it answers each line of its input, a list of roles, with one line of JSON, on the session bus that it was
started on: AT-SPI keeps its first bus for as long as a process lives.  Each question about an element is a call on that
bus, so only elements of the wanted roles are asked for more than their role.

Usage: screen_reader.py PROCESS
"""
import json
import subprocess
import sys


LEAVES = {"slider", "static", "label", "check box", "push button"}


class ScreenReader:
    def __init__(self, process):
        self._reader = subprocess.Popen([sys.executable, __file__, str(process)], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True)

    def elements(self, *roles):
        """(name, value or None, checked, enabled) of each element of each window that has one of these roles."""
        self._reader.stdin.write(json.dumps(roles) + "\n")
        self._reader.stdin.flush()
        line = self._reader.stdout.readline()
        if not line:
            raise RuntimeError(f"the screen reader ended with status {self._reader.wait()}")
        return [tuple(element) for element in json.loads(line)]

    def sliders(self, name):
        """(value, enabled) of each slider with that name."""
        return [(value, enabled) for element, value, _, enabled in self.elements("slider") if element == name]

    def labels(self):
        return {name for name, *_ in self.elements("static", "label")}

    def is_on(self, name):
        """Whether the switch with that name is on; None if there is none."""
        return next((checked for element, _, checked, _ in self.elements("check box") if element == name), None)

    def close(self):
        self._reader.kill()
        self._reader.wait()
        self._reader.stdin.close()
        self._reader.stdout.close()


def described(element, role, states):
    value = element.get_current_value() if role == "slider" else None
    has = element.get_state_set().contains
    return element.get_name(), value, has(states.CHECKED), has(states.ENABLED)


def walk(element, roles, states):
    for index in range(element.get_child_count()):
        child = element.get_child_at_index(index)
        if child is None:
            continue
        child.clear_cache()
        role = child.get_role_name()
        if role in roles:
            yield described(child, role, states)
        if role not in LEAVES:
            yield from walk(child, roles, states)


def main(process):
    import gi
    gi.require_version("Atspi", "2.0")
    from gi.repository import Atspi, GLib

    for roles in map(json.loads, sys.stdin):
        elements = []
        try:
            desktop = Atspi.get_desktop(0)
            desktop.clear_cache()
            for index in range(desktop.get_child_count()):
                application = desktop.get_child_at_index(index)
                if application is None or application.get_process_id() != process:
                    continue
                application.clear_cache()
                elements += walk(application, roles, Atspi.StateType)
        except GLib.Error:
            elements = []  # something went away meanwhile; the caller asks again
        print(json.dumps(elements), flush=True)


if __name__ == "__main__":
    main(int(sys.argv[1]))
