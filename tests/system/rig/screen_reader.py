# SPDX-License-Identifier: MIT
"""Reads a program's windows over AT-SPI, like a screen reader.

Run as a program it answers each line of its input with one line of JSON, on the session bus that it was started on:
AT-SPI keeps its first bus for as long as a process lives.

Usage: screen_reader.py PROCESS
"""
import json
import subprocess
import sys


class ScreenReader:
    def __init__(self, process):
        self._reader = subprocess.Popen([sys.executable, __file__, str(process)], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True)

    def elements(self):
        """(name, role, value or None, checked, enabled) of each element of each window."""
        self._reader.stdin.write("\n")
        self._reader.stdin.flush()
        line = self._reader.stdout.readline()
        if not line:
            raise RuntimeError(f"the screen reader ended with status {self._reader.wait()}")
        return [tuple(element) for element in json.loads(line)]

    def sliders(self, name):
        """(value, enabled) of each slider with that name."""
        return [(value, enabled) for element, role, value, _, enabled in self.elements()
                if (element, role) == (name, "slider")]

    def labels(self):
        return {name for name, role, *_ in self.elements() if role == "static" or role == "label"}

    def is_on(self, name):
        """Whether the switch with that name is on; None if there is none."""
        return next((checked for element, role, _, checked, _ in self.elements()
                     if (element, role) == (name, "check box")), None)

    def close(self):
        self._reader.kill()
        self._reader.wait()
        self._reader.stdin.close()
        self._reader.stdout.close()


def described(element, states):
    values = element.get_value_iface() if element.get_role_name() == "slider" else None
    has = element.get_state_set().contains
    return (element.get_name(), element.get_role_name(), values.get_current_value() if values else None,
            has(states.CHECKED), has(states.ENABLED))


def walk(element, states):
    for index in range(element.get_child_count()):
        child = element.get_child_at_index(index)
        if child is None:
            continue
        child.clear_cache()
        yield described(child, states)
        yield from walk(child, states)


def main(process):
    import gi
    gi.require_version("Atspi", "2.0")
    from gi.repository import Atspi, GLib

    for _ in sys.stdin:
        elements = []
        try:
            desktop = Atspi.get_desktop(0)
            desktop.clear_cache()
            for index in range(desktop.get_child_count()):
                application = desktop.get_child_at_index(index)
                if application is None or application.get_process_id() != process:
                    continue
                application.clear_cache()
                elements += walk(application, Atspi.StateType)
        except GLib.Error:
            elements = []  # something went away meanwhile; the caller asks again
        print(json.dumps(elements), flush=True)


if __name__ == "__main__":
    main(int(sys.argv[1]))
