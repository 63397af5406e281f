# SPDX-License-Identifier: MIT
"""Figures of processes and of the machine, from /proc."""
import os
import pathlib
import subprocess
import time

BUFFERS = "memfd:pretend-camera-buffers"
TICK = os.sysconf("SC_CLK_TCK")


def is_alive(pid):
    try:
        return os.waitid(os.P_PID, pid, os.WEXITED | os.WNOHANG | os.WNOWAIT) is None
    except ChildProcessError:
        return False


def memory(pid):
    """Resident megabytes without the camera's buffers, which are a driver's in real life."""
    resident, counts = 0, True
    try:
        lines = pathlib.Path(f"/proc/{pid}/smaps").read_text(encoding="utf-8", errors="replace").splitlines()
    except (FileNotFoundError, ProcessLookupError):
        return None
    for line in lines:
        name, _, rest = line.partition(" ")
        if not name.endswith(":"):
            counts = BUFFERS not in rest
        elif name == "Rss:" and counts:
            resident += int(rest.split()[0])
    return resident / 1024 if resident else None


def processor_nanoseconds(pid):
    """Of all threads, finer than /proc tells."""
    whole_process = 2  # the kernel's number of the clock that counts what was scheduled
    return time.clock_gettime_ns(~pid << 3 | whole_process)


def processor_seconds(pid):
    try:
        fields = pathlib.Path(f"/proc/{pid}/stat").read_text(encoding="utf-8").rpartition(")")[2].split()
    except (FileNotFoundError, ProcessLookupError):
        return 0
    return (int(fields[11]) + int(fields[12])) / TICK


def machine_seconds():
    """Busy and all, of all processors."""
    numbers = [int(word) for word in pathlib.Path("/proc/stat").read_text(encoding="utf-8").split("\n", 1)[0].split()[1:9]]
    idle = numbers[3] + numbers[4]
    return (sum(numbers) - idle) / TICK, sum(numbers) / TICK


class Load:
    """What the rest of the machine does during a run."""

    def __init__(self, helpers):
        self._helpers = helpers
        self._before = [processor_seconds(pid) for pid in helpers]
        self._busy, self._all = machine_seconds()

    def others(self, program):
        """In per cent of the machine: neither the program nor the helpers."""
        busy, total = machine_seconds()
        ours = processor_seconds(program) + sum(
            processor_seconds(pid) - before for pid, before in zip(self._helpers, self._before))
        return max(0.0, 100 * (busy - self._busy - ours) / max(1e-9, total - self._all))


def frames_of_movie(movie):
    words = ["ffprobe", "-v", "error", "-select_streams", "v:0", "-count_packets", "-show_entries",
             "stream=nb_read_packets", "-of", "csv=p=0", movie]
    told = subprocess.run(words, check=False, text=True, capture_output=True).stdout.strip().rstrip(",")
    return int(told) if told.isdigit() else 0
