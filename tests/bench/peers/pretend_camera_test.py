#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Shows the pretend camera to a minimal V4L2 program and compares what each of them says.

usage: pretend_camera_test.py FOLDER-OF-PROGRAMS"""
import os
import pathlib
import struct
import subprocess
import sys
import tempfile
import unittest

MODES = [("YUYV", 320, 240, 50), ("MJPG", 320, 240, 50), ("YUYV", 640, 360, 25)]
CODES = 64
PERIOD = 20_000_000  # nanoseconds of a frame at 50 a second
LATE = 5_000_000_000  # a busy machine


class Frame:
    def __init__(self, line):
        self.sequence, self.size, self.code, self.complete, self.taken = map(int, line.split()[1:])


class PretendCameraTest(unittest.TestCase):
    programs = pathlib.Path()

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        # Some character device: what matters is the path.
        self.node = self.folder / "video0"
        self.node.symlink_to("/dev/null")
        modes = [f"{fourcc}:{width}x{height}@{rate}" for fourcc, width, height, rate in MODES]
        self.camera = subprocess.Popen([self.programs / "pretend_camera", self.folder / "camera", *modes],
                                       stdout=subprocess.PIPE, text=True)
        self.addCleanup(self.camera.stdout.close)
        self.addCleanup(self.camera.wait)
        self.addCleanup(self.camera.kill)
        self.assertEqual(self.camera.stdout.readline(), "ready\n")

    def client(self, *words):
        around = os.environ | {"LD_PRELOAD": str(self.programs / "libpretend_camera_preload.so"),
                               "TAVELO_PEERS_NODE": str(self.node), "TAVELO_PEERS_CAMERA": str(self.folder / "camera"),
                               "TAVELO_PEERS_LOG": str(self.folder / "log")}
        return subprocess.Popen([self.programs / "pretend_camera_client", self.node, *map(str, words)], env=around,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def said(self, *words):
        told, complaint = (client := self.client(*words)).communicate()
        self.assertEqual((client.returncode, complaint), (0, ""))
        return told.splitlines()

    def frames(self, *words):
        lines = self.said("stream", *words)
        return lines[0].split(), [Frame(line) for line in lines if line.startswith("frame")], lines[-1]

    def test_offers_the_modes_that_it_was_given(self):
        lines = self.said("modes")
        self.assertEqual(lines[0], "driver uvcvideo")
        self.assertEqual(sorted(lines[1:]), sorted(f"mode {' '.join(map(str, mode))}" for mode in MODES))

    def check_numbers(self, frames, started, period):
        for before, frame in zip(frames, frames[1:]):
            self.assertGreater(frame.sequence, before.sequence)
        for frame in frames:
            self.assertEqual(frame.code, frame.sequence % CODES, "the picture has the number of its frame")
            due = started + (frame.sequence + 1) * period
            # The camera's time is told in microseconds.
            self.assertGreaterEqual(frame.complete, due - 1000, "no frame is early")
            self.assertLess(frame.complete, due + LATE)
            self.assertGreaterEqual(frame.taken, frame.complete)

    def test_yuyv_frames_are_numbered_and_in_time(self):
        start, frames, end = self.frames("YUYV", 320, 240, 80)
        self.assertEqual(start[1:5] + start[6:], ["320", "240", "YUYV", str(320 * 240 * 2), "50"])
        self.assertEqual(len(frames), 80)
        self.check_numbers(frames, int(start[5]), PERIOD)
        self.assertEqual({frame.size for frame in frames}, {320 * 240 * 2})
        self.assertEqual(end, "after the end nothing")

    def test_mjpeg_frames_are_pictures_with_their_numbers(self):
        start, frames, _ = self.frames("MJPG", 320, 240, 30)
        self.assertEqual(start[3], "MJPG")
        self.check_numbers(frames, int(start[5]), PERIOD)
        self.assertGreater(min(frame.size for frame in frames), 1000)
        self.assertLessEqual(max(frame.size for frame in frames), int(start[4]))

    def test_a_program_gets_the_nearest_size(self):
        start, frames, _ = self.frames("YUYV", 700, 400, 3)
        self.assertEqual(start[1:4] + start[6:], ["640", "360", "YUYV", "25"])
        self.check_numbers(frames, int(start[5]), 2 * PERIOD)

    def test_a_slow_program_misses_frames_and_sees_so(self):
        start, frames, _ = self.frames("YUYV", 320, 240, 8, 100)
        self.check_numbers(frames, int(start[5]), PERIOD)
        # Three buffers, one given back every 100 ms: of five frames four find none.
        self.assertGreater(frames[-1].sequence, 2 * len(frames))

    def test_the_log_has_what_the_program_saw(self):
        _, frames, _ = self.frames("YUYV", 320, 240, 20)
        content = (self.folder / "log").read_bytes()
        self.assertEqual(struct.unpack_from("=Q", content), (20,))
        logged = [struct.unpack_from("=4q", content, 8 + 32 * at) for at in range(20)]
        self.assertEqual([entry[0] for entry in logged], [frame.sequence for frame in frames])
        for entry, frame in zip(logged, frames):
            self.assertEqual(entry[1] // 1000, frame.complete // 1000)
            self.assertTrue(entry[1] <= entry[2] <= frame.taken)
        used = [entry[3] for entry in logged]
        self.assertTrue(0 < used[0] < used[-1])
        self.assertEqual(used, sorted(used))

    def test_one_program_streams_at_a_time(self):
        first = self.client("stream", "YUYV", 320, 240, 100_000)
        self.addCleanup(first.communicate)
        self.addCleanup(first.kill)
        self.assertTrue(first.stdout.readline().startswith("start"))
        second = self.client("stream", "MJPG", 320, 240, 1)
        self.assertEqual(second.communicate()[1], "REQBUFS: Device or resource busy\n")
        self.assertEqual(self.said("modes")[0], "driver uvcvideo", "others may ask meanwhile")
        first.kill()
        first.wait()
        _, frames, _ = self.frames("MJPG", 320, 240, 2)
        self.assertEqual(len(frames), 2, "a killed program leaves the camera free")

    def test_a_buffer_is_filled_once_and_a_program_notices_that_the_camera_is_gone(self):
        client = self.client("hold", "YUYV", 320, 240)
        self.addCleanup(client.kill)
        self.assertTrue(client.stdout.readline().startswith("start"))
        frames = [Frame(client.stdout.readline()) for _ in range(3)]
        self.assertEqual([frame.code for frame in frames], [frame.sequence % CODES for frame in frames])
        # Others are served meanwhile, for the time of several frames.
        for _ in range(10):
            self.said("modes")
        self.camera.kill()
        rest, complaint = client.communicate()
        self.assertEqual((rest, complaint), ("", "DQBUF: No such device\n"))

    def test_an_exported_buffer_has_the_frame_that_the_mapped_one_has(self):
        told = [line for line in self.said("export", "YUYV", 320, 240) if line.startswith("buffer")]
        self.assertEqual(sorted(told), [f"buffer {index} same" for index in range(3)])

    def test_calls_behave_as_a_drivers(self):
        for line in self.said("calls"):
            self.assertTrue(line.endswith(" yes"), line)


if __name__ == "__main__":
    PretendCameraTest.programs = pathlib.Path(sys.argv.pop(1))
    unittest.main()
