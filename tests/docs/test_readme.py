"""The two READMEs hold the same commands, output, figures and links; the pictures show what the engine
says and what was measured."""

from __future__ import annotations

import html
import re
import subprocess
import sys
import unittest
import xml.etree.ElementTree

import links
from client import engine_path

ENGLISH, UKRAINIAN = "README.md", "README.uk.md"
PICTURES = "docs/pictures"
PLACEHOLDER = "example.org"  # of the project's addresses, until it has one
BLOCK = re.compile(r"^```(\w[\w ]*)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
MARK = re.compile(r"^<!-- .* -->$", re.MULTILINE)
SVG_TEXT = re.compile(r"<text [^>]*>(.*?)</text>")


def blocks(name: str) -> list[tuple[str, str]]:
    """Kind and text of the fenced blocks, without the comments in commands."""
    found = BLOCK.findall(links.read(name))
    return [(kind, re.sub(r" +# .*", "", text)) for kind, text in found]


def table_cells(name: str) -> list[list[str]]:
    """The code, numbers and link targets of each row of a table."""
    rows = [line for line in links.read(name).split("\n") if line.startswith("|")]
    cells = []
    for row in rows:
        code = re.findall(r"`([^`]+)`", row)
        plain = re.sub(r"`[^`]+`|\([^()]*\)", " ", row).replace("\u2013", " ")
        plain = re.sub(r"(?<=\d)[,\u00a0 ](?=\d{3}\b)", "", plain)
        plain = re.sub(r"(?<=\d),(?=\d)", ".", plain)
        cells.append([*code, *re.findall(r"\d+(?:\.\d+)?", plain), *links.targets(row)])
    return cells


def svg_lines(svg: str) -> list[str]:
    return [html.unescape(re.sub(r"<[^>]*>", "", text)) for text in SVG_TEXT.findall(svg)]


def session_lines(svg: str) -> list[str]:
    """The lines of the session without what differs from run to run."""
    lines = [line for line in svg_lines(svg) if not re.match(r"info (?!.* pv )", line)]
    return [re.sub(r"\b(nps|time) \d+", r"\1 N", line) for line in lines]


class Languages(unittest.TestCase):
    maxDiff = None

    def test_blocks(self) -> None:
        self.assertGreaterEqual(len(blocks(ENGLISH)), 5)
        self.assertEqual(blocks(ENGLISH), blocks(UKRAINIAN))
        marks = [MARK.findall(links.read(name)) for name in (ENGLISH, UKRAINIAN)]
        self.assertEqual(marks[0], marks[1])

    def test_tables(self) -> None:
        for english, ukrainian in zip(table_cells(ENGLISH), table_cells(UKRAINIAN), strict=True):
            self.assertEqual(english, ukrainian)

    def test_headings(self) -> None:
        levels = [re.findall(r"^(#+) ", links.read(n), re.MULTILINE) for n in (ENGLISH, UKRAINIAN)]
        self.assertEqual(levels[0], levels[1])

    def test_links(self) -> None:
        english, ukrainian = (set(links.targets(links.read(n))) for n in (ENGLISH, UKRAINIAN))
        self.assertEqual(english - {UKRAINIAN}, ukrainian - {ENGLISH})
        self.assertIn(UKRAINIAN, english)
        self.assertIn(ENGLISH, ukrainian)

    def test_addresses_of_the_project_stand_here_alone(self) -> None:
        """So that a change of address is a change of two pages."""
        wrong = [name for name in links.page_names()
                 if name not in (ENGLISH, UKRAINIAN) and PLACEHOLDER in links.read(name)]
        self.assertEqual(wrong, [])
        for name in (ENGLISH, UKRAINIAN):
            found = re.findall(rf"https://{re.escape(PLACEHOLDER)}/\S+", links.read(name))
            self.assertEqual(len(set(found)), len(found), found)
            self.assertEqual(len(found), 3, "clone, releases, questions")


class Pictures(unittest.TestCase):
    maxDiff = None

    def described(self, name: str) -> str:
        """A picture, which must be well-formed and have a text for those who do not see it."""
        svg = links.read(f"{PICTURES}/{name}")
        root = xml.etree.ElementTree.fromstring(svg)
        self.assertEqual(root.get("role"), "img")
        texts = {element.get("id"): element.text for element in root}
        for part in root.get("aria-labelledby").split():
            self.assertGreater(len(texts[part]), 20)
        self.assertIn("prefers-color-scheme: dark", svg)
        return svg

    def test_session(self) -> None:
        drawn = self.described("session.svg")
        script = links.ROOT / PICTURES / "session.py"
        now = subprocess.run([sys.executable, script, engine_path()], capture_output=True, text=True,
                             check=True, timeout=600).stdout
        self.assertEqual(session_lines(drawn), session_lines(now))
        self.assertRegex(session_lines(drawn)[-1], "^bestmove ")

    def test_session_is_that_of_the_readme(self) -> None:
        """What is typed is the same; of the answers the README leaves lines out."""
        drawn = session_lines(links.read(f"{PICTURES}/session.svg"))
        typed, answered = (
            re.search(rf"<!-- session {part} -->\n```text\n(.*?)```", links.read(ENGLISH), re.DOTALL)[1]
            for part in ("input", "output")
        )
        answered = re.sub(r"\b(nps|time) \d+", r"\1 N", answered)
        said = [line for line in drawn[1:] if line not in typed.splitlines()]
        self.assertEqual(len(said) + typed.count("\n"), len(drawn) - 1)
        pattern = "".join("(?:.*\n)+" if line == "..." else re.escape(line) + "\n"
                          for line in answered.splitlines())
        self.assertRegex("".join(line + "\n" for line in said), rf"\A{pattern}\Z")

    def test_threads(self) -> None:
        drawn = self.described("threads.svg")
        measured = links.read(f"{PICTURES}/threads.txt")
        ratios = re.findall(r"^\d+ threads: ([\d.]+) times", measured, re.MULTILINE)
        self.assertGreaterEqual(len(ratios), 3)
        self.assertEqual(set(["1.00", *ratios]) - set(svg_lines(drawn)), set())
        processors = re.match(r"\d+ processors", measured)[0]
        self.assertIn(processors, svg_lines(drawn))


if __name__ == "__main__":
    unittest.main()
