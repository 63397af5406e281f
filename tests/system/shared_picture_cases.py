# SPDX-License-Identifier: MIT
"""One camera in two programs at once, the panel and another, both through PipeWire, whose own monitor has found it."""
import contextlib

from panel_cases import SIZE, Stage, corners_are_right
from panel_cases import the_picture_moves as the_panels_picture_moves
from rig.pipewire import Pipewire, Viewer
from rig.virtual_cameras import programs_with
from rig.waiting import wait_until

COMMIT = {"request_type": 0x21, "request": 0x01, "interface": 1, "entity": 0, "selector": 2}  # starts a stream


class SharedStage(Stage):
    node = None
    viewer = None

    def __init__(self, programs, out):
        super().__init__(programs, out)
        self.pipewire = Pipewire(out)

    def close(self):
        if self.viewer:
            self.close_viewer()
        self.pipewire.close()
        super().close()

    def show_in_panel(self):
        self.open_panel("--picture", "pipewire", "--fps", "15")
        self.panel.wait_for("the panel's picture", self.picture_is_right, seconds=120)

    def show_in_viewer(self):
        self.viewer = Viewer(self.out, self.pipewire.camera(self.node), SIZE)
        self.panel.wait_for("the other program's picture", self.viewers_picture_is_right, seconds=120)

    def close_viewer(self):
        self.viewer.close()
        self.viewer = None

    def viewers_corners(self):
        (width, height), near, patch = SIZE, 4, 4
        right, bottom = width - near - patch, height - near - patch
        places = {"top left": (near, near), "top right": (right, near),
                  "bottom left": (near, bottom), "bottom right": (right, bottom)}
        return {name: self.viewer.mean(*place, patch, patch) for name, place in places.items()}

    def viewers_picture_is_right(self):
        return self.viewer.picture() is not None and corners_are_right(self.viewers_corners())

    def lights(self):
        """How bright the corners are in the panel and in the other program."""
        return [sum(map(sum, corners.values())) for corners in (self.corners(), self.viewers_corners())]

    def drag_and_see(self, start, end, what, condition):
        """Drags the brightness; waits until both programs' pictures, by their light before, are as they should be."""
        before = self.lights()
        self.drag_brightness(start, end)
        self.panel.wait_for(f"{what} in both programs",
                            lambda: all(map(condition, before, self.lights())))


@contextlib.contextmanager
def stage(programs, out):
    stage = SharedStage(programs, out)
    try:
        yield stage
    finally:
        stage.close()


def the_viewers_picture_moves(stage):
    before = stage.viewer.picture()
    wait_until("another picture in the other program", lambda: stage.viewer.picture() != before)


def pipewire_finds_a_camera_that_is_plugged_in(stage):
    stage.pipewire.start()
    stage.node = stage.cameras.plug(1)
    wait_until("a source of PipeWire for the camera", lambda: stage.pipewire.camera(stage.node), seconds=120)


def the_panel_and_another_program_show_it_at_once(stage):
    stage.show_in_panel()
    stage.show_in_viewer()
    for _ in range(3):
        the_panels_picture_moves(stage)
        the_viewers_picture_moves(stage)
    stage.panel.save_picture("panel-with-shared-camera")
    stage.viewer.save_picture(f"{stage.out}/viewer-with-shared-camera.png")


def both_pictures_follow_the_panels_slider(stage):
    low, high = stage.cameras.limits(1, "brightness")
    stage.drag_and_see(0.5, 1, "a brighter picture", lambda before, now: now > before + 100)
    assert stage.cameras.value(1, "brightness") == high
    stage.drag_and_see(1, 0, "a darker picture", lambda before, now: now < before - 200)
    assert stage.cameras.value(1, "brightness") == low
    stage.drag_brightness(0, 0.5)
    stage.panel.wait_for("both pictures as they were",
                         lambda: stage.picture_is_right() and stage.viewers_picture_is_right())


def the_panel_does_not_stream_from_the_driver(stage):
    """It only has the node open, for the controls."""
    assert not stage.panel.streams_from(stage.node)
    assert "using the driver" not in stage.panel.log(), stage.panel.log()
    assert programs_with(stage.node) == {stage.pipewire.daemon(), stage.panel.process_number()}


def the_other_program_keeps_the_stream_when_the_panel_ends(stage):
    streams = len(stage.cameras.requests(1, **COMMIT))
    assert stage.panel.quit() == 0
    for _ in range(3):
        the_viewers_picture_moves(stage)
    assert programs_with(stage.node) == {stage.pipewire.daemon()}
    assert len(stage.cameras.requests(1, **COMMIT)) == streams, "the stream was started anew"


def a_panel_that_comes_later_has_the_picture_too(stage):
    stage.show_in_panel()
    the_viewers_picture_moves(stage)
    assert not stage.panel.streams_from(stage.node)


def both_have_it_again_when_the_camera_is_plugged_in_again(stage):
    stage.cameras.unplug(1)
    stage.panel.wait_for("the controls to be disabled", lambda: not stage.panel.controls_enabled())
    stage.panel.wait_for("a black preview", stage.panel.preview_is_black)
    wait_until("the source to go", lambda: not stage.pipewire.camera(stage.node))
    stage.close_viewer()
    stage.node = stage.cameras.plug(1)
    stage.panel.wait_for("the panel's picture", stage.picture_is_right, seconds=120)
    stage.show_in_viewer()
    assert programs_with(stage.node) == {stage.pipewire.daemon(), stage.panel.process_number()}
    assert not stage.panel.streams_from(stage.node)


CASES = [
    pipewire_finds_a_camera_that_is_plugged_in,
    the_panel_and_another_program_show_it_at_once,
    both_pictures_follow_the_panels_slider,
    the_panel_does_not_stream_from_the_driver,
    the_other_program_keeps_the_stream_when_the_panel_ends,
    a_panel_that_comes_later_has_the_picture_too,
    both_have_it_again_when_the_camera_is_plugged_in_again,
]
