#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""The guest's side of the system test: runs groups of cases in order.  Cases of a group depend on earlier ones.

Usage: system_test.py OUTPUT-FOLDER [GROUP...]
"""
import pathlib
import sys

import command_line_cases
import driver_cases
import following_cases
import function_cases
import menu_cases
import movie_cases
import panel_cases
import plugging_cases
import profile_cases
import shared_picture_cases
import usb_cases
import usb_stream_cases
from rig.report import Report

PROGRAMS = pathlib.Path(__file__).resolve().parents[2] / "build" / "bin"
GROUPS = {
    "driver": (driver_cases.stage, driver_cases.CASES),
    "command-line": (command_line_cases.stage, command_line_cases.CASES),
    "functions": (function_cases.stage, function_cases.CASES),
    "bulk": (driver_cases.bulk_stage, driver_cases.BULK_CASES),
    "movie": (movie_cases.stage, movie_cases.CASES),
    "usb-stream": (usb_stream_cases.stage, usb_stream_cases.CASES),
    "usb-stream-bulk": (usb_stream_cases.bulk_stage, usb_stream_cases.CASES),
    "panel": (panel_cases.stage, panel_cases.CASES + profile_cases.CASES),
    "menu": (menu_cases.stage, menu_cases.CASES),
    "following": (following_cases.stage, following_cases.CASES),
    "usb": (usb_cases.stage, usb_cases.CASES),
    "usb-bulk": (usb_cases.bulk_stage, usb_cases.BULK_CASES),
    "shared": (shared_picture_cases.stage, shared_picture_cases.CASES),
    "plugging": (plugging_cases.stage, plugging_cases.CASES),
}


def main(out, *names):
    report = Report(f"{out}/cases.txt")
    for name in names or GROUPS:
        set_up, cases = GROUPS[name]
        with report.group(name), set_up(PROGRAMS, out) as stage:
            for case in cases:
                report.run(case, stage)
    return 1 if report.failed else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
