# SPDX-License-Identifier: MIT
"""Pictures over libusb without the kernel's driver, which has the camera before and afterwards."""
import contextlib
import pathlib
import subprocess

from rig.processes import running
from rig.virtual_cameras import VirtualCameras, capture_nodes
from rig.waiting import wait_until

SERIAL = "TVC-1001"


class Stage:
    def __init__(self, programs, out, options):
        self.checker = programs.parent / "tests" / "usb_stream_check"
        self.out = pathlib.Path(out)
        self.name = "bulk" if options else "isochronous"
        self.cameras = VirtualCameras(programs, out, cameras=1, options=options)


@contextlib.contextmanager
def stage(programs, out, options=()):
    stage = Stage(programs, out, options)
    try:
        yield stage
    finally:
        stage.cameras.close()


def bulk_stage(programs, out):
    return stage(programs, out, ["--bulk"])


def the_driver_has_the_camera(stage):
    stage.cameras.plug(1)


def pictures_arrive_over_libusb(stage):
    """In each format, and again after each of ten stops."""
    result = subprocess.run([stage.checker, SERIAL, "pictures"], capture_output=True, text=True, timeout=300)
    (stage.out / f"usb-stream-{stage.name}.txt").write_text(result.stdout + result.stderr)
    assert result.returncode == 0 and not result.stderr, result.stdout + result.stderr


def the_driver_gets_the_camera_back(stage):
    wait_until("a capture node for the camera", capture_nodes)


def a_camera_pulled_out_while_it_streams_ends_the_stream(stage):
    with running([stage.checker, SERIAL, "unplug"], stderr=subprocess.STDOUT) as checker:
        assert "ok   streaming" in checker.stdout.readline()
        stage.cameras.ask("vanish", 1)
        rest, _ = checker.communicate(timeout=120)
    assert checker.returncode == 0 and "trying again" not in rest, rest


def the_server_ends_when_asked(stage):
    assert stage.cameras.close() == 0


CASES = [
    the_driver_has_the_camera,
    pictures_arrive_over_libusb,
    the_driver_gets_the_camera_back,
    a_camera_pulled_out_while_it_streams_ends_the_stream,
    the_server_ends_when_asked,
]
