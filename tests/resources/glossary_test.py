#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds the texts of every language against the glossary in its string table.

A glossary has the same terms in every language, and for each the words that a text may use.  A text whose English has one
of the English words must have one of its own language's.

Usage: glossary_test.py RESOURCES_FOLDER
"""
import json
import pathlib
import re
import sys
import unittest

RESOURCES = pathlib.Path(sys.argv[1])
TABLES = {path.stem: json.loads(path.read_text(encoding="utf-8")) for path in (RESOURCES / "strings").glob("*.json")}
NO_TEXTS = {"language_name", "menu_position", "locale", "glossary"}
NAME = "Tavelo Control Panel"


def texts(value, name=""):
    """(name, text) for every text below a value of a string table."""
    if isinstance(value, str):
        yield name, value
    elif isinstance(value, dict):
        for key in value.keys() - NO_TEXTS:
            yield from texts(value[key], f"{name}/{key}")
    elif isinstance(value, list):
        for index, entry in enumerate(value):
            yield from texts(entry, f"{name}/{index}")


def titles(value):
    """{language: text} for every title of the makers' controls below a value."""
    if isinstance(value, dict):
        if "titles" in value:
            yield value["titles"]
        value = list(value.values())
    if isinstance(value, list):
        for entry in value:
            yield from titles(entry)


def makers_titles():
    return [each for path in (RESOURCES / "extension-units").glob("*.json")
            for each in titles(json.loads(path.read_text(encoding="utf-8")))]


def in_english_and(language):
    """(name, English text, text) of everything that has a text in a language."""
    english, own = dict(texts(TABLES["en"])), dict(texts(TABLES[language]))
    yield from ((name, english[name], own[name]) for name in english)
    yield from ((f"title “{each['en']}”", each["en"], each[language]) for each in makers_titles())


def words_in(words):
    return re.compile(r"\b(" + "|".join(map(re.escape, words)) + r")\b", re.IGNORECASE)


class Glossary(unittest.TestCase):
    def test_has_the_same_terms_in_every_language(self):
        for language, table in TABLES.items():
            self.assertEqual(list(table["glossary"]), list(TABLES["en"]["glossary"]), language)

    def test_each_term_is_in_some_text(self):
        english = [text for _, text, _ in in_english_and("en")]
        for term, words in TABLES["en"]["glossary"].items():
            for word in words:
                self.assertTrue(any(words_in([word]).search(text) for text in english), f"{term}: {word}")

    def test_texts_use_its_words(self):
        for language, table in TABLES.items():
            unused = {(term, word) for term, words in table["glossary"].items() for word in words}
            for name, english, text in in_english_and(language):
                plain = text.replace("\n", " ").lower()
                for term, words in TABLES["en"]["glossary"].items():
                    if not words_in(words).search(english.replace(NAME, "")):
                        continue
                    found = {word for word in table["glossary"][term] if word.lower() in plain}
                    with self.subTest(language=language, text=name, term=term):
                        self.assertTrue(found, f"“{text}” has none of {table['glossary'][term]}")
                    unused -= {(term, word) for word in found}
            self.assertFalse(unused, f"words in the glossary of {language} that no text uses")

    def test_titles_that_are_equal_in_english_are_equal_in_every_language(self):
        known = {}
        for each in makers_titles():
            self.assertEqual(known.setdefault(each["en"], each), each)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
