#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Compares the stills and movies of movie_cases.py, picture by picture, with what the firmware draws.

Runs on the host after the guest has ended: ffmpeg decodes, movie_check draws and compares.
Usage: movie_picture_cases.py OUTPUT-FOLDER
"""
import functools
import json
import pathlib
import statistics
import subprocess
import sys
import typing

from movie_cases import HEIGHT, PAUSE, RATE, SECONDS, WIDTH
from rig.report import Report

CHECKER = pathlib.Path(__file__).resolve().parents[2] / "build" / "tests" / "movie_check"
INTERVAL = 1 / RATE
LONGEST_KEY_FRAME_DISTANCE = 60


class Tolerance(typing.NamedTuple):
    """The difference allowed from the picture drawn, out of 255: the mean of all channels of all pixels, and the
    worst of 8 by 8 pixels in brightness and in one channel.  The next number's picture differs by 6 to 58 in
    brightness, mostly by 27; another camera's by 11 and more."""
    mean: float
    light: float
    colour: float


# YUYV halves the chroma columns: measured 1.2, 1.4 and 5.9.
STILL_TOLERANCE = Tolerance(2, 3, 9)
# H.264 also halves the chroma rows and quantises: measured 2.8, 4.8 and 18.3.
MOVIE_TOLERANCE = Tolerance(4, 8, 27)


class Seen(typing.NamedTuple):
    """movie_check's line for a picture."""
    number: int
    mean: float
    light: float
    colour: float

    def is_within(self, tolerance):
        return self.number >= 0 and all(value <= limit for value, limit in zip(self[1:], tolerance))


class Stage:
    def __init__(self, out):
        self.folder = pathlib.Path(out, "movies")

    @functools.cache
    def pictures(self, name):
        """Decodes the pictures like a player, as RGB; any fault in the file is an error."""
        return output_of("ffmpeg", "-v", "error", "-xerror", "-i", self.folder / name, "-map", "v:0",
                         "-fps_mode", "passthrough", "-enc_time_base", "1:90000",
                         "-sws_flags", "accurate_rnd+full_chroma_int+bilinear", "-f", "rawvideo", "-pix_fmt", "rgb24",
                         "-")

    def facts(self, name):
        """Streams, format and packets."""
        return json.loads(output_of(
            "ffprobe", "-v", "error", "-show_entries",
            "stream=codec_name,profile,width,height:format=duration:packet=pts_time,flags", "-of", "json",
            self.folder / name))

    def look(self, name, camera, *options):
        """Compares each picture with the camera's; also stores the result next to the file."""
        text = output_of(CHECKER, str(camera), str(WIDTH), str(HEIGHT), *options, data=self.pictures(name))
        (self.folder / f"{name}.camera-{camera}{''.join(options)}.txt").write_bytes(text)
        lines = [line.split() for line in text.decode().splitlines()]
        return [Seen(int(number), *map(float, rest)) for number, *rest in lines]


def output_of(*command, data=b""):
    result = subprocess.run(command, input=data, capture_output=True, timeout=120)
    assert result.returncode == 0 and result.stderr == b"", f"{command}: {result.returncode} {result.stderr.decode()}"
    return result.stdout


# -------------------------------------------------------------------- judging

def expect_pictures(seen, tolerance):
    wrong = [(place, picture) for place, picture in enumerate(seen) if not picture.is_within(tolerance)]
    assert not wrong, f"{len(wrong)} of {len(seen)} pictures differ from what was drawn: {wrong[:5]}"
    print("differences up to", *(max(values) for values in list(zip(*seen))[1:]))


def expect_still(stage, name, camera, *options):
    data = (stage.folder / name).read_bytes()
    assert data.startswith(b"\x89PNG\r\n\x1a\n"), data[:8]
    size = int.from_bytes(data[16:20], "big"), int.from_bytes(data[20:24], "big")
    assert size == (WIDTH, HEIGHT), size
    seen = stage.look(name, camera, *options)
    assert len(seen) == 1, seen
    expect_pictures(seen, STILL_TOLERANCE)


