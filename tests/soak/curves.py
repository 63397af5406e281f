# SPDX-License-Identifier: MIT
"""Draws samples as curves over the time."""
import stage  # finds drawing
from drawing import label, picture
from verdict import WARM_UP

assert stage
PANELS = (("memory", "Resident memory, MB"), ("descriptors", "File descriptors"), ("threads", "Threads"),
          ("answer", "Longest answer of the window, ms"))
WIDTH, HEIGHT, LEFT, RIGHT, TOP, GAP = 900, 150, 70, 20, 85, 50


def top_of(values):
    """The least of 1, 2, 5, 10 ... that is not below any value."""
    return next(step * 10.0 ** power for power in range(0, 9) for step in (1, 1.5, 2, 3, 5, 7) if step * 10.0 ** power >= max(values))


def panel(samples, field, title, top):
    minutes = max(one.seconds for one in samples) / 60 or 1
    highest = top_of([getattr(one, field) for one in samples])

    def at(one):
        x = LEFT + one.seconds / 60 / minutes * (WIDTH - LEFT - RIGHT)
        return x, top + HEIGHT - getattr(one, field) / highest * HEIGHT

    bottom, resting = top + HEIGHT, [one for one in samples if one.rest]
    if resting:
        warm = at(resting[int(len(resting) * WARM_UP)])[0]
        yield f'<rect x="{LEFT}" y="{top}" width="{warm - LEFT:.1f}" height="{HEIGHT}" fill="#f1f1f1"/>'
    yield label(LEFT, top - 8, title, "start", 13)
    yield f'<path d="M{LEFT} {top}V{bottom}H{WIDTH - RIGHT}" fill="none" stroke="#888"/>'
    for share in (0, 0.5, 1):
        yield label(LEFT - 6, bottom - share * HEIGHT + 4, f"{share * highest:g}", "end", 11)
        yield label(LEFT + share * (WIDTH - LEFT - RIGHT), bottom + 16, f"{share * minutes:.3g} min", "end" if share == 1 else "middle", 11)
    points = "L".join(f"{x:.1f} {y:.1f}" for x, y in map(at, (one for one in samples if not one.rest)))
    if points:
        yield f'<path d="M{points}" fill="none" stroke="#9bb8d8"/>'
    if field != "answer":
        for x, y in map(at, resting):
            yield f'<circle cx="{x:.1f}" cy="{y:.1f}" r="2.5" fill="#2a6fb3"/>'


def drawing(samples, subtitle):
    samples = sorted(samples, key=lambda one: one.seconds)
    parts = [label(LEFT, 24, "The panel, used at random; dots: at rest; grey: warm-up, which does not count", "start", 15),
             *(label(LEFT, 42 + 15 * number, line, "start", 11) for number, line in enumerate(subtitle.rsplit("; ", 1)))]
    for number, (field, title) in enumerate(PANELS):
        parts += panel(samples, field, title, TOP + number * (HEIGHT + GAP))
    return picture(WIDTH, TOP + len(PANELS) * (HEIGHT + GAP), parts)
