# SPDX-License-Identifier: MIT
"""Runs cases in turn and writes each result immediately, so that nothing is lost if the guest dies."""
import contextlib
import time
import traceback


class Skipped(Exception):
    """Raised by a case that cannot run here, with the reason."""


class Report:
    def __init__(self, path, mode="w"):
        self._file = open(path, mode, encoding="utf-8")
        self._group = ""
        self.failed = 0

    def run(self, case, *arguments):
        name = case.__name__
        started = time.monotonic()
        outcome = "passed"
        try:
            case(*arguments)
        except Skipped as reason:
            outcome = "skipped"
            print(reason)
        except Exception:  # a case may fail in any way; continue with the next one
            outcome = "failed"
            traceback.print_exc()
        self._write(outcome, name, time.monotonic() - started)

    @contextlib.contextmanager
    def group(self, name):
        """Context of cases that share a stage; an error in its setup counts as a failed case."""
        self._group = name
        try:
            yield
        except Exception:  # continue with the next group
            traceback.print_exc()
            self._write("failed", "stage", 0)

    def _write(self, outcome, name, seconds):
        self.failed += outcome == "failed"
        name = f"{self._group}/{name}"
        print(f"{outcome} {name} ({seconds:.1f} s)", flush=True)
        self._file.write(f"{outcome} {name}\n")
        self._file.flush()
