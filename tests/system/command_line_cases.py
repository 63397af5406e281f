# SPDX-License-Identifier: MIT
"""taveloctl on the kernel's driver, while another program streams from the camera."""
import contextlib
import json
import os
import pathlib
import subprocess

from rig.processes import running, thread_names
from rig.virtual_cameras import VirtualCameras, extension_unit
from rig.waiting import wait_until

NOBODY = 65534


class Stage:
    def __init__(self, programs, out):
        self.programs = programs
        self.program = programs / "taveloctl"
        self.out = pathlib.Path(out)
        self.cameras = VirtualCameras(programs, out)
        self.nodes = {}
        self.streaming = None
        self.home = pathlib.Path("/run/command-line-home")
        self.home.mkdir(exist_ok=True)

    def call(self, *arguments, **options):
        """taveloctl on camera 1 unless the arguments choose another."""
        camera = [] if "-c" in arguments else ["-c", self.nodes[1]]
        return subprocess.run([self.program, *camera, *arguments], capture_output=True, text=True, timeout=120, check=False,
                              env={**os.environ, "XDG_CONFIG_HOME": str(self.home), "XDG_DATA_HOME": str(self.home),
                                   **options.pop("env", {})}, **options)

    def output(self, *arguments):
        done = self.call(*arguments)
        assert done.returncode == 0 and done.stderr == "", f"{arguments}: {done.returncode} {done.stderr}"
        return done.stdout

    def failure(self, *arguments, **options):
        done = self.call(*arguments, **options)
        assert done.stdout == "" and done.stderr.count("\n") == 1, f"{arguments}: {done.stdout}{done.stderr}"
        return done.returncode, done.stderr.strip()

    def running(self, *arguments):
        camera = [] if "-c" in arguments else ["-c", self.nodes[1]]
        return running([self.program, *camera, *arguments], env={**os.environ, "XDG_CONFIG_HOME": str(self.home)})

    def wait_until_watching(self, process):
        """Until it has a thread that waits for the driver's events."""
        wait_until("the watch", lambda: "v4l2 events" in thread_names(process.pid))

    def pack(self, name):
        """Probes camera 1; the pack without the node, which depends on the order of plugging in."""
        self.output("probe", "--pack", str(self.out / name))
        pack = json.loads((self.out / name).read_text(encoding="utf-8"))
        del pack["node"]
        return pack

    def streams_still(self):
        return self.streaming.poll() is None and self.cameras.streams(1)


@contextlib.contextmanager
def stage(programs, out):
    stage = Stage(programs, out)
    try:
        yield stage
    finally:
        if stage.streaming:
            stage.streaming.kill()
            stage.streaming.wait()
        stage.cameras.close()


