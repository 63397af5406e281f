# SPDX-License-Identifier: MIT
"""What a restless user does with the panel: each method of Hands is one action, and says what it did."""
import pathlib
import sys
import time

from stage import SIZE, TESTS, GLib, Refused, xdotool

sys.path.insert(0, str(TESTS / "system"))

# pylint: disable=wrong-import-position
from rig.panel import CAMERA_BUTTONS, POWER_LINE_BUTTONS, PREVIEW, PROFILE_BUTTONS, SAVE_BUTTON, SLIDERS, slider_point

RESTORE_BUTTON, MIRROR_SWITCH = (684, 588, 180, 32), (107, 592, 40, 18)
CLOSE_BUTTON, MINIMISE_BUTTON = (1051, 30, 30, 30), (1011, 30, 30, 30)
BACKGROUND = (230, 35, 20, 20)
SIZES = ("320x240", "640x480", "1280x720", "1920x1080", "")  # of pictures; the last: the camera's own choice
CONTROLS = ("brightness", "contrast", "saturation", "white-balance-temperature", "sharpness", "zoom", "pan", "tilt", "focus",
            "exposure-time", "backlight-compensation")
MESSAGE_PATIENCE = 3  # seconds
HOME = (84, 70)  # of the window: all of it is on the screen, wherever it was dragged to
CLOSING_PATIENCE = 2  # seconds that a window may take to close before it is asked again
# Method: how often, compared with the others.
ACTIONS = {"switch_camera": 10, "drag_slider": 14, "set_controls": 6, "recall_profile": 8, "store_profile": 5, "restore_defaults": 3,
           "mirror": 4, "power_line": 3, "record": 6, "stop_recording": 5, "take_still": 6, "save_picture": 2, "record_by_key": 2,
           "plug": 6, "unplug": 5, "picture_size": 5, "full_screen": 4, "minimise": 3, "close_window": 4, "release_camera": 2,
           "resize_window": 4, "move_window": 2, "all_controls": 3, "open_menu": 3, "steer_by_keys": 4, "reconnect": 2}


def middle(rectangle):
    x, y, width, height = rectangle
    return x + width // 2, y + height // 2


