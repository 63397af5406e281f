# SPDX-License-Identifier: MIT
"""What the pictures of benchmarks have in common: texts, and the benchmarks' report."""
import json
import sys

MICROSECONDS = {"ns": 1e-3, "us": 1.0, "ms": 1e3, "s": 1e6}


class Unusable(Exception):
    """The report is not what it should be; says why."""


def label(x, y, text, anchor="middle", size=12):
    escaped = text.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;")
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" font-size="{size}">{escaped}</text>'


def picture(width, height, parts):
    return "\n".join([
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" font-family="sans-serif">',
        f'<rect width="{width}" height="{height}" fill="white"/>', *parts, "</svg>"]) + "\n"


def machine(report):
    context = report["context"]
    return f"{context['date'][:10]}, {context['num_cpus']} processors of {context['mhz_per_cpu']} MHz"


def measured(report):
    """(words of the name, benchmark) of each single measurement.  Repetitions come with their medians, which are left out."""
    for one in report["benchmarks"]:
        if "error_occurred" not in one and one.get("run_type") != "aggregate":
            yield one["name"].split("/"), one


def median(values):
    return sorted(values)[len(values) // 2]


def print_drawing(name, path, draw):
    """Prints draw(report) of the report in the file; returns the exit status."""
    try:
        with open(path, encoding="utf-8") as file:
            report = json.load(file)
        sys.stdout.write(draw(report))
    except (OSError, ValueError, KeyError, Unusable) as failure:
        print(f"{name}: {path}: {failure}", file=sys.stderr)
        return 1
    return 0
