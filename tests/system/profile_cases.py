# SPDX-License-Identifier: MIT
"""Two cameras and their profiles, in the panel that panel_cases left open with only camera 2.

Cameras are identified by the number in their picture, because the panel's buttons number them by arrival.
"""
import json
import os
import pathlib

from panel_cases import SIZE, picture_in_preview
from rig.panel import CAMERA_BUTTONS, POWER_LINE_BUTTONS, PROFILE_BUTTONS, SAVE_BUTTON

# The controls of a profile with their selectors, in the order in which they are written to the camera.
PROFILE_CONTROLS = {"brightness": 0x02, "contrast": 0x03, "saturation": 0x07, "whiteBalance": 0x0A,
                    "sharpness": 0x08, "zoom": 0x0B, "panTilt": 0x0D, "powerLine": 0x05}
SET_CUR = 0x01
SLOW = 1000  # ms per answer, so that pushing a profile takes much longer than unplugging

# The digits of the number plate, five dots by seven.
DIGITS = {1: "00100 01100 00100 00100 00100 00100 01110", 2: "01110 10001 00001 00110 01000 10000 11111"}
FIRST_DOT = (71, 1)  # first dot of the digit, in pixels of the camera's picture
DOT = 2


# -------------------------------------------------------------------- looking

def shown_camera(stage):
    """The number in the camera's picture, or None if it is unreadable."""
    left, top, width, _ = picture_in_preview()
    scale = width / SIZE[0]
    dots = [[sum(stage.panel.pixel(left + scale * (FIRST_DOT[0] + DOT * (column + 0.5)),
                                   top + scale * (FIRST_DOT[1] + DOT * (row + 0.5))))
             for column in range(5)] for row in range(7)]
    middle = (max(map(max, dots)) + min(map(min, dots))) / 2
    read = " ".join("".join("1" if dot > middle else "0" for dot in row) for row in dots)
    return next((number for number, digit in DIGITS.items() if digit == read), None)


def wait_for_camera(stage, number):
    stage.panel.wait_for(f"camera {number} in the preview", lambda: shown_camera(stage) == number, seconds=120)
    stage.panel.wait_for("the controls to be enabled", stage.panel.controls_enabled, seconds=120)


def values(stage, camera):
    """The camera's own values of the eight controls that a profile keeps."""
    return {control: tuple(map(int, stage.cameras.ask("get", camera, control))) for control in PROFILE_CONTROLS}


def wait_for_values(stage, camera, expected):
    try:
        stage.panel.wait_for("the profile's values in the camera", lambda: values(stage, camera) == expected)
    except AssertionError as timed_out:
        raise AssertionError(f"{values(stage, camera)} is not {expected}") from timed_out


def writes(stage, camera):
    """The writes to the camera's controls, without the driver's own writes that choose picture sizes."""
    return stage.cameras.requests(camera, request_type=0x21, request=SET_CUR, interface=0)


def stored_selections():
    """Each camera's last selected profile, from the stored preferences."""
    folder = os.environ.get("XDG_CONFIG_HOME") or f"{os.environ['HOME']}/.config"
    preferences = json.loads(pathlib.Path(folder, "tavelo", "control-panel.json").read_text(encoding="utf-8"))
    return [record[4]["kNSUserDefaultsKeyCameraSelectedProfileIndex"]
            for key, record in preferences.items() if key.startswith("kNSUserDefaultsKeyCameraSettings_")]


# -------------------------------------------------------------------- cases

def a_second_camera_enables_its_button_and_the_first_stays_shown(stage):
    wait_for_camera(stage, 2)
    assert not stage.panel.camera_button_enabled(2)
    stage.cameras.ask("plug", 1)
    stage.cameras.plug(1)
    stage.panel.wait_for("the second button to be enabled", lambda: stage.panel.camera_button_enabled(2))
    assert stage.panel.selected_camera_button() == 1
    assert shown_camera(stage) == 2
    assert not stage.cameras.streams(1)


def the_second_button_shows_the_other_camera(stage):
    stage.panel.click(CAMERA_BUTTONS[2])
    wait_for_camera(stage, 1)
    assert stage.panel.selected_camera_button() == 2
    assert stage.cameras.streams(1) and not stage.cameras.streams(2)
    stage.panel.save_picture("panel-with-second-camera")


