# SPDX-License-Identifier: MIT
"""What the preloaded library and the probe wrote down, and the figures that follow from it."""
import bisect
import dataclasses
import pathlib
import statistics
import struct

CODES = 64  # frames are numbered modulo this in the picture
WARM_UP = 30  # frames before the steady state
MS = 1e6  # nanoseconds


@dataclasses.dataclass(frozen=True)
class Taken:
    sequence: int
    complete: int  # all times in nanoseconds, on the monotonic clock
    taken: int
    processor: int


def read_frames(path):
    """The frames of a program's last stream so far; some programs start twice."""
    try:
        content = pathlib.Path(path).read_bytes()
    except FileNotFoundError:
        return []
    (count,) = struct.unpack_from("=Q", content)
    frames = [Taken(*struct.unpack_from("=4q", content, 8 + 32 * at)) for at in range(count)]
    starts = [at for at in range(1, count) if frames[at].sequence <= frames[at - 1].sequence]
    return frames[starts[-1]:] if starts else frames


def steady(frames):
    return frames[WARM_UP:]


def cost(frames):
    """Processor milliseconds for each frame taken in the steady state."""
    part = steady(frames)
    if len(part) < 2:
        return None
    return (part[-1].processor - part[0].processor) / MS / (len(part) - 1)


def skipped(frames):
    """Frames of the steady state that found no buffer, or that a real camera lost."""
    part = steady(frames)
    return part[-1].sequence - part[0].sequence - len(part) + 1 if part else None


def shown_delays(frames, seen):
    """For each picture of the steady state on the screen, the milliseconds since its frame was complete."""
    part = steady(frames)
    times = {code: [frame.complete for frame in part if frame.sequence % CODES == code] for code in range(CODES)}
    delays = []
    for when, code in seen:
        at = bisect.bisect_right(times[code], when)
        # An older picture with the same code, from before the steady state, is longer ago.
        if at and when - times[code][at - 1] < 1e9:
            delays.append((when - times[code][at - 1]) / MS)
    return delays


def share_shown(frames, delays):
    """In per cent.  The last frame may have been too late for the screen."""
    return min(100.0, 100 * len(delays) / max(1, len(steady(frames)) - 1))


def median_and_95(values):
    if not values:
        return None, None
    ordered = sorted(values)
    return statistics.median(ordered), ordered[min(len(ordered) - 1, int(0.95 * len(ordered)))]
