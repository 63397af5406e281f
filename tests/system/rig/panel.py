# SPDX-License-Identifier: MIT
"""Operates the control panel through its window on the screen and the mouse."""
import os
import subprocess
import time
import typing

from rig.screen import xdotool
from rig.waiting import TimedOut, wait_until

WIDTH, HEIGHT = 1111, 660
# Areas of the window as (x, y, width, height), with y pointing down.
BRIGHTNESS_TITLE = (60, 138, 360, 28)
SLIDERS = {name: (60, 166 + 54 * row, 360, 16) for row, name in enumerate(
    ("brightness", "contrast", "saturation", "whiteBalance", "sharpness", "zoom", "tilt", "pan"))}
BRIGHTNESS_SLIDER = SLIDERS["brightness"]
POWER_LINE_BUTTONS = {50: (229, 593, 18, 18), 60: (325, 593, 18, 18)}  # Hz
CAMERA_BUTTONS = {1: (30, 88, 100, 36), 2: (138, 88, 100, 36)}
PROFILE_BUTTONS = {number: (545 + 139 * (number - 1), 108, 119, 32) for number in (1, 2, 3, 4)}
SAVE_BUTTON = (545, 588, 119, 32)
PREVIEW = (545, 148, 536, 424)


class Resources(typing.NamedTuple):
    """What a process holds."""
    threads: int
    descriptors: int
    memory: int  # KiB that only it has


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
        return next((place for place, size in self._windows() if size == (WIDTH, HEIGHT)), None)

    def _windows(self):
        """(position, size) of each visible window of the panel."""
        try:
            windows = xdotool("search", "--onlyvisible", "--pid", self._process.pid).split()
        except subprocess.CalledProcessError:
            return  # none yet
        for window in windows:
            words = dict(line.split("=") for line in xdotool("getwindowgeometry", "--shell", window).split())
            yield (int(words["X"]), int(words["Y"])), (int(words["WIDTH"]), int(words["HEIGHT"]))

    def alert(self):
        """Position and size of the message window, or None."""
        # By size: smaller than the preview, which is a native window, and larger than Qt's tiny helper windows.
        return next(((place, size) for place, size in self._windows() if 20 < size[1] < PREVIEW[3]), None)

    def dismiss_alert(self):
        """Clicks the message's only button, in the lower right."""
        (x, y), (width, height) = self.alert()
        xdotool("mousemove", x + width - 80, y + height - 40, "click", 1)
        self.wait_for("the message to go away", lambda: not self.alert())

    def alive(self):
        return self._process.poll() is None

    def process_number(self):
        return self._process.pid

    def quit(self):
        """Sends SIGTERM like a session manager; returns the exit status."""
        self._process.terminate()
        return self._process.wait(timeout=60)

    def kill(self):
        self._process.kill()
        self._process.wait()

    def open_nodes(self):
        """The video nodes that the panel has open, including deleted ones."""
        links = []
        for descriptor in os.listdir(f"/proc/{self._process.pid}/fd"):
            try:
                links.append(os.readlink(f"/proc/{self._process.pid}/fd/{descriptor}"))
            except OSError:
                pass  # closed meanwhile
        return [link for link in links if link.startswith("/dev/video")]

    def streams_from(self, node):
        """Whether it has a node's own memory mapped, in which the driver puts the pictures."""
        with open(f"/proc/{self._process.pid}/maps", encoding="utf-8") as file:
            return any(line.rstrip().endswith(f" {node}") for line in file)

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
        """A title is white while its control is enabled, and dark grey otherwise."""
        return self._screen.brightest(*self.on_screen(BRIGHTNESS_TITLE)) > 150

    def camera_button_enabled(self, number):
        return self._screen.brightest(*self.on_screen(CAMERA_BUTTONS[number])) > 150

    def selected_camera_button(self):
        """The number of the button whose face is as bright as the panel below it, or None."""
        faces = {number: sum(self.pixel(x + 4, y + height - 4))
                 for number, (x, y, _, height) in CAMERA_BUTTONS.items()}
        return max(faces, key=faces.get) if len(set(faces.values())) > 1 else None

    def selected_profiles(self):
        """The numbers of the profile buttons that are red."""
        return [number for number, (x, y, _, height) in PROFILE_BUTTONS.items()
                if is_red(self.pixel(x + 8, y + height // 2))]

    def preview_is_black(self):
        return self._screen.brightest(*self.on_screen(PREVIEW)) == 0

    def wait_for(self, what, condition, seconds=60):
        """Like wait_until, but saves a screenshot on timeout."""
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

    def click(self, *rectangles):
        """Clicks the centre of each rectangle in turn."""
        self._click([(x + width // 2, y + height // 2) for x, y, width, height in rectangles])

    def put_sliders(self, **parts):
        """Clicks each named slider at a fraction (0 to 1) of its range."""
        self._click([slider_point(SLIDERS[name], part) for name, part in parts.items()])

    def _click(self, points):
        xdotool(*(word for x, y in points
                  for word in ("mousemove", self._x + x, self._y + y, "click", 1)))

    def drag(self, start, end, steps=8):
        """Drags with the left button from one point of the window to another."""
        (x0, y0), (x1, y1) = start, end
        words = ["mousemove", self._x + x0, self._y + y0, "mousedown", 1]
        for step in range(1, steps + 1):
            words += ["mousemove", self._x + round(x0 + (x1 - x0) * step / steps),
                      self._y + round(y0 + (y1 - y0) * step / steps)]
        xdotool(*words, "mouseup", 1)

    # ---------------------------------------------------------------- the process

    def expect_quiet(self):
        """Checks that no thread of the panel spins; only for a panel without a camera."""
        share = self.processor_share()
        assert share < 0.25, f"{share:.0%} of a processor"

    def resources(self):
        folder = f"/proc/{self._process.pid}"
        with open(f"{folder}/smaps_rollup", encoding="utf-8") as file:
            memory = sum(int(line.split()[1]) for line in file if line.startswith("Private_Dirty:"))
        return Resources(len(os.listdir(f"{folder}/task")), len(os.listdir(f"{folder}/fd")), memory)

    def processor_share(self, seconds=1.5):
        """The share of one processor that the panel uses, measured over this many seconds."""
        before = self._processor_time()
        started = time.monotonic()
        time.sleep(seconds)
        return (self._processor_time() - before) / (time.monotonic() - started)

    def _processor_time(self):
        with open(f"/proc/{self._process.pid}/stat", encoding="utf-8") as file:
            fields = file.read().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def slider_point(rectangle, part):
    """The centre of the knob at a fraction (0 to 1) of the slider's range."""
    x, y, width, height = rectangle
    knob = height / 2
    return round(x + knob + part * (width - height)), round(y + knob)


def is_red(pixel):
    red, green, blue = pixel
    return red > 2 * max(green, blue) and red > 80
