#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Installs the build into an empty folder and checks the result.

Usage: installation_test.py CMAKE BUILD_FOLDER
"""
import configparser
import json
import os
import pathlib
import re
import shlex
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

ID = "org.tavelo.ControlPanel"
CONTROLS = ["Brightness", "Contrast", "Saturation", "White_Balance", "Sharpness", "Zoom", "Pan_left_right", "Pan_up_down"]
TABLES = sorted((pathlib.Path(__file__).parents[2] / "resources" / "strings").glob("*.json"))


def png_size(path):
    """Width and height from the PNG header."""
    head = path.read_bytes()[:24]
    if not head.startswith(b"\x89PNG\r\n\x1a\n"):
        raise ValueError(f"{path} is no PNG file")
    return struct.unpack(">II", head[16:24])


class Installation(unittest.TestCase):
    cmake, build = "", ""

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.prefix = pathlib.Path(cls.folder.name) / "usr"
        subprocess.run([cls.cmake, "--install", cls.build, "--prefix", cls.prefix], check=True, stdout=subprocess.DEVNULL)
        cls.share = cls.prefix / "share"
        cls.desktop_file = cls.share / "applications" / f"{ID}.desktop"
        cls.metainfo_file = cls.share / "metainfo" / f"{ID}.metainfo.xml"
        parser = configparser.ConfigParser(interpolation=None, delimiters="=")
        parser.optionxform = str
        parser.read(cls.desktop_file, encoding="utf-8")
        cls.entry = parser["Desktop Entry"]

    def test_the_installed_panel_starts_and_takes_a_picture_of_itself(self):
        home = pathlib.Path(self.folder.name) / "home"
        home.mkdir(mode=0o700)
        picture = home / "panel.png"
        environment = dict(os.environ, HOME=str(home), XDG_CONFIG_HOME=str(home), XDG_RUNTIME_DIR=str(home))
        environment.pop("DBUS_SESSION_BUS_ADDRESS", None)  # otherwise a panel that the user has open would answer
        # The panel has its full size only if the screen is large enough.
        screen = home / "screen.json"
        screen.write_text('{"screens": [{"name": "desk", "x": 0, "y": 0, "width": 1920, "height": 1080}]}', encoding="utf-8")
        environment.update(QT_QPA_PLATFORM=f"offscreen:configfile={screen}", QT_SCALE_FACTOR="1")
        program = self.prefix / "bin" / self.entry["Exec"]
        subprocess.run(
            [program, "--virtual-cameras", "1", "--renderer", "cpu", "--screenshot", picture], check=True, env=environment, cwd=home, timeout=90
        )
        self.assertEqual(png_size(picture), (1111, 660))

    def test_the_virtual_camera_is_installed(self):
        program = self.prefix / "bin" / "tavelo-virtual-camera"
        subprocess.run([program, "--help"], check=True, stdout=subprocess.DEVNULL, timeout=60)

    def test_the_command_line_is_installed_with_its_completion(self):
        program = self.prefix / "bin" / "taveloctl"
        listed = subprocess.run([program, "--virtual-cameras", "1", "list"], check=True, capture_output=True, text=True, timeout=60).stdout
        self.assertIn("0x7e10000012090001", listed)
        for file in ("bash-completion/completions/taveloctl", "zsh/site-functions/_taveloctl",
                     "fish/vendor_completions.d/taveloctl.fish", "doc/TaveloControlPanel/taveloctl.schema.json"):
            self.assertTrue((self.share / file).is_file(), file)

    def test_every_program_has_its_man_page(self):
        programs = {file.name for file in (self.prefix / "bin").iterdir()}
        self.assertEqual({f"{name}.1" for name in programs}, {file.name for file in (self.share / "man" / "man1").iterdir()})

    def test_the_manual_is_installed_where_the_program_and_people_look_for_it(self):
        manual = self.share / "tavelo-control-panel" / "manual"
        page = (manual / "index.html").read_text(encoding="utf-8")
        pictures = re.findall('src="([^"]+)"', page)
        chapters = [target for target in re.findall('href="([^"]+)"', page) if target.endswith(".html")]
        self.assertGreater(len(chapters), 9)
        self.assertTrue(pictures)
        for file in chapters + pictures:
            self.assertTrue((manual / file).is_file(), file)
        self.assertTrue((self.share / "doc" / "tavelo-control-panel" / "manual" / "index.html").is_file())

    def test_the_descriptions_of_extension_units_are_installed_where_the_program_looks_for_them(self):
        names = {file.name for file in (self.share / "tavelo-control-panel" / "extension-units").iterdir()}
        self.assertLessEqual({"tavelo-virtual-camera.json", "logitech-hardware.json"}, names)
        moved = pathlib.Path(self.folder.name) / "moved"
        shutil.copytree(self.prefix, moved)
        value = subprocess.run([moved / "bin" / "taveloctl", "--virtual-cameras", "1", "get", "lamp-mode"], check=True,
                               capture_output=True, text=True, timeout=60).stdout
        self.assertEqual(value, "off\n")

    def test_the_watch_over_taken_cameras_is_installed_where_the_panel_looks_for_it(self):
        program = self.prefix / "libexec" / "tavelo" / "tavelo-driver-watch"
        result = subprocess.run([program, "/nowhere", "0"], stdin=subprocess.DEVNULL, timeout=60, check=False)
        self.assertEqual(result.returncode, 1)

    def test_the_rule_for_the_device_manager_is_installed(self):
        rule = self.prefix / "lib" / "udev" / "rules.d" / "70-tavelo-control-panel.rules"
        lines = [line for line in rule.read_text(encoding="utf-8").splitlines() if line and not line.startswith("#")]
        self.assertEqual(len(lines), 1)
        self.assertIn('TAG+="uaccess"', lines[0])
        # Debian 12's udevadm cannot verify rules yet.
        can = shutil.which("udevadm") and "verify" in subprocess.run(["udevadm", "--help"], capture_output=True, text=True,
                                                                     check=False, timeout=60).stdout
        if can:
            subprocess.run(["udevadm", "verify", rule], check=True, stdout=subprocess.DEVNULL, timeout=60)

    def test_the_service_that_watches_cameras_is_valid(self):
        unit = self.prefix / "lib" / "systemd" / "user" / "tavelo-watch.service"
        text = unit.read_text(encoding="utf-8")
        self.assertIn("\nExecStart=taveloctl watch\n", text)
        if not shutil.which("systemd-analyze"):
            self.skipTest("systemd-analyze is not installed")
        # The service finds the program in systemd's path, where this installation is not.
        copy = pathlib.Path(self.folder.name) / unit.name
        copy.write_text(text.replace("=taveloctl ", f"={self.prefix}/bin/taveloctl "), encoding="utf-8")
        # Without a folder for run-time data it stops before it reads the file.
        environment = dict(os.environ, XDG_RUNTIME_DIR=self.folder.name)
        result = subprocess.run(["systemd-analyze", "verify", "--user", "--man=no", copy], env=environment,
                                capture_output=True, text=True, check=False, timeout=60)
        complaints = [line for line in result.stderr.splitlines() if unit.name in line]
        self.assertEqual((result.returncode, complaints), (0, []), result.stderr)

    def test_the_watch_can_be_started_with_the_session_but_is_not(self):
        entry = self.share / "tavelo" / "autostart" / f"{ID}.Watch.desktop"
        subprocess.run(["desktop-file-validate", entry], check=True)
        self.assertIn("\nExec=taveloctl watch\n", entry.read_text(encoding="utf-8"))
        self.assertFalse((self.prefix / "etc").exists())

    def test_the_session_bus_can_start_the_installed_panel(self):
        parser = configparser.ConfigParser(interpolation=None)
        parser.read(self.share / "dbus-1" / "services" / f"{ID}.service", encoding="utf-8")
        self.assertEqual(parser["D-BUS Service"]["Name"], ID)
        program, option = shlex.split(parser["D-BUS Service"]["Exec"])
        self.assertEqual((program, option), (str(self.prefix / "bin" / self.entry["Exec"]), "--service"))
        interfaces = ElementTree.parse(self.share / "dbus-1" / "interfaces" / f"{ID}1.xml").getroot().findall("interface")
        self.assertEqual([interface.get("name") for interface in interfaces], [f"{ID}1"])

    def test_the_desktop_file_is_valid(self):
        subprocess.run(["desktop-file-validate", self.desktop_file], check=True)

    def test_the_desktop_file_speaks_the_languages_of_the_panel(self):
        self.assertGreaterEqual(len(TABLES), 6)
        for table in TABLES:
            desktop = json.loads(table.read_text(encoding="utf-8"))["desktop"]
            language = "" if table.stem == "en" else f"[{desktop['locale']}]"
            self.assertEqual(self.entry.get("Name" + language), "Tavelo Control Panel")
            for key in ("GenericName", "Comment", "Keywords"):
                self.assertEqual(self.entry.get(key + language), desktop[key], table.stem)

    def test_the_desktop_files_program_and_icon_are_installed(self):
        for key in ("Exec", "TryExec"):
            self.assertTrue(os.access(self.prefix / "bin" / self.entry[key], os.X_OK), key)
        icons = self.share / "icons" / "hicolor"
        self.assertTrue((icons / "scalable" / "apps" / f"{self.entry['Icon']}.svg").exists())
        for side in (16, 24, 32, 48, 64, 128, 256, 512):
            size = png_size(icons / f"{side}x{side}" / "apps" / f"{self.entry['Icon']}.png")
            self.assertEqual(size, (side, side))
        symbolic = ElementTree.parse(icons / "symbolic" / "apps" / f"{self.entry['Icon']}-symbolic.svg").getroot()
        self.assertEqual((symbolic.get("width"), symbolic.get("height")), ("16", "16"))
        # Desktops replace this one colour by that of their text.
        self.assertEqual({shape.get("fill") for shape in symbolic}, {"#222222"})

    def test_the_metainfo_is_valid(self):
        subprocess.run(
            ["appstreamcli", "validate", "--no-net", self.metainfo_file], check=True, stdout=subprocess.DEVNULL
        )

    def test_the_metainfo_has_screenshots_if_the_projects_files_are_on_the_web(self):
        self.assertEqual(ElementTree.parse(self.metainfo_file).getroot().findall("screenshots"), [])
        source, build = pathlib.Path(__file__).parents[2], pathlib.Path(self.folder.name) / "on-the-web"
        address = "https://files.example.org/panel"
        subprocess.run([self.cmake, "-G", "Ninja", "-S", source, "-B", build, f"-DTAVELO_WEB_ADDRESS={address}", "-DBUILD_TESTING=OFF"],
                       check=True, capture_output=True, timeout=120)
        metainfo = build / "resources" / self.metainfo_file.name
        subprocess.run(["appstreamcli", "validate", "--no-net", metainfo], check=True, stdout=subprocess.DEVNULL)
        images = [image.text for image in ElementTree.parse(metainfo).getroot().iterfind("screenshots/screenshot/image")]
        self.assertGreaterEqual(len(images), 3)
        for image in images:
            self.assertTrue(image.startswith(address + "/"), image)
            self.assertTrue((source / image.removeprefix(address + "/")).is_file(), image)

    def test_the_metainfo_calls_the_controls_as_the_panel_does(self):
        root = ElementTree.parse(self.metainfo_file).getroot()
        for table in TABLES:
            texts = json.loads(table.read_text(encoding="utf-8"))
            language = None if table.stem == "en" else texts["desktop"]["locale"]
            told = " ".join(
                " ".join(text.text.split()) for text in root.iterfind("description/p")
                if text.get("{http://www.w3.org/XML/1998/namespace}lang") == language
            ).casefold()
            for key in CONTROLS:
                name = re.split(r" \(|（", texts[key])[0]
                self.assertIn(name.casefold(), told, f"{key} in {table.stem}")

    def test_the_metainfo_belongs_to_the_desktop_file(self):
        root = ElementTree.parse(self.metainfo_file).getroot()
        self.assertEqual(root.findtext("id"), ID)
        self.assertEqual(root.findtext("launchable"), self.desktop_file.name)
        self.assertEqual(root.findtext("provides/binary"), self.entry["Exec"])
        self.assertEqual(root.findtext("name"), self.entry["Name"])
        self.assertEqual(root.findtext("summary"), self.entry["Comment"])


if __name__ == "__main__":
    Installation.cmake, Installation.build = sys.argv[1:3]
    unittest.main(argv=sys.argv[:1], verbosity=2)
