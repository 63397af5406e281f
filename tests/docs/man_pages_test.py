#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds the man pages against the programs: each option, verb, order and method, and no other.

Usage: man_pages_test.py FOLDER_OF_PAGES FOLDER_OF_PROGRAMS DESCRIPTION_OF_THE_SERVICE
"""
import functools
import os
import pathlib
import re
import socket
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

PAGES, PROGRAMS, SERVICE = (pathlib.Path(word).absolute() for word in sys.argv[1:4])
NAMES = ("tavelo-control-panel", "taveloctl", "tavelo-virtual-camera")
OPTION = re.compile(r"(?<![\w-])--?[a-z][a-z-]*")
# Their options are in the pages, too.
OTHER_PROGRAMS = re.compile(r"\b(systemctl|busctl|usbip|modprobe|socat)\b.*")


@functools.cache
def help_of(name, *verb):
    return subprocess.run([PROGRAMS / name, *verb, "--help"], check=True, text=True, capture_output=True, timeout=60,
                          env={**os.environ, "QT_QPA_PLATFORM": "offscreen"}).stdout


def options_in_help(name, *verb):
    """As the help lists them, at the beginning of its lines."""
    return {option for line in help_of(name, *verb).splitlines()
            for option in OPTION.findall(re.match(r"  (-\S+)|", line)[1] or "")}


def values_in_help(name, *verb):
    """(option, what its value is called) of each option that takes one."""
    listed = re.findall(r"^  (-\S+) ([A-Za-z|]+)", help_of(name, *verb), re.MULTILINE)
    return {(option.split(",")[-1], value) for option, value in listed if value not in ("Excludes", "Needs")}


def values_in(tags_of_options):
    return {pair for tag in tags_of_options for pair in re.findall(r"(--[a-z-]+) +(\S+)", tag)}


def verbs_in_help():
    return re.findall(r"^  ([a-z]+)  ", help_of("taveloctl").split("Verbs:\n")[1], re.MULTILINE)


def plain(line):
    """A line of a page without the marks of its fonts."""
    line = re.sub(r"\\f(\(..|.)", "", line).replace("\\-", "-").replace('"', "")
    return re.sub(r"^\.(?:[BI]|[BIR]{2}) ", "", line)


def sections(name):
    """The lines of each section."""
    found = {}
    for line in (PAGES / f"{name}.1").read_text(encoding="utf-8").splitlines():
        if line.startswith(".SH "):
            found[line[4:].strip('"')] = current = []
        elif found:
            current.append(line)
    return found


def tags(lines):
    """(depth, tag) of each entry of a section's lists."""
    depth, found, is_tag = 0, [], False
    for line in lines:
        if is_tag:
            found.append((depth, plain(line)))
        depth += line.startswith(".RS") - line.startswith(".RE")
        is_tag = line.startswith((".TP", ".TQ"))
    return found


