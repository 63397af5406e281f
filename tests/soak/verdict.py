# SPDX-License-Identifier: MIT
"""Whether a figure that was measured again and again has grown."""
import dataclasses

WARM_UP = 0.25  # of all measurements: caches fill, libraries are loaded
FEWEST = 12     # measurements below which nothing is said about growth


@dataclasses.dataclass(frozen=True)
class Limit:
    name: str
    unit: str
    slack: float  # how much more at the end is no growth
    share: float = 0.0  # the same as a share of the level after the warm-up


def median(values):
    ordered = sorted(values)
    middle = len(ordered) // 2
    return ordered[middle] if len(ordered) % 2 else (ordered[middle - 1] + ordered[middle]) / 2


def warmed_up(values):
    """What counts: the values after the warm-up."""
    return values[int(len(values) * WARM_UP):]


def levels(values):
    """The medians of the first and the last third after the warm-up; single outliers move neither."""
    counted = warmed_up(values)
    third = max(len(counted) // 3, 1)
    return median(counted[:third]), median(counted[-third:])


def growth(values, limit):
    """One line if the values have grown by more than the limit allows, otherwise nothing."""
    if len(values) < FEWEST:
        return None
    first, last = levels(values)
    allowed = limit.slack + limit.share * first
    if last - first <= allowed:
        return None
    return (f"{limit.name} grew from {first:.6g} to {last:.6g} {limit.unit} after the warm-up; "
            f"{allowed:.3g} more would be no growth")
