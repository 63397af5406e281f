# SPDX-License-Identifier: MIT
"""Medians of several runs, and tables of them."""
import dataclasses
import statistics

from .run import Figures

NONE = "-"


def median(runs):
    """Of each figure by itself; None if every run lacks it."""
    joined = Figures()
    for field in dataclasses.fields(Figures):
        values = [value for run in runs if (value := getattr(run, field.name)) is not None]
        if values:
            setattr(joined, field.name, values[-1] if field.name == "mirrored" else statistics.median(values))
    return joined


def number(value, digits):
    return NONE if value is None else f"{value:.{digits}f}"


def ratio(value, base):
    return NONE if not value or not base else f"{value / base:.2f}"


def compared_with(results):
    return {mode: figures for mode, name, figures in results if name == "ours"}


def delay(figures):
    if figures.delay is None:
        return NONE
    return f"{figures.delay:.0f} ({figures.delay_95:.0f})"


def table(titles, rows):
    print("| " + " | ".join(titles) + " |")
    print("|" + "---|" * len(titles))
    for row in rows:
        print("| " + " | ".join(row) + " |")
    print(flush=True)


def viewers(results):
    """@param results (mode, program's name, figures)"""
    titles = ["stream", "program", "CPU ms a frame", "to ours", "daemon's", "delay ms (95 %)", "memory MB", "to ours",
              "first picture ms", "to ours", "shown %", "skipped", "mirrored", "picture's width", "other load %"]
    rows = []
    base = compared_with(results)
    for mode, name, figures in results:
        first = base.get(mode, Figures())
        mirrored = NONE if figures.mirrored is None else "yes" if figures.mirrored else "no"
        rows.append([str(mode), name, number(figures.cost, 2), ratio(figures.cost, first.cost),
                     number(figures.daemon_cost, 2), delay(figures),
                     number(figures.memory, 0), ratio(figures.memory, first.memory), number(figures.first_picture, 0),
                     ratio(figures.first_picture, first.first_picture), number(figures.shown, 0),
                     number(figures.skipped, 0), mirrored, number(figures.width, 0), number(figures.other_load, 0)])
    table(titles, rows)


def recorders(results):
    titles = ["stream", "recorder", "CPU ms a frame", "to ours", "with start and end", "memory MB", "skipped",
              "frames in the movie", "kB a frame", "other load %"]
    rows = []
    base = compared_with(results)
    for mode, name, figures in results:
        first = base.get(mode, Figures())
        size = None if figures.movie_bytes is None else figures.movie_bytes / 1000
        rows.append([str(mode), name, number(figures.cost, 2), ratio(figures.cost, first.cost),
                     number(figures.whole_cost, 2), number(figures.memory, 0), number(figures.skipped, 0),
                     number(figures.movie_frames, 0), number(size, 1), number(figures.other_load, 0)])
    table(titles, rows)
