#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Uses the real panel at random for a while, and watches what it holds and how fast its window answers.

usage: soak.py PROGRAM --out FOLDER [--minutes M] [--seed S] [--answer-limit SECONDS] [--memory-slack MB]
PROGRAM is plugged-panel.  The folder gets curves.svg, samples.csv, actions.log, panel.log, stacks.txt if the panel hung, and screen.png
if it failed and ImageMagick is there.
Exits with 77 if a tool is missing."""
import pathlib
import random
import shutil
import subprocess
import sys
import time

try:
    from stage import Failure, Panel, Stage, arguments, describe, missing_tools
except ImportError as missing:
    print(missing)
    sys.exit(77)
import curves
import files
from hands import Hands
from samples import Sampler
from verdict import Limit, growth

SAMPLE_PAUSE = 2    # seconds
ACTIONS_A_REST = 25
RESTS_A_LINE = 25
END = 30            # seconds that the panel may take to end


def limits(memory_slack):
    return (Limit("memory", "MB", memory_slack, 0.05), Limit("descriptors", "file descriptors", 3), Limit("threads", "threads", 2))


class Soak:
    def __init__(self, program, options):
        self.options, self.program = options, program
        self.out = pathlib.Path(options.out).resolve()
        self.chance = random.Random(options.seed)
        self.failures, self.counts = [], {"actions": 0, "rests": 0}
        self.sampler = self.hands = None

    def run(self):
        with Stage(self.out) as stage:
            panel = Panel(stage, self.program, ["--virtual-cameras", "2", "--verbose"], self.options.answer_limit)
            stage.callback(panel.close)
            self.hands = Hands(panel, self.chance, self.out / "taken")
            self.sampler = Sampler(panel.process.pid, panel.watchdog, SAMPLE_PAUSE)
            try:
                panel.wait_until("the window", panel.main_window)
                self.use(panel)
                self.end(panel)
            except Failure as failure:
                self.failures.append(str(failure))
                self.keep_screen()
            finally:
                self.sampler.close()
            if not self.failures:
                self.expect_ended_movies(stage)
        return self.conclude()

    def use(self, panel):
        started = time.monotonic()
        with open(self.out / "actions.log", "w", encoding="utf-8") as log:
            while time.monotonic() - started < 60 * self.options.minutes:
                for _ in range(ACTIONS_A_REST):
                    said = self.hands.act()
                    log.write(f"{time.monotonic() - started:8.2f} {said}\n")
                    log.flush()
                    panel.check()
                    self.counts["actions"] += 1
                    time.sleep(self.chance.choice((0, 0, 0.05, 0.3)))  # what one does while the last thing goes on
                self.hands.rest()
                self.sampler.at_rest()
                self.counts["rests"] += 1
                if self.counts["rests"] % RESTS_A_LINE == 0:
                    print(f"soak: {(time.monotonic() - started) / 60:.0f} of {self.options.minutes:g} minutes, "
                          f"{self.counts['actions']} actions", flush=True)

    def end(self, panel):
        panel.watchdog.close()
        panel.process.terminate()
        status = panel.process.wait(END)
        if status != 0:
            raise Failure(f"the panel ended with {describe(status)} when it was asked to")

    def expect_ended_movies(self, stage):
        """Each movie that began must have been reported to have ended."""
        ended = {facts[0] for facts in stage.ended_movies}
        self.failures += [f"{file}: RecordingEnded did not come" for file in self.hands.movies if str(file) not in ended]

    def keep_screen(self):
        """Shows what stood in the way."""
        if shutil.which("import"):
            subprocess.run(["import", "-window", "root", self.out / "screen.png"], check=False, timeout=60)

    def conclude(self):
        home = self.out / "home"
        movies = self.hands.movies + list(home.glob("Videos/**/*.mp4"))
        stills = self.hands.stills + list(home.glob("Pictures/**/*.png"))
        complaints, taken = files.check(movies, stills)
        self.failures += complaints
        resting = [one for one in self.sampler.samples if one.rest]
        for limit in limits(self.options.memory_slack):
            line = growth([getattr(one, limit.name) for one in resting], limit)
            if line:
                self.failures.append(line)
        self.draw(taken)
        return self.failures

    def draw(self, taken):
        samples = self.sampler.samples
        self.sampler.write(self.out / "samples.csv")
        slowest = max(samples, key=lambda one: one.answer, default=None)
        line = (f"{self.counts['actions']} actions, {self.counts['rests']} rests, seed {self.options.seed}; {taken}; "
                + (f"slowest answer {slowest.answer:.0f} ms, while the machine let the window wait {slowest.starved:.0f} ms"
                   if slowest else "no sample"))
        print(line)
        if samples:
            (self.out / "curves.svg").write_text(curves.drawing(samples, line), encoding="utf-8")


def main():
    parser = arguments()
    parser.add_argument("--minutes", type=float, default=60)
    parser.add_argument("--memory-slack", type=float, default=8)
    options = parser.parse_args()
    if lacking := missing_tools():
        print(f"missing: {' '.join(lacking)}")
        return 77
    print(f"soak: {options.minutes:g} minutes, seed {options.seed}", flush=True)
    failures = Soak(options.program, options).run()
    for failure in failures:
        print(f"soak: failed: {failure}")
    print(f"soak: {'failed' if failures else 'passed'}; see {options.out}")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
