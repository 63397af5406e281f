# SPDX-License-Identifier: MIT
"""The context menu on a real kernel: a camera that another program streams from."""
import contextlib
import os
import pathlib
import subprocess

from panel_cases import Stage as PanelStage
from panel_cases import the_picture_moves
from rig.panel import PREVIEW
from rig.screen import xdotool
from rig.waiting import wait_until

READER = pathlib.Path(__file__).resolve().parent / "rig" / "read_menu.py"
ALWAYS_ON = "QT_LINUX_ACCESSIBILITY_ALWAYS_ON"


class Stage(PanelStage):
    streaming = None

    def close(self):
        os.environ.pop(ALWAYS_ON, None)
        if self.streaming:
            self.streaming.kill()
            self.streaming.wait()
        super().close()

    def menu(self):
        """The entries of the context menu, which is opened and closed again."""
        x, y, width, height = self.panel.on_screen(PREVIEW)
        try:
            # Until a reader has started the accessibility bus, the panel is not on it.
            return wait_until("the menu's entries", lambda: self._entries(x + width // 2, y + height // 2), seconds=180)
        finally:
            xdotool("key", "Escape")

    @staticmethod
    def _entries(x, y):
        xdotool("key", "Escape")
        read = subprocess.run([READER, str(x), str(y)], check=True, capture_output=True, text=True, timeout=120)
        return read.stdout.split("\n") if read.stdout.strip() else []


@contextlib.contextmanager
def stage(programs, out):
    os.environ[ALWAYS_ON] = "1"
    stage = Stage(programs, out)
    try:
        yield stage
    finally:
        stage.close()


def without_a_camera_the_menu_says_what_to_do(stage):
    stage.open_panel()
    assert stage.menu()[0] == "No camera: plug in a USB camera", stage.menu()
    assert "no camera: plug in a USB camera" in stage.panel.log(), stage.panel.log()


def a_camera_held_by_another_program_is_named_with_it(stage):
    stage.panel.quit()
    node = stage.cameras.plug(1)
    stage.streaming = subprocess.Popen(
        ["v4l2-ctl", "-d", node, "--set-fmt-video=width=320,height=240,pixelformat=YUYV", "--stream-mmap",
         "--stream-to=/dev/null"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    wait_until("the other program streams", lambda: os.path.exists(f"/proc/{stage.streaming.pid}/fd")
               and node in map(os.path.realpath, open_files(stage.streaming.pid)))
    stage.open_panel()
    wanted = f"In use by v4l2-ctl, process {stage.streaming.pid}"
    stage.panel.wait_for("its name in the menu", lambda: stage.menu()[0] == wanted, seconds=180)
    assert any(entry.startswith("1  ") for entry in stage.menu()), stage.menu()
    assert stage.panel.preview_is_black()
    stage.panel.save_picture("panel-with-a-busy-camera")


def open_files(process):
    folder = f"/proc/{process}/fd"
    return [f"{folder}/{name}" for name in os.listdir(folder)]


def the_picture_comes_by_itself_when_it_lets_go(stage):
    stage.streaming.terminate()
    stage.streaming.wait(timeout=60)
    stage.panel.wait_for("the camera's picture", stage.picture_is_right, seconds=180)
    the_picture_moves(stage)
    stage.panel.wait_for("its size in the menu", lambda: ", 320 × 240" in stage.menu()[0], seconds=180)


CASES = [
    without_a_camera_the_menu_says_what_to_do,
    a_camera_held_by_another_program_is_named_with_it,
    the_picture_comes_by_itself_when_it_lets_go,
]
