# SPDX-License-Identifier: MIT
"""The virtual camera and the kernel's driver, without the panel."""
import contextlib
import pathlib
import subprocess

from rig.processes import running
from rig.virtual_cameras import VirtualCameras, entities

WIDTH, HEIGHT = 320, 240
FRAMES = 5


class Stage:
    def __init__(self, programs, out, options):
        self.programs = programs
        self.out = pathlib.Path(out)
        self.cameras = VirtualCameras(programs, out, options=options)
        self.nodes = {}

    def record(self, encoding):
        """The data of a few consecutive frames from the driver."""
        path = pathlib.Path("/run/frames")
        subprocess.run(
            ["v4l2-ctl", "-d", self.nodes[1],
             f"--set-fmt-video=width={WIDTH},height={HEIGHT},pixelformat={encoding}",
             "--stream-mmap", f"--stream-count={FRAMES}", f"--stream-to={path}"],
            check=True, capture_output=True, timeout=120,
        )
        return path.read_bytes()


@contextlib.contextmanager
def stage(programs, out, options=()):
    stage = Stage(programs, out, options)
    try:
        yield stage
    finally:
        stage.cameras.close()


def bulk_stage(programs, out):
    return stage(programs, out, ["--bulk"])


def two_cameras_attach(stage):
    for camera in (1, 2):
        stage.nodes[camera] = stage.cameras.plug(camera)
    assert stage.nodes[1] != stage.nodes[2]


def the_cameras_number_their_entities_differently(stage):
    first, second = entities(stage.nodes[1]), entities(stage.nodes[2])
    assert all(first) and all(second), f"{first} {second}"
    assert first[0] != second[0] and first[1] != second[1], f"{first} {second}"


def uncompressed_frames_arrive_whole(stage):
    data = stage.record("YUYV")
    stride, size = 2 * WIDTH, 2 * WIDTH * HEIGHT
    assert len(data) == FRAMES * size, f"{len(data)} bytes"
    frames = [data[at:at + size] for at in range(0, len(data), size)]
    assert len(set(frames)) > 1, "the picture stands still"
    # Checks whether blue and red differences of the corner patches are above or below the middle.
    for frame in frames:
        for x, y, blue, red in ((4, 4, -1, 1), (WIDTH - 6, 4, -1, -1), (4, HEIGHT - 6, 1, -1),
                                (WIDTH - 6, HEIGHT - 6, -1, 1)):
            at = y * stride + 2 * x
            found = frame[at + 1] - 128, frame[at + 3] - 128
            assert found[0] * blue > 15 and found[1] * red > 15, f"{found} at {x}, {y}"


def compressed_frames_arrive_whole(stage):
    data = stage.record("MJPG")
    assert data.startswith(b"\xff\xd8"), data[:16].hex()
    assert data.count(b"\xff\xd9\xff\xd8") == FRAMES - 1, "a frame is cut off"
    assert data.rstrip(b"\0").endswith(b"\xff\xd9"), data[-16:].hex()


def every_control_answers_through_the_driver(stage):
    """Compares the kernel transport with the firmware, control by control."""
    checker = stage.programs.parent / "tests" / "kernel_controls_check"
    result = subprocess.run([checker, stage.nodes[1]], capture_output=True, text=True, timeout=300)
    (stage.out / "controls.txt").write_text(result.stdout + result.stderr)
    assert result.returncode == 0, result.stdout + result.stderr


def what_another_program_changes_is_told_until_the_camera_vanishes(stage):
    checker = stage.programs.parent / "tests" / "control_watch_check"
    with running([checker, stage.nodes[2]]) as watcher:
        assert watcher.stdout.readline() == "watching\n"
        subprocess.run(["v4l2-ctl", "-d", stage.nodes[2], "-c", "brightness=-2"], check=True, timeout=60)
        assert watcher.stdout.readline() == "unit 2 feff\n"
        stage.cameras.ask("vanish", 2)
        assert watcher.stdout.readline() == "ended\n"
        assert watcher.wait(timeout=60) == 0
    stage.cameras.wait_until_gone(2)


def the_server_ends_when_asked(stage):
    stage.cameras.unplug_all()
    assert stage.cameras.close() == 0


CASES = [
    two_cameras_attach,
    the_cameras_number_their_entities_differently,
    uncompressed_frames_arrive_whole,
    compressed_frames_arrive_whole,
    every_control_answers_through_the_driver,
    what_another_program_changes_is_told_until_the_camera_vanishes,
    the_server_ends_when_asked,
]

BULK_CASES = [
    two_cameras_attach,
    uncompressed_frames_arrive_whole,
    compressed_frames_arrive_whole,
    the_server_ends_when_asked,
]