def two_cameras_attach_and_another_program_streams_from_the_first(stage):
    for camera in (1, 2):
        stage.nodes[camera] = stage.cameras.plug(camera)
    stage.streaming = subprocess.Popen(
        ["v4l2-ctl", "-d", stage.nodes[1], "--set-fmt-video=width=320,height=240,pixelformat=MJPG",
         "--stream-mmap", "--stream-to=/dev/null"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    wait_until("the other program streams", stage.streams_still)


def list_tells_node_place_formats_and_who_streams(stage):
    text = stage.output("list")
    (stage.out / "list.txt").write_text(text, encoding="utf-8")
    cameras = json.loads(stage.output("list", "--json"))["cameras"]
    assert [camera["node"] for camera in cameras] == sorted(stage.nodes.values()), cameras
    first = next(camera for camera in cameras if camera["node"] == stage.nodes[1])
    second = next(camera for camera in cameras if camera["node"] == stage.nodes[2])
    assert first["open_in"] == [{"program": "v4l2-ctl", "process": stage.streaming.pid}], first
    assert second["open_in"] == [], second
    assert f"v4l2-ctl (process {stage.streaming.pid})" in text, text
    assert pathlib.Path("/sys/bus/usb/devices", first["place"]).exists(), first
    assert {"format": "YUYV", "width": 640, "height": 480, "frames_per_second": 30} in first["formats"], first


def controls_are_those_that_the_driver_has(stage):
    listed = {control["name"] for control in json.loads(stage.output("controls", "--json"))["controls"]}
    (stage.out / "controls-of-taveloctl.txt").write_text(stage.output("controls"), encoding="utf-8")
    unit = {"lamp-mode", "lamp-frequency", "field-of-view", "hdr", "warmth"}
    assert len(listed) == 21 + len(unit) and unit <= listed, listed
    assert not listed & {"scanning-mode", "roll"}, "the driver has neither"


def values_are_set_and_read_while_the_other_program_streams(stage):
    stage.output("set", "brightness=12", "zoom=50%", "power_line_frequency=60hz", "pan=3600")
    assert stage.cameras.value(1, "brightness") == 12
    assert stage.cameras.value(1, "zoom") == 250
    assert stage.cameras.value(1, "powerLine") == 2
    assert stage.output("get", "brightness", "zoom", "power-line-frequency", "pan", "tilt") == "12\n250\n60hz\n3600\n0\n"
    assert stage.streams_still()


def the_lamp_of_the_extension_unit_is_set_through_the_driver(stage):
    stage.output("set", "lamp-mode=blink", "lamp-frequency=25", "warmth==-4", "hdr=on", "field-of-view=narrow")
    assert stage.output("get", "lamp-mode", "lamp-frequency", "warmth", "hdr", "field-of-view") == "blink\n25\n-4\non\nnarrow\n"
    unit = extension_unit(stage.nodes[1])
    lamp, tone = ([request.data.hex() for request in stage.cameras.requests(1, request_type=0x21, selector=selector, entity=unit)]
                  for selector in (1, 3))
    assert lamp == ["020a", "0219"], lamp
    assert tone == ["38", "39"], "the bits of the other control are kept"
    stage.output("set", "lamp-frequency=+1", "lamp-mode=default")
    assert stage.output("get", "lamp-mode", "lamp-frequency") == "off\n26\n"
    status, message = stage.failure("set", "lamp-frequency=201")
    assert status == 1 and "it goes from 1 to 200" in message, message
    assert stage.streams_still()


def a_description_of_another_length_is_refused_before_the_camera_is_written(stage):
    folder = stage.home / "tavelo-control-panel" / "extension-units"
    folder.mkdir(parents=True)
    shipped = stage.programs.parent / "share" / "tavelo-control-panel" / "extension-units" / "tavelo-virtual-camera.json"
    description = json.loads(shipped.read_text(encoding="utf-8"))
    for control in description["controls"]:
        control["length"] += 1
    (folder / shipped.name).write_text(json.dumps(description), encoding="utf-8")
    status, message = stage.failure("set", "lamp-mode=on")
    assert status == 1 and "2 bytes in this camera, and 3 in its description" in message, message
    (folder / shipped.name).unlink()
    assert stage.output("get", "lamp-mode") == "off\n"


def reading_one_value_needs_little_memory(stage):
    """Writes what it costs beside v4l2-ctl into cost.txt."""
    node = stage.nodes[1]
    calls = {"taveloctl": [stage.program, "-c", node, "get", "brightness"],
             "v4l2-ctl": ["v4l2-ctl", "-d", node, "--get-ctrl", "brightness"]}
    lines = []
    for name, call in calls.items():
        costs = [cost_of(call) for _ in range(5)]
        seconds, memory = (min(values) for values in zip(*costs))
        lines.append(f"{name}: {1000 * seconds:.1f} ms of processor time, {memory:.1f} MB\n")
        if name == "taveloctl":
            assert memory <= 20, lines
    (stage.out / "cost.txt").write_text("".join(lines), encoding="utf-8")
    print("".join(lines), end="", flush=True)


def cost_of(call):
    """Processor time in seconds, and memory in MB."""
    # Not the child's own figure, which counts this program's memory too until the child is replaced.
    process = subprocess.Popen(["time", "--format=%M", *call], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    told = process.stderr.read()
    process.stderr.close()
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    assert process.returncode == 0, f"{call}: {told}"
    return usage.ru_utime + usage.ru_stime, int(told.split()[-1]) / 1024


def a_value_between_two_steps_is_told_as_the_driver_rounded_it(stage):
    assert stage.output("set", "iris=290") in ("iris: the camera took 280\n", "iris: the camera took 300\n")


def a_value_that_an_automatic_sets_is_refused_unless_forced(stage):
    status, message = stage.failure("set", "focus_absolute=50")
    assert status == 1 and "focus-auto sets it" in message, message
    stage.output("set", "--force", "focus_absolute=50")
    assert stage.cameras.value(1, "focus") == 50


def the_camera_is_found_by_identifier_and_by_a_part_of_its_name(stage):
    cameras = json.loads(stage.output("list", "--json"))["cameras"]
    second = next(camera for camera in cameras if camera["node"] == stage.nodes[2])
    stage.output("-c", second["identifier"], "set", "contrast=7")
    assert stage.cameras.value(2, "contrast") == 7
    assert stage.output("-c", second["name"].upper(), "get", "contrast") == "7\n"
    assert stage.cameras.value(1, "contrast") != 7


def a_saved_profile_comes_back_after_a_reset(stage):
    stage.output("save", "1")
    stage.output("reset")
    assert stage.cameras.value(1, "brightness") == 0
    stage.output("apply", "1")
    assert stage.cameras.value(1, "brightness") == 12
    assert stage.cameras.value(1, "zoom") == 250
    assert stage.streams_still()


def a_profile_of_one_camera_is_given_to_the_other(stage):
    stage.output("export", "/run/profiles.json")
    stage.output("-c", stage.nodes[2], "import", "/run/profiles.json")
    stage.output("-c", stage.nodes[2], "apply", "1")
    assert stage.cameras.value(2, "brightness") == 12


def whoever_has_no_right_to_the_camera_is_told_so(stage):
    status, message = stage.failure("get", "brightness", user=NOBODY, group=NOBODY, extra_groups=[],
                                    env={"HOME": "/nonexistent"})
    assert status == 5 and "video" in message, f"{status} {message}"


def monitor_tells_what_another_program_changes_as_it_happens(stage):
    with stage.running("monitor", "--json") as monitor:
        stage.wait_until_watching(monitor)
        subprocess.run(["v4l2-ctl", "-d", stage.nodes[1], "-c", "contrast=9"], check=True, timeout=60)
        event = json.loads(monitor.stdout.readline())
        assert (event["event"], event["control"], event["value"]) == ("changed", "contrast", 9), event
        monitor.terminate()
        assert monitor.wait(timeout=60) == 0


def watch_brings_a_profile_back_after_a_replug_and_keeps_it(stage):
    """Camera 2 holds the profile of camera 1 since it was imported."""
    identifier = next(camera["identifier"] for camera in json.loads(stage.output("list", "--json"))["cameras"]
                      if camera["node"] == stage.nodes[2])
    with stage.running("-c", identifier, "watch", "1", "--keep") as watch:
        assert "profile 1 applied" in watch.stdout.readline()
        stage.cameras.unplug(2)
        stage.cameras.ask("set", 2, "brightness", -9)
        stage.nodes[2] = stage.cameras.plug(2)
        assert "profile 1 applied" in watch.stdout.readline()
        assert stage.cameras.value(2, "brightness") == 12
        # Another program resets the camera, as a web browser does.
        subprocess.run(["v4l2-ctl", "-d", stage.nodes[2], "-c", "brightness=0,zoom_absolute=100"], check=True, timeout=60)
        assert "put back: brightness, zoom" in watch.stdout.readline()
        assert stage.cameras.value(2, "brightness") == 12 and stage.cameras.value(2, "zoom") == 250
        watch.terminate()
        assert watch.wait(timeout=60) == 0


def a_camera_that_vanishes_is_no_longer_found(stage):
    node = stage.nodes[2]
    stage.cameras.unplug(2)
    status, message = stage.failure("-c", node, "get", "brightness")
    assert status == 3, f"{status} {message}"


def a_camera_reborn_from_its_pack_gives_the_same_pack(stage):
    stage.streaming.kill()
    stage.streaming.wait()
    first = stage.pack("probed.json")
    stage.cameras.unplug_all()
    assert stage.cameras.close() == 0
    stage.cameras = VirtualCameras(stage.programs, stage.out, cameras=1, options=["--like", stage.out / "probed.json"])
    stage.nodes = {1: stage.cameras.plug(1)}
    reborn = stage.pack("reborn.json")
    assert reborn == first, "probed.json and reborn.json differ"
    mapped = [control for control in first["controls"] if isinstance(control["driver"], list)]
    assert len(mapped) > 18, first["controls"]


def probing_over_usb_reads_the_same_descriptors(stage):
    """The last case: the camera gets another node afterwards."""
    over_kernel = stage.pack("over-kernel.json")
    identifier = json.loads(stage.output("list", "--json"))["cameras"][0]["identifier"]
    stage.output("--transport", "usb", "-c", identifier, "probe", "--pack", str(stage.out / "over-usb.json"))
    over_usb = json.loads((stage.out / "over-usb.json").read_text(encoding="utf-8"))
    assert (over_kernel["transport"], over_usb["transport"]) == ("kernel", "usb")
    for member in ("device_descriptor", "configuration_descriptor", "control_interface", "product", "speed"):
        assert over_usb[member] == over_kernel[member], f"{member}: over-kernel.json and over-usb.json differ"
    listed = [{(control["entity"], control["selector"]) for control in pack["controls"] if control["listed"]}
              for pack in (over_kernel, over_usb)]
    assert listed[0] == listed[1] and len(listed[0]) > 20, listed
    assert {control["answered_by"] for control in over_usb["controls"]} == {"camera"}
    wait_until("the driver to have the camera again",
               lambda: json.loads(stage.output("-c", "1", "list", "--json"))["cameras"])


CASES = [
    two_cameras_attach_and_another_program_streams_from_the_first,
    list_tells_node_place_formats_and_who_streams,
    controls_are_those_that_the_driver_has,
    values_are_set_and_read_while_the_other_program_streams,
    the_lamp_of_the_extension_unit_is_set_through_the_driver,
    a_description_of_another_length_is_refused_before_the_camera_is_written,
    reading_one_value_needs_little_memory,
    a_value_between_two_steps_is_told_as_the_driver_rounded_it,
    a_value_that_an_automatic_sets_is_refused_unless_forced,
    the_camera_is_found_by_identifier_and_by_a_part_of_its_name,
    a_saved_profile_comes_back_after_a_reset,
    a_profile_of_one_camera_is_given_to_the_other,
    whoever_has_no_right_to_the_camera_is_told_so,
    monitor_tells_what_another_program_changes_as_it_happens,
    watch_brings_a_profile_back_after_a_replug_and_keeps_it,
    a_camera_that_vanishes_is_no_longer_found,
    a_camera_reborn_from_its_pack_gives_the_same_pack,
    probing_over_usb_reads_the_same_descriptors,
]
