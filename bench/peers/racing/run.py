# SPDX-License-Identifier: MIT
"""One run of one program."""
import contextlib
import dataclasses
import os
import signal
import subprocess
import tempfile
import time

from . import frames, pipewire, processes, stage

PATIENCE = 20  # seconds for a program's start, beyond the frames
LAST_WORDS = 3  # seconds between asking a program to end and killing it


@dataclasses.dataclass
class Figures:
    """A figure that could not be measured is None."""
    cost: float = None  # ms a frame
    daemon_cost: float = None  # the same of PipeWire's daemon, if the frames come by it
    whole_cost: float = None  # the same with start and end
    delay: float = None  # ms
    delay_95: float = None
    shown: float = None  # per cent
    skipped: int = None
    memory: float = None  # MB
    first_picture: float = None  # ms
    width: int = None  # of the picture on the screen
    mirrored: bool = None
    other_load: float = None  # per cent of the machine
    movie_frames: int = None
    movie_bytes: int = None  # a frame


class Failed(Exception):
    """The program did not show or record what it should; says why."""


def end(process):
    """Ends the program and returns its resource usage."""
    for how in (signal.SIGTERM, signal.SIGKILL):
        patience = time.monotonic() + LAST_WORDS
        while time.monotonic() < patience:
            pid, _, usage = os.wait4(process.pid, os.WNOHANG)
            if pid:
                process.returncode = 0  # it is not there to wait for
                return usage
            with contextlib.suppress(ProcessLookupError):
                process.send_signal(how)
                how = 0
            time.sleep(0.02)
    raise Failed("it cannot be killed")


def wait_for(process, log, count, rate, *actions):
    """Until so many frames were taken; calls each action with the number so far, again and again."""
    patience = time.monotonic() + PATIENCE + 2 * count / rate
    while (taken := len(frames.read_frames(log))) < count:
        if time.monotonic() > patience:
            raise Failed(f"took {taken} of {count} frames in time")
        if not processes.is_alive(process.pid):
            raise Failed(f"ended after {taken} of {count} frames")
        for action in actions:
            action(taken)
        time.sleep(0.05)


class Click:
    """Clicks once, as soon as the picture is there."""

    def __init__(self, program, probe, display):
        self._place, self._probe, self._display = program.click, probe, display

    def __call__(self, _taken):
        if not self._place or not self._probe.places:
            return
        x, y = self._place
        self._place = ()
        subprocess.run(["xdotool", "mousemove", str(x), str(y), "click", "1"], check=False,
                       env={**os.environ, "DISPLAY": self._display})


class WatchedCost:
    """Processor time of a program that does not take the frames itself, so that their log does not tell it."""

    def __init__(self, pid):
        self._pid, self._samples = pid, []

    def __call__(self, taken):
        if taken > frames.WARM_UP:
            self._samples.append((taken, processes.processor_nanoseconds(self._pid)))

    @property
    def cost(self):
        """Milliseconds for each frame of the steady state; None if it was too short to tell."""
        if len(self._samples) < 2:
            return None
        (first, before), (last, after) = self._samples[0], self._samples[-1]
        return (after - before) / frames.MS / (last - first) if last > first else None


def view(program, mode, race):
    """Shows `race.frames` frames."""
    with contextlib.ExitStack() as ending:
        folder = ending.enter_context(tempfile.TemporaryDirectory(prefix="race-"))
        display, server = ending.enter_context(stage.screen())
        probe = ending.enter_context(stage.probe(race.binaries, display)) if race.link else None
        around = stage.environment(race.binaries, folder, race.node, race.link, display)
        own_log = log = around["TAVELO_PEERS_LOG"]
        helpers = [server, *([probe.pid] if probe else []), *race.helpers]
        if program.by_pipewire:
            broker = ending.enter_context(pipewire.broker(folder, around, race.node, race.complaints))
            helpers, log = [*helpers, *broker.pids], broker.log
        machine = processes.Load(helpers)
        started = time.monotonic_ns()
        process = subprocess.Popen(program.words(mode, race.node), env=around, cwd=folder, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.DEVNULL, stderr=race.complaints)
        watched = WatchedCost(process.pid)
        try:
            wait_for(process, log, race.frames, mode.rate, Click(program, probe, display), watched)
            figures = Figures(memory=processes.memory(process.pid), other_load=machine.others(process.pid))
            taken = frames.read_frames(log)[:race.frames]
        finally:
            end(process)
    figures.cost, figures.skipped = frames.cost(taken), frames.skipped(taken)
    if program.by_pipewire:
        if frames.read_frames(own_log):
            raise Failed("it took frames from the driver")
        figures.cost, figures.daemon_cost = watched.cost, figures.cost
    if probe:
        add_picture(figures, taken, probe, started)
    return figures


def add_picture(figures, taken, probe, started):
    """What only the bar code in the pretend camera's picture tells."""
    if not probe.seen:
        raise Failed("its picture was not seen on the screen")
    delays = frames.shown_delays(taken, [one for one in probe.seen if one[0] <= taken[-1].taken + 1e9])
    figures.delay, figures.delay_95 = frames.median_and_95(delays)
    figures.shown = frames.share_shown(taken, delays)
    figures.first_picture = (probe.seen[0][0] - started) / frames.MS
    figures.width, figures.mirrored = probe.places[-1]


def record(program, mode, race):
    """Records `race.frames` frames."""
    with contextlib.ExitStack() as ending:
        folder = ending.enter_context(tempfile.TemporaryDirectory(prefix="race-"))
        display, server = ending.enter_context(stage.screen())
        around = stage.environment(race.binaries, folder, race.node, race.link, display)
        machine = processes.Load([server, *race.helpers])
        movie = f"{folder}/movie.mp4"
        process = subprocess.Popen(program.words(mode, race.node, movie, race.frames), env=around, cwd=folder,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=race.complaints)
        log = around["TAVELO_PEERS_LOG"]
        figures = Figures()
        try:
            patience = time.monotonic() + PATIENCE + 2 * race.frames / mode.rate
            while processes.is_alive(process.pid) and time.monotonic() < patience:
                if (memory := processes.memory(process.pid)) is not None:
                    figures.memory = max(memory, figures.memory or 0)
                figures.other_load = machine.others(process.pid) or figures.other_load
                time.sleep(0.1)
        finally:
            usage = end(process)
        taken = frames.read_frames(log)
        if not taken or not os.path.exists(movie):
            raise Failed("it left no movie")
        figures.movie_frames = processes.frames_of_movie(movie)
        figures.movie_bytes = os.path.getsize(movie) // max(1, figures.movie_frames)
    figures.whole_cost = (usage.ru_utime + usage.ru_stime) * 1000 / len(taken)
    figures.cost, figures.skipped = frames.cost(taken), frames.skipped(taken)
    return figures
