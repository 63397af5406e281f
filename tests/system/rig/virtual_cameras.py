# SPDX-License-Identifier: MIT
"""The server of virtual cameras, and its connection to the guest's kernel."""
import contextlib
import os
import pathlib
import signal
import socket
import subprocess
import time
import typing

from rig.processes import thread_facts
from rig.waiting import wait_until

SOCKET = "/run/virtual-cameras"
DRIVER = pathlib.Path("/sys/bus/usb/drivers/uvcvideo")
HUB = pathlib.Path("/sys/devices/platform/vhci_hcd.0")
FREE_PORT = "004"  # its state in the hub's table
RECORDS = pathlib.Path("/var/run/vhci_hcd")


class Request(typing.NamedTuple):
    """One class request that the camera received."""
    camera: int
    request_type: int
    request: int
    value: int
    index: int
    length: int
    data: bytes
    outcome: str

    @property
    def selector(self):
        return self.value >> 8

    @property
    def entity(self):
        return self.index >> 8

    @property
    def interface(self):
        return self.index & 0xFF

    @classmethod
    def parse(cls, line):
        _, camera, kind, request, value, index, length, data, outcome = line.split()
        return cls(int(camera), int(kind, 16), int(request, 16), int(value, 16), int(index, 16), int(length),
                   bytes.fromhex(data.strip("-")), outcome)


class VirtualCameras:
    """A running `tavelo-virtual-camera` with control over its firmware."""

    def __init__(self, programs, out, cameras=2, options=()):
        self._log = f"{out}/requests.log"
        self._output = open(f"{out}/virtual-camera.log", "ab")
        self._server = subprocess.Popen(
            [f"{programs}/tavelo-virtual-camera", "--cameras", str(cameras), "--log", self._log,
             "--control", SOCKET, *options],
            stdout=self._output, stderr=subprocess.STDOUT,
        )
        self._nodes = {}
        wait_until("the virtual cameras answer", self._answers)

    def close(self):
        """Ends the server; returns its exit status."""
        self._server.terminate()
        self._output.close()
        return self._server.wait(timeout=60)

    def pause(self, seconds):
        """Stops the server for a while; the frames of that time are never drawn."""
        self._server.send_signal(signal.SIGSTOP)
        try:
            time.sleep(seconds)
        finally:
            self._server.send_signal(signal.SIGCONT)

    def waiting(self):
        """(thread, function of the kernel that it waits in) of the server."""
        return [(name, function) for _, name, function in thread_facts(self._server.pid, "comm", "wchan")]

    def _answers(self):
        if self._server.poll() is not None:
            raise RuntimeError(f"tavelo-virtual-camera ended with status {self._server.returncode}")
        try:
            self.ask("status", 1)
        except OSError:
            return False
        return True

    # ---------------------------------------------------------------- the firmware

    def ask(self, *words):
        """Sends a command; returns the words of its answer."""
        order = " ".join(str(word) for word in words)
        with socket.socket(socket.AF_UNIX) as connection:
            connection.settimeout(60)
            connection.connect(SOCKET)
            connection.sendall((order + "\n").encode())
            with connection.makefile() as answers:
                answer = answers.readline().split()
        if not answer or answer[0] != "ok":
            raise RuntimeError(f"{order}: {' '.join(answer)}")
        return answer[1:]

    def value(self, camera, control):
        return int(self.ask("get", camera, control)[0])

    def limits(self, camera, control):
        """(minimum, maximum)"""
        minimum, maximum, *_ = self.ask("limits", camera, control)
        return int(minimum), int(maximum)

    def streams(self, camera):
        """The camera's stream, such as "YUYV 320x240", or an empty result."""
        return " ".join(self.ask("status", camera)[1:])

    def requests(self, camera, **wanted):
        """The camera's class requests, oldest first, filtered by fields of Request."""
        with open(self._log, encoding="ascii") as file:
            requests = [Request.parse(line) for line in file if line.endswith("\n")]
        return [request for request in requests
                if request.camera == camera and all(getattr(request, name) == value for name, value in wanted.items())]

    # ---------------------------------------------------------------- the cable

    def attach(self, camera):
        """Returns once the kernel knows that something was plugged in.

        The server may still serve the last connection, and the program fails if another camera comes or goes just now.
        """
        command = ["usbip", "attach", "-r", "127.0.0.1", "-b", f"1-{camera}"]
        wait_until(f"camera {camera} to be attached",
                   lambda: subprocess.run(command, check=False, capture_output=True, timeout=120).returncode == 0)

    def detach(self, camera):
        """Returns once its port is free, which may be before the camera's node is gone."""
        port = hub_port_of(camera)
        (HUB / "detach").write_text(str(port))
        wait_until(f"port {port} to be free", lambda: port not in ports_in_use())

    def plug(self, camera):
        """Attaches camera 1, 2, ... and returns its capture node once the device manager has created it."""
        before = capture_nodes()
        self.attach(camera)
        node = wait_until("a capture node for the camera", lambda: capture_nodes() - before).pop()
        subprocess.run(["udevadm", "settle", "--timeout=60"], check=True, timeout=90)
        self._nodes[camera] = node
        return node

    def unplug(self, camera):
        """Detaches the camera and returns once its node is gone."""
        self.detach(camera)
        self.wait_until_gone(camera)

    def unplug_all(self):
        for camera in list(self._nodes):
            self.unplug(camera)

    def wait_until_only(self, camera):
        """Returns once no other camera has a capture node."""
        self._nodes = {camera: self._nodes[camera]}
        wait_until("the other nodes to go", lambda: capture_nodes() <= {self._nodes[camera]})

    def wait_until_gone(self, camera):
        node = self._nodes.pop(camera)
        wait_until(f"{node} to go", lambda: not os.path.exists(node))


