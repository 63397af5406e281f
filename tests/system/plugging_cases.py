# SPDX-License-Identifier: MIT
"""A camera is plugged in and out many times, under a panel that has another one beside it.

TAVELO_PLUG_CYCLES says how many times.  Camera 2 stays, so that it is the panel's first one; camera 1 comes and goes.
"""
import contextlib
import json
import os
import pathlib
import re
import subprocess
import time

import panel_cases
from profile_cases import shown_camera, wait_for_camera
from rig.panel import CAMERA_BUTTONS, PREVIEW, PROFILE_BUTTONS
from rig.virtual_cameras import capture_nodes
from rig.waiting import wait_until

CYCLES = int(os.environ.get("TAVELO_PLUG_CYCLES", "5"))
STAYS, COMES = 2, 1  # numbers of the cameras
BRIGHTNESSES = {STAYS: 21, COMES: -21}  # of their second profiles
BUTTON = 2  # of the camera that comes and goes
GROWTH = 4096  # KiB; the allocator keeps some of what was freed

# What the kernel says of faults of its own.  A slow host makes it complain of lost time, which is none.
COMPLAINTS = re.compile(r"BUG: (?!soft lockup)|kernel BUG|Oops|WARNING: |general protection|refcount_t|"
                        r"(list_add|list_del) corruption|use-after-free|scheduling while atomic")


class Stage(panel_cases.Stage):
    before = None  # what the panel held before the cycles
    complaints = ()

    def keep_kernel_log(self):
        """Moves the kernel's messages to a file, before newer ones displace them."""
        messages = subprocess.run(["dmesg", "--read-clear"], check=True, capture_output=True, text=True, timeout=60).stdout
        with open(f"{self.out}/kernel.log", "a", encoding="utf-8") as file:
            file.write(messages)
        self.complaints += tuple(line for line in messages.splitlines() if COMPLAINTS.search(line))

    def keep_what_waits(self):
        """What the kernel and the server of the cameras wait for, in case that a camera did not come."""
        pathlib.Path("/proc/sysrq-trigger").write_text("w")
        with open(f"{self.out}/waiting.log", "w", encoding="utf-8") as file:
            for task, words in self.cameras.waiting():
                file.write(f"{task}: {words}\n")

    def settled_resources(self):
        """The panel holds most while threads and requests of a change are still under way."""
        wait_for_camera(self, STAYS)
        held = []

        def is_steady():
            held.append(self.panel.resources())
            return len(held) > 5 and len({(each.threads, each.descriptors) for each in held[-5:]}) == 1

        self.panel.wait_for("steady threads and descriptors", is_steady)
        return held[-1]


@contextlib.contextmanager
def stage(programs, out):
    subprocess.run(["dmesg", "--clear"], check=True, timeout=60)  # of other groups
    stage = Stage(programs, out)
    try:
        yield stage
    finally:
        stage.keep_what_waits()
        stage.keep_kernel_log()
        stage.close()


# -------------------------------------------------------------------- ways of unplugging

def while_it_streams(stage):
    show(stage, COMES)
    stage.cameras.unplug(COMES)


def while_the_other_is_shown(stage):
    stage.cameras.unplug(COMES)


def while_the_panel_binds_it(stage):
    stage.panel.click(CAMERA_BUTTONS[BUTTON])
    stage.cameras.unplug(COMES)


def by_itself_while_it_streams(stage):
    """Nobody tells the kernel: the device stops answering, as with a torn cable."""
    show(stage, COMES)
    stage.cameras.ask("vanish", COMES)
    stage.cameras.wait_until_gone(COMES)
    stage.cameras.ask("plug", COMES)


def several_times_in_a_row(stage):
    stage.cameras.detach(COMES)
    for _ in range(3):
        stage.cameras.attach(COMES)
        stage.cameras.detach(COMES)
    stage.cameras.wait_until_only(STAYS)


WAYS = [while_it_streams, several_times_in_a_row, while_the_panel_binds_it, while_the_other_is_shown,
        by_itself_while_it_streams]


def show(stage, camera):
    stage.panel.click(CAMERA_BUTTONS[BUTTON if camera == COMES else 1])
    wait_for_camera(stage, camera)


def taveloctl(stage, *arguments):
    done = subprocess.run([f"{stage.programs}/taveloctl", *arguments], capture_output=True, text=True, timeout=240,
                          check=False)
    assert (done.returncode, done.stderr) == (0, ""), f"{arguments}: {done.returncode}, {done.stderr}"
    return done.stdout


