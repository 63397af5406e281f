# SPDX-License-Identifier: MIT
"""The panel on a real kernel: a camera's picture, a slider that controls the camera, unplugging and replugging."""
import contextlib
import pathlib
import struct
import subprocess

from rig.panel import BRIGHTNESS_SLIDER, PREVIEW, Panel, slider_point
from rig.screen import Screen
from rig.session_bus import SessionBus
from rig.virtual_cameras import VirtualCameras, bind_driver, capture_nodes, entities, unbind_driver, usb_device_of

SIZE = (320, 240)  # small, because the guest's processor is emulated

# The corner patches of the virtual camera's picture, with 1 for each full channel.
CORNERS = {"top left": (1, 0, 0), "top right": (0, 1, 0), "bottom left": (0, 0, 1), "bottom right": (1, 1, 0)}


class Stage:
    def __init__(self, programs, out, options=()):
        self.programs = programs
        self.out = out
        self.screen = Screen()
        self.bus = SessionBus()
        self.cameras = VirtualCameras(programs, out, options=options)
        self.unit = None
        self.panel = None

    def open_panel(self, *options):
        self.panel = Panel(self.programs, self.screen, self.out,
                           ["--size", "x".join(map(str, SIZE)), "--format", "YUYV", *options])

    def close(self):
        if self.panel and self.panel.alive():
            self.panel.save_picture("panel-at-the-end")
            self.panel.kill()
        self.cameras.close()
        self.bus.close()
        self.screen.close()

    def corners(self):
        """The mean colours of the four patches as the preview shows them."""
        x, y, width, height = picture_in_preview()
        near, patch = 5, 6
        left, right = x + near, x + width - near - patch
        top, bottom = y + near, y + height - near - patch
        places = {"top left": (left, top), "top right": (right, top),
                  "bottom left": (left, bottom), "bottom right": (right, bottom)}
        return {name: self.panel.mean((*place, patch, patch)) for name, place in places.items()}

    def picture_is_right(self):
        return corners_are_right(self.corners())

    def drag_brightness(self, start, end):
        """Drags the slider between two fractions (0 to 1) of its range."""
        self.panel.drag(slider_point(BRIGHTNESS_SLIDER, start), slider_point(BRIGHTNESS_SLIDER, end))


@contextlib.contextmanager
def stage(programs, out):
    stage = Stage(programs, out)
    try:
        yield stage
    finally:
        stage.close()


def picture_in_preview():
    """The picture's rectangle in the preview; it keeps its aspect ratio, and bars fill the rest."""
    x, y, width, height = PREVIEW
    scale = min(width / SIZE[0], height / SIZE[1])
    shown = round(SIZE[0] * scale), round(SIZE[1] * scale)
    return x + (width - shown[0]) // 2, y + (height - shown[1]) // 2, *shown


def corners_are_right(corners):
    """True if each corner has its own colour, so the picture is neither mirrored, upside down nor covered."""
    for name, channels in CORNERS.items():
        full = [value for value, wanted in zip(corners[name], channels) if wanted]
        empty = [value for value, wanted in zip(corners[name], channels) if not wanted]
        if min(full) < max(empty) + 50:
            return False
    return True


def an_unknown_option_ends_with_status_2_and_no_window(stage):
    result = subprocess.run([f"{stage.programs}/tavelo-control-panel", "--brightnes"], capture_output=True, text=True,
                            timeout=60)
    assert result.returncode == 2, f"status {result.returncode}"
    assert "--brightnes" in result.stderr and "--help" in result.stderr, result.stderr


def without_a_camera_the_panel_opens_with_its_controls_disabled(stage):
    stage.open_panel()
    stage.panel.wait_for("the window to be drawn", lambda: stage.panel.pixel(300, 20) != (0, 0, 0))
    assert not stage.panel.controls_enabled()
    assert stage.panel.preview_is_black()
    assert not stage.panel.camera_button_enabled(1) and not stage.panel.camera_button_enabled(2)
    stage.panel.save_picture("panel-without-camera")


def a_camera_plugged_in_shows_its_picture(stage):
    node = stage.cameras.plug(1)
    stage.unit = entities(node)[1]
    stage.panel.wait_for("the four corners of the camera's picture", stage.picture_is_right, seconds=120)
    stage.panel.wait_for("the controls to be enabled", stage.panel.controls_enabled)
    assert stage.panel.streams_from(node)
    stage.panel.save_picture("panel-with-camera")


def the_picture_moves(stage):
    before = stage.panel.bytes(PREVIEW)
    stage.panel.wait_for("another picture", lambda: stage.panel.bytes(PREVIEW) != before)


def a_still_of_a_camera_in_use_names_the_program_that_has_it(stage):
    result = subprocess.run([f"{stage.programs}/tavelo-control-panel", "--snapshot", "/run/busy.png"],
                            capture_output=True, text=True, timeout=120)
    assert result.returncode == 4, f"status {result.returncode}"
    wanted = f"busy: in use by tavelo-control-panel, process {stage.panel.process_number()}"
    assert wanted in result.stderr, result.stderr


def a_still_and_a_movie_are_taken_through_the_panel_that_shows_the_camera(stage):
    """The panel and taveloctl are on the same session bus; the panel's picture goes on."""
    still, movie = pathlib.Path("/run/through-panel.png"), pathlib.Path("/run/through-panel.mp4")
    for arguments in (["snapshot", still], ["record", movie, "--duration", "5"]):
        result = subprocess.run([f"{stage.programs}/taveloctl", *map(str, arguments)], capture_output=True, text=True,
                                timeout=240)
        assert (result.returncode, result.stderr) == (0, ""), f"{arguments[0]}: {result.returncode}, {result.stderr}"
    width, height = struct.unpack(">II", still.read_bytes()[16:24])
    assert (width, height) == SIZE, f"{width}x{height}"
    data = movie.read_bytes()
    assert b"moov" in data and b"moof" not in data, "the movie is not finished"
    the_picture_moves(stage)