def ports_in_use():
    """Numbers of the ports of the kernel's virtual hub, from the attaching on."""
    table = (HUB / "status").read_text().splitlines()[1:]
    return {int(port) for _, port, state, *_ in map(str.split, table) if state != FREE_PORT}


def hub_port_of(camera):
    """From the records of `usbip attach`: `usbip port` leaves out a camera that the kernel has not addressed yet."""
    return next(port for port in ports_in_use() if (RECORDS / f"port{port}").read_text().endswith(f" 1-{camera}\n"))


def usb_device_of(node):
    """The sysfs folder of a video node's USB device."""
    return pathlib.Path(f"/sys/class/video4linux/{pathlib.Path(node).name}/device").resolve().parent


def unbind_driver(device):
    """Unbinds a USB device's interfaces from the driver, one by one, like an administrator."""
    for interface in (0, 1):
        try:
            (DRIVER / "unbind").write_text(f"{device.name}:1.{interface}")
        except OSError:
            pass  # the driver already released this interface


def bind_driver(device):
    (DRIVER / "bind").write_text(f"{device.name}:1.0")  # takes the streaming interface too


def capture_nodes():
    """The nodes that capture; each camera also has one for metadata."""
    found = set()
    for folder in pathlib.Path("/sys/class/video4linux").glob("video*"):
        try:
            node = f"/dev/{folder.name}"
            if (folder / "index").read_text().strip() == "0" and os.path.exists(node):
                found.add(node)
        except OSError:
            pass  # removed meanwhile
    return found


def programs_with(node):
    """The numbers of the processes that have a node open."""
    return {int(process) for process in os.listdir("/proc") if process.isdigit() and node in open_files(process)}


def open_files(process):
    """What a process has open; nothing once it has ended."""
    found = set()
    with contextlib.suppress(OSError):
        for descriptor in os.listdir(f"/proc/{process}/fd"):
            with contextlib.suppress(OSError):  # closed meanwhile
                found.add(os.readlink(f"/proc/{process}/fd/{descriptor}"))
    return found


def descriptors_of(node):
    """The descriptors of a node's device, one after the other."""
    data = (usb_device_of(node) / "descriptors").read_bytes()
    at = 0
    while at + 2 < len(data) and data[at]:
        yield data[at:at + data[at]]
        at += data[at]


def entities(node):
    """(camera terminal, processing unit): entity identifiers from the descriptors of a node's device."""
    terminal = unit = 0
    for descriptor in descriptors_of(node):
        kind, subtype = descriptor[1:3]
        if kind == 0x24 and subtype == 0x02 and descriptor[4:6] == b"\x01\x02":
            terminal = descriptor[3]
        elif kind == 0x24 and subtype == 0x05 and not unit:
            unit = descriptor[3]
    return terminal, unit


def extension_unit(node):
    """The identifier of the first extension unit."""
    return next(descriptor[3] for descriptor in descriptors_of(node)
                if descriptor[1:3] == b"\x24\x06" and len(descriptor) > 20)