def identifiers(stage):
    """By the number in the camera's name."""
    return {int(camera["name"].split()[-1]): camera["identifier"]
            for camera in json.loads(taveloctl(stage, "--json", "list"))["cameras"]}


def cycle(stage, way):
    way(stage)
    stage.panel.wait_for("the button of a camera that is gone to be disabled",
                         lambda: not stage.panel.camera_button_enabled(BUTTON), seconds=120)
    wait_for_camera(stage, STAYS)
    stage.cameras.plug(COMES)
    stage.panel.wait_for("its button", lambda: stage.panel.camera_button_enabled(BUTTON), seconds=120)
    stage.keep_kernel_log()


# -------------------------------------------------------------------- cases

def two_cameras_are_plugged_in_and_the_first_is_shown(stage):
    for camera in (STAYS, COMES):
        stage.cameras.plug(camera)
        if not stage.panel:
            stage.open_panel()
            wait_for_camera(stage, STAYS)
    stage.panel.wait_for("the other one's button", lambda: stage.panel.camera_button_enabled(BUTTON))


def each_way_of_unplugging_leaves_the_other_camera_shown(stage):
    for way in WAYS:
        cycle(stage, way)
    stage.before = stage.settled_resources()


def so_does_each_of_many_cycles(stage):
    started = time.monotonic()
    for number in range(CYCLES):
        cycle(stage, WAYS[number % len(WAYS)])
    print(f"{CYCLES} cycles, {(time.monotonic() - started) / CYCLES:.1f} s each")


def the_panel_holds_no_more_than_before(stage):
    now = stage.settled_resources()
    print(f"before: {stage.before}\nafter {CYCLES} cycles: {now}")
    assert now.threads <= stage.before.threads, now
    assert now.descriptors <= stage.before.descriptors, now
    assert now.memory <= stage.before.memory + GROWTH, now


def both_cameras_are_shown_move_and_obey(stage):
    for camera in (COMES, STAYS):
        show(stage, camera)
        before = stage.panel.bytes(PREVIEW)
        stage.panel.wait_for("another picture", lambda: stage.panel.bytes(PREVIEW) != before)
        low, high = stage.cameras.limits(camera, "brightness")
        for start, end, expected in ((0.5, 1, high), (1, 0, low)):
            stage.drag_brightness(start, end)
            stage.panel.wait_for(f"brightness {expected}",
                                 lambda: stage.cameras.value(camera, "brightness") == expected)
        stage.drag_brightness(0, 0.5)


def cameras_of_one_model_that_swap_sockets_take_each_others_profiles(stage):
    """Their serial numbers differ, but most webcams have none."""
    sockets = identifiers(stage)
    for camera, value in BRIGHTNESSES.items():
        taveloctl(stage, "-c", sockets[camera], "set", f"brightness={value}")
        taveloctl(stage, "-c", sockets[camera], "save", "2")
    stage.cameras.unplug_all()
    for camera in (COMES, STAYS):
        stage.cameras.plug(camera)
    assert identifiers(stage) == {COMES: sockets[STAYS], STAYS: sockets[COMES]}
    for button, camera, previous in ((1, COMES, STAYS), (2, STAYS, COMES)):
        stage.panel.click(CAMERA_BUTTONS[button])
        wait_for_camera(stage, camera)
        stage.panel.click(PROFILE_BUTTONS[2])
        stage.panel.wait_for("the profile of the socket",
                             lambda: stage.cameras.value(camera, "brightness") == BRIGHTNESSES[previous])


def the_kernel_has_complained_of_nothing(stage):
    stage.keep_kernel_log()
    assert not stage.complaints, "\n".join(stage.complaints)


def the_panel_ends_when_asked(stage):
    assert stage.panel.quit() == 0
    stage.cameras.unplug_all()
    assert not capture_nodes()


CASES = [
    two_cameras_are_plugged_in_and_the_first_is_shown,
    each_way_of_unplugging_leaves_the_other_camera_shown,
    so_does_each_of_many_cycles,
    the_panel_holds_no_more_than_before,
    both_cameras_are_shown_move_and_obey,
    cameras_of_one_model_that_swap_sockets_take_each_others_profiles,
    the_panel_ends_when_asked,
    the_kernel_has_complained_of_nothing,
]
