# SPDX-License-Identifier: MIT
"""What a run needs around the program: the camera, a screen, the probe that watches it."""
import contextlib
import os
import pathlib
import subprocess
import threading

SCREEN = "1920x1200x24"
LOOKS_A_SECOND = 400


@contextlib.contextmanager
def running(words, **options):
    """A helper of ours, ended with the block."""
    process = subprocess.Popen([*map(str, words)], text=True, **options)
    try:
        yield process
    finally:
        process.terminate()
        process.wait()


def first_line(process, expected):
    line = process.stdout.readline().strip()
    if line != expected:
        raise RuntimeError(f"{process.args[0]}: said {line!r}, not {expected!r}")


@contextlib.contextmanager
def camera(binaries, folder, modes):
    """The pretend camera; gives its socket."""
    link = pathlib.Path(folder) / "camera"
    words = [binaries / "pretend_camera", link, *(mode.option for mode in modes)]
    with running(words, stdout=subprocess.PIPE) as process:
        first_line(process, "ready")
        yield link, process.pid


@contextlib.contextmanager
def screen():
    """An X server of its own, with nothing on it; gives its display and process."""
    reading, writing = os.pipe()
    words = ["Xvfb", "-displayfd", writing, "-screen", 0, SCREEN, "-nolisten", "tcp"]
    with running(words, pass_fds=[writing], stderr=subprocess.DEVNULL) as process:
        os.close(writing)
        with os.fdopen(reading) as answer:
            number = answer.readline().strip()
        if not number:
            raise RuntimeError("Xvfb does not start")
        yield f":{number}", process.pid


class Probe:
    """Reads what screen_probe says while it runs."""

    def __init__(self, process):
        self.pid = process.pid
        self.seen = []  # (time in ns, code)
        self.places = []  # (width, mirrored)
        self._thread = threading.Thread(target=self._read, args=(process.stdout,))
        self._thread.start()

    def _read(self, lines):
        for line in lines:
            words = line.split()
            if words[0] == "bar":
                self.places.append((int(words[3]), words[4] == "mirrored"))
            else:
                self.seen.append((int(words[0]), int(words[1])))

    def join(self):
        self._thread.join()


@contextlib.contextmanager
def probe(binaries, display):
    words = [binaries / "screen_probe", LOOKS_A_SECOND]
    with contextlib.ExitStack() as ending:
        process = ending.enter_context(
            running(words, env={**os.environ, "DISPLAY": display}, stdout=subprocess.PIPE))
        first_line(process, "watching")
        watcher = Probe(process)
        try:
            yield watcher
        finally:
            process.terminate()
            watcher.join()


def environment(binaries, folder, node, link, display):
    """Of a racing program: a home of its own, no session bus, the camera."""
    home = pathlib.Path(folder)
    kept = {name: value for name, value in os.environ.items()
            if name not in ("DBUS_SESSION_BUS_ADDRESS", "WAYLAND_DISPLAY", "LD_PRELOAD")}
    kept |= {"HOME": str(home), "XDG_CONFIG_HOME": str(home / "config"), "XDG_RUNTIME_DIR": str(home),
             "XDG_CACHE_HOME": os.environ.get("XDG_CACHE_HOME", os.path.expanduser("~/.cache")),
             "LD_PRELOAD": str(binaries / "libpretend_camera_preload.so"), "TAVELO_PEERS_NODE": node,
             "TAVELO_PEERS_LOG": str(home / "frames"), "NO_AT_BRIDGE": "1"}
    if link:
        kept["TAVELO_PEERS_CAMERA"] = str(link)
    if display:
        kept["DISPLAY"] = display
    return kept
