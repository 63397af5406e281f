#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Completes command lines of taveloctl in bash, zsh and fish.

Usage: completion_shells_test.py TAVELOCTL COMPLETION_FOLDER
"""
import os
import pathlib
import pty
import select
import subprocess
import sys
import tempfile
import time

PROGRAM, FOLDER = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
ENVIRONMENT = {**os.environ, "PATH": f"{PROGRAM.parent}:{os.environ['PATH']}", "TERM": "dumb"}
PATIENCE = 60  # seconds
CAMERAS = "taveloctl --virtual-cameras 2 "

# A command line up to the cursor, and the words that must be offered.
CASES = [
    ("taveloctl prof", ["profiles"]),
    (CAMERAS + "--camera 0x7e2", ["0x7e20000012090001"]),
    (CAMERAS + "-c 1 get zoo", ["zoom"]),
    (CAMERAS + "-c 1 set brightn", ["brightness="]),
    (CAMERAS + "-c 1 set power-line-frequency=5", ["power-line-frequency=50hz"]),
    (CAMERAS + "apply ", ["1", "2", "3", "4"]),
    (CAMERAS + "set --for", ["--force"]),
]

failures = []


def check(shell, line, offered, expected):
    if offered != expected:
        failures.append(f"{shell}: {line!r} offers {offered}, not {expected}")


def in_bash(line):
    script = (f'source "{FOLDER}/taveloctl.bash"; COMP_LINE={line!r}; COMP_POINT=${{#COMP_LINE}}; _taveloctl; '
              'printf "%s\\n" "${COMPREPLY[@]}"')
    done = subprocess.run(["bash", "--norc", "-c", script], env=ENVIRONMENT, capture_output=True, text=True,
                          timeout=PATIENCE)
    return done.stdout.split()


def in_fish(line, home):
    script = f'source "{FOLDER}/taveloctl.fish"; complete -C {line!r}'
    done = subprocess.run(["fish", "--no-config", "-c", script], env={**ENVIRONMENT, "HOME": home},
                          capture_output=True, text=True, timeout=PATIENCE)
    return [offered.split("\t")[0] for offered in done.stdout.splitlines()]


class Zsh:
    """An interactive zsh on a terminal of its own."""

    def __init__(self, home):
        self.process, self.terminal = pty.fork()
        if self.process == 0:
            os.execvpe("zsh", ["zsh", "-f", "-i"], {**ENVIRONMENT, "HOME": home, "PS1": "READY>"})
        self.seen = ""
        self.wait_for("READY>")
        self.send(f"fpath=({FOLDER} $fpath); autoload -U compinit; compinit -u -D; "
                  "unsetopt list_beep; PS1='SET''UP>'\n")
        self.wait_for("SETUP>")

    def send(self, text):
        os.write(self.terminal, text.encode())

    def wait_for(self, *texts):
        end = time.monotonic() + PATIENCE
        while not all(text in self.seen for text in texts):
            left = end - time.monotonic()
            if left <= 0 or not select.select([self.terminal], [], [], left)[0]:
                raise TimeoutError(f"zsh: waited for {texts}, saw {self.seen!r}")
            self.seen += os.read(self.terminal, 4096).decode(errors="replace")
        self.seen = ""

    def completes_to(self, line, word):
        """Presses the tab key; the terminal must show the line with the whole word."""
        self.send("\x15" + line)  # clears the line first
        self.wait_for(line[-4:])
        self.send("\t")
        typed = line.split(" ")[-1]
        self.wait_for(word[len(typed):])

    def lists(self, line, words):
        self.send("\x15" + line)
        self.wait_for(line[-4:])
        self.send("\t\t")
        self.wait_for(*words)

    def close(self):
        os.close(self.terminal)
        os.waitpid(self.process, 0)


with tempfile.TemporaryDirectory() as home:
    for line, expected in CASES:
        # bash is given only what follows "=".
        after = [word.split("=", 1)[1] if "=" in line.split(" ")[-1] else word for word in expected]
        check("bash", line, in_bash(line), after)
        check("fish", line, in_fish(line, home), expected)
    zsh = Zsh(home)
    try:
        for line, expected in CASES:
            if len(expected) == 1:
                zsh.completes_to(line, expected[0])
            else:
                zsh.lists(line, expected)
    except TimeoutError as problem:
        failures.append(str(problem))
    finally:
        zsh.close()

for failure in failures:
    print(failure)
sys.exit(1 if failures else 0)
