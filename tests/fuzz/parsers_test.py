#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""No parser of outside bytes is without a fuzz target, and the check would notice one."""
import pathlib
import unittest

import coverage
import parsers

FOLDER = pathlib.Path(__file__).resolve().parent


class Tree(unittest.TestCase):
    def test_every_file_that_handles_outside_bytes_has_a_target_or_a_reason(self):
        project = parsers.project_folder()
        targets, reasons = parsers.listed((FOLDER / "parsers.txt").read_text(encoding="utf-8"))
        built = parsers.targets_built((FOLDER / "CMakeLists.txt").read_text(encoding="utf-8"))
        found = parsers.candidates(project)
        self.assertGreater(len(found), 100)
        self.assertEqual(parsers.complaints(found, targets, reasons, built), [])

    def test_each_target_is_run_by_the_script(self):
        built = parsers.targets_built((FOLDER / "CMakeLists.txt").read_text(encoding="utf-8"))
        script = (parsers.project_folder() / "scripts/fuzz").read_text(encoding="utf-8")
        run = {line.split()[0] for line in script.split("targets='")[1].split("'")[0].strip().split("\n")}
        self.assertEqual(run, built)


class Rule(unittest.TestCase):
    """What a new parser looks like."""

    def signs(self, text, name="folder/new_parser.cpp"):
        return parsers.signs_in(name, text)

    def test_each_way_to_get_at_bytes_is_noticed(self):
        for text, sign in [
            ("Header headerOf(std::span<const std::uint8_t> bytes) {", "takes bytes"),
            ("int run(int argc, const char* const* argv) {", "takes bytes"),
            ("std::ifstream stream(file);", "reads"),
            ("const auto count = ::read(descriptor, bytes, size);", "reads"),
            ("if (!file.open(QIODevice::ReadOnly)) return;", "reads"),
            ("return node.control(VIDIOC_QUERYCTRL, &query);", "asks the kernel"),
            ("interface->ControlRequest(request);", "asks a camera"),
            ('const char* value = std::getenv("HOME");', "asks the environment"),
            ("std::from_chars(text.begin(), text.end(), number);", "makes numbers of text"),
            ("const int number = text.toInt();", "makes numbers of text"),
            ("QJsonDocument::fromJson(bytes);", "makes values of bytes"),
            ("const auto parsed = nlohmann::json::parse(text);", "makes values of bytes"),
            ("void Set(const QVariantMap& values) {", "takes arguments"),
            ("jpeg_read_header(&decoder, TRUE);", "decodes pictures"),
        ]:
            self.assertIn(sign, self.signs(text), text)

    def test_comments_texts_and_declarations_are_no_parsers(self):
        self.assertEqual(self.signs("// reads by ::read(descriptor)\n/* std::ifstream\nfromJson( */ int i = 0;"), [])
        self.assertEqual(self.signs('print("std::ifstream \\" fromJson(");'), [])
        self.assertEqual(self.signs("std::size_t Node::read(std::size_t count) { return count; }"), [])
        self.assertEqual(self.signs("void take(std::span<const std::uint8_t> bytes);", "folder/taker.h"), [])

    def test_code_beside_a_comment_or_a_text_counts(self):
        self.assertEqual(self.signs('say("a // b"); std::ifstream stream; // c'), ["reads"])
        self.assertEqual(self.signs("const char quote = '\"'; std::ifstream stream; const char other = '\"';"),
                         ["reads"])


class List(unittest.TestCase):
    """What the check says of a list."""

    def complaints(self, text, found=("a/b.cpp",), built=("b",)):
        targets, reasons = parsers.listed(text)
        return parsers.complaints({name: ["reads"] for name in found}, targets, reasons, set(built))

    def test_a_complete_list_is_fine(self):
        self.assertEqual(self.complaints("# all\n\na/b.cpp   b\n"), [])
        self.assertEqual(self.complaints("a/b.cpp b\na/c.cpp - reads its own file", ("a/b.cpp", "a/c.cpp")), [])

    def test_a_file_without_target_is_named_with_its_signs(self):
        self.assertEqual(self.complaints("a/b.cpp b", ("a/b.cpp", "a/new.cpp")),
                         ["a/new.cpp: handles bytes from outside (reads), and no target is named for it"])

    def test_a_file_that_is_gone_is_named(self):
        self.assertEqual(self.complaints("a/b.cpp b\na/old.cpp b"), ["a/old.cpp: is listed, and is no such file"])
        self.assertEqual(self.complaints("a/b.cpp b\na/old.cpp - reads its own file"),
                         ["a/old.cpp: is listed, and is no such file"])

    def test_a_target_must_exist_and_each_must_be_used(self):
        self.assertEqual(self.complaints("a/b.cpp b c"), ["a/b.cpp: there is no target c"])
        self.assertEqual(self.complaints("a/b.cpp b", built=("b", "c")), ["target c: reaches no file of the list"])

    def test_a_reason_must_be_given(self):
        self.assertEqual(self.complaints("a/b.cpp -", built=()), ["a/b.cpp: why does it need no target?"])
        self.assertEqual(self.complaints("a/b.cpp", built=()), ["a/b.cpp: neither a target nor a reason"])

    def test_no_file_stands_there_twice(self):
        with self.assertRaises(ValueError):
            parsers.listed("a/b.cpp b\na/b.cpp - reads its own file")


class Coverage(unittest.TestCase):
    """What is made of the compiler's figures."""

    EXPORT = {"data": [{"files": [
        {"filename": "/project/a/b.cpp", "summary": {"lines": {"covered": 3, "count": 4}}},
        {"filename": "/project/a/c.cpp", "summary": {"lines": {"covered": 0, "count": 4}}},
        {"filename": "/usr/include/vector", "summary": {"lines": {"covered": 9, "count": 9}}},
    ]}]}

    def lines(self):
        return coverage.lines_of(self.EXPORT, pathlib.Path("/project"))

    def test_only_files_of_the_product_count(self):
        self.assertEqual(self.lines(), {"a/b.cpp": (3, 4), "a/c.cpp": (0, 4)})

    def test_the_share_is_that_of_the_named_files(self):
        self.assertEqual(coverage.summary(self.lines(), ["a/b.cpp"]),
                         ("75 % of 4 lines in 1 files of its parsers", []))

    def test_a_file_of_which_nothing_ran_or_that_is_not_linked_is_missing(self):
        self.assertEqual(coverage.summary(self.lines(), ["a/b.cpp", "a/c.cpp", "a/d.cpp"])[1], ["a/c.cpp", "a/d.cpp"])


if __name__ == "__main__":
    unittest.main()
