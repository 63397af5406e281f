# SPDX-License-Identifier: MIT
"""A desktop of its own: display, window manager, session bus with a tray; and the panel on it."""
import argparse
import contextlib
import os
import pathlib
import random
import select
import shutil
import subprocess
import sys
import tempfile
import time

TESTS = pathlib.Path(__file__).resolve().parent.parent
sys.path[:0] = [str(TESTS / "integration"), str(TESTS.parent / "bench")]

# pylint: disable=wrong-import-position
from fake_desktop import NOTIFICATIONS, WATCHER, FakeDesktop, Item
from gi.repository import Gio, GLib
from waiting import wait_until, xdotool
from watchdog import Watchdog

SERVICE, OBJECT = "org.tavelo.ControlPanel", "/org/tavelo/ControlPanel"
INTERFACE = SERVICE + "1"
TOOLS = ("Xvfb", "openbox", "xdotool", "xprop", "dbus-daemon", "ffprobe")
SIZE = (1111, 660)  # of the window, at least
ANSWER = 30         # seconds that a call may take
ENTRY_PATIENCE = 2  # seconds
SETTINGS = """<openbox_config xmlns="http://openbox.org/3.4/rc"><keyboard>
  <keybind key="A-F4"><action name="Close"/></keybind>
</keyboard></openbox_config>"""


class Failure(Exception):
    """The panel did what it must not do; says what, in one line."""


class Refused(Exception):
    """The service said no, with a reason; the name of the error is the first argument."""


class Stage(contextlib.ExitStack):
    def __init__(self, folder):
        super().__init__()
        self.folder = pathlib.Path(folder).resolve()
        self.folder.mkdir(parents=True, exist_ok=True)
        for left in ("home", "taken"):  # by the last run: the same seed begins with the same
            shutil.rmtree(self.folder / left, ignore_errors=True)
        for left in ("panel.log", "stacks.txt"):
            (self.folder / left).unlink(missing_ok=True)
        try:
            self._set_up()
        except BaseException:
            self.close()
            raise

    def _set_up(self):
        # Short, as paths of sockets must be.
        runtime = pathlib.Path(self.enter_context(tempfile.TemporaryDirectory(prefix="soak")))
        homes = {name: self.folder / "home" / where for name, where in
                 {"HOME": "", "XDG_CONFIG_HOME": "config", "XDG_STATE_HOME": "state", "XDG_DATA_HOME": "data"}.items()}
        for home in homes.values():
            home.mkdir(parents=True, exist_ok=True)
        for name in ("XDG_CURRENT_DESKTOP", "WAYLAND_DISPLAY", "LANGUAGE", "PIPEWIRE_RUNTIME_DIR"):
            os.environ.pop(name, None)
        os.environ |= {name: str(home) for name, home in homes.items()} | {
            "XDG_RUNTIME_DIR": str(runtime), "LC_ALL": "C.UTF-8", "QT_QPA_PLATFORM": "xcb", "QT_SCALE_FACTOR": "1"}
        self._start_display()
        settings = self.folder / "openbox.xml"
        settings.write_text(SETTINGS, encoding="utf-8")
        self._keep(["openbox", "--config-file", str(settings)])
        wait_until("the window manager", lambda: "window id" in xprop("-root", "_NET_SUPPORTING_WM_CHECK"))
        self.address = self._start_bus(runtime)
        self.desktop = FakeDesktop(self.address)
        self.callback(self.desktop.close)
        for service in (WATCHER, NOTIFICATIONS):
            self.desktop.own(service)
        self.ended_movies = self.desktop.listen(INTERFACE, "RecordingEnded")

    def _keep(self, command, **how):
        process = subprocess.Popen(command, stderr=subprocess.DEVNULL, **how)
        self.callback(process.wait)
        self.callback(process.terminate)
        return process

    def _start_display(self):
        read_end, write_end = os.pipe()
        self._keep(["Xvfb", "-displayfd", str(write_end), "-screen", "0", "1280x800x24", "-nolisten", "tcp", "-noreset"],
                   pass_fds=[write_end])
        os.close(write_end)
        with os.fdopen(read_end) as answer:
            os.environ["DISPLAY"] = f":{answer.readline().strip()}"  # printed once the server is ready

    def _start_bus(self, folder):
        daemon = self._keep(["dbus-daemon", "--session", "--nofork", "--print-address=1", f"--address=unix:dir={folder}"],
                            stdout=subprocess.PIPE, text=True)
        self.callback(daemon.stdout.close)
        os.environ["DBUS_SESSION_BUS_ADDRESS"] = daemon.stdout.readline().strip()
        return os.environ["DBUS_SESSION_BUS_ADDRESS"]


def xprop(*words):
    return subprocess.run(["xprop", *words], check=False, text=True, capture_output=True, timeout=ANSWER).stdout


