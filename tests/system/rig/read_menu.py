#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Opens the context menu at a point of the screen and prints its entries, one per line, as a screen reader has them.

Usage: read_menu.py X Y
The program needs QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1.  Qt tells of an open menu, but does not list it with the windows.
"""
import subprocess
import sys

import gi
gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib

PATIENCE = 30  # s; the caller tries again


def entries(menu):
    found = (menu.get_child_at_index(index) for index in range(menu.get_child_count()))
    return [entry.get_name() for entry in found if entry is not None and entry.get_name()]


def main(x, y):
    found = []

    def told(event):
        if event.detail1 and event.source.get_role() == Atspi.Role.POPUP_MENU and not found:
            found.extend(entries(event.source))
            Atspi.event_quit()

    def open_menu():
        subprocess.run(["xdotool", "mousemove", x, y, "click", "3"], check=True, timeout=PATIENCE)
        return False

    listener = Atspi.EventListener.new(told)
    listener.register("object:state-changed:showing")
    Atspi.get_desktop(0).get_child_count()
    GLib.timeout_add(200, open_menu)
    GLib.timeout_add_seconds(PATIENCE, Atspi.event_quit)
    Atspi.event_main()
    print("\n".join(found))


if __name__ == "__main__":
    main(*sys.argv[1:])
