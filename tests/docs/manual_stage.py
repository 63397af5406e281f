# SPDX-License-Identifier: MIT
"""Where the manual's commands run: a home, a session bus and a panel of their own, and virtual cameras."""
import os
import pathlib
import subprocess
import sys
import time

PATIENCE = 60  # seconds; sanitizers are slow
NAMES = ("tavelo-control-panel", "taveloctl", "tavelo-virtual-camera")
SERVICE = "org.tavelo.ControlPanel"

# What people have in the path.  The panel has virtual cameras, and answers for the verbs that ask it; other verbs, and
# pictures without a window, get virtual cameras of their own.  Verbs that go on forever end after their first line.
STAND_IN = """#!{python}
import os, signal, subprocess, sys
program, words = "{program}", sys.argv[1:]
THROUGH_THE_PANEL = ["get", "set", "controls", "snapshot", "record"]
own = ["--virtual-cameras", "{cameras}"]
if program.endswith("taveloctl"):
    verb = next((word for word in words if word in {verbs}), "")
    lends = verb != "" and verb not in THROUGH_THE_PANEL
else:
    verb = ""
    lends = any(word in ("--snapshot", "--record", "--screenshot") for word in words)
if lends and "--virtual-cameras" not in words and "--like" not in words:
    words = own + words
if verb not in ("watch", "monitor"):
    os.execv(program, [program] + words)
child = subprocess.Popen([program] + words, stdout=subprocess.PIPE, text=True)
print(child.stdout.readline(), end="", flush=True)
child.send_signal(signal.SIGINT)
child.communicate()
sys.exit(child.returncode)
"""


class Stage:
    def __init__(self, folder, programs, cameras, verbs):
        self.home = pathlib.Path(folder) / "home"
        self.programs = pathlib.Path(programs)
        self.cameras = cameras
        path = pathlib.Path(folder) / "bin"
        path.mkdir()
        self.home.mkdir(mode=0o700)
        for name in NAMES[:2]:
            file = path / name
            file.write_text(STAND_IN.format(python=sys.executable, program=self.programs / name, cameras=cameras,
                                            verbs=verbs), encoding="utf-8")
            file.chmod(0o755)
        (path / NAMES[2]).symlink_to(self.programs / NAMES[2])
        self.path = path
        self.environment = {name: value for name, value in os.environ.items()
                            if not name.startswith(("XDG_", "DBUS_", "LC_")) and name not in ("DISPLAY", "WAYLAND_DISPLAY")}
        self.environment.update(HOME=str(self.home), XDG_CONFIG_HOME=str(self.home / ".config"), XDG_RUNTIME_DIR=str(self.home),
                                LC_ALL="C.UTF-8", LANGUAGE="en", QT_QPA_PLATFORM="offscreen",
                                PATH=f"{path}:{os.environ['PATH']}")
        self.processes = []

    def start(self):
        bus = self._start(["dbus-daemon", "--session", "--nofork", "--print-address=1",
                           f"--address=unix:dir={self.home}"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().strip()
        panel = self._start([self.programs / NAMES[0], "--virtual-cameras", str(self.cameras), "--renderer", "cpu"])
        end = time.monotonic() + PATIENCE
        while not self._shown_camera():
            if panel.poll() is not None or time.monotonic() > end:
                raise AssertionError("the panel shows no camera")
            time.sleep(0.02)

    def end(self):
        for process in reversed(self.processes):
            process.terminate()
            process.communicate(timeout=PATIENCE)

    def run(self, *command):
        """Both streams as one, as on a terminal."""
        return subprocess.run(command, cwd=self.home, env=self.environment, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False, timeout=PATIENCE)

    def _start(self, command, **options):
        process = subprocess.Popen(command, cwd=self.home, env=self.environment, stdin=subprocess.DEVNULL, **options)
        self.processes.append(process)
        return process

    def _shown_camera(self):
        answer = self.run("dbus-send", "--session", "--print-reply", f"--dest={SERVICE}", "/org/tavelo/ControlPanel",
                          "org.freedesktop.DBus.Properties.Get", f"string:{SERVICE}1", "string:ShownCamera")
        return 'string "0x' in answer.stdout
