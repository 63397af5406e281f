# SPDX-License-Identifier: MIT
"""Cameras taken from the kernel's driver: requests byte for byte, the picture, and returning it to the driver."""
import contextlib
import json
import os
import pathlib
import shutil
import subprocess
import threading
import typing

from panel_cases import Stage as PanelStage
from profile_cases import shown_camera
from rig.panel import CAMERA_BUTTONS, Panel
from rig.virtual_cameras import entities, usb_device_of
from rig.waiting import wait_until

SET_CUR, GET_CUR, GET_MIN, GET_MAX, GET_INFO, GET_DEF = 0x01, 0x81, 0x82, 0x83, 0x86, 0x87
READ, WRITE = 0xA1, 0x21
SUCCESS, GONE, REFUSED, TIMEOUT = 0, 3, 4, 5  # status numbers printed by the check program
RULE = "70-tavelo-control-panel.rules"


class Control(typing.NamedTuple):
    """How a control is read, and a value to write with its bytes on the wire, computed by hand."""
    name: str  # in the firmware
    terminal: bool
    selector: int
    asked: int  # wLength of a read
    size: int  # the camera's size, used for writes
    ranged: bool
    has_default: bool
    value: int
    written: str


CONTROLS = [
    Control("scanningMode", True, 1, 1, 1, False, False, 0, "00"),
    Control("autoExposureMode", True, 2, 1, 1, False, True, 1, "01"),
    Control("autoExposurePriority", True, 3, 1, 1, False, False, 1, "01"),
    Control("exposureTime", True, 4, 4, 4, True, True, 4660, "34120000"),
    Control("iris", True, 9, 2, 2, True, True, 1000, "e803"),
    Control("autoFocus", True, 8, 1, 1, False, True, 0, "00"),
    Control("focus", True, 6, 2, 2, True, True, 125, "7d00"),
    Control("zoom", True, 11, 2, 2, True, True, 300, "2c01"),
    Control("panTilt", True, 13, 8, 8, True, True, (3600 & 0xFFFFFFFF) | (-7200 << 32), "100e0000e0e3ffff"),
    Control("roll", True, 15, 2, 2, True, True, -2, "feff"),
    Control("backlight", False, 1, 2, 2, True, True, 3, "0300"),
    Control("brightness", False, 2, 2, 2, True, True, -64, "c0ff"),
    Control("contrast", False, 3, 2, 2, True, True, 33, "2100"),
    Control("gain", False, 4, 2, 2, True, True, 99, "6300"),
    Control("powerLine", False, 5, 2, 1, True, True, 2, "02"),
    Control("autoHue", False, 16, 2, 1, False, True, 0, "00"),
    Control("hue", False, 6, 2, 2, True, True, -18000, "b0b9"),
    Control("saturation", False, 7, 2, 2, True, True, 127, "7f00"),
    Control("sharpness", False, 8, 2, 2, True, True, 9, "0900"),
    Control("gamma", False, 9, 2, 2, True, True, 499, "f301"),
    Control("autoWhiteBalance", False, 11, 1, 1, False, True, 0, "00"),
    Control("whiteBalance", False, 10, 4, 2, True, True, 6000, "7017"),
]
# When all are written, automatic controls come before the manual controls that they lock.
WRITING_ORDER = sorted(range(len(CONTROLS)), key=lambda number: not CONTROLS[number].name.startswith("auto"))


class Check:
    """A running `usb_transport_check` for one camera."""

    def __init__(self, programs, out, device, *interface):
        self._errors = open(f"{out}/usb-transport-check.log", "ab")
        self.process = subprocess.Popen(
            [programs.parent / "tests" / "usb_transport_check", device, *map(str, interface)], stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, stderr=self._errors, text=True, bufsize=1,
        )
        self.controls = {}
        assert self._line() == "bound"
        for words in iter(lambda: self._line().split(), ["ready"]):
            self.controls[int(words[1])] = [int(word) for word in words[2:]]

    def _line(self):
        line = self.process.stdout.readline()
        assert line, f"usb_transport_check ended with status {self.process.wait(timeout=60)}"
        return line.strip()

    def order(self, *words):
        self.process.stdin.write(" ".join(map(str, words)) + "\n")
        return self._line()

    def send(self, kind, request, selector, entity, data):
        """(status, bytes transferred, data)"""
        answer = self.order("send", f"{kind:x}", f"{request:x}", f"{selector << 8:x}", f"{entity << 8:x}", data)
        status, count, data, _ = answer.split()
        return int(status), int(count), data

    def end(self):
        self.process.stdin.close()
        status = self.process.wait(timeout=60)
        self._close()
        return status

    def kill(self):
        self.process.kill()
        self.process.wait()
        self._close()

    def _close(self):
        self.process.stdout.close()
        self._errors.close()


