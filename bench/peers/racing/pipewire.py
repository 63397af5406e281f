# SPDX-License-Identifier: MIT
"""PipeWire's daemon and session manager of one run's own, which hold the camera and hand its frames on."""
import contextlib
import dataclasses
import json
import pathlib
import shutil
import subprocess
import time

from . import stage

PROGRAMS = ("pipewire", "wireplumber", "pw-dump")
PATIENCE = 20  # seconds until the camera is offered

DAEMON = """
context.properties = { core.daemon = true  core.name = pipewire-0  support.dbus = false  mem.warn-mlock = false }
context.spa-libs = { api.v4l2.* = v4l2/libspa-v4l2  support.* = support/libspa-support
                     audio.convert.* = audioconvert/libspa-audioconvert }
context.modules = [
    { name = libpipewire-module-protocol-native }
    { name = libpipewire-module-metadata }
    { name = libpipewire-module-spa-device-factory }
    { name = libpipewire-module-spa-node-factory }
    { name = libpipewire-module-client-node }
    { name = libpipewire-module-client-device }
    { name = libpipewire-module-access }
    { name = libpipewire-module-adapter }
    { name = libpipewire-module-link-factory }
    { name = libpipewire-module-session-manager }
]
"""

MANAGER = """
context.properties = { support.dbus = false  wireplumber.script-engine = lua-scripting }
context.spa-libs = { api.v4l2.* = v4l2/libspa-v4l2  support.* = support/libspa-support
                     audio.convert.* = audioconvert/libspa-audioconvert }
context.modules = [
    { name = libpipewire-module-protocol-native }
    { name = libpipewire-module-client-node }
    { name = libpipewire-module-client-device }
    { name = libpipewire-module-adapter }
    { name = libpipewire-module-metadata }
    { name = libpipewire-module-session-manager }
]
wireplumber.components = [
    { name = libwireplumber-module-lua-scripting, type = module }
    { name = main.lua, type = config/lua }
    { name = policy.lua, type = config/lua }
]
"""

# Cameras are all that it looks for.
PARTS = """
load_module("metadata")
default_access.properties["enable-flatpak-portal"] = false
default_access.enable()
v4l2_monitor.enable()
"""


def is_installed():
    return all(map(shutil.which, PROGRAMS))


@dataclasses.dataclass(frozen=True)
class Broker:
    pids: tuple
    log: str  # of the frames that the daemon takes


def offers(node, around):
    told = subprocess.run(["pw-dump"], env=around, check=False, capture_output=True, text=True).stdout
    try:
        objects = json.loads(told or "[]")
    except json.JSONDecodeError:  # the daemon changed its mind while it was asked
        return False
    properties = [(one.get("info") or {}).get("props", {}) for one in objects]
    return any(one.get("api.v4l2.path") == node and one.get("media.class") == "Video/Source" for one in properties)


@contextlib.contextmanager
def broker(folder, around, node, complaints):
    """Once it offers the camera."""
    for file, text in (("pipewire/pipewire.conf", DAEMON), ("wireplumber/wireplumber.conf", MANAGER),
                       ("wireplumber/main.lua.d/90-enable-all.lua", PARTS)):
        path = pathlib.Path(around["XDG_CONFIG_HOME"]) / file
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")
    log = f"{folder}/daemon-frames"
    around = around | {"TAVELO_PEERS_LOG": log, "DBUS_SESSION_BUS_ADDRESS": "disabled:"}
    quiet = {"env": around, "stdout": complaints, "stderr": complaints}
    with stage.running(["pipewire"], **quiet) as daemon:
        patience = time.monotonic() + PATIENCE
        while not (pathlib.Path(around["XDG_RUNTIME_DIR"]) / "pipewire-0").exists():
            if time.monotonic() > patience:
                raise RuntimeError("PipeWire's daemon does not start")
            time.sleep(0.02)
        with stage.running(["wireplumber"], **quiet) as manager:
            while not offers(node, around):
                if time.monotonic() > patience:
                    raise RuntimeError("PipeWire does not offer the camera")
                time.sleep(0.1)
            yield Broker((daemon.pid, manager.pid), log)
