# SPDX-License-Identifier: MIT
"""One device with two video functions, like a notebook's colour and infrared cameras, with separate controls."""
import contextlib
import subprocess

import driver_cases
from rig.virtual_cameras import capture_nodes, usb_device_of
from rig.waiting import wait_until
from usb_cases import Check

COLOUR, INFRARED = 1, 3  # camera numbers of the first of two devices
BRIGHT = 11  # index in the table of controls


@contextlib.contextmanager
def stage(programs, out):
    with driver_cases.stage(programs, out, ["--two-functions"]) as stage:
        yield stage


def interface_of(node):
    return int(usb_interface(node).rsplit(".", 1)[1])


def usb_interface(node):
    return subprocess.run(["readlink", "-f", f"/sys/class/video4linux/{node.rsplit('/', 1)[1]}/device"], check=True,
                          capture_output=True, text=True).stdout.strip()


def brightnesses(stage):
    return [stage.cameras.value(camera, "brightness") for camera in (COLOUR, INFRARED)]


def the_driver_makes_a_node_for_each_function(stage):
    stage.cameras.plug(COLOUR)
    nodes = wait_until("two capture nodes", lambda: len(capture_nodes()) == 2 and capture_nodes())
    stage.nodes = {COLOUR if interface_of(node) == 0 else INFRARED: node for node in nodes}
    assert sorted(map(interface_of, nodes)) == [0, 2], nodes
    assert len({usb_device_of(node) for node in nodes}) == 1


def an_identifier_binds_its_own_function(stage):
    before = brightnesses(stage)
    for camera, value in ((INFRARED, 21), (COLOUR, -21)):
        checker = stage.programs.parent / "tests" / "kernel_controls_check"
        result = subprocess.run([checker, stage.nodes[camera], str(value)], capture_output=True, text=True, timeout=300,
                                check=False)
        assert result.returncode == 0, result.stdout + result.stderr
        identifier, number = result.stdout.split()[0], interface_of(stage.nodes[camera])
        assert len(identifier) == (18 if camera == COLOUR else 20), identifier
        assert result.stdout.split()[1:] == ["interface", str(number), "brightness", str(value)], result.stdout
        before[camera == INFRARED] = value
        assert brightnesses(stage) == before, f"{brightnesses(stage)}, not {before}"


def every_control_of_the_second_function_answers_through_the_driver(stage):
    checker = stage.programs.parent / "tests" / "kernel_controls_check"
    seen = len(stage.cameras.requests(COLOUR))
    result = subprocess.run([checker, stage.nodes[INFRARED]], capture_output=True, text=True, timeout=300, check=False)
    (stage.out / "controls-of-the-second.txt").write_text(result.stdout + result.stderr)
    assert result.returncode == 0, result.stdout + result.stderr
    assert len(stage.cameras.requests(COLOUR)) == seen, "the other function was asked"


def over_usb_a_function_is_taken_and_the_other_stays_with_the_driver(stage):
    device = usb_device_of(stage.nodes[INFRARED])
    other = brightnesses(stage)[0]
    check = Check(stage.programs, stage.out, device.name, 2)
    assert not list((device / f"{device.name}:1.2").glob("video4linux/video*"))
    assert list((device / f"{device.name}:1.0").glob("video4linux/video*"))
    assert check.order("set", BRIGHT, 33) == "taken"
    assert brightnesses(stage) == [other, 33], brightnesses(stage)
    assert check.end() == 0
    wait_until("the driver to have the function again",
               lambda: list((device / f"{device.name}:1.2").glob("video4linux/video*")))


CASES = [
    the_driver_makes_a_node_for_each_function,
    an_identifier_binds_its_own_function,
    every_control_of_the_second_function_answers_through_the_driver,
    over_usb_a_function_is_taken_and_the_other_stays_with_the_driver,
]
