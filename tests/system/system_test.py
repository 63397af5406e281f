#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""The system test's guest side: runs the cases in order, each of the later ones on what the earlier ones left.

Usage: system_test.py OUTPUT-FOLDER [WORD]
"""
import pathlib
import sys

import driver_cases
import panel_cases
from rig.report import Report

PROGRAMS = pathlib.Path(__file__).resolve().parents[2] / "build" / "bin"


def main(out, word=""):
    report = Report(f"{out}/cases.txt")
    for group in (driver_cases, panel_cases):
        with group.stage(PROGRAMS, out) as stage:
            for case in group.CASES:
                if word in case.__name__:
                    report.run(case, stage)
    return 1 if report.failed else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
