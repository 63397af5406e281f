#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What bench/growth draws of a report whose figures are known.

usage: growth_test.py GROWTH"""
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

SVG = "{http://www.w3.org/2000/svg}"
CONTEXT = {"date": "2026-01-02T03:04:05+00:00", "num_cpus": 3, "mhz_per_cpu": 2100}


def benchmark(name, time, unit="us", **more):
    return {"name": name, "run_type": "iteration", "real_time": time, "cpu_time": 9 * time, "time_unit": unit, **more}


# 180 requests: 180 ms for each millisecond of answer time.  Half a millisecond for each device.
REPORT = [benchmark("binding/answer_us:0", 1000), benchmark("binding/answer_us:1000", 181, "ms"),
          benchmark("binding/answer_us:2000", 361e6, "ns"), benchmark("probing/devices:1", 500),
          benchmark("probing/devices:101", 50.5, "ms"), benchmark("listing/cameras:1", 1000), benchmark("listing/cameras:16", 4, "ms")]


class GrowthTest(unittest.TestCase):
    growth = ""

    def run_with(self, benchmarks):
        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder) / "report"
            file.write_text(json.dumps({"context": CONTEXT, "benchmarks": benchmarks}), encoding="utf-8")
            return subprocess.run([self.growth, file], check=False, text=True, capture_output=True)

    def drawn(self, benchmarks):
        done = self.run_with(benchmarks)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return ElementTree.fromstring(done.stdout)

    @staticmethod
    def texts(picture):
        return [text.text for text in picture.iter(SVG + "text")]

    @staticmethod
    def dots(picture):
        return [(float(dot.get("cx")), float(dot.get("cy"))) for dot in picture.iter(SVG + "circle")]

    def test_each_line_has_its_slope(self):
        texts = self.texts(self.drawn(REPORT))
        for slope in ("180 ms a ms of answer time", "0.5 ms a device", "0.2 ms a camera"):
            self.assertIn(slope, texts)

    def test_a_point_is_where_its_figures_are(self):
        dots = self.dots(self.drawn(REPORT))
        self.assertEqual(len(dots), 7)
        # The first panel is 225 by 170, from (55, 260) to (280, 90), up to 2 ms of answer time and 500 ms.
        for (x, y), (right, up) in zip(dots, ((0, 1 / 500), (0.5, 181 / 500), (1, 361 / 500))):
            self.assertAlmostEqual(x, 55 + 225 * right, delta=0.1)
            self.assertAlmostEqual(y, 260 - 170 * up, delta=0.1)

    def test_of_repetitions_the_median_is_drawn(self):
        often = [benchmark("listing/cameras:16", 9, "ms"), benchmark("listing/cameras:16", 2, "ms"),
                 benchmark("listing/cameras:16", 70, "ms") | {"run_type": "aggregate"}]
        self.assertEqual(self.dots(self.drawn(REPORT)), self.dots(self.drawn(REPORT + often)))

    def test_says_which_machine_and_day(self):
        self.assertIn("2026-01-02, 3 processors of 2100 MHz", self.texts(self.drawn(REPORT)))

    def test_complains_in_one_line(self):
        for done in (self.run_with([]), self.run_with(REPORT[:-1]),
                     subprocess.run([self.growth, "/does/not/exist"], check=False, text=True, capture_output=True)):
            self.assertEqual((done.returncode, done.stdout), (1, ""))
            self.assertTrue(re.fullmatch(r"growth: [^\n]+\n", done.stderr), done.stderr)


if __name__ == "__main__":
    GrowthTest.growth = sys.argv.pop(1)
    unittest.main()
