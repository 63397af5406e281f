# SPDX-License-Identifier: MIT
"""Waiting for conditions.  The guest is ten times slower than a real machine, so limits are generous."""
import time


class TimedOut(AssertionError):
    pass


def wait_until(what, condition, seconds=60, pause=0.05):
    """Returns the condition's first result that counts as true."""
    end = time.monotonic() + seconds
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > end:
            raise TimedOut(f"{seconds} s passed and still not: {what}")
        time.sleep(pause)
