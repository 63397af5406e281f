#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What a command sees in the mount namespace of pretend-usb, and what it leaves outside.

usage: pretend_usb_test.py PRETEND-USB PRETEND-CAMERA"""
import os
import pathlib
import subprocess
import sys
import unittest

SKIPPED = 77


def namespaces_are_allowed():
    return os.getuid() == 0 and subprocess.run(
        ["unshare", "--mount", "mount", "-t", "tmpfs", "tmpfs", "/mnt"], check=False, capture_output=True).returncode == 0


class PretendUsbTest(unittest.TestCase):
    words = []

    def inside(self, command):
        result = subprocess.run([*self.words, "bash", "-c", command], check=False, text=True, capture_output=True)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return result.stdout.splitlines()

    def test_there_is_one_camera(self):
        self.assertEqual(self.inside("ls /sys/class/video4linux; ls -d /dev/video*"), ["video0", "/dev/video0"])
        self.assertEqual(self.inside("cat /sys/class/video4linux/video0/device/../product"), ["Pretend Camera"])
        self.assertEqual(self.inside("stat -c '%F %t:%T' /dev/video0"), ["character special file 51:0"])

    def test_without_the_library_the_node_does_not_open(self):
        self.assertEqual(self.inside("cat /dev/video0 2>/dev/null || echo refused"), ["refused"])
        # Not even if a real camera has that number.
        self.assertEqual(self.inside("awk '$2 == \"/dev\" && $4 ~ /nodev/ { print $3 }' /proc/mounts"), ["tmpfs"])

    def test_the_rest_of_the_system_is_there(self):
        self.assertEqual(self.inside("echo x >/dev/null; head -c 3 /dev/zero | wc -c"), ["3"])
        self.assertCountEqual(self.inside("ls /sys/devices/system/cpu"), os.listdir("/sys/devices/system/cpu"))

    def test_outside_nothing_changes(self):
        before = sorted(os.listdir("/dev")), sorted(os.listdir("/sys/class"))
        self.inside("true")
        self.assertEqual((sorted(os.listdir("/dev")), sorted(os.listdir("/sys/class"))), before)
        self.assertFalse(pathlib.Path("/sys/devices/pretend_hcd.0").exists())


if __name__ == "__main__":
    PretendUsbTest.words = [sys.argv.pop(1), sys.argv.pop(1)]
    if not namespaces_are_allowed():
        print("needs root and mount namespaces")
        sys.exit(SKIPPED)
    unittest.main()
