# SPDX-License-Identifier: MIT
"""PipeWire with its session manager, which watches the machine's cameras, and another program that shows one."""
import json
import os
import pathlib
import subprocess
import threading

from rig.screen import save_picture
from rig.waiting import wait_until

SOCKET = pathlib.Path(os.environ.get("XDG_RUNTIME_DIR", "/run/user")) / "pipewire-0"
SETTINGS = pathlib.Path("/run/session-manager")
PLUGINS = pathlib.Path("/run/viewer-plugins")

# Replaces the file that enables everything.  The manager ends if it misses what that asks the session bus for; of the
# guest's devices only cameras matter.
ENABLED = """
load_module("metadata")
default_access.properties["enable-flatpak-portal"] = false
default_access.enable()
v4l2_monitor.enable()
load_script("intended-roles.lua")
load_script("suspend-node.lua")
"""


class Pipewire:
    def __init__(self, out):
        self._log = open(f"{out}/pipewire.log", "ab")
        self._programs = {}

    def start(self):
        write(SETTINGS / "wireplumber/main.lua.d/90-enable-all.lua", ENABLED)
        write(SETTINGS / "wireplumber/bluetooth.lua.d/90-enable-all.lua", "")
        self._run("pipewire", os.environ)
        wait_until("PipeWire's socket", SOCKET.exists)
        self._run("wireplumber", {**os.environ, "XDG_CONFIG_HOME": str(SETTINGS)})

    def _run(self, program, environment):
        self._programs[program] = subprocess.Popen([program], env=environment, stdout=self._log, stderr=self._log)

    def close(self):
        for process in reversed(self._programs.values()):
            process.kill()
            process.wait()
        SOCKET.unlink(missing_ok=True)
        self._log.close()

    def daemon(self):
        """The daemon's process number."""
        return self._programs["pipewire"].pid

    def camera(self, node):
        """The name of the source that the session manager has made for a capture node; None without one."""
        for program, process in self._programs.items():
            if process.poll() is not None:
                raise RuntimeError(f"{program} ended with status {process.returncode}; see pipewire.log")
        dump = subprocess.run(["pw-dump"], check=True, capture_output=True, text=True, timeout=60).stdout
        for item in json.loads(dump):
            properties = (item.get("info") or {}).get("props") or {}
            if properties.get("media.class") == "Video/Source" and properties.get("api.v4l2.path") == node:
                return properties["node.name"]
        return None


class Viewer:
    """GStreamer as a program that takes a camera's picture from PipeWire.  Keeps the last whole picture."""

    def __init__(self, out, source, size):
        self._width, self._height = size
        # Fails for another size than this, since nothing here scales.
        shown = f"video/x-raw,format=RGB,width={self._width},height={self._height}"
        self._log = open(f"{out}/viewer.log", "ab")
        self._process = subprocess.Popen(
            ["gst-launch-1.0", "-q", "pipewiresrc", f"target-object={source}", "!", "videoconvert", "!", shown, "!",
             "fdsink", "fd=1", "sync=false"],
            env={**os.environ, "GST_PLUGIN_SYSTEM_PATH_1_0": str(only_the_plugins_needed()), "GST_REGISTRY_FORK": "no",
                 "GST_REGISTRY_1_0": str(PLUGINS / "registry")},
            stdout=subprocess.PIPE, stderr=self._log,
        )
        self._picture = None
        self._reader = threading.Thread(target=self._read)
        self._reader.start()

    def _read(self):
        size = 3 * self._width * self._height
        while len(picture := self._process.stdout.read(size)) == size:
            self._picture = picture

    def close(self):
        self._process.kill()
        self._process.wait()
        self._reader.join()
        self._process.stdout.close()
        self._log.close()

    def picture(self):
        """Rows of red, green, blue; None before the first."""
        if self._process.poll() is not None:
            raise RuntimeError(f"gst-launch-1.0 ended with status {self._process.returncode}; see viewer.log")
        return self._picture

    def save_picture(self, path):
        row = 3 * self._width
        picture = self.picture()
        save_picture(path, self._width, [picture[at:at + row] for at in range(0, len(picture), row)])

    def mean(self, x, y, width, height):
        """The mean colour of a rectangle."""
        picture, count = self.picture(), width * height
        rows = [picture[3 * (row * self._width + x):][:3 * width] for row in range(y, y + height)]
        return tuple(sum(sum(row[channel::3]) for row in rows) / count for channel in (0, 1, 2))


def only_the_plugins_needed():
    """A folder of GStreamer's plugins that the viewer uses; in a new home it would load all, for up to two minutes."""
    PLUGINS.mkdir(exist_ok=True)
    for name in ("coreelements", "pipewire", "videoconvert*"):
        for file in pathlib.Path("/usr/lib").glob(f"*/gstreamer-1.0/libgst{name}.so"):
            link = PLUGINS / file.name
            link.unlink(missing_ok=True)
            link.symlink_to(file)
    return PLUGINS


def write(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text, encoding="utf-8")