class Stage(PanelStage):
    shown = 1  # the number of the camera in the panel

    def __init__(self, programs, out, options=()):
        super().__init__(programs, out, options)
        self.nodes, self.devices, self.entities = {}, {}, {}
        self.check = None

    def plug(self, camera):
        node = self.cameras.plug(camera)
        self.nodes[camera] = node
        self.devices[camera] = usb_device_of(node)
        self.entities[camera] = entities(node)

    def plug_for_the_panel(self, camera):
        """Does not wait for a video node, because the panel may remove it first."""
        subprocess.run(["usbip", "attach", "-r", "127.0.0.1", "-b", f"1-{camera}"], check=True, capture_output=True,
                       timeout=120)
        self.devices[camera] = wait_until("the device", lambda: device_with_serial(f"TVC-{1000 + camera}"))

    def driver_has(self, camera):
        return any((self.devices[camera] / f"{self.devices[camera].name}:1.0").glob("video4linux/video*"))

    def wait_for_driver(self, camera):
        wait_until(f"the driver to have camera {camera}", lambda: self.driver_has(camera))

    def entity(self, control):
        terminal, unit = self.entities[1]
        return terminal if control.terminal else unit

    def open_usb_panel(self):
        self.panel = Panel(self.programs, self.screen, self.out,
                           ["--transport", "usb", "--size", "320x240", "--format", "YUYV"])


@contextlib.contextmanager
def stage(programs, out, options=()):
    stage = Stage(programs, out, options)
    try:
        yield stage
    finally:
        if stage.check and stage.check.process.poll() is None:
            stage.check.kill()
        stage.close()


def bulk_stage(programs, out):
    return stage(programs, out, ["--bulk"])


def device_with_serial(serial):
    for file in pathlib.Path("/sys/bus/usb/devices").glob("*/serial"):
        with contextlib.suppress(OSError):
            if file.read_text().strip() == serial:
                return file.parent.resolve()
    return None


def watchers():
    """The watcher processes of taken cameras."""
    found = []
    for folder in pathlib.Path("/proc").glob("[0-9]*"):
        with contextlib.suppress(OSError):
            if b"tavelo-driver-watch" in (folder / "cmdline").read_bytes():
                found.append(folder.name)
    return found


# -------------------------------------------------------------------- the wire

def two_cameras_attach_to_the_driver(stage):
    for camera in (1, 2):
        stage.plug(camera)
        assert stage.driver_has(camera)


def binding_takes_the_camera_from_its_driver_and_reads_all_22_controls(stage):
    for control in CONTROLS[1], CONTROLS[5]:
        stage.cameras.ask("set", 1, control.name, control.value)
    seen = len(stage.cameras.requests(1))
    stage.check = Check(stage.programs, stage.out, stage.devices[1].name)
    assert not stage.driver_has(1) and stage.driver_has(2)
    assert not os.path.exists(stage.nodes[1]) or stage.nodes[1] == stage.nodes[2]
    assert len(watchers()) == 1

    expected = []
    for control in CONTROLS:
        codes = [(GET_INFO, 1), (GET_CUR, control.asked)]
        codes += [(GET_MIN, control.asked), (GET_MAX, control.asked)] if control.ranged else []
        codes += [(GET_DEF, control.asked)] if control.has_default else []
        expected += [(READ, code, control.selector << 8, stage.entity(control) << 8, length) for code, length in codes]
    requests = stage.cameras.requests(1)[seen:]
    assert [request[1:6] for request in requests] == expected, requests
    for request in requests:
        assert request.outcome == "ok" and 0 < len(request.data) <= request.length, request