def geometry(window):
    """(x, y, width, height), or nothing if the window is gone."""
    words = dict(line.split("=") for line in xdotool("getwindowgeometry", "--shell", window).split())
    return tuple(int(words[word]) for word in ("X", "Y", "WIDTH", "HEIGHT")) if "HEIGHT" in words else None


class Panel:
    """A panel that runs.  What it prints is appended to panel.log of the stage's folder."""

    def __init__(self, stage, program, options, limit):
        self.stage, self._said = stage, []
        self._bus = Gio.DBusConnection.new_for_address_sync(
            stage.address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION,
            None, None)
        self._bus.set_exit_on_close(False)
        with open(stage.folder / "panel.log", "ab") as log:
            self.process = subprocess.Popen([program, *options], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=log)
        self.watchdog = Watchdog(self.process.pid, self._answers, limit, self._keep_stacks)

    def close(self):
        self.watchdog.close()
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        self.process.stdin.close()
        self.process.stdout.close()
        self._bus.close_sync(None)

    def _keep_stacks(self, text):
        print(text, flush=True)
        with open(self.stage.folder / "stacks.txt", "a", encoding="utf-8") as file:
            file.write(text)

    # ---------------------------------------------------------------- the service

    def _call(self, interface, method, arguments, seconds):
        return self._bus.call_sync(SERVICE, OBJECT, interface, method, arguments, None, Gio.DBusCallFlags.NO_AUTO_START,
                                   int(seconds * 1000), None).unpack()

    def _answers(self, seconds):
        try:
            self.property("ShownCamera", seconds)
            return True
        except GLib.Error:
            return False

    def property(self, name, seconds=ANSWER):
        arguments = GLib.Variant("(ss)", (INTERFACE, name))
        return self._call("org.freedesktop.DBus.Properties", "Get", arguments, seconds)[0]

    def call(self, method, signature="()", *arguments):
        """Raises Refused if the service refused, Failure if it did not answer."""
        try:
            return self._call(INTERFACE, method, GLib.Variant(signature, arguments), ANSWER)
        except GLib.Error as error:
            name = Gio.DBusError.get_remote_error(error) or ""
            if name.startswith(INTERFACE + ".Error."):
                raise Refused(name.rsplit(".", 1)[1], error.message) from error
            self.check()
            raise Failure(f"{method}: {error.message}") from error

    def check(self):
        """Raises Failure if the panel ended or fell silent."""
        if self.watchdog.failure:
            raise Failure(self.watchdog.failure)
        status = self.process.poll()
        if status is not None:
            raise Failure(f"the panel ended, with {describe(status)}")

    def wait_until(self, what, condition):
        def checked():
            self.check()
            return condition()
        try:
            return wait_until(what, checked)
        except AssertionError as late:
            raise Failure(str(late)) from late

    def order(self, line):
        """Plugs or unplugs a camera; returns whether that was possible."""
        try:
            self.process.stdin.write(line.encode() + b"\n")
            self.process.stdin.flush()
        except BrokenPipeError:
            return False
        if not select.select([self.process.stdout], [], [], ANSWER)[0]:
            raise Failure(f"{line}: the thread that plugs cameras did not come back")
        return self.process.stdout.readline() == b"yes\n"

    def tray_entry(self):
        """The entry of the closed window in the tray, or nothing if none comes: the window may not have been closed."""
        end = time.monotonic() + ENTRY_PATIENCE
        while time.monotonic() < end:
            for name in self.stage.desktop.items[-1:]:
                entry = Item(self.stage.desktop, name)
                if entry.is_there():  # not that of a panel that has ended
                    return entry
            time.sleep(0.02)
        return None

    # ---------------------------------------------------------------- the window

    def windows(self):
        """The visible windows that the window manager knows, by identifier: their places."""
        managed = xprop("-root", "_NET_CLIENT_LIST")
        found = xdotool("search", "--onlyvisible", "--pid", self.process.pid).split()
        places = {window: geometry(window) for window in found if f"{int(window):#x}" in managed.replace(",", " ").split()}
        return {window: place for window, place in places.items() if place}

    def main_window(self):
        """(identifier, place) of the panel's own window, or nothing while it is hidden.  No other window is as large."""
        return next(((window, place) for window, place in self.windows().items()
                     if place[2] >= SIZE[0] and place[3] >= SIZE[1]), None)


def arguments():
    """A parser of the words that both long uses of the panel take."""
    parser = argparse.ArgumentParser()
    parser.add_argument("program", type=os.path.abspath)
    parser.add_argument("--out", required=True)
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(1_000_000))
    parser.add_argument("--answer-limit", type=float, default=10)
    return parser


def missing_tools(*others):
    return [tool for tool in (*TOOLS, *others) if shutil.which(tool) is None]


def describe(status):
    return f"status {status}" if status >= 0 else f"signal {-status}"
