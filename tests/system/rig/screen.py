# SPDX-License-Identifier: MIT
"""A virtual X server with its mouse; pixels are read directly from its memory."""
import mmap
import os
import struct
import subprocess
import zlib


class Screen:
    def __init__(self, width=1280, height=800):
        folder = "/run/screen"
        os.makedirs(folder, exist_ok=True)
        read_end, write_end = os.pipe()
        self._server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_end), "-screen", "0", f"{width}x{height}x24", "-noreset",
             "-fbdir", folder, "-nocursor", "-nolisten", "tcp"],
            pass_fds=[write_end], stderr=subprocess.DEVNULL,
        )
        os.close(write_end)
        with os.fdopen(read_end) as answer:
            number = answer.readline().strip()  # printed once the server is ready
        if not number:
            raise RuntimeError("Xvfb does not start")
        self.display = f":{number}"
        os.environ["DISPLAY"] = self.display
        with open(f"{folder}/Xvfb_screen0", "rb") as file:
            self._memory = mmap.mmap(file.fileno(), 0, prot=mmap.PROT_READ)
        # An XWD file: a header of big-endian words, a colour map, then the pixels as blue, green, red, unused.
        words = struct.unpack(">25I", self._memory[:100])
        self.width, self.height, self._stride = words[4], words[5], words[12]
        self._offset = words[0] + 12 * words[19]

    def close(self):
        self._memory.close()
        self._server.terminate()
        self._server.wait()

    def pixel(self, x, y):
        """(red, green, blue)"""
        at = self._offset + int(y) * self._stride + 4 * int(x)
        blue, green, red = self._memory[at:at + 3]
        return red, green, blue

    def mean(self, x, y, width, height):
        """The mean colour of a rectangle."""
        rows = list(self._rows(x, y, width, height))
        count = width * height
        return tuple(sum(sum(row[channel::4]) for row in rows) / count for channel in (2, 1, 0))

    def brightest(self, x, y, width, height):
        """The largest channel value in a rectangle."""
        return max(max(max(row[channel::4]) for channel in (0, 1, 2)) for row in self._rows(x, y, width, height))

    def bytes(self, x, y, width, height):
        return b"".join(self._rows(x, y, width, height))

    def _rows(self, x, y, width, height):
        for row in range(int(y), int(y) + height):
            at = self._offset + row * self._stride + 4 * int(x)
            yield self._memory[at:at + 4 * width]

    def save(self, path):
        """Writes the screen to a PNG file, for debugging."""
        lines = []
        for row in self._rows(0, 0, self.width, self.height):
            line = bytearray(3 * self.width)
            line[0::3], line[1::3], line[2::3] = row[2::4], row[1::4], row[0::4]
            lines.append(line)
        save_picture(path, self.width, lines)


def save_picture(path, width, lines):
    """Writes lines of red, green, blue to a PNG file."""
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    header = struct.pack(">IIBBBBB", width, len(lines), 8, 2, 0, 0, 0)
    data = zlib.compress(b"".join(b"\0" + line for line in lines), 1)
    with open(path, "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", data) + chunk(b"IEND", b""))


def xdotool(*arguments):
    """Sends real input events and queries the window system."""
    words = [str(argument) for argument in arguments]
    return subprocess.run(["xdotool", *words], check=True, capture_output=True, text=True, timeout=60).stdout
