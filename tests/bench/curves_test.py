#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What bench/curves draws of a report whose figures are known.

usage: curves_test.py CURVES"""
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

SVG = "{http://www.w3.org/2000/svg}"
CONTEXT = {"date": "2026-01-02T03:04:05+00:00", "host_name": "host", "num_cpus": 3, "mhz_per_cpu": 2100}


def benchmark(name, time, unit="us", **more):
    return {"name": name + "/process_time/real_time", "run_type": "iteration", "real_time": 9 * time, "cpu_time": time,
            "time_unit": unit, **more}


class CurvesTest(unittest.TestCase):
    curves = ""

    def run_with(self, benchmarks, *words):
        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder) / "report"
            file.write_text(json.dumps({"context": CONTEXT, "benchmarks": benchmarks}), encoding="utf-8")
            return subprocess.run([self.curves, file, *words], check=False, text=True, capture_output=True)

    def drawn(self, benchmarks, *words):
        done = self.run_with(benchmarks, *words)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return ElementTree.fromstring(done.stdout)

    @staticmethod
    def lines(picture):
        """The curves' points."""
        paths = [path.get("d") for path in picture.iter(SVG + "path") if path.get("fill") == "none"]
        return [[tuple(map(float, point.split())) for point in path[1:].split("L")] for path in paths]

    @staticmethod
    def texts(picture):
        return [text.text for text in picture.iter(SVG + "text")]

    def test_a_point_is_where_its_figures_are(self):
        # 1000x1000 at 30 frames a second: 30 million pixels.  1 ms a frame: 3 per cent.
        picture = self.drawn([benchmark("cpu/YUYV/1000x1000/whole", 1000), benchmark("cpu/YUYV/2000x1000/whole", 2, "ms")])
        ((first, second),) = self.lines(picture)
        # Axes from 20 to 100 million and from 2 to 10 per cent, both logarithmic, 490 and 340 long.
        self.assertAlmostEqual(first[0], 70 + 490 * 0.2519, delta=0.2)
        self.assertAlmostEqual(first[1], 420 - 340 * 0.2519, delta=0.2)
        self.assertAlmostEqual(second[0], 70 + 490 * 0.6826, delta=0.2)
        self.assertAlmostEqual(second[1], 420 - 340 * 0.6826, delta=0.2)
        for tick in ("20", "50", "100", "2 %", "5 %", "10 %"):
            self.assertIn(tick, self.texts(picture))

    def test_each_stream_and_purpose_has_a_curve_and_a_name(self):
        picture = self.drawn([benchmark(f"cpu/{form}/{size}/{purpose}", time)
                              for form in ("YUYV", "MJPG") for purpose in ("whole", "shown", "beside_a_movie")
                              for size, time in (("640x480", 500), ("1280x720", 1500), ("1920x1080", 4000))])
        self.assertEqual([len(line) for line in self.lines(picture)], [3] * 6)
        for line in self.lines(picture):
            self.assertEqual(line, sorted(line), "from the smallest picture up")
        for name in ("MJPEG, as much as is shown", "YUYV, beside a movie"):
            self.assertIn(name, self.texts(picture))

    def test_says_which_machine_and_day(self):
        picture = self.drawn([benchmark("cpu/YUYV/640x480/whole", 500)])
        self.assertIn("2026-01-02, 3 processors of 2100 MHz", self.texts(picture))

    def test_a_name_that_looks_like_markup_is_shown_as_it_is(self):
        self.assertIn("MJPEG, <b>", self.texts(self.drawn([benchmark("cpu/MJPG/640x480/<b>", 500)])))

    def test_draws_only_the_renderer_that_is_asked_for(self):
        both = [benchmark("cpu/YUYV/640x480/whole", 500), benchmark("gl/YUYV/640x480/whole", 700),
                benchmark("gl/YUYV/1280x720/whole", 900)]
        self.assertEqual([len(line) for line in self.lines(self.drawn(both))], [1])
        self.assertEqual([len(line) for line in self.lines(self.drawn(both, "gl"))], [2])

    def test_of_repetitions_the_median_is_drawn(self):
        once = self.lines(self.drawn([benchmark("cpu/YUYV/640x480/whole", 500)]))
        often = self.lines(self.drawn([benchmark("cpu/YUYV/640x480/whole", time) for time in (900, 500, 100)] +
                                      [benchmark("cpu/YUYV/640x480/whole", 7000) | {"run_type": "aggregate"}]))
        self.assertEqual(len(often[0]), 1)
        self.assertEqual(once, often)

    def test_what_could_not_be_measured_is_left_out(self):
        picture = self.drawn([benchmark("cpu/YUYV/640x480/whole", 500), benchmark("cpu/YUYV/1280x720/whole", 0, error_occurred=True)])
        self.assertEqual([len(line) for line in self.lines(picture)], [1])

    def test_complains_in_one_line(self):
        for done in (self.run_with([]), self.run_with([benchmark("cpu/YUYV/640x480/whole", 5)], "vulkan"),
                     subprocess.run([self.curves, "/does/not/exist"], check=False, text=True, capture_output=True)):
            self.assertEqual((done.returncode, done.stdout), (1, ""))
            self.assertTrue(re.fullmatch(r"curves: [^\n]+\n", done.stderr), done.stderr)


if __name__ == "__main__":
    CurvesTest.curves = sys.argv.pop(1)
    unittest.main()
