"""docs/uci.md explains every Ukrainian text of the engine and its checks, and none that they do not have.

A text is compared piece by piece: the string literals of the sources, with neighbours joined as the
compiler does, against what stands between the `<words>` of the page's tables.
"""

import re
import unittest

from client import START_FEN, FolderTest, run_mode
from pages import ROOT

PAGE = ROOT / "docs" / "uci.md"
CYRILLIC = re.compile(r"[\u0400-\u04ff]")
PLACEHOLDER = re.compile(r"<\w+>")

# Comments, characters, strings and whatever lies between, which only matters as something.
TOKEN = re.compile(
    r"(?P<comment>//[^\n]*|/\*.*?\*/|\s+)|'(?:\\.|[^'\\\n])+'|\"(?P<string>(?:\\.|[^\"\\\n])*)\"|.",
    re.DOTALL)
ESCAPE = re.compile(r"\\(.)")
ESCAPES = {"n": "\n", "t": "\t", '"': '"', "\\": "\\"}


def literals(source: str) -> list[str]:
    """The string literals of a source text; those with only blanks between them are one."""
    found: list[str] = []
    joins = False  # a literal stands directly before
    for token in TOKEN.finditer(source):
        if token["comment"] is not None:
            continue
        if token["string"] is not None:
            text = ESCAPE.sub(lambda match: ESCAPES.get(match[1], ""), token["string"])
            found[-1:] = [found[-1] + text] if joins else found[-1:] + [text]
        joins = token["string"] is not None
    return found


def pieces_of_sources() -> dict[str, set[str]]:
    """The pieces of text in Ukrainian, each with the files that hold it."""
    found: dict[str, set[str]] = {}
    for path in sorted([*(ROOT / "src").rglob("*"), *(ROOT / "tests" / "selfcheck").iterdir()]):
        if path.suffix in (".cpp", ".h"):
            for literal in literals(path.read_text(encoding="utf-8")):
                if CYRILLIC.search(literal):
                    name = str(path.relative_to(ROOT))
                    found.setdefault(literal.strip(), set()).add(name)
    return found


def rows() -> list[list[str]]:
    """The cells of the rows that begin with a message."""
    section = PAGE.read_text(encoding="utf-8").partition("\n## Messages\n")[2]
    cells = [[cell.strip() for cell in line.strip("|").split(" | ")]
             for line in section.splitlines() if line.startswith("| `")]
    return [row for row in cells if CYRILLIC.search(row[0])]


def messages() -> list[str]:
    return [row[0].strip("`") for row in rows()]


def pieces_of_page() -> set[str]:
    pieces = {piece.strip() for message in messages() for piece in PLACEHOLDER.split(message)}
    return {piece for piece in pieces if CYRILLIC.search(piece)}


class Literals(unittest.TestCase):
    def test_are_found(self) -> None:
        source = r"""const char c = '"'; // "not this one"
            f("one" /* "nor this" */
              "\ttwo \"\\\n", "three" + 1'000'000 + "four"); return "";"""
        self.assertEqual(literals(source), ["one\ttwo \"\\\n", "three", "four", ""])


class Table(unittest.TestCase):
    maxDiff = None

    def test_has_every_text_of_the_sources(self) -> None:
        missing = {text: files for text, files in pieces_of_sources().items()
                   if text not in pieces_of_page()}
        self.assertEqual(missing, {}, "docs/uci.md does not explain these")

    def test_has_no_other(self) -> None:
        self.assertGreater(len(pieces_of_page()), 40)
        self.assertEqual(pieces_of_page() - set(pieces_of_sources()), set(), "not in the sources")

    def test_names_each_once_and_explains_it(self) -> None:
        self.assertEqual(len(set(messages())), len(messages()))
        for row in rows():
            with self.subTest(row[0]):
                self.assertRegex(row[1], r"^[^\u0400-\u04ff]{5,}$", "no meaning in English")


class Engine(FolderTest):
    """What the engine says in fact is in the table, whole."""

    def assert_known(self, text: bytes) -> None:
        lines = [line.removeprefix("info string ").strip() for line in text.decode().splitlines()]
        said = [line for line in lines if CYRILLIC.search(line)]
        self.assertGreater(len(said), 0, text)
        for line in said:
            patterns = (PLACEHOLDER.sub(".*", re.escape(m)) for m in messages())
            self.assertTrue(any(re.fullmatch(p, line) for p in patterns), line)

    def test_in_the_loop(self) -> None:
        commands = ["position", "position x", "position fen", "position fen x",
                    "position startpos moves e2e9", "setoption name Hash value x",
                    "setoption name Hash value 65536", "perft x", "x" * (17 << 20)]
        for command in commands:
            with self.subTest(command[:40]):
                result = run_mode(stdin=command.encode())
                if "65536" not in command or result.stdout:  # which a machine may have
                    self.assert_known(result.stdout)
                    self.assert_known(result.stderr)

    def test_of_the_modes(self) -> None:
        data = self.write("data.txt", b"no position\n")
        for arguments in (("perft", "x", "1"), ("perft", "x", "x"), ("benchsearch", "x"),
                          ("evaltrace", "x"), ("datagen", "x=1"), ("datagen", "1", "2", "3"),
                          ("datagen", "games=1", "out=/"), ("datagne",), ("perft",),
                          ("datagen", "games=0x", "out=/dev/null"), ("featureexport", "/nothing", "/"),
                          ("featureexport", "/", "/"), ("featureexport", data, "/"),
                          ("featureexport", data, data),
                          ("featureexport", data, "/dev/null"),
                          ("featureexport", "/", "/dev/null"),
                          ("datagen", "games=1", "nodes=1", "progress=1", "out=/dev/null")):
            with self.subTest(arguments):
                self.assert_known(run_mode(*arguments).stderr)
        self.assert_known(run_mode("evaltrace", START_FEN).stdout)


if __name__ == "__main__":
    unittest.main()