class ManPages(unittest.TestCase):
    def test_every_program_has_a_page(self):
        self.assertEqual({page.name for page in PAGES.iterdir()}, {f"{name}.1" for name in NAMES})
        for name in NAMES:
            self.assertIn("EXIT STATUS", sections(name))
            self.assertIn("EXAMPLES", sections(name))

    def test_the_formatter_has_no_complaint(self):
        for name in NAMES:
            with self.subTest(name):
                result = subprocess.run(
                    ["man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", PAGES / f"{name}.1"], check=False,
                    env={**os.environ, "LC_ALL": "C.UTF-8", "MANROFFSEQ": "", "MANWIDTH": "80"}, timeout=60,
                    stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
                self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_the_options_are_those_of_the_help(self):
        for name in NAMES:
            with self.subTest(name):
                told = [option for _, tag in tags(sections(name)["OPTIONS"]) for option in OPTION.findall(tag)]
                self.assertEqual(sorted(told), sorted(options_in_help(name)))

    def test_the_values_of_options_are_called_as_in_the_help(self):
        for name in NAMES:
            with self.subTest(name):
                told = values_in(tag for _, tag in tags(sections(name)["OPTIONS"]))
                self.assertEqual(told, values_in_help(name))
                self.assertGreater(len(told), 3)
        told = values_in(tag for depth, tag in tags(sections("taveloctl")["VERBS"]) if depth > 0)
        self.assertEqual(told, {pair for verb in verbs_in_help() for pair in values_in_help("taveloctl", verb)})

    def test_the_verbs_and_their_options_are_those_of_the_help(self):
        told = {}
        for depth, tag in tags(sections("taveloctl")["VERBS"]):
            if depth == 0:
                told[verb := tag.split()[0]] = set()
            else:
                told[verb] |= set(OPTION.findall(tag))
        common = {"-h", "--help"}
        self.assertEqual(told, {verb: options_in_help("taveloctl", verb) - common for verb in verbs_in_help()})
        self.assertGreater(len(told), 10)

    def test_no_page_names_an_option_that_no_program_has(self):
        known = {option for name in NAMES for option in options_in_help(name)}
        known |= {option for verb in verbs_in_help() for option in options_in_help("taveloctl", verb)}
        for name in NAMES:
            for line in (line for lines in sections(name).values() for line in lines if not line.startswith('.\\"')):
                named = set(OPTION.findall(OTHER_PROGRAMS.sub("", plain(line))))
                self.assertLessEqual(named, known, line)

    def test_examples_name_verbs_and_options_in_their_places(self):
        seen = 0
        for name in NAMES:
            for _, tag in tags(sections(name)["EXAMPLES"]):
                words = tag.split()
                if words[0] not in NAMES:
                    continue
                seen += 1
                with self.subTest(tag):
                    verbs = [word for word in words[1:] if words[0] == "taveloctl" and word in verbs_in_help()]
                    self.assertEqual(len(verbs), words[0] == "taveloctl")
                    known = options_in_help(words[0]).union(*(options_in_help("taveloctl", verb) for verb in verbs))
                    self.assertLessEqual({word for word in words if re.match("-[a-z-]", word)}, known)
        self.assertGreater(seen, 20)

    def test_the_methods_are_those_of_the_service(self):
        text = " ".join(plain(line) for line in sections("tavelo-control-panel")["D-BUS"])
        told = re.search(r"Its methods are (.*?);", text)[1]
        methods = [method.get("name") for method in ElementTree.parse(SERVICE).getroot().iter("method")]
        self.assertEqual(sorted(re.findall(r"\b[A-Z]\w+", told)), sorted(methods))

    def test_the_virtual_camera_knows_every_order(self):
        orders = [tag.split()[0] for _, tag in tags(sections("tavelo-virtual-camera")["ORDERS"])]
        self.assertGreater(len(orders), 5)
        with tempfile.TemporaryDirectory() as folder:
            path = f"{folder}/orders"
            program = subprocess.Popen([PROGRAMS / "tavelo-virtual-camera", "--port", "0", "--control", path],
                                       stdout=subprocess.PIPE, text=True)
            self.addCleanup(program.communicate)
            self.addCleanup(program.kill)
            self.assertIn("listening", program.stdout.readline())
            with socket.socket(socket.AF_UNIX) as client, client.makefile("rw") as lines:
                client.settimeout(60)
                client.connect(path)

                def answer(order):
                    lines.write(f"{order} 1\n")
                    lines.flush()
                    return lines.readline().strip()
                self.assertEqual(answer("frobnicate"), "error no order frobnicate")
                for order in orders:
                    self.assertNotIn("no order", answer(order))

    def test_every_page_leads_to_the_others(self):
        for name in NAMES:
            text = " ".join(plain(line) for line in sections(name)["SEE ALSO"])
            self.assertLessEqual({f"{other} (1)" for other in NAMES if other != name},
                                 set(re.findall(r"[\w-]+ \(1\)", text)))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
