# SPDX-License-Identifier: MIT
"""Programs that run beside a case."""
import contextlib
import pathlib
import subprocess
import threading

LIMIT = 180  # seconds


@contextlib.contextmanager
def running(command, **how):
    """A process whose output the case reads line by line.  It ends with the case, and after LIMIT: a line that never
    comes, or a case that fails, must not hold up all the others."""
    process = subprocess.Popen(command, stdout=subprocess.PIPE, text=True, **how)
    limit = threading.Timer(LIMIT, process.kill)
    limit.start()
    try:
        yield process
    finally:
        limit.cancel()
        process.kill()
        process.wait()
        process.stdout.close()


def thread_names(process):
    """The names of a process's threads; one may end while they are read."""
    names = set()
    for task in pathlib.Path(f"/proc/{process}/task").iterdir():
        with contextlib.suppress(OSError):
            names.add((task / "comm").read_text(encoding="utf-8").strip())
    return names
