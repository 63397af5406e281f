# SPDX-License-Identifier: MIT
"""The control panel as a person sees it: a window on the screen, and a mouse."""
import os
import subprocess
import time

from rig.screen import xdotool
from rig.waiting import TimedOut, wait_until

WIDTH, HEIGHT = 1111, 660
# What the cases look at, as (x, y, width, height) in the window, y downwards.
BRIGHTNESS_TITLE = (60, 138, 360, 28)
BRIGHTNESS_SLIDER = (60, 166, 360, 16)
PREVIEW = (545, 148, 536, 424)


class Panel:
    def __init__(self, programs, screen, out, arguments=()):
        self._screen = screen
        self._out = out
        self.log_path = f"{out}/panel.log"
        self._process = subprocess.Popen(
            [f"{programs}/tavelo-control-panel", "--verbose", *arguments],
            stdout=subprocess.DEVNULL, stderr=open(self.log_path, "ab"),
        )
        self._x, self._y = wait_until("the panel's window", self._find_window, seconds=120)

    def _find_window(self):
        if self._process.poll() is not None:
            raise RuntimeError(f"the panel ended with status {self._process.returncode}; see panel.log")
        try:
            windows = xdotool("search", "--onlyvisible", "--pid", self._process.pid).split()
        except subprocess.CalledProcessError:
            return None  # none yet
        for window in windows:
            words = dict(line.split("=") for line in xdotool("getwindowgeometry", "--shell", window).split())
            if (int(words["WIDTH"]), int(words["HEIGHT"])) == (WIDTH, HEIGHT):
                return int(words["X"]), int(words["Y"])
        return None

    def alive(self):
        return self._process.poll() is None

    def quit(self):
        """Asks it to end as a session manager would; returns its exit status."""
        self._process.terminate()
        return self._process.wait(timeout=60)

    def kill(self):
        self._process.kill()
        self._process.wait()

    def log(self):
        with open(self.log_path, encoding="utf-8") as file:
            return file.read()

    # ---------------------------------------------------------------- looking

    def on_screen(self, rectangle):
        x, y, width, height = rectangle
        return self._x + x, self._y + y, width, height

    def pixel(self, x, y):
        return self._screen.pixel(self._x + x, self._y + y)

    def mean(self, rectangle):
        return self._screen.mean(*self.on_screen(rectangle))

    def bytes(self, rectangle):
        return self._screen.bytes(*self.on_screen(rectangle))

    def controls_enabled(self):
        """A title is white while its control can be used, and dark grey otherwise."""
        return self._screen.brightest(*self.on_screen(BRIGHTNESS_TITLE)) > 150

    def preview_is_black(self):
        return self._screen.brightest(*self.on_screen(PREVIEW)) == 0

    def wait_for(self, what, condition, seconds=60):
        """As wait_until, but keeps a picture of the screen where the wait was in vain."""
        try:
            return wait_until(what, lambda: self._checked(condition), seconds)
        except TimedOut:
            self.save_picture("timed-out")
            raise

    def _checked(self, condition):
        if not self.alive():
            raise RuntimeError(f"the panel ended with status {self._process.returncode}; see panel.log")
        return condition()

    def save_picture(self, name):
        self._screen.save(f"{self._out}/{name}.png")

    # ---------------------------------------------------------------- acting

    def drag(self, start, end, steps=8):
        """Presses the left button at one point of the window, moves to another, releases."""
        (x0, y0), (x1, y1) = start, end
        words = ["mousemove", self._x + x0, self._y + y0, "mousedown", 1]
        for step in range(1, steps + 1):
            words += ["mousemove", self._x + round(x0 + (x1 - x0) * step / steps),
                      self._y + round(y0 + (y1 - y0) * step / steps)]
        xdotool(*words, "mouseup", 1)

    # ---------------------------------------------------------------- the process

    def processor_share(self, seconds=3):
        """The part of one processor that the panel uses, measured over so many seconds."""
        before = self._processor_time()
        started = time.monotonic()
        time.sleep(seconds)
        return (self._processor_time() - before) / (time.monotonic() - started)

    def _processor_time(self):
        with open(f"/proc/{self._process.pid}/stat", encoding="utf-8") as file:
            fields = file.read().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")
