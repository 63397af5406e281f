#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds taveloctl against the schema of --json.

Usage: documents_test.py TAVELOCTL SCHEMA
"""
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import jsonschema

PROGRAM, SCHEMA = sys.argv[1:]


def call(home, *arguments):
    return subprocess.run([PROGRAM, "--virtual-cameras", "2", "-c", "2", *arguments], check=True, text=True,
                          capture_output=True, env={"XDG_CONFIG_HOME": home, "PATH": "/usr/bin:/bin"},
                          timeout=60).stdout


class Documents(unittest.TestCase):
    schema = json.loads(pathlib.Path(SCHEMA).read_text(encoding="utf-8"))

    def validate(self, document, definition):
        jsonschema.validate(document, {**self.schema, "$ref": f"#/$defs/{definition}"},
                            cls=jsonschema.Draft202012Validator)

    def test_the_schema_is_one(self):
        jsonschema.Draft202012Validator.check_schema(self.schema)

    def test_every_verb_prints_what_the_schema_says(self):
        with tempfile.TemporaryDirectory() as home:
            call(home, "save", "1", "--mirror", "on")
            for definition, *arguments in [
                    ("list", "list"),
                    ("controls", "controls"),
                    ("values", "get", "zoom", "hue-auto", "power-line-frequency", "lamp-mode", "lamp-frequency"),
                    ("values", "set", "zoom=200", "focus-auto=off", "lamp-mode=blink", "hdr=on", "warmth==-3"),
                    ("profiles", "profiles"),
                    ("probe", "probe")]:
                with self.subTest(arguments):
                    output = call(home, "--json", *arguments)
                    self.assertEqual(output.count("\n"), 1)
                    document = json.loads(output)
                    self.validate(document, definition)
                    with self.assertRaises(jsonschema.ValidationError):
                        self.validate({**document, "version": 2}, definition)
            self.validate(json.loads(call(home, "export")), "file")

    # Every verb: its arguments, and the definition of its JSON, or None if it prints nothing.
    # Last, those that are tested elsewhere: they run until they are interrupted, or start the panel.
    CALLS = {
        "list": ([], "list"), "controls": ([], "controls"), "get": (["zoom", "pan"], "values"),
        "set": (["iris=293"], "values"), "reset": ([], None), "send": ([], None), "save": (["1"], None),
        "profiles": ([], "profiles"), "apply": (["1"], None), "copy": (["1", "2"], None), "export": ([], "file"),
        "import": (["FILE"], None), "probe": ([], "probe"),
        "watch": None, "monitor": None, "snapshot": None, "record": None,
    }

    def test_every_verb_that_prints_prints_json_if_asked(self):
        main = subprocess.run([PROGRAM, "--help"], check=True, text=True, capture_output=True).stdout
        verbs = re.findall(r"^  ([a-z]+)  ", main.split("Verbs:\n")[1], re.MULTILINE)
        self.assertEqual(set(verbs), set(self.CALLS))
        with tempfile.TemporaryDirectory() as home:
            call(home, "save", "1")
            file = pathlib.Path(home, "profiles.json")
            call(home, "export", str(file))
            for verb, (words, definition) in ((verb, each) for verb, each in self.CALLS.items() if each):
                words = [str(file) if word == "FILE" else word for word in words]
                with self.subTest(verb):
                    output = call(home, "--json", verb, *words)
                    if definition is None:
                        self.assertEqual((output, call(home, verb, *words)), ("", ""))
                    else:
                        self.validate(json.loads(output), definition)
            self.validate(json.loads(call(home, "--json", "--version")), "program")

    def test_every_name_that_a_description_may_give_fits_the_schema(self):
        for name in ("a", "led-mode", "led1-mode", "8-bit"):
            self.validate(name, "controlName")
        for name in ("", "Led", "led_mode", "-led", "led-", "led--mode"):
            with self.assertRaises(jsonschema.ValidationError):
                self.validate(name, "controlName")

    def test_watch_prints_what_the_schema_says(self):
        with tempfile.TemporaryDirectory() as home:
            program = subprocess.Popen([PROGRAM, "--virtual-cameras", "1", "--json", "watch"], text=True, stdout=subprocess.PIPE,
                                       env={"XDG_CONFIG_HOME": home, "PATH": "/usr/bin:/bin"})
            try:
                document = json.loads(program.stdout.readline())
            finally:
                program.kill()
                program.communicate()
            self.validate(document, "event")
            with self.assertRaises(jsonschema.ValidationError):
                self.validate({**document, "event": "came"}, "event")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