def what_was_read_is_what_the_camera_holds(stage):
    for number, control in enumerate(CONTROLS):
        supported, value, low, high, default = stage.check.controls[number]
        assert supported, control.name
        held = [int(word) for word in stage.cameras.ask("get", 1, control.name)]
        packed = held[0] if len(held) == 1 else (held[0] & 0xFFFFFFFF) | (held[1] << 32)
        assert value == packed, f"{control.name}: {value}, not {packed}"
        if control.ranged and control.name != "panTilt":
            limits = [int(word) for word in stage.cameras.ask("limits", 1, control.name)]
            assert [low, high, default] == [limits[0], limits[1], limits[3]], f"{control.name}: {limits}"


def all_22_controls_are_written_byte_for_byte(stage):
    seen = len(stage.cameras.requests(1))
    for number in WRITING_ORDER:
        control = CONTROLS[number]
        assert stage.check.order("set", number, control.value) == "taken", control.name
    requests = stage.cameras.requests(1)[seen:]
    assert len(requests) == len(CONTROLS), requests
    for control, request in zip((CONTROLS[number] for number in WRITING_ORDER), requests):
        expected = (WRITE, SET_CUR, control.selector << 8, stage.entity(control) << 8, control.size,
                    bytes.fromhex(control.written), "ok")
        assert request[1:] == expected, f"{control.name}: {request}"


def the_relative_exposure_write_moves_the_exposure(stage):
    before = stage.cameras.value(1, "exposureTime")
    terminal = stage.entities[1][0]
    assert stage.check.send(WRITE, SET_CUR, 5, terminal, "01")[:2] == (SUCCESS, 1)
    assert stage.cameras.value(1, "exposureTime") == before + 1
    last = stage.cameras.requests(1)[-1]
    assert last[1:] == (WRITE, SET_CUR, 0x0500, terminal << 8, 1, b"\x01", "ok"), last


# -------------------------------------------------------------------- trouble

def a_refusal_a_stall_a_short_answer_and_silence_are_told_apart(stage):
    unit = stage.entities[1][1]
    for order, sent, expected in (
            (("stall", 1, "contrast", "writes"), (WRITE, SET_CUR, 3, "2000"), (REFUSED, 0)),
            (("stall", 1, "contrast", "reads"), (READ, GET_CUR, 3, "0000"), (SUCCESS, 0)),
            (("short", 1, "contrast", 1), (READ, GET_CUR, 3, "0000"), (SUCCESS, 1)),
            (("silence", 1, "contrast"), (READ, GET_CUR, 3, "0000"), (TIMEOUT, 0))):
        stage.cameras.ask(*order)
        kind, code, selector, data = sent
        assert stage.check.send(kind, code, selector, unit, data)[:2] == expected, order
        stage.cameras.ask("clear", 1)
    assert stage.check.send(READ, GET_CUR, 3, unit, "0000") == (SUCCESS, 2, "2100"), "the pipe works on"
    assert stage.check.send(WRITE, SET_CUR, 0x60, unit, "00")[:2] == (SUCCESS, 0), "nobody there to refuse it"


def a_camera_that_vanishes_in_the_middle_of_a_request_fails_it_at_once(stage):
    check = Check(stage.programs, stage.out, stage.devices[2].name)
    unit = stage.entities[2][1]
    stage.cameras.ask("silence", 2, "contrast")
    answers = []
    asking = threading.Thread(target=lambda: answers.append(check.send(READ, GET_CUR, 3, unit, "0000")))
    asking.start()
    wait_until("the request to reach the camera", lambda: stage.cameras.requests(2, outcome="silence"))
    stage.cameras.ask("vanish", 2)
    asking.join(timeout=60)
    assert answers[0][:2] == (GONE, 0), f"{answers} is no device that is gone"
    assert check.end() == 0
    wait_until("the device to go", lambda: not stage.devices[2].exists())


# -------------------------------------------------------------------- the driver's return

def the_driver_has_the_camera_again_once_the_program_ends(stage):
    assert stage.check.end() == 0
    stage.wait_for_driver(1)
    assert not watchers()


def the_driver_has_the_camera_again_after_sigkill(stage):
    stage.check = Check(stage.programs, stage.out, stage.devices[1].name)
    assert not stage.driver_has(1)
    stage.check.kill()
    stage.wait_for_driver(1)
    wait_until("the watch to end", lambda: not watchers())