def the_sliders_move_the_camera_that_is_shown(stage):
    untouched = values(stage, 2)
    low, high = stage.cameras.limits(1, "contrast")
    stage.panel.put_sliders(contrast=1)
    stage.panel.wait_for("the highest contrast", lambda: stage.cameras.value(1, "contrast") == high)
    stage.panel.put_sliders(contrast=0.5)
    stage.panel.wait_for("a contrast in the middle",
                         lambda: abs(stage.cameras.value(1, "contrast") - (low + high) / 2) <= 1)
    assert values(stage, 2) == untouched


def a_refused_value_stops_neither_the_next_slider_nor_the_rest_of_a_profile(stage):
    """Like with most cameras, white balance cannot be written while automatic white balance is on."""
    stage.cameras.ask("set", 1, "autoWhiteBalance", 1)
    white_balance = stage.cameras.value(1, "whiteBalance")
    low, _ = stage.cameras.limits(1, "contrast")
    stage.panel.put_sliders(whiteBalance=0.9, contrast=0)
    stage.panel.wait_for("the lowest contrast", lambda: stage.cameras.value(1, "contrast") == low)
    stage.cameras.ask("set", 1, "sharpness", 9)
    seen = len(writes(stage, 1))
    stage.panel.click(PROFILE_BUTTONS[1])
    stage.panel.wait_for("sharpness and power line, which are written after white balance", lambda: [
        control for control in ("sharpness", "powerLine")
        if PROFILE_CONTROLS[control] not in [request.selector for request in writes(stage, 1)[seen:]]] == [])
    assert stage.cameras.value(1, "sharpness") == 5
    assert stage.cameras.value(1, "whiteBalance") == white_balance
    stage.cameras.ask("set", 1, "autoWhiteBalance", 0)


def a_saved_profile_brings_all_eight_values_back(stage):
    stage.panel.click(PROFILE_BUTTONS[2])
    stage.panel.wait_for("profile 2 to be selected", lambda: stage.panel.selected_profiles() == [2])
    wait_for_last_write(stage, 1)
    before = values(stage, 1)
    stage.panel.put_sliders(brightness=0.7, contrast=0.7, saturation=0.6, whiteBalance=0.3, sharpness=0.8, zoom=0.3,
                            tilt=0.6, pan=0.35)
    stage.panel.click(POWER_LINE_BUTTONS[60])
    wait_until_all_differ(stage, before)
    stage.saved = values(stage, 1)
    save(stage)

    stage.panel.put_sliders(brightness=0.3, contrast=0.4, saturation=0.3, whiteBalance=0.6, sharpness=0.2, zoom=0.1,
                            tilt=0.2, pan=0.7)
    stage.panel.click(POWER_LINE_BUTTONS[50])
    wait_until_all_differ(stage, stage.saved)
    stage.panel.click(PROFILE_BUTTONS[2])
    wait_for_values(stage, 1, stage.saved)
    sent = [request.selector for request in writes(stage, 1)[-len(PROFILE_CONTROLS):]]
    assert sent == list(PROFILE_CONTROLS.values()), sent
    stage.panel.wait_for("the picture to be shown again", lambda: not stage.panel.preview_is_black())


def wait_until_all_differ(stage, others):
    stage.panel.wait_for("other values in the camera", lambda: all(
        value != others[control] for control, value in values(stage, 1).items()))


def wait_for_last_write(stage, camera):
    """Waits until the power line frequency, which a profile writes last, was written."""
    stage.panel.wait_for("the end of the profile", lambda: [
        request.selector for request in writes(stage, camera)[-1:]] == [PROFILE_CONTROLS["powerLine"]])


def save(stage):
    stage.panel.click(SAVE_BUTTON)
    stage.panel.wait_for("the saved alert", stage.panel.alert)
    stage.panel.dismiss_alert()


def a_camera_pulled_out_while_a_profile_is_written_gives_way_to_the_other(stage):
    untouched = values(stage, 2)
    pull_out_while_a_profile_is_written(stage, 1)
    wait_for_camera(stage, 2)
    assert stage.panel.selected_camera_button() == 1
    assert not stage.panel.camera_button_enabled(2)
    assert stage.panel.selected_profiles() == []
    assert values(stage, 2) == untouched, "what was left of the profile went to the other camera"


