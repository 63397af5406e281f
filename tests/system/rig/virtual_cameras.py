# SPDX-License-Identifier: MIT
"""The server of virtual cameras, and the cable between it and the guest's kernel."""
import os
import pathlib
import re
import socket
import subprocess

from rig.waiting import wait_until

SOCKET = "/run/virtual-cameras"
PORT = 3240


class VirtualCameras:
    """`tavelo-virtual-camera`: the firmware's side of everything."""

    def __init__(self, programs, out, cameras=2, options=()):
        self._log_path = pathlib.Path(out) / "requests.log"
        self._server = subprocess.Popen(
            [f"{programs}/tavelo-virtual-camera", "--port", str(PORT), "--cameras", str(cameras),
             "--log", str(self._log_path), "--control", SOCKET, *options],
            stdout=open(f"{out}/virtual-camera.log", "ab"), stderr=subprocess.STDOUT,
        )
        self._nodes = {}
        wait_until("the virtual cameras answer", self._answers)

    def close(self):
        self._server.terminate()
        return self._server.wait(timeout=60)

    def _answers(self):
        if self._server.poll() is not None:
            raise RuntimeError(f"tavelo-virtual-camera ended with status {self._server.returncode}")
        return os.path.exists(SOCKET)

    def ask(self, *words):
        """One order, one line back."""
        with socket.socket(socket.AF_UNIX) as connection:
            connection.settimeout(60)
            connection.connect(SOCKET)
            connection.sendall((" ".join(str(word) for word in words) + "\n").encode())
            with connection.makefile() as answers:
                return answers.readline().strip()

    # ---------------------------------------------------------------- the cable

    def plug(self, camera):
        """Attaches camera 1, 2, ... and returns its capture node once the device manager has made it."""
        before = capture_nodes()
        subprocess.run(["usbip", "attach", "-r", "127.0.0.1", "-b", f"1-{camera}"], check=True,
                       capture_output=True, timeout=120)
        node = wait_until("a capture node for the camera", lambda: capture_nodes() - before).pop()
        subprocess.run(["udevadm", "settle", "--timeout=60"], check=True, timeout=90)
        self._nodes[camera] = node
        return node

    def unplug(self, camera):
        """Detaches the camera and returns once its node is gone."""
        subprocess.run(["usbip", "detach", "-p", hub_port_of(camera)], check=True, capture_output=True, timeout=120)
        self.wait_until_gone(camera)

    def unplug_all(self):
        for camera in list(self._nodes):
            self.unplug(camera)

    def wait_until_gone(self, camera):
        node = self._nodes.pop(camera)
        wait_until(f"{node} to go", lambda: not os.path.exists(node))


def imported():
    """(hub port, camera) of what is attached."""
    text = subprocess.run(["usbip", "port"], check=True, capture_output=True, text=True, timeout=60).stdout
    return re.findall(r"^Port (\d+):.*?usbip://[^\n]*/1-(\d+)$", text, re.MULTILINE | re.DOTALL)


def hub_port_of(camera):
    return next(port for port, number in imported() if number == str(camera))


def usb_device_of(node):
    """The USB device's folder of a video node."""
    return pathlib.Path(f"/sys/class/video4linux/{pathlib.Path(node).name}/device").resolve().parent


def capture_nodes():
    """The nodes that capture; each camera also has one for metadata."""
    found = set()
    for folder in pathlib.Path("/sys/class/video4linux").glob("video*"):
        try:
            node = f"/dev/{folder.name}"
            if (folder / "index").read_text().strip() == "0" and os.path.exists(node):
                found.add(node)
        except OSError:
            pass  # it went while we looked
    return found


def entities(node):
    """(camera terminal, processing unit) as the descriptors of a node's device number them."""
    data = (usb_device_of(node) / "descriptors").read_bytes()
    terminal = unit = at = 0
    while at + 2 < len(data) and data[at]:
        kind, subtype = data[at + 1:at + 3]
        if kind == 0x24 and subtype == 0x02 and data[at + 4:at + 6] == b"\x01\x02":
            terminal = data[at + 3]
        elif kind == 0x24 and subtype == 0x05 and not unit:
            unit = data[at + 3]
        at += data[at]
    return terminal, unit