def expect_movie(seen, facts, held_back=0):
    """Checks a movie of the virtual camera; returns the largest error of a frame's time in seconds."""
    stream, = facts["streams"]
    assert (stream["codec_name"], stream["profile"]) == ("h264", "Main"), stream
    assert (stream["width"], stream["height"]) == (WIDTH, HEIGHT), stream
    packets = facts["packets"]
    assert len(packets) == len(seen), f"{len(packets)} packets, {len(seen)} pictures"
    expect_pictures(seen, MOVIE_TOLERANCE)
    numbers = [picture.number for picture in seen]
    expect_rising(numbers)
    drawn = numbers[-1] - numbers[0] + 1
    print(f"{len(numbers)} of {drawn} frames")
    assert len(numbers) >= drawn / 2, f"{len(numbers)} of {drawn} frames: {numbers}"
    expect_key_frames(packets)
    return lateness([float(packet["pts_time"]) for packet in packets], numbers, held_back)


def expect_rising(values):
    assert all(before < after for before, after in zip(values, values[1:])), values


def expect_key_frames(packets):
    places = [place for place, packet in enumerate(packets) if "K" in packet["flags"]]
    assert places[0] == 0, places
    for before, after in zip(places, [*places[1:], len(packets)]):
        assert after - before <= LONGEST_KEY_FRAME_DISTANCE, places


def lateness(times, numbers, held_back):
    """The camera draws number N after N intervals.  The delay from there to the driver's time stamp depends on the
    load of the emulated machine.  Returns the largest deviation, without the frames that the camera held back."""
    expect_rising(times)
    ways = [time - number * INTERVAL for time, number in zip(times, numbers)]
    usual = statistics.median(ways)
    off = sorted(abs(way - usual) for way in ways)
    print(f"off by {1000 * statistics.median(off):.0f} ms, at most", *(f"{1000 * each:.0f}" for each in off[-4:]), "ms")
    worst = off[-1 - held_back]
    assert worst < 4 * INTERVAL, f"not in step: {list(zip(times, numbers))}"
    return worst


# -------------------------------------------------------------------- cases

def a_still_shows_what_the_camera_drew(stage):
    expect_still(stage, "still.png", 1)


def a_mirrored_still_shows_it_mirrored(stage):
    expect_still(stage, "mirrored.png", 2, "--mirrored")


def each_frame_of_a_movie_is_what_the_camera_drew_at_its_time(stage):
    facts = stage.facts("movie.mp4")
    off = expect_movie(stage.look("movie.mp4", 1), facts)
    duration = float(facts["format"]["duration"])
    # The times that decide which frame is last have the same error.
    assert abs(duration - SECONDS) <= INTERVAL + off, duration
    print(f"{duration} s")


def frames_of_other_numbers_and_of_another_camera_are_told_from_them(stage):
    for camera, *options in ((1, "--shift", "1"), (1, "--shift", "-1"), (1, "--mirrored"), (2,)):
        seen = stage.look("movie.mp4", camera, *options)
        passed = sum(picture.is_within(MOVIE_TOLERANCE) for picture in seen)
        print(f"camera {camera} {' '.join(options)}: {passed} of {len(seen)} pass")
        assert seen and passed < 0.1 * len(seen), f"{passed} of {len(seen)} pass: camera {camera} {options}"


def a_movie_with_a_pause_that_ends_with_the_camera_plays_and_keeps_the_time(stage):
    seen = stage.look("unplugged.mp4", 1)
    # The camera held two frames when it paused: drawn before the pause, sent after it.
    expect_movie(seen, stage.facts("unplugged.mp4"), held_back=2)
    longest = max(after.number - before.number for before, after in zip(seen, seen[1:]))
    assert longest > PAUSE * RATE / 2, f"no pause: {seen}"


CASES = [
    a_still_shows_what_the_camera_drew,
    a_mirrored_still_shows_it_mirrored,
    each_frame_of_a_movie_is_what_the_camera_drew_at_its_time,
    frames_of_other_numbers_and_of_another_camera_are_told_from_them,
    a_movie_with_a_pause_that_ends_with_the_camera_plays_and_keeps_the_time,
]


def main(out):
    report = Report(f"{out}/cases.txt", "a")
    with report.group("movie"):
        stage = Stage(out)
        for case in CASES:
            report.run(case, stage)


if __name__ == "__main__":
    main(*sys.argv[1:])
