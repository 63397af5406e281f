# SPDX-License-Identifier: MIT
"""Waiting for conditions.  The guest is ten times slower than a real machine, so timeouts are long."""
import time


class TimedOut(AssertionError):
    pass


def wait_until(what, condition, seconds=60, pause=0.05):
    """Waits for the condition; returns its first true result."""
    end = time.monotonic() + seconds
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > end:
            raise TimedOut(f"{seconds} s passed and still not: {what}")
        time.sleep(pause)
