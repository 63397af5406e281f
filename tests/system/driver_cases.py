# SPDX-License-Identifier: MIT
"""The virtual camera and the kernel's driver, without the panel."""
import contextlib
import pathlib
import subprocess

from rig.virtual_cameras import VirtualCameras, entities


class Stage:
    def __init__(self, programs, out):
        self.programs = programs
        self.out = pathlib.Path(out)
        self.cameras = VirtualCameras(programs, out)
        self.nodes = {}


@contextlib.contextmanager
def stage(programs, out):
    stage = Stage(programs, out)
    try:
        yield stage
    finally:
        stage.cameras.close()


def two_cameras_attach(stage):
    for camera in (1, 2):
        stage.nodes[camera] = stage.cameras.plug(camera)
    assert stage.nodes[1] != stage.nodes[2]


def the_cameras_number_their_entities_differently(stage):
    first, second = entities(stage.nodes[1]), entities(stage.nodes[2])
    assert all(first) and all(second), f"{first} {second}"
    assert first[0] != second[0] and first[1] != second[1], f"{first} {second}"


def the_driver_streams_whole_frames(stage):
    size, count = (320, 240), 5
    path = stage.out / "frames.yuyv"
    subprocess.run(
        ["v4l2-ctl", "-d", stage.nodes[1], f"--set-fmt-video=width={size[0]},height={size[1]},pixelformat=YUYV",
         "--stream-mmap", f"--stream-count={count}", f"--stream-to={path}"],
        check=True, capture_output=True, timeout=120,
    )
    assert path.stat().st_size == count * size[0] * size[1] * 2, f"{path.stat().st_size} bytes"
    data = path.read_bytes()
    frames = {data[at:at + len(data) // count] for at in range(0, len(data), len(data) // count)}
    assert len(frames) > 1, "the picture stands still"
    path.unlink()


def every_control_answers_through_the_driver(stage):
    """The kernel transport against the firmware, control by control."""
    checker = stage.programs.parent / "tests" / "kernel_controls_check"
    result = subprocess.run([checker, stage.nodes[1]], capture_output=True, text=True, timeout=300)
    (stage.out / "controls.txt").write_text(result.stdout + result.stderr)
    assert result.returncode == 0, result.stdout + result.stderr


def a_vanished_camera_leaves_nothing_behind(stage):
    stage.cameras.ask("vanish", 2)
    stage.cameras.wait_until_gone(2)


def the_server_ends_when_asked(stage):
    stage.cameras.unplug_all()
    assert stage.cameras.close() == 0


CASES = [
    two_cameras_attach,
    the_cameras_number_their_entities_differently,
    the_driver_streams_whole_frames,
    every_control_answers_through_the_driver,
    a_vanished_camera_leaves_nothing_behind,
    the_server_ends_when_asked,
]