class Hands:
    cameras = (1, 2, 3)

    def __init__(self, panel, chance, folder):
        self.panel, self.chance = panel, chance
        self.folder = pathlib.Path(folder)
        self.stills, self.movies = [], []  # files that the panel said it wrote or began
        self._taken = 0
        for kind in ("stills", "movies"):
            (self.folder / kind).mkdir(parents=True, exist_ok=True)

    def act(self):
        """Does one thing; returns its name and what became of it."""
        (name,) = self.chance.choices(list(ACTIONS), list(ACTIONS.values()))
        try:
            said = getattr(self, name)()
        except Refused as reason:
            said = "refused: " + ": ".join(reason.args)
        return f"{name} {said or ''}".rstrip()

    # ---------------------------------------------------------------- mouse and keys

    def click(self, *rectangles, button=1):
        """Clicks into the window if it is shown; returns whether it is."""
        window = self.panel.main_window()
        if window:
            x, y = window[1][:2]
            points = [middle(rectangle) for rectangle in rectangles]
            xdotool(*(word for a, b in points for word in ("mousemove", x + a, y + b, "click", button)))
        return bool(window)

    def press(self, *keys):
        window = self.panel.main_window()
        if window:
            xdotool("windowactivate", window[0], "key", *keys)
        return bool(window)

    def switch_camera(self):
        number = self.chance.choice((1, 2))
        self.click(CAMERA_BUTTONS[number])
        return number

    def drag_slider(self):
        window = self.panel.main_window()
        if not window:
            return "no window"
        name = self.chance.choice(list(SLIDERS))
        points = [slider_point(SLIDERS[name], self.chance.random()) for _ in range(self.chance.randint(1, 12))]
        places = [(window[1][0] + x, window[1][1] + y) for x, y in points]
        words = ["mousemove", *places[0], "mousedown", 1]
        for place in places[1:]:
            words += ["mousemove", *place]
        xdotool(*words, "mouseup", 1)
        return f"{name} {len(points)}"

    def recall_profile(self):
        number = self.chance.randint(1, 4)
        if self.chance.random() < 0.3:
            self.panel.call("Apply", "(su)", "", number)
        else:
            self.click(PROFILE_BUTTONS[number])
        return number

    def store_profile(self):
        number = self.chance.randint(1, 4)
        if self.chance.random() < 0.5:
            self.panel.call("Save", "(su)", "", number)
            return number
        if self.click(PROFILE_BUTTONS[number], SAVE_BUTTON) and self.chance.random() < 0.8:
            self.dismiss_alert()  # otherwise what follows happens beside it
        return f"{number} by the button"

    def restore_defaults(self):
        if self.chance.random() < 0.3:
            self.panel.call("Reset", "(s)", "")
        else:
            self.click(RESTORE_BUTTON)

    def mirror(self):
        self.click(MIRROR_SWITCH)

    def power_line(self):
        self.click(POWER_LINE_BUTTONS[self.chance.choice((50, 60))])

    def steer_by_keys(self):
        self.click(PREVIEW)
        self.press(*(self.chance.choice(("Left", "Right", "Up", "Down", "plus", "minus")) for _ in range(5)))

    def reconnect(self):
        self.press("F5")

    def open_menu(self):
        if self.click(BACKGROUND, button=3):
            self.press_any(*["Down"] * self.chance.randint(1, 9), "Escape", "Escape")

    def all_controls(self):
        self.press("ctrl+a")
        self.close_others()

    @staticmethod
    def press_any(*keys):
        """Keys for whatever has the focus, such as a menu."""
        xdotool("key", *keys)

    # ---------------------------------------------------------------- stills and movies

    def new_file(self, kind, suffix):
        self._taken += 1
        return self.folder / kind / f"{self._taken:06}.{suffix}"

    def take_still(self):
        file = self.new_file("stills", "png")
        self.panel.call("Snapshot", "(ss)", "", str(file))
        self.stills.append(file)
        return file.name

    def record(self):
        file = self.new_file("movies", "mp4")
        seconds = self.chance.choice((0.0, 0.5, 3.0))
        self.panel.call("StartRecording", "(ssd)", "", str(file), seconds)
        self.movies.append(file)
        return f"{file.name} {seconds:g}"

    def stop_recording(self):
        self.panel.call("StopRecording")

    def save_picture(self):
        self.press("ctrl+s")

    def record_by_key(self):
        self.press("ctrl+r")

    # ---------------------------------------------------------------- cameras

    def set_controls(self):
        values = {name: f"{self.chance.randint(0, 100)}%" for name in self.chance.sample(CONTROLS, 3)}
        variants = {name: GLib.Variant("s", value) for name, value in values.items()}
        self.panel.call("Set", "(sa{sv}a{sv})", "", variants, {"force": GLib.Variant("b", True)})
        return " ".join(values)

    def plug(self):
        number = self.chance.choice(self.cameras)
        return f"{number} {self.panel.order(f'plug {number}')}"

    def unplug(self):
        number = self.chance.choice(self.cameras)
        return f"{number} {self.panel.order(f'unplug {number}')}"

    def picture_size(self):
        number, size = self.chance.choice(self.cameras), self.chance.choice(SIZES)
        self.panel.order(f"unplug {number}")
        self.panel.order(f"plug {number} {size}")
        return f"{number} {size}"

    # ---------------------------------------------------------------- the window

    def full_screen(self):
        self.press("F11")
        if self.chance.random() < 0.5:
            self.show_panel()

    def minimise(self):
        self.click(MINIMISE_BUTTON)
        if self.chance.random() < 0.7:
            self.show_panel()

    def close_window(self):
        if self.chance.random() < 0.5:
            self.click(CLOSE_BUTTON)
        else:
            self.press("alt+F4")
        if self.chance.random() < 0.7:
            self.show_panel()

    def release_camera(self):
        """By the tray, which has an entry while the window is closed."""
        self.click(CLOSE_BUTTON)
        return self.choose_in_tray("Release Camera")

    def choose_in_tray(self, text):
        entry = self.panel.tray_entry()
        try:
            if entry:
                entry.choose(text)
                return "done"
        except (GLib.Error, KeyError):
            pass  # it went meanwhile, or has no such line
        return None

    def resize_window(self):
        window = self.panel.main_window()
        size = (self.chance.randint(300, 1280), self.chance.randint(200, 800))
        if window:
            xdotool("windowsize", window[0], *size)
        return f"{size[0]}x{size[1]}"

    def move_window(self):
        window = self.panel.main_window()
        if window:
            xdotool("windowmove", window[0], self.chance.randint(0, 169), self.chance.randint(0, 140))

    def show_panel(self):
        self.panel.call("Show")

    def others(self):
        """The program's windows beside the panel's own."""
        main = self.panel.main_window()
        return [window for window in self.panel.windows() if not main or window != main[0]]

    def dismiss_alert(self):
        """Closes the message, which comes once the profile is on the disk; none comes if the click met no button."""
        end = time.monotonic() + MESSAGE_PATIENCE
        while not self.others() and time.monotonic() < end:
            self.panel.check()
            time.sleep(0.05)
        self.close_others()

    def close_others(self):
        """Closes whatever is in front of the panel."""
        asked = {}  # when each window was asked to close

        def are_closed():
            for window in self.others():
                if time.monotonic() < asked.get(window, 0) + CLOSING_PATIENCE:
                    continue  # a second key could close the panel behind it
                if xdotool("getwindowfocus").strip() == window:
                    xdotool("key", "alt+F4")
                    asked[window] = time.monotonic()
                else:
                    xdotool("windowactivate", window)
            return not self.others()
        self.panel.wait_until("the end of other windows", are_closed)

    def rest(self):
        """Brings the panel where it was after its start: two cameras, the first one shown, nothing recorded."""
        panel = self.panel

        def is_idle():
            if panel.property("RecordingFile"):
                try:
                    self.stop_recording()
                except Refused:
                    pass  # it ends already
            return not panel.property("RecordingFile")

        def is_shown():
            self.show_panel()
            self.press_any("Escape", "Escape")  # menus, and the picture alone
            window = panel.main_window()
            if window and window[1] != (*HOME, *SIZE):
                xdotool("windowsize", window[0], *SIZE, "windowmove", window[0], *HOME)
            return window and window[1] == (*HOME, *SIZE)

        panel.wait_until("the movie's end", is_idle)
        for number in self.cameras:
            panel.order(f"unplug {number}")
        panel.wait_until("no camera", lambda: not panel.call("List")[0])
        for number in self.cameras[:2]:
            panel.order(f"plug {number}")
        panel.wait_until("the cameras", lambda: len(panel.call("List")[0]) == 2)
        panel.wait_until("the window", is_shown)
        self.close_others()
        first = panel.call("List")[0][0]["Identifier"]

        def shows_first():
            if not self.click(CAMERA_BUTTONS[1]):
                self.show_panel()
            return panel.property("ShownCamera") == first

        panel.wait_until("the first camera", shows_first)
        still = self.folder / "rest.png"

        def gives_picture():
            try:
                panel.call("Snapshot", "(ss)", "", str(still))
                return True
            except Refused:
                return False

        panel.wait_until("a picture", gives_picture)
