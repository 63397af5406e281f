#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The figures of a race, from logs whose figures are known.

usage: race_figures_test.py FOLDER-OF-THE-RACE"""
import contextlib
import io
import os
import struct
import sys
import tempfile
import time
import unittest

sys.dont_write_bytecode = True
if len(sys.argv) > 1:
    sys.path.insert(0, sys.argv.pop(1))
from racing import frames, programs, table  # noqa: E402
from racing.run import Figures, WatchedCost  # noqa: E402

MS = 1_000_000
PERIOD = 33 * MS


def run_of(count, first=0, cost=2 * MS):
    """Frames that are taken a millisecond after they are complete."""
    return [frames.Taken(first + at, at * PERIOD, at * PERIOD + MS, 500 * MS + at * cost) for at in range(count)]


class FiguresTest(unittest.TestCase):
    def read(self, *parts):
        content = b"".join(struct.pack("=4q", one.sequence, one.complete, one.taken, one.processor)
                           for part in parts for one in part)
        count = sum(map(len, parts))
        with tempfile.NamedTemporaryFile() as file:
            file.write(struct.pack("=Q", count) + content + bytes(320))
            file.flush()
            return frames.read_frames(file.name)

    def test_a_log_is_read_as_far_as_it_is_written(self):
        self.assertEqual(self.read(run_of(5)), run_of(5))
        self.assertEqual(frames.read_frames("/does/not/exist"), [])

    def test_of_several_streams_the_last_counts(self):
        self.assertEqual(self.read(run_of(7), run_of(4)), run_of(4))

    def test_the_cost_is_that_of_the_steady_state(self):
        dear_start = [frames.Taken(one.sequence, one.complete, one.taken, one.processor - 400 * MS) for one in run_of(30)]
        self.assertEqual(frames.cost(dear_start + run_of(90)[30:]), 2.0)
        self.assertIsNone(frames.cost(run_of(30)))

    def test_gaps_in_the_numbers_are_skipped_frames(self):
        self.assertEqual(frames.skipped(run_of(90)), 0)
        self.assertEqual(frames.skipped(run_of(40) + run_of(50, first=43)), 3)
        self.assertEqual(frames.skipped(run_of(20) + run_of(70, first=25)), 0, "before the steady state")

    def test_delays_are_from_the_frame_that_the_code_means(self):
        taken = run_of(100)
        seen = [(one.complete + 7 * MS, one.sequence % frames.CODES) for one in taken]
        # The 30 first pictures are no part of the steady state, though frames with their codes follow.
        self.assertEqual(frames.shown_delays(taken, seen), [7.0] * 70)
        self.assertEqual(frames.shown_delays(taken, []), [])

    def test_a_picture_that_was_not_shown_is_missing_in_the_share(self):
        taken = run_of(131)
        self.assertEqual(frames.share_shown(taken, [1.0] * 100), 100)
        self.assertEqual(frames.share_shown(taken, [1.0] * 75), 75)
        self.assertEqual(frames.share_shown(taken, [1.0] * 101), 100)

    def test_median_and_95_per_cent(self):
        self.assertEqual(frames.median_and_95(list(range(100, 0, -1))), (50.5, 96))
        self.assertEqual(frames.median_and_95([3.0]), (3.0, 3.0))
        self.assertEqual(frames.median_and_95([]), (None, None))


class WatchedCostTest(unittest.TestCase):
    def test_processor_time_is_shared_among_the_frames_of_the_steady_state(self):
        watched = WatchedCost(os.getpid())
        watched(frames.WARM_UP)  # not steady yet
        earliest = time.process_time()
        watched(frames.WARM_UP + 1)
        latest = time.process_time()
        while time.process_time() < latest + 0.2:
            pass
        watched(frames.WARM_UP + 11)
        self.assertGreaterEqual(watched.cost, 20)
        self.assertLessEqual(watched.cost, (time.process_time() - earliest) * 1000 / 10)

    def test_too_short_a_run_has_no_cost(self):
        watched = WatchedCost(os.getpid())
        self.assertIsNone(watched.cost)
        for _ in range(2):
            watched(frames.WARM_UP + 1)
            self.assertIsNone(watched.cost)


class TableTest(unittest.TestCase):
    def test_what_the_daemon_costs_has_a_column_of_its_own(self):
        mode = programs.MODES[0]
        printed = io.StringIO()
        with contextlib.redirect_stdout(printed):
            table.viewers([(mode, "ours", Figures(cost=2.0)), (mode, "by it", Figures(cost=2.0, daemon_cost=0.25))])
        rows = [[cell.strip() for cell in line.strip("|").split("|")] for line in printed.getvalue().split("\n")[:4]]
        self.assertEqual([row[rows[0].index("daemon's")] for row in rows[2:]], ["-", "0.25"])

    def test_each_figure_has_a_median_of_its_own(self):
        joined = table.median([Figures(cost=1.0, memory=9), Figures(cost=5.0), Figures(cost=2.0, memory=3, mirrored=True)])
        self.assertEqual((joined.cost, joined.memory, joined.mirrored, joined.delay), (2.0, 6, True, None))

    def test_ratios_are_to_our_program_in_the_same_stream(self):
        first, second = programs.MODES[:2]
        results = [(first, "ours", Figures(cost=2.0)), (first, "other", Figures(cost=5.0)),
                   (second, "other", Figures(cost=3.0)), (second, "ours", Figures(cost=4.0))]
        printed = io.StringIO()
        with contextlib.redirect_stdout(printed):
            table.viewers(results)
        rows = [[cell.strip() for cell in line.strip("|").split("|")] for line in printed.getvalue().split("\n")[2:6]]
        self.assertEqual([row[:4] for row in rows],
                         [["YUYV 1280x720", "ours", "2.00", "1.00"], ["YUYV 1280x720", "other", "5.00", "2.50"],
                          ["MJPEG 1280x720", "other", "3.00", "0.75"], ["MJPEG 1280x720", "ours", "4.00", "1.00"]])


class ProgramsTest(unittest.TestCase):
    def test_each_program_is_told_node_and_size(self):
        for mode in programs.MODES:
            for program in programs.viewers("/bin/panel", (1, 2)):
                words = " ".join(program.words(mode, "/dev/video7"))
                if program.file != "/bin/panel":  # it takes the first camera
                    self.assertIn("/dev/video7", words)
                self.assertIn(str(mode.width), words, program.name)
                self.assertIn(str(mode.height), words, program.name)

    def test_mjpeg_is_decoded_and_yuyv_is_not(self):
        yuyv, mjpeg = programs.MODES[:2]
        self.assertIn("jpegdec", programs.gst(mjpeg, "/dev/video0"))
        self.assertNotIn("jpegdec", programs.gst(yuyv, "/dev/video0"))


if __name__ == "__main__":
    unittest.main()