def the_driver_streams_again(stage):
    stage.cameras.ask("plug", 2)
    stage.plug(2)
    node = next(folder.name for folder in stage.devices[1].glob("*:1.0/video4linux/video*")
                if (folder / "index").read_text().strip() == "0")
    subprocess.run(["udevadm", "settle", "--timeout=60"], check=True, timeout=90)
    subprocess.run(["v4l2-ctl", "-d", f"/dev/{node}", "--set-fmt-video=width=320,height=240,pixelformat=YUYV",
                    "--stream-mmap", "--stream-count=2"], check=True, capture_output=True, timeout=120)


# -------------------------------------------------------------------- rights

def the_rule_marks_the_camera_for_the_user_at_the_seat(stage):
    shutil.copy(pathlib.Path(__file__).resolve().parents[2] / "resources" / "udev" / RULE, "/etc/udev/rules.d")
    subprocess.run(["udevadm", "control", "--reload"], check=True, timeout=60)
    subprocess.run(["udevadm", "trigger", "--settle", "--subsystem-match=usb", "--action=change"], check=True,
                   timeout=90)
    for device, wanted in ((stage.devices[1], True), (stage.devices[1].parent, False)):
        properties = subprocess.run(["udevadm", "info", "--query=property", f"--path={device}"], check=True,
                                    capture_output=True, text=True, timeout=60).stdout
        tags = next((line for line in properties.splitlines() if line.startswith("CURRENT_TAGS=")), "")
        assert (":uaccess:" in tags) == wanted, f"{device}: {tags}"


def without_rights_the_panel_says_how_to_get_them_and_shows_the_picture_all_the_same(stage):
    node = "/dev/bus/usb/{:03}/{:03}".format(*(int((stage.devices[1] / name).read_text())
                                               for name in ("busnum", "devnum")))
    os.chown(node, 65534, 65534)  # owned by another user, and we lack the capability to override that
    os.chmod(node, 0o600)
    picture = f"{stage.out}/panel-without-rights.png"
    result = subprocess.run(
        ["setpriv", "--bounding-set=-dac_override,-dac_read_search", "--inh-caps=-dac_override,-dac_read_search",
         f"{stage.programs}/tavelo-control-panel", "--transport", "usb", "--size", "320x240", "--format", "YUYV",
         "--screenshot", picture], capture_output=True, text=True, timeout=180, check=False)
    os.chown(node, 0, 0)
    os.chmod(node, 0o664)
    assert result.returncode == 0, result.stderr
    lines = [line for line in result.stderr.splitlines() if RULE in line]
    assert len(lines) == 1 and node in lines[0] and "udevadm" in lines[0], result.stderr
    assert os.path.getsize(picture) > 0
    assert stage.driver_has(1)


# -------------------------------------------------------------------- the panel

def restore_factory_values(stage, camera):
    """Restores the picture's colours and sharpness."""
    for control in CONTROLS:
        default = stage.cameras.ask("limits", camera, control.name)[3]
        stage.cameras.ask("set", camera, control.name, *[default] * (2 if control.name == "panTilt" else 1))


def the_panel_shows_the_picture_and_keeps_the_driver_out(stage):
    restore_factory_values(stage, 1)
    stage.open_usb_panel()
    stage.panel.wait_for("the four corners of the camera's picture", stage.picture_is_right, seconds=120)
    stage.panel.wait_for("the controls to be enabled", stage.panel.controls_enabled, seconds=120)
    stage.shown = stage.panel.wait_for("the camera's number", lambda: shown_camera(stage))
    assert not stage.driver_has(stage.shown)
    assert stage.cameras.streams(stage.shown) == "YUYV 320x240"
    stage.panel.save_picture("panel-over-usb")


def a_camera_plugged_into_a_waiting_panel_is_taken_before_its_driver_settles(stage):
    stage.open_usb_panel()
    stage.plug_for_the_panel(1)
    stage.panel.wait_for("the four corners of the camera's picture", stage.picture_is_right, seconds=120)
    stage.panel.wait_for("the controls to be enabled", stage.panel.controls_enabled, seconds=120)
    assert not stage.driver_has(1)
    assert stage.cameras.streams(1) == "YUYV 320x240"


