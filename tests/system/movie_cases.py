# SPDX-License-Identifier: MIT
"""Takes stills and movies without a window, from cameras behind the kernel's driver.

movie_picture_cases.py checks the files after the guest has ended, because decoding is slow in it.
"""
import contextlib
import os
import pathlib
import shutil
import subprocess

from rig.virtual_cameras import VirtualCameras
from rig.waiting import wait_until

WIDTH, HEIGHT = 320, 240
RATE = 15  # frames per second; the emulated processor can handle this
SECONDS = 10
PAUSE = 0.8  # seconds


class Stage:
    def __init__(self, programs, out):
        self.programs = programs
        self.cameras = VirtualCameras(programs, out)
        self.kept = pathlib.Path(out, "movies")
        self.kept.mkdir()
        self.folder = pathlib.Path("/run/movies")  # in memory
        self.folder.mkdir()

    def start(self, option, name, *arguments):
        """The program where there is no display; returns it and the file that it writes."""
        file = self.folder / name
        environment = {name: value for name, value in os.environ.items()
                       if name not in ("DISPLAY", "WAYLAND_DISPLAY")}
        program = subprocess.Popen(
            [self.programs / "tavelo-control-panel", option, file, "--size", f"{WIDTH}x{HEIGHT}", "--format", "YUYV",
             "--fps", str(RATE), *map(str, arguments)],
            env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        return program, file

    def end(self, program, file):
        """Waits for its end; returns its status and output, and keeps the file."""
        said, _ = program.communicate(timeout=120)
        if file.exists():
            shutil.copy(file, self.kept)
        return program.returncode, said

    def expect_success(self, option, name, *arguments):
        program, file = self.start(option, name, *arguments)
        try:
            result = self.end(program, file)
        finally:
            program.kill()
        assert result == (0, ""), result


@contextlib.contextmanager
def stage(programs, out):
    stage = Stage(programs, out)
    try:
        yield stage
    finally:
        stage.cameras.close()


def two_cameras_attach(stage):
    for camera in (1, 2):
        stage.cameras.plug(camera)


def a_still_is_written(stage):
    stage.expect_success("--snapshot", "still.png")


def a_mirrored_still_of_the_other_camera_is_written(stage):
    stage.expect_success("--snapshot", "mirrored.png", "--camera", 2, "--mirror")


def a_movie_of_ten_seconds_is_recorded(stage):
    stage.expect_success("--record", "movie.mp4", "--duration", SECONDS)


def a_camera_that_pauses_and_is_unplugged_ends_the_movie_with_one_line(stage):
    program, file = stage.start("--record", "unplugged.mp4")
    try:
        wait_for_pieces(file, 2)
        stage.cameras.pause(PAUSE)
        wait_for_pieces(file, 5)
        stage.cameras.ask("vanish", 1)
        result = stage.end(program, file)
    finally:
        program.kill()
    assert result == (1, f"tavelo-control-panel: {file}: cut short: the camera was unplugged\n"), result
    stage.cameras.wait_until_gone(1)


def wait_for_pieces(file, count):
    """Waits until the unfinished movie has this many pieces in the file."""
    wait_until(f"{count} pieces of the movie",
               lambda: file.exists() and file.read_bytes().count(b"moof") >= count, pause=0.2)


CASES = [
    two_cameras_attach,
    a_still_is_written,
    a_mirrored_still_of_the_other_camera_is_written,
    a_movie_of_ten_seconds_is_recorded,
    a_camera_that_pauses_and_is_unplugged_ends_the_movie_with_one_line,
]