def the_last_camera_pulled_out_while_a_profile_is_written_leaves_a_quiet_panel(stage):
    pull_out_while_a_profile_is_written(stage, 2)
    stage.panel.wait_for("the controls to be disabled", lambda: not stage.panel.controls_enabled())
    stage.panel.wait_for("a black preview", stage.panel.preview_is_black)
    stage.panel.expect_quiet()


def pull_out_while_a_profile_is_written(stage, camera):
    stage.cameras.ask("delay", camera, SLOW)
    seen = len(writes(stage, camera))
    stage.panel.click(PROFILE_BUTTONS[3])
    stage.panel.wait_for("the first value of the profile", lambda: len(writes(stage, camera)) > seen)
    stage.cameras.unplug(camera)
    stage.cameras.ask("clear", camera)
    written = len(writes(stage, camera)) - seen
    assert written < len(PROFILE_CONTROLS), f"{written} values were written before the camera was gone"


def a_camera_plugged_in_again_has_its_profiles(stage):
    for control, value in (("brightness", (-9,)), ("zoom", (111,)), ("panTilt", (3600, -3600)), ("powerLine", (1,))):
        stage.cameras.ask("set", 1, control, *value)
    stage.cameras.plug(2)
    wait_for_camera(stage, 2)
    stage.cameras.plug(1)
    stage.panel.wait_for("the second button to be enabled", lambda: stage.panel.camera_button_enabled(2))
    stage.panel.click(CAMERA_BUTTONS[2])
    wait_for_camera(stage, 1)
    assert stage.cameras.value(1, "zoom") == 111, "a camera keeps its values until a profile is chosen"
    stage.panel.click(PROFILE_BUTTONS[2])
    wait_for_values(stage, 1, stage.saved)
    stage.panel.wait_for("profile 2 to be selected", lambda: stage.panel.selected_profiles() == [2])


def the_panel_ends_when_asked(stage):
    assert stage.panel.quit() == 0
    selections = sorted(stored_selections())
    assert selections == [1, 2], selections  # camera 1 was left at profile 2, camera 2 at profile 3


def started_again_it_shows_a_camera_with_no_profile_selected_and_writes_nothing(stage):
    before = {camera: len(writes(stage, camera)) for camera in (1, 2)}
    stage.open_panel()
    stage.panel.wait_for("a camera in the preview", lambda: shown_camera(stage), seconds=120)
    stage.panel.wait_for("both buttons to be enabled",
                         lambda: all(map(stage.panel.camera_button_enabled, CAMERA_BUTTONS)))
    assert stage.panel.selected_profiles() == []
    for camera in before:
        assert len(writes(stage, camera)) == before[camera], writes(stage, camera)[before[camera]:]


def its_profiles_are_found_again(stage):
    stage.cameras.ask("set", 1, "brightness", -9)
    if shown_camera(stage) != 1:
        stage.panel.click(CAMERA_BUTTONS[2])
    wait_for_camera(stage, 1)
    stage.panel.click(PROFILE_BUTTONS[2])
    wait_for_values(stage, 1, stage.saved)


def it_ends_when_asked_while_a_profile_is_written(stage):
    stage.cameras.ask("delay", 1, SLOW // 10)
    seen = len(writes(stage, 1))
    stage.panel.click(PROFILE_BUTTONS[3])
    stage.panel.wait_for("the first value of the profile", lambda: len(writes(stage, 1)) > seen)
    assert stage.panel.quit() == 0
    stage.cameras.ask("clear", 1)


CASES = [
    a_second_camera_enables_its_button_and_the_first_stays_shown,
    the_second_button_shows_the_other_camera,
    the_sliders_move_the_camera_that_is_shown,
    a_refused_value_stops_neither_the_next_slider_nor_the_rest_of_a_profile,
    a_saved_profile_brings_all_eight_values_back,
    a_camera_pulled_out_while_a_profile_is_written_gives_way_to_the_other,
    the_last_camera_pulled_out_while_a_profile_is_written_leaves_a_quiet_panel,
    a_camera_plugged_in_again_has_its_profiles,
    the_panel_ends_when_asked,
    started_again_it_shows_a_camera_with_no_profile_selected_and_writes_nothing,
    its_profiles_are_found_again,
    it_ends_when_asked_while_a_profile_is_written,
]
