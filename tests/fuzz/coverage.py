#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Prints how much of its parsers a fuzz target runs; fails if one of them is not reached at all.

Usage: coverage.py PROGRAM PROFILE TARGET
The parsers are those that parsers.txt gives to the target.
"""
import json
import pathlib
import subprocess
import sys

import parsers


def lines_of(export, project):
    """Executed and all lines of each file of the product that a target was built of."""
    found = {}
    for file in export["data"][0]["files"]:
        # A library's headers are links in the build folder.
        path = pathlib.Path(file["filename"]).resolve()
        if path.is_relative_to(project):
            lines = file["summary"]["lines"]
            found[str(path.relative_to(project))] = (lines["covered"], lines["count"])
    return found


def summary(lines, names):
    """The line to print, and the files that are not reached."""
    missing = [name for name in names if lines.get(name, (0, 0))[0] == 0]
    covered = sum(lines.get(name, (0, 0))[0] for name in names)
    count = sum(lines.get(name, (0, 0))[1] for name in names)
    share = 100 * covered / count if count else 0
    return f"{share:.0f} % of {count} lines in {len(names)} files of its parsers", missing


def export_of(program, profile):
    merged = profile.with_suffix(".profdata")
    subprocess.run(["llvm-profdata", "merge", "-sparse", profile, "-o", merged], check=True)
    told = subprocess.run(["llvm-cov", "export", "-summary-only", f"-instr-profile={merged}", program],
                          check=True, capture_output=True, text=True)
    return json.loads(told.stdout)


def main():
    program, profile, target = sys.argv[1:]
    project = parsers.project_folder()
    targets, _ = parsers.listed((project / "tests/fuzz/parsers.txt").read_text(encoding="utf-8"))
    names = [name for name, chosen in targets.items() if target in chosen]
    line, missing = summary(lines_of(export_of(program, pathlib.Path(profile)), project), names)
    print(line)
    for name in missing:
        print(f"not reached: {name}", file=sys.stderr)
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main())
