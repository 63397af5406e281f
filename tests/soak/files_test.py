#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What counts as a still or movie that can be read."""
import pathlib
import struct
import subprocess
import sys
import tempfile
import unittest
import zlib

from files import check, movie_facts, still_fault


def piece(kind, body):
    return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))


def png(width, height, rows):
    head = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + piece(b"IHDR", head) + piece(b"IDAT", zlib.compress(rows)) + piece(b"IEND", b"")


class FilesTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def fault_of(self, data):
        file = self.folder / "still.png"
        file.write_bytes(data)
        return still_fault(file)

    def test_a_whole_still_has_no_fault_and_any_damage_is_one(self):
        whole = png(4, 3, bytes(3 * (1 + 3 * 4)))
        self.assertIsNone(self.fault_of(whole))
        for length in range(len(whole)):
            self.assertIsNotNone(self.fault_of(whole[:length]), f"the first {length} bytes")
        for place in range(len(whole)):
            self.assertIsNotNone(self.fault_of(whole[:place] + bytes([whole[place] ^ 1]) + whole[place + 1:]), place)
        self.assertEqual(self.fault_of(png(4, 4, bytes(3 * (1 + 3 * 4)))), "pixels are missing")
        self.assertEqual(still_fault(self.folder / "none.png"), "No such file or directory")

    def test_a_movie_is_counted_and_half_of_one_is_not_readable(self):
        file = self.folder / "movie.mp4"
        subprocess.run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", "color=s=64x64:r=30:d=1", "-c:v", "libx264", file], check=True)
        self.assertEqual(movie_facts(file), (30, 1.0, None))
        self.assertEqual(check([file], [])[0], [])
        data = file.read_bytes()
        for damaged in (data[:len(data) // 2], b""):
            file.write_bytes(damaged)
            pictures, _, reason = movie_facts(file)
            self.assertEqual(pictures, 0)
            self.assertTrue(reason)
            self.assertEqual(len(check([file], [])[0]), 1)


if __name__ == "__main__":
    sys.exit(unittest.main())