def a_slider_moves_the_camera_while_it_streams(stage):
    low, high = stage.cameras.limits(stage.shown, "contrast")
    for part, expected in ((1, high), (0, low), (0.5, (low + high) // 2)):
        stage.panel.put_sliders(contrast=part)
        stage.panel.wait_for(f"contrast {expected}",
                             lambda: abs(stage.cameras.value(stage.shown, "contrast") - expected) <= (part == 0.5))
    before = stage.panel.bytes((560, 200, 500, 300))
    stage.panel.wait_for("another picture", lambda: stage.panel.bytes((560, 200, 500, 300)) != before)


def taveloctl_reaches_the_camera_through_the_panel(stage):
    assert not stage.driver_has(stage.shown), "it has no node"

    def call(*arguments):
        done = subprocess.run([stage.programs / "taveloctl", "-c", f"camera {stage.shown}", *arguments], capture_output=True,
                              text=True, timeout=120, check=False)
        assert done.returncode == 0 and done.stderr == "", f"{arguments}: {done.returncode} {done.stderr}"
        return done.stdout

    for transport in ("kernel", "usb"):
        value = 41 if transport == "kernel" else 42
        call("--transport", transport, "set", f"contrast={value}", "lamp-mode=blink")
        assert stage.cameras.value(stage.shown, "contrast") == value
        assert call("--transport", transport, "get", "contrast", "lamp-mode") == f"{value}\nblink\n"
        listed = {control["name"] for control in json.loads(call("--transport", transport, "--json", "controls"))["controls"]}
        assert len(listed) > 20 and "lamp-mode" in listed, listed
    call("set", "lamp-mode=off")
    assert stage.cameras.streams(stage.shown) == "YUYV 320x240" and not stage.driver_has(stage.shown)


def switching_gives_the_camera_back_at_once(stage):
    other = 3 - stage.shown
    assert stage.driver_has(other)
    stage.panel.click(CAMERA_BUTTONS[2])
    stage.panel.wait_for("the other camera's picture", lambda: shown_camera(stage) == other, seconds=120)
    stage.wait_for_driver(stage.shown)
    assert not stage.driver_has(other)
    stage.shown = other


def an_unplugged_camera_gives_way_to_the_one_that_is_left(stage):
    left = 3 - stage.shown
    stage.cameras.ask("vanish", stage.shown)
    stage.panel.wait_for("the camera that is left", lambda: shown_camera(stage) == left, seconds=120)
    assert not stage.panel.camera_button_enabled(2)
    stage.shown = left


def a_camera_plugged_in_again_is_listed(stage):
    other = 3 - stage.shown
    stage.cameras.ask("plug", other)
    stage.plug(other)
    stage.panel.wait_for("its button", lambda: stage.panel.camera_button_enabled(2))
    assert stage.driver_has(other), "it was not chosen, so it is the driver's"


def the_driver_has_both_cameras_again_after_sigterm(stage):
    assert stage.panel.quit() == 0
    for camera in (1, 2):
        stage.wait_for_driver(camera)
    assert not watchers()


def the_driver_has_the_camera_again_after_sigkill_of_a_panel_that_streams(stage):
    stage.panel.kill()
    stage.wait_for_driver(stage.shown)
    wait_until("the watch to end", lambda: not watchers())


CASES = [
    two_cameras_attach_to_the_driver,
    binding_takes_the_camera_from_its_driver_and_reads_all_22_controls,
    what_was_read_is_what_the_camera_holds,
    all_22_controls_are_written_byte_for_byte,
    the_relative_exposure_write_moves_the_exposure,
    a_refusal_a_stall_a_short_answer_and_silence_are_told_apart,
    a_camera_that_vanishes_in_the_middle_of_a_request_fails_it_at_once,
    the_driver_has_the_camera_again_once_the_program_ends,
    the_driver_has_the_camera_again_after_sigkill,
    the_driver_streams_again,
    the_rule_marks_the_camera_for_the_user_at_the_seat,
    without_rights_the_panel_says_how_to_get_them_and_shows_the_picture_all_the_same,
    the_panel_shows_the_picture_and_keeps_the_driver_out,
    a_slider_moves_the_camera_while_it_streams,
    taveloctl_reaches_the_camera_through_the_panel,
    switching_gives_the_camera_back_at_once,
    an_unplugged_camera_gives_way_to_the_one_that_is_left,
    a_camera_plugged_in_again_is_listed,
    the_driver_has_both_cameras_again_after_sigterm,
]

BULK_CASES = [
    a_camera_plugged_into_a_waiting_panel_is_taken_before_its_driver_settles,
    the_driver_has_the_camera_again_after_sigkill_of_a_panel_that_streams,
]
