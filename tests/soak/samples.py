# SPDX-License-Identifier: MIT
"""What a process holds, read from /proc again and again."""
import csv
import dataclasses
import os
import threading
import time


@dataclasses.dataclass(frozen=True)
class Sample:
    seconds: float     # since the start
    memory: float      # resident, in MB
    descriptors: int
    threads: int
    answer: float      # the longest answer of the window since the sample before, in ms
    starved: float     # how long the main thread waited for a processor since the sample before, in ms
    rest: bool         # taken at rest, so that it can be compared with others


def starved_so_far(process):
    """In ms; 0 if the kernel does not count it."""
    try:
        with open(f"/proc/{process}/task/{process}/schedstat", encoding="utf-8") as file:
            return int(file.read().split()[1]) / 1e6
    except FileNotFoundError:
        return 0.0


def read(process, started, answer=0.0, starved=0.0, rest=False):
    with open(f"/proc/{process}/status", encoding="utf-8", errors="replace") as file:
        facts = dict(line.split(":", 1) for line in file)
    return Sample(round(time.monotonic() - started, 2), int(facts["VmRSS"].split()[0]) / 1024,
                  len(os.listdir(f"/proc/{process}/fd")), int(facts["Threads"]), round(1000 * answer, 1), round(starved, 1), rest)


class Sampler:
    """Takes samples on a thread of its own until it is closed or the process ends."""

    def __init__(self, process, watchdog, pause):
        self.samples = []
        self._process, self._watchdog, self._pause = process, watchdog, pause
        self._started = time.monotonic()
        self._closing = threading.Event()
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def close(self):
        self._closing.set()
        self._thread.join()

    def _run(self):
        starved = 0.0
        try:
            while not self._closing.wait(self._pause):
                before, starved = starved, starved_so_far(self._process)
                self.samples.append(read(self._process, self._started, self._watchdog.longest_wait(), starved - before))
        except (OSError, KeyError, ValueError):
            pass  # it ended, and others say why

    def at_rest(self):
        """Takes one once threads and descriptors have stayed the same for a second, or have not for ten."""
        end = time.monotonic() + 10
        latest = [read(self._process, self._started, rest=True)]
        while time.monotonic() < end:
            time.sleep(0.25)
            latest.append(read(self._process, self._started, rest=True))
            if len(latest) > 4 and len({(one.threads, one.descriptors) for one in latest[-5:]}) == 1:
                break
        self.samples.append(latest[-1])

    def write(self, path):
        with open(path, "w", encoding="utf-8", newline="") as file:
            table = csv.writer(file)
            table.writerow(field.name for field in dataclasses.fields(Sample))
            table.writerows(dataclasses.astuple(one) for one in self.samples)
