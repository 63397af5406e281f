#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs what the manual tells people to type, and checks its links, pictures, units and words.

Usage: manual_test.py PROJECT FOLDER_OF_PROGRAMS [TEST...]
"""
import functools
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import chapters
from manual_stage import NAMES, Stage

PROJECT, PROGRAMS = (pathlib.Path(word).absolute() for word in sys.argv[1:3])
MANUAL = PROJECT / "docs" / "manual"
TEXTS = {page.name: page.read_text(encoding="utf-8") for page in sorted(MANUAL.glob("*.md"))}
OPTION = re.compile(r"--?[a-z][a-z-]*")


@functools.cache
def help_of(name, *verb):
    return subprocess.run([PROGRAMS / name, *verb, "--help"], check=True, text=True, capture_output=True, timeout=60).stdout


@functools.cache
def verbs():
    return re.findall(r"^  ([a-z]+)  ", help_of("taveloctl").split("Verbs:\n")[1], re.MULTILINE)


@functools.cache
def options(name, *verb):
    return {option for line in help_of(name, *verb).splitlines()
            for option in OPTION.findall(re.match(r"  (-\S+)|", line)[1] or "")}


def complaint(words):
    """What is wrong with a command of ours, or nothing."""
    if words[0] not in NAMES:
        return None
    verb = [word for word in words[1:] if words[0] == "taveloctl" and word in verbs()][:1]
    known = options(words[0]) | (options("taveloctl", *verb) if verb else set())
    unknown = [word for word in words if re.fullmatch(OPTION, word.partition("=")[0]) and word.partition("=")[0] not in known]
    if unknown:
        return f"{words[0]} does not have {unknown}"
    plain = [word for word in words[1:] if re.fullmatch("[a-z]+", word)]
    if words[0] == "taveloctl" and plain and not verb:
        return f"no verb: {words}"
    return None


class Manual(unittest.TestCase):
    def stage(self, text):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        stage = Stage(folder.name, PROGRAMS, chapters.cameras(text), verbs())
        self.addCleanup(stage.end)
        stage.start()
        return stage

    def run_chapter(self, page):
        text = TEXTS[page]
        stage = self.stage(text)
        for block in chapters.blocks(text):
            with self.subTest(f"{page}:{block.line}"):
                if block.kind == "sh":
                    result = stage.run("bash", "-euo", "pipefail", "-c", block.text)
                    self.assertEqual(result.returncode, 0, result.stdout)
                elif block.kind == "console":
                    for command, expected in chapters.conversations(block):
                        result = stage.run("bash", "-c", command)
                        self.assertEqual(result.returncode, 0, result.stdout)
                        self.assertTrue(chapters.prints(expected, result.stdout), f"{command}\n{result.stdout}")
                elif block.kind == "python":
                    result = stage.run(sys.executable, "-c", block.text)
                    self.assertEqual(result.returncode, 0, result.stdout)
                    self.assertNotIn("error", result.stdout)
                elif block.kind.startswith("ini "):
                    self.check_unit(stage, text, block)
                else:
                    self.assertIn(block.kind, ("sh by-hand",), "an unknown kind of block")

    def check_unit(self, stage, text, block):
        if match := re.fullmatch(r"ini drop-in (\S+)", block.kind):
            unit = stage.home / match[1]
            unit.write_text((PROJECT / "resources" / "systemd" / match[1]).read_text(encoding="utf-8"), encoding="utf-8")
            file = stage.home / f"{match[1]}.d" / "own.conf"
        else:
            name = block.kind.removeprefix("ini ")
            self.assertIn(f"`{name}`", chapters.prose(text), "readers do not see its name")
            unit = file = stage.home / name.removeprefix("~/")
        file.parent.mkdir(parents=True, exist_ok=True)
        # systemd has a path of its own.
        programs = {path: path.read_text(encoding="utf-8").replace("=taveloctl ", f"={stage.path}/taveloctl ")
                    for path in {unit, file} if path.exists()}
        programs[file] = block.text.replace("=taveloctl ", f"={stage.path}/taveloctl ")
        for path, content in programs.items():
            path.write_text(content, encoding="utf-8")
        result = stage.run("systemd-analyze", "verify", "--user", "--man=no", str(unit))
        self.assertEqual((result.returncode, [line for line in result.stdout.splitlines() if unit.stem in line]), (0, []))
        for command in re.findall(r"^ExecStart=(.+)$", block.text, re.MULTILINE):
            result = stage.run("bash", "-c", command)
            self.assertEqual(result.returncode, 0, result.stdout)

    def test_every_command_that_is_named_exists(self):
        seen = 0
        for page, text in TEXTS.items():
            told = [words for block in chapters.blocks(text) if block.kind.startswith("sh")
                    for words in chapters.commands(block.text)]
            for code in chapters.inline_code(text):
                told += chapters.commands(code) if code.startswith(NAMES) else []
                if code.startswith("--"):
                    known = set().union(*(options(name) for name in NAMES), *(options("taveloctl", verb) for verb in verbs()))
                    self.assertIn(code.split()[0], known, page)
            for words in told:
                seen += words[0] in NAMES
                self.assertIsNone(complaint(words), page)
        self.assertGreater(seen, 60)

    def test_most_commands_run(self):
        kinds = [block.kind for text in TEXTS.values() for block in chapters.blocks(text)]
        self.assertGreater(len(kinds), 2 * kinds.count("sh by-hand"))

    def test_every_link_of_every_document_leads_somewhere(self):
        listed = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard", "*.md"], cwd=PROJECT,
                                check=True, capture_output=True, text=True).stdout.split()
        self.assertGreater(len(listed), len(TEXTS))
        for name in listed:
            document = PROJECT / name
            for target in chapters.links(document.read_text(encoding="utf-8")):
                with self.subTest(f"{name}: {target}"):
                    self.assertTrue((document.parent / target.partition("#")[0]).exists() or target.startswith("#"))

    def test_every_chapter_is_a_page_for_browsers_whose_links_lead_somewhere(self):
        built = PROGRAMS.parent / "share" / "tavelo-control-panel" / "manual"
        pages = {page.name: page.read_text(encoding="utf-8") for page in built.glob("*.html")}
        self.assertLessEqual({name.replace("README", "index").replace(".md", ".html") for name in TEXTS}, set(pages))
        pictures = set()
        for name, page in pages.items():
            self.assertNotIn("|--", page, "a table")
            self.assertRegex(page, "<title>.+</title>", name)
            for target in re.findall('(?:href|src)="([^":]+)"', page):
                self.assertTrue((built / target).is_file(), f"{name}: {target}")
                pictures |= {target} if target.endswith(".png") else set()
        self.assertGreater(len(pictures), 5)

    def test_the_first_page_leads_to_every_chapter(self):
        self.assertEqual({link for link in chapters.links(TEXTS["README.md"]) if link.endswith(".md")},
                         set(TEXTS) - {"README.md"})


def commands_of(page):
    return lambda self: self.run_chapter(page)


for chapter, content in TEXTS.items():
    if chapters.blocks(content):
        setattr(Manual, f"test_the_commands_of_{chapter.removesuffix('.md').replace('-', '_')}", commands_of(chapter))



if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]], verbosity=2)