def a_dragged_slider_moves_the_value_in_the_camera(stage):
    low, high = stage.cameras.limits(1, "brightness")
    for start, end, expected in ((0.5, 1, high), (1, 0, low)):
        stage.drag_brightness(start, end)
        stage.panel.wait_for(f"brightness {expected} in the camera",
                             lambda: stage.cameras.value(1, "brightness") == expected)
    stage.drag_brightness(0, 0.75)
    stage.panel.wait_for("brightness near three quarters in the camera",
                         lambda: abs(stage.cameras.value(1, "brightness") - (low + 0.75 * (high - low)))
                         <= 0.02 * (high - low))


def the_request_carries_the_value_byte_for_byte(stage):
    value = stage.cameras.value(1, "brightness")
    request = stage.cameras.requests(1, request_type=0x21, request=0x01, selector=0x02, entity=stage.unit)[-1]
    assert request.request == 0x01, request  # SET_CUR
    assert request.interface == 0, request
    assert request.length == 2, request
    assert request.data == value.to_bytes(2, "little", signed=True), f"{request} is not {value}"
    assert request.outcome == "ok", request


def the_picture_follows_the_slider(stage):
    low, _ = stage.cameras.limits(1, "brightness")
    bright = sum(map(sum, stage.corners().values()))
    stage.drag_brightness(0.75, 0)
    stage.panel.wait_for("the lowest brightness", lambda: stage.cameras.value(1, "brightness") == low)
    stage.panel.wait_for("a darker picture", lambda: sum(map(sum, stage.corners().values())) < bright - 200)
    stage.drag_brightness(0, 0.5)
    stage.panel.wait_for("the picture as it was", stage.picture_is_right)


def an_unplugged_camera_leaves_a_black_preview_and_disabled_controls(stage):
    stage.cameras.unplug(1)
    stage.panel.wait_for("the controls to be disabled", lambda: not stage.panel.controls_enabled())
    stage.panel.wait_for("a black preview", stage.panel.preview_is_black)


def nothing_spins_once_the_camera_is_gone(stage):
    stage.panel.expect_quiet()


def a_camera_plugged_in_again_comes_back(stage):
    stage.cameras.plug(1)
    stage.panel.wait_for("the controls to be enabled", stage.panel.controls_enabled, seconds=120)
    stage.panel.wait_for("the camera's picture", stage.picture_is_right)
    low, high = stage.cameras.limits(1, "brightness")
    stage.drag_brightness(0.5, 1)
    stage.panel.wait_for("the highest brightness", lambda: stage.cameras.value(1, "brightness") == high)
    stage.drag_brightness(1, 0)
    stage.panel.wait_for("the lowest brightness", lambda: stage.cameras.value(1, "brightness") == low)
    stage.drag_brightness(0, 0.5)
    stage.panel.wait_for("the picture as it was", stage.picture_is_right)


def a_driver_unbound_and_bound_again_shows_the_picture_each_time(stage):
    """The driver loses its stream if the last open file of its previous instance is closed late."""
    device = usb_device_of(next(iter(capture_nodes())))
    for _ in range(5):
        unbind_driver(device)
        stage.panel.wait_for("no open file of a node", lambda: not stage.panel.open_nodes())
        bind_driver(device)
        stage.panel.wait_for("the controls to be enabled", stage.panel.controls_enabled, seconds=120)
        expect_a_moving_picture(stage)
        assert (device / f"{device.name}:1.1" / "driver").exists(), "the driver lost the streaming interface"


def expect_a_moving_picture(stage):
    stage.panel.wait_for("the camera's picture", stage.picture_is_right)
    for _ in range(3):
        the_picture_moves(stage)


def a_camera_that_vanishes_while_it_streams_ends_quietly(stage):
    stage.cameras.ask("vanish", 1)
    stage.cameras.wait_until_gone(1)
    stage.panel.wait_for("the controls to be disabled", lambda: not stage.panel.controls_enabled())
    stage.panel.wait_for("a black preview", stage.panel.preview_is_black)
    stage.panel.expect_quiet()


def another_camera_takes_its_place(stage):
    """The second camera has other entity identifiers, so requests must use those of its descriptors."""
    terminal, unit = entities(stage.cameras.plug(2))
    stage.panel.wait_for("the controls to be enabled", stage.panel.controls_enabled, seconds=120)
    assert unit != stage.unit
    _, high = stage.cameras.limits(2, "brightness")
    stage.drag_brightness(0.5, 1)
    stage.panel.wait_for("the highest brightness", lambda: stage.cameras.value(2, "brightness") == high)
    assert stage.cameras.requests(2, request_type=0x21, request=0x01, selector=0x02, entity=unit)


CASES = [
    an_unknown_option_ends_with_status_2_and_no_window,
    without_a_camera_the_panel_opens_with_its_controls_disabled,
    a_camera_plugged_in_shows_its_picture,
    the_picture_moves,
    a_still_of_a_camera_in_use_names_the_program_that_has_it,
    a_still_and_a_movie_are_taken_through_the_panel_that_shows_the_camera,
    a_dragged_slider_moves_the_value_in_the_camera,
    the_request_carries_the_value_byte_for_byte,
    the_picture_follows_the_slider,
    an_unplugged_camera_leaves_a_black_preview_and_disabled_controls,
    nothing_spins_once_the_camera_is_gone,
    a_camera_plugged_in_again_comes_back,
    a_driver_unbound_and_bound_again_shows_the_picture_each_time,
    a_camera_that_vanishes_while_it_streams_ends_quietly,
    another_camera_takes_its_place,
]
