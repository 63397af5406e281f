#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What a call of taveloctl costs: scripts call it often, so it must not load what it does not use.

Usage: cost_test.py TAVELOCTL
"""
import os
import re
import shutil
import subprocess
import sys
import unittest

PROGRAM = os.path.abspath(sys.argv.pop(1))
CALLS = 20  # the cheapest counts, so that other programs do not


def cost(*call):
    """Of the cheapest call: processor time in ms, and memory in MB."""
    times, sizes = [], []
    for _ in range(CALLS):
        # The kernel counts the memory that a process had before it was replaced: time(1) has little.  Its own time is
        # under 1 ms.
        process = subprocess.Popen(["time", "--format=%M", *call], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        told = process.stderr.read()
        process.stderr.close()
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        times.append(1000 * (usage.ru_utime + usage.ru_stime))
        sizes.append(int(told.split()[-1]) / 1024)
    return min(times), min(sizes), process.returncode


class Cost(unittest.TestCase):
    def assert_cost(self, call, most_time, most_memory):
        time, memory, status = cost(PROGRAM, *call)
        print(f"taveloctl {' '.join(call)}: {time:.1f} ms of processor time, {memory:.1f} MB", flush=True)
        self.assertEqual(status, 0)
        self.assertLess(time, most_time)
        self.assertLess(memory, most_memory)

    # An optimised build on a machine of 2020 needs 7 ms and 13 MB; the bounds are for slower ones and other builds.

    def test_reading_one_value_is_cheap(self):
        if shutil.which("v4l2-ctl"):
            print("v4l2-ctl --version: %.1f ms of processor time, %.1f MB" % cost("v4l2-ctl", "--version")[:2], flush=True)
        self.assert_cost(["--virtual-cameras", "8", "-c", "1", "get", "brightness"], 30, 20)

    def test_listing_eight_cameras_is_cheap(self):
        self.assert_cost(["--virtual-cameras", "8", "list"], 50, 20)

    def test_no_library_is_loaded_that_only_a_window_or_a_movie_needs(self):
        told = subprocess.run([PROGRAM], env={**os.environ, "LD_TRACE_LOADED_OBJECTS": "1"}, capture_output=True, text=True,
                              check=True, timeout=60).stdout
        libraries = re.findall(r"^\s*(?:/\S*/)?(lib[^\s/]+?)\.so", told, re.MULTILINE)
        self.assertIn("libQt6Core", libraries)
        self.assertLess(len(libraries), 40, libraries)
        for unwanted in libraries:
            self.assertNotRegex(unwanted, r"^lib(Qt6(?!Core|DBus)|av|sw|x264|GL|EGL|X11|wayland|vulkan|drm|turbojpeg)")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
