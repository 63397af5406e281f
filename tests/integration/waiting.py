# SPDX-License-Identifier: MIT
"""Waits for what a program does, and drives it, for the tests that use its window."""
import subprocess
import time

PATIENCE = 60  # seconds; sanitizers are slow


def wait_until(what, condition):
    end = time.monotonic() + PATIENCE
    while not (result := condition()):
        if time.monotonic() > end:
            raise AssertionError(f"still waiting for {what}")
        time.sleep(0.02)
    return result


def xdotool(*words):
    return subprocess.run(["xdotool", *map(str, words)], check=False, text=True, capture_output=True,
                          timeout=PATIENCE).stdout
