# SPDX-License-Identifier: MIT
"""The panel while another program changes the controls of its camera, read as a screen reader reads it."""
import contextlib
import os
import subprocess

from panel_cases import Stage
from rig.screen import xdotool
from rig.screen_reader import ScreenReader

ALWAYS = "QT_LINUX_ACCESSIBILITY_ALWAYS_ON"
SET_CUR = {"request_type": 0x21, "request": 0x01}


class FollowingStage(Stage):
    node = None
    reader = None

    def open_panel(self):
        os.environ[ALWAYS] = "1"
        try:
            super().open_panel()
        finally:
            del os.environ[ALWAYS]
        self.reader = ScreenReader(self.panel.process_number())

    def close(self):
        if self.reader:
            self.reader.close()
        super().close()

    def change(self, **controls):
        """Changes controls as another program does."""
        settings = ",".join(f"{name}={value}" for name, value in controls.items())
        subprocess.run(["v4l2-ctl", "-d", self.node, "-c", settings], check=True, timeout=60)

    def wait_for_slider(self, name, value):
        self.panel.wait_for(f"every slider {name} at {value}",
                            lambda: {shown for shown, _ in self.reader.sliders(name)} == {value})


@contextlib.contextmanager
def stage(programs, out):
    stage = FollowingStage(programs, out)
    try:
        yield stage
    finally:
        stage.close()


def a_screen_reader_reads_the_camera(stage):
    stage.node = stage.cameras.plug(1)
    stage.open_panel()
    stage.panel.wait_for("the controls to be enabled", stage.panel.controls_enabled, seconds=120)
    stage.wait_for_slider("Brightness", stage.cameras.value(1, "brightness"))


def slider_and_label_follow_another_program(stage):
    before = len(stage.cameras.requests(1, **SET_CUR))
    stage.change(brightness=33)
    stage.wait_for_slider("Brightness", 33)
    stage.panel.wait_for("the label", lambda: "33" in stage.reader.labels())
    stage.change(pan_absolute=7200)
    stage.wait_for_slider("Pan (Left/Right)", 2)
    assert len(stage.cameras.requests(1, **SET_CUR)) == before + 2, "the panel wrote something back"


def the_users_value_is_the_last_after_another_programs(stage):
    stage.drag_brightness(0.5, 1)
    _, high = stage.cameras.limits(1, "brightness")
    stage.wait_for_slider("Brightness", high)
    stage.change(brightness=-20)
    stage.wait_for_slider("Brightness", -20)


def the_window_of_all_controls_follows_too(stage):
    xdotool("key", "ctrl+a")
    stage.panel.wait_for("two sliders for the brightness", lambda: len(stage.reader.sliders("Brightness")) == 2)
    stage.change(brightness=12, gain=9)
    stage.wait_for_slider("Brightness", 12)
    stage.wait_for_slider("Gain", 9)


def a_manual_control_is_disabled_while_its_automatic_is_on(stage):
    stage.change(white_balance_automatic=1)
    stage.panel.wait_for("the switch to be on", lambda: stage.reader.is_on("Auto White Balance"))
    stage.panel.wait_for("the disabled slider",
                         lambda: (False in [enabled for _, enabled in stage.reader.sliders("White Balance")]))
    stage.panel.wait_for("the word that says why", lambda: "Set by Auto White Balance" in stage.reader.labels())
    stage.change(white_balance_automatic=0)
    stage.change(white_balance_temperature=5000)
    stage.wait_for_slider("White Balance", 5000)
    assert all(enabled for _, enabled in stage.reader.sliders("White Balance"))


def following_goes_on_after_a_refused_value(stage):
    stage.change(white_balance_automatic=1)
    stage.panel.put_sliders(whiteBalance=0)  # the driver refuses it; the other window covers the right end
    stage.change(brightness=-7)
    stage.wait_for_slider("Brightness", -7)


CASES = [
    a_screen_reader_reads_the_camera,
    slider_and_label_follow_another_program,
    the_users_value_is_the_last_after_another_programs,
    the_window_of_all_controls_follows_too,
    a_manual_control_is_disabled_while_its_automatic_is_on,
    following_goes_on_after_a_refused_value,
]
