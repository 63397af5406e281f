# SPDX-License-Identifier: MIT
"""Runs cases one after another and writes what came out, line by line, so that nothing is lost if the guest dies."""
import time
import traceback


class Skipped(Exception):
    """Raised by a case that cannot run here, with the reason."""


class Report:
    def __init__(self, path):
        self._file = open(path, "w", encoding="utf-8")
        self.failed = 0

    def run(self, case, *arguments):
        name = case.__name__
        print(f"  ...     {name}", flush=True)
        started = time.monotonic()
        outcome = "passed"
        try:
            case(*arguments)
        except Skipped as reason:
            outcome = "skipped"
            print(f"          {reason}")
        except Exception:  # a case may fail in any way, and the next one runs all the same
            outcome = "failed"
            self.failed += 1
            traceback.print_exc()
        print(f"  {outcome}  {name} ({time.monotonic() - started:.1f} s)", flush=True)
        self._file.write(f"{outcome} {name}\n")
        self._file.flush()
        return outcome == "passed"
