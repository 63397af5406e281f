#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""taveloctl with pretended cameras that are like one in a camera pack.

Usage: like_program_test.py TAVELOCTL
"""
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

PROGRAM = os.path.abspath(sys.argv.pop(1))


class Like(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.pack = self.folder / "pack.json"
        self.printed("--virtual-cameras", "2", "-c", "2", "probe", "--pack", self.pack)

    def call(self, *words):
        return subprocess.run([PROGRAM, *map(str, words)], capture_output=True, text=True, timeout=60, check=False,
                              env={"XDG_CONFIG_HOME": str(self.folder), "PATH": "/usr/bin:/bin"})

    def printed(self, *words):
        done = self.call(*words)
        self.assertEqual((done.returncode, done.stderr), (0, ""), words)
        return done.stdout

    def test_one_camera_is_like_the_pack(self):
        cameras = json.loads(self.printed("--like", self.pack, "--json", "list"))["cameras"]
        self.assertEqual([camera["name"] for camera in cameras], ["Tavelo Virtual Camera 2"])
        self.assertEqual(self.printed("--like", self.pack, "get", "power-line-frequency"), "60hz\n", "as camera 2, not as 1")
        again = self.folder / "again.json"
        self.printed("--like", self.pack, "probe", "--pack", again)
        first, second = (json.loads(path.read_text(encoding="utf-8")) for path in (self.pack, again))
        self.assertEqual(second, first)

    def test_several_are_numbered(self):
        text = self.printed("--virtual-cameras", "3", "--like", self.pack, "list")
        self.assertEqual(text.count("Tavelo Virtual Camera 2"), 3)
        self.assertEqual(len({line for line in text.splitlines() if "identifier" in line}), 3)

    def test_a_file_that_is_no_pack_is_one_line(self):
        for path, reason in ((self.folder / "missing.json", "there is no such file"), (pathlib.Path(PROGRAM), "")):
            done = self.call("--like", path, "list")
            self.assertEqual((done.returncode, done.stdout), (1, ""))
            self.assertEqual(done.stderr.count("\n"), 1, done.stderr)
            self.assertIn(f"taveloctl: {path}: {reason}", done.stderr)

    def test_a_word_is_completed_from_the_cameras_of_the_pack(self):
        told = self.printed("complete", "--like", self.pack, "get", "power-line")
        self.assertEqual(told, "power-line-frequency\t60hz\n")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
