#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The real panel's service on a private session bus: taveloctl uses it, and the bus starts it.

usage: service_program_test.py FAST_CLOCK PANEL TAVELOCTL"""
import json
import os
import pathlib
import re
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest

from waiting import PATIENCE, wait_until

sys.path.append(str(pathlib.Path(__file__).resolve().parent.parent / "system"))

# pylint: disable=wrong-import-position
from rig.processes import thread_names

FAST_CLOCK, PANEL, TAVELOCTL = map(os.path.abspath, sys.argv[-3:])
del sys.argv[-3:]
SERVICE = "org.tavelo.ControlPanel"
# They run while a window exists, and pass a camera's pictures on.
PREVIEW_THREADS = {"kt.captureQueue"}
NO_DISPLAY = {"DISPLAY": None, "WAYLAND_DISPLAY": None, "QT_QPA_PLATFORM": None}


class Bus:
    """A session bus of its own, which can start the panel."""

    def __init__(self, folder, options, launcher=""):
        services = folder / "services"
        services.mkdir()
        (services / f"{SERVICE}.service").write_text(
            f'[D-BUS Service]\nName={SERVICE}\nExec={launcher} "{PANEL}" --service {options}\n', encoding="utf-8")
        config = folder / "bus.conf"
        config.write_text(
            f"""<busconfig><type>session</type><listen>unix:dir={folder}</listen>
            <servicedir>{services}</servicedir><policy context="default"><allow send_destination="*" eavesdrop="true"/>
            <allow eavesdrop="true"/><allow own="*"/></policy></busconfig>""", encoding="utf-8")
        self.folder = folder
        self.daemon = None

    def start(self, environment):
        self.daemon = subprocess.Popen(
            ["dbus-daemon", f"--config-file={self.folder}/bus.conf", "--nofork", "--print-address=1"],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, env=environment)
        return self.daemon.stdout.readline().strip()

    def end(self):
        self.daemon.terminate()
        self.daemon.wait()  # not communicate(): what it started has its output
        self.daemon.stdout.close()


class ServiceProgram(unittest.TestCase):
    options = "--virtual-cameras 2 --renderer cpu"

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.bus = None
        self.environment = {}
        self.shows_window = False  # the service that the bus started
        self.started = []
        self.addCleanup(self.end_all)

    def start_bus(self, launcher="", **changes):
        """Programs, also those that the bus starts, see the environment with these changes."""
        self.bus = Bus(self.folder, self.options, launcher)
        environment = dict(os.environ, QT_QPA_PLATFORM="offscreen", XDG_CONFIG_HOME=str(self.folder), LC_ALL="C.UTF-8")
        environment.update(changes)
        self.environment = {name: value for name, value in environment.items() if value is not None}
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = self.bus.start(self.environment)

    def end_all(self):
        for process in self.started:
            if process.poll() is None:
                process.kill()
            process.communicate()
        if self.bus:
            number = self.owner_process()
            self.bus.end()
            if number:  # a service without a window ends with its bus
                if self.shows_window:
                    os.kill(number, signal.SIGTERM)
                wait_until("the service's end", lambda: not os.path.exists(f"/proc/{number}"))

    def run_tool(self, *arguments):
        return subprocess.run([TAVELOCTL, *map(str, arguments)], capture_output=True, text=True, env=self.environment,
                              cwd=self.folder, timeout=PATIENCE, check=False)

    def printed(self, *arguments):
        result = self.run_tool(*arguments)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return result.stdout

    def start(self, *arguments):
        process = subprocess.Popen(list(map(str, arguments)), env=self.environment, cwd=self.folder, text=True,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.started.append(process)
        return process

    def bus_call(self, method, *arguments, interface=SERVICE + "1", where=SERVICE, path="/org/tavelo/ControlPanel"):
        return subprocess.run(
            ["dbus-send", "--session", "--print-reply", f"--dest={where}", path, f"{interface}.{method}", *arguments],
            capture_output=True, text=True, env=self.environment, timeout=PATIENCE, check=False)

    def ask_daemon(self, method, *arguments):
        return self.bus_call(method, *arguments, interface="org.freedesktop.DBus", where="org.freedesktop.DBus",
                             path="/org/freedesktop/DBus").stdout

    def is_owned(self):
        return "boolean true" in self.ask_daemon("NameHasOwner", f"string:{SERVICE}")

    def owner_process(self):
        if not self.is_owned():
            return None
        found = re.search(r"uint32 (\d+)", self.ask_daemon("GetConnectionUnixProcessID", f"string:{SERVICE}"))
        return int(found[1]) if found else None

    def property(self, name):
        answer = self.bus_call("Get", f"string:{SERVICE}1", f"string:{name}", interface="org.freedesktop.DBus.Properties")
        found = re.search(r'string "(.*)"', answer.stdout)
        return found[1] if found else None

    def start_panel(self):
        """Returns once the panel shows its camera."""
        self.start_bus()
        panel = self.start(PANEL, *self.options.split())
        wait_until("owner of the name", self.is_owned)
        wait_until("shown camera", lambda: self.property("ShownCamera"))
        return panel

    def assert_movie(self, file, shortest, longest):
        probe = subprocess.run(
            ["ffprobe", "-v", "error", "-show_streams", "-show_format", "-of", "json", file],
            capture_output=True, text=True, check=True, timeout=PATIENCE)
        facts = json.loads(probe.stdout)
        self.assertEqual([stream["codec_name"] for stream in facts["streams"]], ["h264"])
        self.assertEqual((facts["streams"][0]["width"], facts["streams"][0]["height"]), (1280, 720))
        self.assertGreater(float(facts["format"]["duration"]), shortest)
        self.assertLess(float(facts["format"]["duration"]), longest)

    def assert_picture(self, file):
        data = file.read_bytes()
        self.assertTrue(data.startswith(b"\x89PNG\r\n\x1a\n"))
        self.assertTrue(data.endswith(b"IEND\xaeB`\x82"))
        self.assertEqual(struct.unpack(">II", data[16:24]), (1280, 720))

    # Through an open panel

    def test_a_snapshot_is_the_panels_picture(self):
        panel = self.start_panel()
        still = self.folder / "still.png"
        begin = time.monotonic()
        result = self.run_tool("snapshot", still.name)  # relative: the panel has another folder
        took = time.monotonic() - begin
        print(f"a snapshot through the panel took {1000 * took:.0f} ms", flush=True)
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))
        self.assert_picture(still)
        self.assertLess(took, 5, "a generous bound for a busy machine")
        self.assertIsNone(panel.poll())

    def test_a_recording_has_the_duration_that_was_asked_for(self):
        self.start_panel()
        movie = self.folder / "movie.mp4"
        result = self.run_tool("record", movie, "--duration", "1.5", "--camera", "1")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assert_movie(movie, 0.5, 1.7)
        self.assertEqual(self.property("RecordingFile"), "")

    def test_control_c_ends_a_recording_and_the_file_is_complete(self):
        self.start_panel()
        for number in (signal.SIGINT, signal.SIGTERM):
            movie = self.folder / f"movie-{number}.mp4"
            tool = self.start(TAVELOCTL, "record", movie)
            wait_until("pieces of the movie", lambda: movie.exists() and b"moof" in movie.read_bytes())
            self.assertEqual(self.property("RecordingFile"), str(movie))
            tool.send_signal(number)
            self.assertEqual(tool.communicate(timeout=PATIENCE), ("", ""))
            self.assertEqual(tool.returncode, 0)
            self.assert_movie(movie, 0, PATIENCE)
            self.assertNotIn(b"moof", movie.read_bytes())

    def test_a_second_recording_is_busy_and_a_snapshot_works_beside_the_first(self):
        self.start_panel()
        movie = self.folder / "movie.mp4"
        tool = self.start(TAVELOCTL, "record", movie)
        wait_until("recording", lambda: self.property("RecordingFile"))
        second = self.run_tool("record", "other.mp4")
        self.assertEqual(second.returncode, 4, second.stderr)
        self.assertIn(f"a movie is being recorded: {movie}", second.stderr)
        still = self.folder / "still.png"
        self.assertEqual(self.run_tool("snapshot", still).returncode, 0)
        self.assert_picture(still)
        tool.send_signal(signal.SIGINT)
        tool.communicate(timeout=PATIENCE)
        self.assertEqual(tool.returncode, 0)

    def test_files_that_cannot_be_written_are_one_line_and_status_one(self):
        self.start_panel()
        for verb in ("snapshot", "record"):
            result = self.run_tool(verb, "/nowhere/file")
            self.assertEqual(result.returncode, 1)
            self.assertEqual(result.stderr.count("\n"), 1, result.stderr)
            self.assertIn("/nowhere/file", result.stderr)

    def test_a_duration_of_nothing_is_refused_although_the_panel_knows_no_end_by_it(self):
        self.start_panel()
        tool = self.start(TAVELOCTL, "record", "movie.mp4", "--duration", "0")
        self.assertEqual(tool.wait(timeout=PATIENCE), 3, "taveloctl itself has no cameras")
        self.assertFalse((self.folder / "movie.mp4").exists())

    def test_a_panel_that_ends_during_a_recording_ends_taveloctl_too(self):
        panel = self.start_panel()
        movie = self.folder / "movie.mp4"
        tool = self.start(TAVELOCTL, "record", movie)
        wait_until("pieces of the movie", lambda: movie.exists() and b"moof" in movie.read_bytes())
        panel.terminate()
        _, errors = tool.communicate(timeout=PATIENCE)
        self.assertEqual(tool.returncode, 1)
        self.assertIn("the panel ended", errors)
        self.assertEqual(panel.wait(timeout=PATIENCE), 0)
        self.assert_movie(movie, 0, PATIENCE)

    def test_a_camera_that_the_panel_does_not_show_is_used_directly(self):
        self.start_panel()
        result = self.run_tool("snapshot", "still.png", "--camera", "2")
        # taveloctl itself has no cameras.
        self.assertEqual(result.returncode, 3, result.stderr)

    # taveloctl itself has no cameras, as if the panel had taken the node away.

    def test_controls_are_read_and_set_through_the_panel_that_holds_the_camera(self):
        self.start_panel()
        self.assertEqual(self.printed("set", "brightness=12", "zoom=50%", "focus-auto=off", "warmth==-4"), "")
        self.assertEqual(self.printed("get", "brightness", "zoom", "focus_auto", "lamp-mode", "warmth"), "12\n250\noff\noff\n-4\n")
        self.assertEqual(self.printed("set", "brightness=+3"), "")
        self.assertEqual(self.printed("--json", "get", "brightness", "focus-auto", "lamp-mode"),
                         '{"camera":"0x7e10000012090001","values":{"brightness":15,"focus-auto":false,"lamp-mode":"off"},'
                         '"version":1}\n')
        self.assertEqual(self.printed("-c2", "--json", "set", "--force", "focus=20"),
                         '{"camera":"0x7e20000012090001","values":{"focus":20,"focus-auto":false},"version":1}\n')
        self.assertEqual(self.printed("-c", "virtual camera 2", "set", "contrast=5"), "")
        self.assertEqual(self.printed("-c", "2", "get", "contrast"), "5\n")
        self.assertNotEqual(self.printed("get", "contrast"), "5\n")

    def test_controls_of_the_panel_are_listed_as_those_of_the_same_camera_elsewhere(self):
        self.start_panel()
        for words in (("controls",), ("--json", "controls")):
            self.assertIn("lamp-frequency", self.printed(*words))
            self.assertEqual(self.printed("-c", "2", *words), self.printed("--virtual-cameras", "2", "-c", "2", *words))

    def test_what_the_panel_refuses_has_the_reason_and_status(self):
        self.start_panel()
        for status, words, reason in (
                (1, ("set", "brightness=65"), "brightness: 65 is not possible: it goes from -64 to 64"),
                (1, ("set", "focus=5"), "focus: focus-auto sets it"),
                (1, ("get", "led-mode"), "the camera has no led-mode"),
                (2, ("set", "brightness=1", "brightness=+1"), "brightness is named twice"),
                (2, ("set", "field-of-view"), "is not NAME=VALUE"),
                (2, ("set", "field-of-view=round"), 'field-of-view: "round" is not '),
                (3, ("-c", "3", "get", "zoom"), "no camera 3: none is plugged in")):
            with self.subTest(words):
                result = self.run_tool(*words)
                self.assertEqual((result.returncode, result.stdout), (status, ""), result.stderr)
                self.assertEqual(result.stderr.count("\n"), 1, result.stderr)
                self.assertIn(reason, result.stderr)

    def test_own_virtual_cameras_are_never_the_panels(self):
        self.start_panel()
        self.assertEqual(self.printed("set", "brightness=12"), "")
        self.assertEqual(self.printed("--virtual-cameras", "1", "get", "brightness"), "0\n")
        self.assertEqual(self.run_tool("--virtual-cameras", "1", "-c", "2", "get", "brightness").returncode, 3)

    def test_taveloctl_never_starts_the_service(self):
        self.start_bus()
        self.run_tool("get", "brightness")
        self.run_tool("snapshot", "still.png")
        self.run_tool("record", "movie.mp4", "--duration", "1")
        still = self.folder / "direct.png"
        result = self.run_tool("snapshot", still, "--virtual-cameras", "1")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assert_picture(still)
        self.assertFalse(self.is_owned())

    def test_a_still_of_a_camera_like_a_pack(self):
        self.start_bus()
        self.assertTrue(self.printed("--virtual-cameras", "1", "probe", "--pack", "pack.json"))
        pack = self.folder / "pack.json"
        pack.write_text(pack.read_text(encoding="utf-8").replace("Tavelo Virtual Camera 1", "Recorded Camera"),
                        encoding="utf-8")
        self.assertIn("Recorded Camera", self.printed("--like", "pack.json", "list"))
        still = self.folder / "still.png"
        self.assertEqual(self.printed("--like", "pack.json", "snapshot", still), "")
        self.assert_picture(still)

    # Started by the bus

    def assert_serves_without_window_and_stream(self):
        answer = self.bus_call("List")
        self.assertEqual(answer.returncode, 0, answer.stderr)
        self.assertIn("Tavelo Virtual Camera 2", answer.stdout)
        self.assertNotIn("boolean true", answer.stdout, "no camera is shown")
        self.assertEqual(self.property("ShownCamera"), "")
        threads = self.threads()
        self.assertTrue(threads)
        self.assertFalse(threads & PREVIEW_THREADS)
        snapshot = self.bus_call("Snapshot", "string:1", f"string:{self.folder}/still.png")
        self.assertIn("Error.NotShown", snapshot.stderr)

    def show_window(self):
        self.assertEqual(self.bus_call("Show").returncode, 0)
        self.shows_window = True

    def threads(self):
        return thread_names(self.owner_process())

    def test_a_call_starts_the_service_without_window_and_stream(self):
        self.start_bus()
        self.assert_serves_without_window_and_stream()
        self.show_window()
        self.assertLessEqual(PREVIEW_THREADS, self.threads(), "how a preview would have shown")

    def test_a_call_starts_the_service_without_a_display(self):
        self.start_bus(**NO_DISPLAY)
        self.assert_serves_without_window_and_stream()

    def test_show_shows_the_window_and_its_camera(self):
        self.start_bus()
        self.show_window()
        self.assertNotEqual(self.property("ShownCamera"), "")
        still = self.folder / "still.png"
        self.assertEqual(self.run_tool("snapshot", still).returncode, 0)
        self.assert_picture(still)

    def test_activate_shows_the_window_too(self):
        self.start_bus()
        second = self.start(PANEL)
        # The bus does not start the service for this: the panel takes the name itself.
        wait_until("owner of the name", self.is_owned)
        second.terminate()
        self.assertEqual(second.wait(timeout=PATIENCE), 0)
        self.assertEqual(self.bus_call("List").returncode, 0)
        again = self.start(PANEL)
        self.assertEqual(again.wait(timeout=PATIENCE), 0, "it found the service")
        self.shows_window = True
        wait_until("shown camera", lambda: self.property("ShownCamera"))

    def test_without_a_display_show_is_an_error(self):
        self.start_bus(**NO_DISPLAY)
        answer = self.bus_call("Show")
        self.assertEqual(answer.returncode, 1)
        self.assertIn("Error.Failed: no display", answer.stderr)
        self.assertTrue(self.is_owned(), "it goes on")

    def test_a_panel_takes_the_place_of_a_service_without_a_display(self):
        self.start_bus(**NO_DISPLAY)
        self.assertEqual(self.bus_call("List").returncode, 0)
        service = self.owner_process()
        self.environment["QT_QPA_PLATFORM"] = "offscreen"
        panel = self.start(PANEL, *self.options.split())
        wait_until("shown camera", lambda: self.property("ShownCamera"))
        self.assertEqual(self.owner_process(), panel.pid)
        wait_until("end of the service", lambda: not os.path.exists(f"/proc/{service}"))

    def test_a_second_service_ends_at_once(self):
        self.start_panel()
        second = self.start(PANEL, "--service")
        self.assertEqual(second.communicate(timeout=PATIENCE), ("", ""))
        self.assertEqual(second.returncode, 0)

    # Two idle minutes are four seconds for a service whose clock is fast.
    IDLE = 4

    def start_service_with_fast_clock(self):
        self.start_bus(f'/usr/bin/env "LD_PRELOAD={FAST_CLOCK}"')
        self.assertEqual(self.bus_call("List").returncode, 0)
        return self.owner_process()

    def assert_outlives_its_idle_time(self, service, meanwhile):
        end = time.monotonic() + 1.5 * self.IDLE
        while time.monotonic() < end:
            meanwhile()
            time.sleep(0.1)
        self.assertEqual(self.owner_process(), service)

    def test_a_service_that_nobody_uses_ends_after_two_minutes(self):
        began = time.monotonic()
        service = self.start_service_with_fast_clock()
        wait_until("end of the service", lambda: not os.path.exists(f"/proc/{service}"))
        self.assertGreater(time.monotonic() - began, 0.9 * self.IDLE)
        self.assertFalse(self.is_owned())
        self.assertEqual(self.bus_call("List").returncode, 0, "the bus starts another")

    def test_each_call_gives_the_service_two_minutes_more(self):
        service = self.start_service_with_fast_clock()
        self.assert_outlives_its_idle_time(service, lambda: self.assertEqual(self.bus_call("List").returncode, 0))

    def test_a_service_with_a_window_does_not_end(self):
        service = self.start_service_with_fast_clock()
        self.show_window()
        # The bus is asked, not the service.
        self.assert_outlives_its_idle_time(service, lambda: self.assertTrue(self.is_owned()))

    def test_without_a_bus_there_is_no_service(self):
        self.start_bus()
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=/no such bus"
        service = self.start(PANEL, "--service")
        _, errors = service.communicate(timeout=PATIENCE)
        self.assertEqual(service.returncode, 1)
        self.assertIn("--service: there is no session bus", errors)
        self.environment.pop("DBUS_SESSION_BUS_ADDRESS")
        self.bus.end()
        self.bus = None


if __name__ == "__main__":
    unittest.main(verbosity=2)
