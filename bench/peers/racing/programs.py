# SPDX-License-Identifier: MIT
"""The programs that race, and how each is told which camera and which mode to show."""
import dataclasses
import shutil
from typing import Callable

from . import pipewire


@dataclasses.dataclass(frozen=True)
class Mode:
    fourcc: str
    width: int
    height: int
    rate: int = 30

    @property
    def size(self):
        return f"{self.width}x{self.height}"

    @property
    def option(self):
        return f"{self.fourcc}:{self.size}@{self.rate}"

    def __str__(self):
        return {"YUYV": "YUYV", "MJPG": "MJPEG"}[self.fourcc] + " " + self.size


MODES = (Mode("YUYV", 1280, 720), Mode("MJPG", 1280, 720), Mode("MJPG", 1920, 1080))


@dataclasses.dataclass(frozen=True)
class Program:
    name: str
    file: str
    # Called with the mode and the node; a recorder's also with the movie's path and its frames.
    words: Callable
    mirrored: bool = False
    # Where to click in its window, from the top left, once the picture is there.
    click: tuple = ()
    # PipeWire's daemon takes the frames from the camera.
    by_pipewire: bool = False

    @property
    def is_installed(self):
        return shutil.which(self.file) is not None and (not self.by_pipewire or pipewire.is_installed())


def gst_source(mode, node, *properties):
    if mode.fourcc == "MJPG":
        caps = f"image/jpeg,width={mode.width},height={mode.height},framerate={mode.rate}/1"
        decoder = ["!", "jpegdec"]
    else:
        caps = f"video/x-raw,format=YUY2,width={mode.width},height={mode.height},framerate={mode.rate}/1"
        decoder = []
    return ["gst-launch-1.0", "-q", "-e", "v4l2src", f"device={node}", *properties, "!", caps, *decoder, "!"]


def gst(mode, node):
    return [*gst_source(mode, node), "videoconvert", "!", "ximagesink", "sync=false"]


def gst_mirrored(mode, node):
    # The older property "method" is accepted and does nothing.
    return [*gst_source(mode, node), "videoflip", "video-direction=horiz", "!", "videoconvert", "!", "ximagesink",
            "sync=false"]


def guvcview(mode, node):
    return ["guvcview", "-d", node, "-f", mode.fourcc, "-x", mode.size, "-F", str(mode.rate), "-a", "none"]


def lavf_format(mode):
    return "mjpeg" if mode.fourcc == "MJPG" else "yuyv422"


def mpv(mode, node):
    # On Xvfb its OpenGL would run on the processor.
    source = f"video_size={mode.size},input_format={lavf_format(mode)},framerate={mode.rate}"
    return ["mpv", "--no-config", "--no-audio", "--really-quiet", "--profile=low-latency", "--untimed",
            "--vo=x11", f"--demuxer-lavf-o={source}", f"av://v4l2:{node}"]


def ffplay(mode, node):
    return ["ffplay", "-loglevel", "error", "-fflags", "nobuffer", "-flags", "low_delay", "-framedrop", "-f", "v4l2",
            "-input_format", lavf_format(mode), "-video_size", mode.size, "-framerate", str(mode.rate), node]


def gst_record(mode, node, movie, frames):
    return [*gst_source(mode, node, f"num-buffers={frames}"), "videoconvert", "!", "video/x-raw,format=I420", "!",
            "x264enc", "speed-preset=veryfast", "pass=qual", "quantizer=23", "!", "mp4mux", "!", "filesink",
            f"location={movie}"]


def ours(panel, source):
    return lambda mode, node: [panel, "--picture", source, "--size", mode.size, "--format", mode.fourcc]


def ours_record(panel):
    return lambda mode, node, movie, frames: [panel, "--record", movie, "--size", mode.size, "--format", mode.fourcc,
                                              "--duration", str(frames / mode.rate)]


def viewers(panel, mirror_switch):
    return [
        Program("ours", panel, ours(panel, "v4l2")),
        Program("ours mirrored", panel, ours(panel, "v4l2"), mirrored=True, click=mirror_switch),
        Program("ours by PipeWire", panel, ours(panel, "pipewire"), by_pipewire=True),
        Program("gst-launch", "gst-launch-1.0", gst),
        Program("gst-launch mirrored", "gst-launch-1.0", gst_mirrored, mirrored=True),
        Program("guvcview", "guvcview", guvcview),
        Program("mpv", "mpv", mpv),
        Program("ffplay", "ffplay", ffplay),
    ]


def recorders(panel):
    return [Program("ours", panel, ours_record(panel)), Program("gst-launch", "gst-launch-1.0", gst_record)]
