# SPDX-License-Identifier: MIT
"""Programs that run beside a test."""
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


def thread_facts(process, *files):
    """(number, contents of these files of /proc) of each thread of a process; one that ends meanwhile is left out."""
    facts = []
    for task in sorted(pathlib.Path(f"/proc/{process}/task").iterdir()):
        with contextlib.suppress(OSError):
            facts.append((task.name, *((task / file).read_text(encoding="utf-8", errors="replace").strip() for file in files)))
    return facts


def thread_names(process):
    return {name for _, name in thread_facts(process, "comm")}
