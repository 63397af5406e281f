# SPDX-License-Identifier: MIT
"""Asks the panel's main thread for an answer again and again; prints the stacks of all threads if it is silent."""
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import threading
import time

sys.path.append(str(pathlib.Path(__file__).resolve().parent.parent / "system"))

# pylint: disable=wrong-import-position
from rig.processes import thread_facts

PAUSE = 0.2           # seconds between two questions
STACKS_PATIENCE = 90  # seconds for the debugger; it reads the symbols of a hundred libraries


def stacks(process):
    """What each thread of the process is doing, as text."""
    if shutil.which("gdb"):
        said = subprocess.run(["gdb", "-nx", "-batch", "-iex", "set debuginfod enabled off", "-p", str(process), "-ex",
                               "thread apply all backtrace"], check=False, text=True, stdin=subprocess.DEVNULL,
                              capture_output=True, errors="replace", timeout=STACKS_PATIENCE)
        return said.stdout + ("" if "Thread" in said.stdout else said.stderr)
    lines = ["gdb is missing, so there are only the threads' states; SIGABRT makes the panel write a report of its crash."]
    for number, name, function in thread_facts(process, "comm", "wchan"):
        lines.append(f"Thread {number} {name}: {function}")
    os.kill(process, signal.SIGABRT)
    os.kill(process, signal.SIGCONT)
    return "\n".join(lines) + "\n"


def is_running(process):
    try:
        with open(f"/proc/{process}/stat", encoding="utf-8", errors="replace") as file:
            return file.read().rsplit(")", 1)[1].split()[0] not in "ZX"
    except OSError:
        return False


class Watchdog:
    """Watches one process until it ends or the watchdog is closed."""

    def __init__(self, process, ask, limit, report):
        """ask(seconds) returns whether the main thread answered; report(text) gets the stacks, once."""
        self._process, self._ask, self._limit, self._report = process, ask, limit, report
        self._closing = threading.Event()
        self._longest = 0.0
        self._lock = threading.Lock()
        self.failure = None
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def close(self):
        self._closing.set()
        self._thread.join()

    def longest_wait(self):
        """The longest wait for an answer since the last call, in seconds."""
        with self._lock:
            longest, self._longest = self._longest, 0.0
        return longest

    def bark(self, failure):
        """Prints the stacks because of something that others have seen."""
        self.failure = failure
        self._report(f"{failure}\n{stacks(self._process)}")

    def _run(self):
        since = time.monotonic()
        while is_running(self._process) and not self._closing.is_set():
            asked = time.monotonic()
            answered = self._ask(max(self._limit - (asked - since), 0.05))
            now = time.monotonic()
            with self._lock:
                self._longest = max(self._longest, now - asked)
            if answered:
                since = now
            elif now - since >= self._limit and is_running(self._process) and not self._closing.is_set():
                self.bark(f"the main thread did not answer for {self._limit:g} s")
                return
            self._closing.wait(PAUSE)
