#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Starts the panel, stops its camera, resizes, hides, shows, closes and quits in random order, again and again.

usage: random_orders.py PROGRAM --out FOLDER [--rounds N] [--seed S] [--answer-limit SECONDS]
PROGRAM is plugged-panel.  Each round is a panel of its own.  One whose main thread does not answer, or that does not end,
has the stacks of its threads printed.  Exits with 77 if a tool is missing."""
import random
import shutil
import signal
import sys
import time

try:
    from stage import Failure, GLib, Panel, Refused, Stage, arguments, describe, missing_tools, xdotool
except ImportError as missing:
    print(missing)
    sys.exit(77)
from hands import BACKGROUND, CLOSE_BUTTON, MINIMISE_BUTTON, PROFILE_BUTTONS, SAVE_BUTTON, Hands

STEPS = ("stop_camera", "start_camera", "resize", "full_screen", "hide", "show", "close", "release", "record", "switch", "save", "menu",
         "all_controls")
QUITS = ("terminate", "interrupt", "key", "tray")
ROUNDS_A_LINE = 50
PAUSES = (0, 0, 0, 0.01, 0.05, 0.2)  # seconds: where the last step is when the next one comes


class Round:
    """One life of the panel."""

    def __init__(self, stage, program, chance, limit, number):
        self.chance, self.limit, self.number, self.stage = chance, limit, number, stage
        self.panel = Panel(stage, program, ["--virtual-cameras", "2", "--verbose"], limit)
        self.hands = Hands(self.panel, chance, stage.folder / "taken")
        self.said = []
        self.is_up = False

    def run(self):
        try:
            # A third of them is asked to quit while it still starts.
            if self.chance.random() < 0.33:
                self.pause((0, 0.02, 0.1, 0.3, 0.6))
            else:
                self.panel.wait_until("the service", self.serves)
                self.is_up = True
                for _ in range(self.chance.randint(1, 8)):
                    self.step()
            self.quit()
        finally:
            self.panel.close()

    def pause(self, choices=PAUSES):
        time.sleep(self.chance.choice(choices))

    def serves(self):
        try:
            return self.panel.property("ShownCamera") is not None
        except GLib.Error:
            return False

    def step(self):
        name = self.chance.choice(STEPS)
        self.said.append(name)
        try:
            getattr(self, name)()
        except Refused as reason:
            self.said[-1] += f" ({reason.args[0]})"
        self.panel.check()
        self.pause()

    def stop_camera(self):
        self.panel.order(f"unplug {self.chance.choice((1, 2))}")

    def start_camera(self):
        self.panel.order(f"plug {self.chance.choice((1, 2))} {self.chance.choice(('320x240', '1280x720'))}")

    def resize(self):
        self.hands.resize_window()

    def full_screen(self):
        self.hands.press("F11")

    def hide(self):
        self.hands.click(MINIMISE_BUTTON)

    def show(self):
        self.hands.show_panel()

    def close(self):
        self.hands.click(CLOSE_BUTTON)

    def release(self):
        self.hands.release_camera()

    def record(self):
        self.hands.record()

    def switch(self):
        self.hands.switch_camera()

    def save(self):
        """Leaves the message open."""
        self.hands.click(PROFILE_BUTTONS[1], SAVE_BUTTON)

    def menu(self):
        """Leaves it open."""
        self.hands.click(BACKGROUND, button=3)

    def all_controls(self):
        self.hands.press("ctrl+a")

    # ---------------------------------------------------------------- the end

    def quit(self):
        way = self.chance.choice(QUITS) if self.is_up else "terminate"
        self.said.append(f"quit by {way}")
        getattr(self, f"quit_by_{way}")()
        end = time.monotonic() + self.limit
        while self.panel.process.poll() is None and not self.panel.watchdog.failure:
            if time.monotonic() > end:
                self.panel.watchdog.close()
                self.panel.watchdog.bark(f"the panel did not end within {self.limit:g} s")
            time.sleep(0.01)
        if self.panel.watchdog.failure:
            raise Failure(self.panel.watchdog.failure)
        status = self.panel.process.returncode
        # Before main() has come to it, the signal has its usual effect.
        if status != 0 and (self.is_up or status != -signal.SIGTERM):
            raise Failure(f"the panel ended with {describe(status)}")

    def quit_by_terminate(self):
        self.panel.process.terminate()

    def quit_by_interrupt(self):
        self.panel.process.send_signal(signal.SIGINT)

    def quit_by_key(self):
        """Ctrl+Q, or a signal if no window has the keys."""
        if self.hands.press("ctrl+q"):
            end = time.monotonic() + 1
            while self.panel.process.poll() is None and time.monotonic() < end:
                time.sleep(0.01)
        self.quit_by_terminate()  # the window may not have had the focus

    def quit_by_tray(self):
        """The entry's Quit while the window is closed; otherwise a signal."""
        self.hands.click(CLOSE_BUTTON)
        if not self.hands.choose_in_tray("Quit"):
            self.quit_by_terminate()


def main():
    parser = arguments()
    parser.add_argument("--rounds", type=int, default=20)
    options = parser.parse_args()
    if lacking := missing_tools():
        print(f"missing: {' '.join(lacking)}")
        return 77
    print(f"random orders: {options.rounds} rounds, seed {options.seed}", flush=True)
    steps, failures, started = 0, 0, time.monotonic()
    with Stage(options.out) as stage:
        for number in range(1, options.rounds + 1):
            chance = random.Random(f"{options.seed} {number}")
            one = Round(stage, options.program, chance, options.answer_limit, number)
            try:
                one.run()
            except Failure as failure:
                failures += 1
                print(f"random orders: failed in round {number}: {failure}: {', '.join(one.said)}", flush=True)
            steps += len(one.said)
            shutil.rmtree(stage.folder / "taken", ignore_errors=True)
            if number % ROUNDS_A_LINE == 0:
                print(f"random orders: {number} of {options.rounds} rounds, {failures} failed", flush=True)
    print(f"random orders: {options.rounds} rounds, {steps} steps, {failures} failed, {time.monotonic() - started:.0f} s")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
