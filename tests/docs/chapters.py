# SPDX-License-Identifier: MIT
"""Reads the manual: its blocks of commands, what they print, and its links.

What the first line of a block says decides what is done with it:
    sh             runs as one script, which must succeed
    sh by-hand     needs a real camera, a desktop or root: only its words are checked
    console        each line after "$ " runs, succeeds and prints what follows; "..." stands for any lines
    python         runs
    ini FILE       a unit of systemd, which is checked
    ini drop-in UNIT  a change of one that is installed
"""
import dataclasses
import re
import shlex

FENCE = re.compile(r"^```([^\n]*)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
LINK = re.compile(r"!?\[[^\]]*\]\(([^)\s]+)\)")


@dataclasses.dataclass
class Block:
    kind: str
    text: str
    line: int


def blocks(text):
    return [Block(match[1].strip(), match[2], text.count("\n", 0, match.start()) + 1) for match in FENCE.finditer(text)]


def prose(text):
    return FENCE.sub("", text)


def links(text):
    """The targets of the links that lead to files."""
    return [target for target in LINK.findall(prose(text)) if not re.match(r"\w+:", target)]


def inline_code(text):
    return re.findall(r"(?<!`)`([^`\n]+)`(?!`)", prose(text))


def cameras(text):
    found = re.search(r"^<!-- cameras: (\d) -->$", text, re.MULTILINE)
    return int(found[1]) if found else 1


def conversations(block):
    """(command, what it prints) of a console block."""
    found = []
    for line in block.text.splitlines(keepends=True):
        if line.startswith("$ "):
            found.append((line[2:].rstrip("\n"), ""))
        else:
            found[-1] = (found[-1][0], found[-1][1] + line)
    return found


def prints(expected, printed):
    pattern = "".join("(?:.*\\n)*" if line == "...\n" else re.escape(line)
                      for line in expected.splitlines(keepends=True))
    return re.fullmatch(pattern, printed) is not None


def commands(text):
    """The words of each command in lines of a shell."""
    for line in text.splitlines():
        for part in re.split(r"[|;&]+(?=\s|$)", line):
            words = shlex.split(part, comments=True)
            if words:
                yield words
