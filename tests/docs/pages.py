"""The pages that users read, and the blocks of commands, sessions and output in them.

A block is a fenced block of Markdown, or a literal display in the EXAMPLES of the manual page.
What a block is says its info string; what a test does with it say the marks on the lines before it,
each a comment of its own (`<!-- MARK -->` in Markdown, `.\\" MARK` in the manual page).
"""

from __future__ import annotations

import dataclasses
import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parents[2]

TESTED_WITH = "tested with "  # then LEFT => RIGHT: the test has RIGHT where the page has LEFT
OUTPUT = "output of the commands above"
SESSION_INPUT = "session input"
SESSION_OUTPUT = "session output"
ROLES = (OUTPUT, SESSION_INPUT, SESSION_OUTPUT)

COMMANDS = "sh"
NOT_RUN = "sh not run"
TEXT = "text"
SHOWN_ONLY = ("yaml", "json", "ini")
KINDS = (COMMANDS, NOT_RUN, TEXT, *SHOWN_ONLY)


class PageError(AssertionError):
    """Something on a page is not as it should be."""


@dataclasses.dataclass(frozen=True)
class Block:
    page: str
    line: int  # of its first line of text
    kind: str  # one of KINDS
    text: str
    marks: tuple[str, ...] = ()

    @property
    def place(self) -> str:
        return f"{self.page}:{self.line}"

    @property
    def role(self) -> str:
        """The mark that says what the block is; empty without one."""
        return next((mark for mark in self.marks if mark in ROLES), "")

    @property
    def tested(self) -> str:
        """The text as the test takes it."""
        text = self.text
        for mark in self.marks:
            if mark in ROLES:
                continue
            left, arrow, right = mark.removeprefix(TESTED_WITH).partition(" => ")
            if not arrow or not left.strip() or left not in text:
                raise PageError(f"{self.place}: this replaces nothing: {mark}")
            text = text.replace(left, right)
        return text


def is_mark(comment: str) -> bool:
    return comment in ROLES or comment.startswith(TESTED_WITH)


def pages() -> list[pathlib.Path]:
    """Every page whose commands are tested."""
    names = ("README.md", "README.uk.md", "CONTRIBUTING.md")
    found = [ROOT / name for name in names if (ROOT / name).exists()]
    return found + sorted((ROOT / "docs").glob("*.md")) + [ROOT / "docs" / "morvane.6"]


def blocks_of(path: pathlib.Path) -> list[Block]:
    text = path.read_text(encoding="utf-8")
    name = str(path.relative_to(ROOT)) if path.is_relative_to(ROOT) else path.name
    return (markdown_blocks if path.suffix == ".md" else manual_blocks)(name, text)


def is_translation(path: pathlib.Path) -> bool:
    """Whether a page (NAME.uk.md) holds the blocks of its original (NAME.md) once more, with other
    comments in the commands at most."""
    original = path.with_name(path.name.replace(".uk.md", ".md"))
    if original == path or not original.exists():
        return False
    listed = [[(block.kind, block.role, re.sub(r" +# .*", "", block.tested))
               for block in blocks_of(page)] for page in (original, path)]
    return listed[0] == listed[1]


# --- Markdown ---

COMMENT = re.compile(r" *<!-- *(.*?) *--> *")
FENCE = re.compile(r"( *)(`{3,}|~{3,})([^`]*)")
LIST_ITEM = re.compile(r" *(?:[-*+]|\d+[.)]) ")


def markdown_blocks(page: str, text: str) -> list[Block]:
    found = []
    marks: list[str] = []
    in_list = False
    lines = text.split("\n")
    i = 0
    while i < len(lines):
        line, before = lines[i], lines[i - 1] if i else ""
        place = f"{page}:{i + 1}"
        i += 1
        if comment := COMMENT.fullmatch(line):
            marks.append(comment[1])
        elif fence := FENCE.fullmatch(line):
            begin, i = i, end_of_fence(lines, i, fence[2], place)
            body = [x.removeprefix(fence[1]) + "\n" for x in lines[begin : i - 1]]
            kind = fence[3].strip()
            if kind not in KINDS:
                raise PageError(f"{place}: a block of an unknown kind: {kind!r}")
            if unknown := [mark for mark in marks if not is_mark(mark)]:
                raise PageError(f"{place}: an unknown mark: {unknown[0]}")
            found.append(Block(page, begin + 1, kind, "".join(body), tuple(marks)))
            marks = []
        elif line.strip():
            if lost := [mark for mark in marks if is_mark(mark)]:
                raise PageError(f"{place}: a mark without a block: {lost[0]}")
            marks = []
            indented = line.startswith(("    ", "\t"))
            if LIST_ITEM.match(line):
                in_list = True
            elif not line.startswith(" ") and not before.strip():
                in_list = False
            if indented and not before.strip() and not in_list:
                raise PageError(f"{place}: an indented block, which says nothing of its kind")
    if lost := [mark for mark in marks if is_mark(mark)]:
        raise PageError(f"{page}: a mark without a block: {lost[0]}")
    return found


def end_of_fence(lines: list[str], start: int, fence: str, place: str) -> int:
    """The index behind the line that closes a block."""
    for i in range(start, len(lines)):
        if re.fullmatch(rf" *{re.escape(fence[0])}{{{len(fence)},}} *", lines[i]):
            return i + 1
    raise PageError(f"{place}: a block without an end")


def without_blocks(text: str) -> str:
    """The text of a Markdown page without its fenced blocks."""
    lines = text.split("\n")
    kept = []
    i = 0
    while i < len(lines):
        if fence := FENCE.fullmatch(lines[i]):
            i = end_of_fence(lines, i + 1, fence[2], f"line {i + 1}")
        else:
            kept.append(lines[i])
            i += 1
    return "\n".join(kept)


def inline_code(text: str) -> list[str]:
    """What stands between backticks in the prose and the tables of a Markdown page."""
    return re.findall(r"(?<!`)`([^`\n]+)`(?!`)", without_blocks(text))


# --- the manual page ---

ESCAPES = {r"\e": "\\", r"\-": "-", r"\&": "", r"\(aq": "'", r"\[aq]": "'", r"\(dq": '"'}


def plain(text: str) -> str:
    """The characters that a line of the manual page stands for."""
    def character(match: re.Match[str]) -> str:
        if match[1]:
            return chr(int(match[1], 16))
        if match[0] not in ESCAPES:
            raise PageError(f"unknown escape {match[0]} in: {text}")
        return ESCAPES[match[0]]

    return re.sub(r"\\(?:\[u([0-9A-F]{4,5})\]|\(..|\[[^]]*\]|.)", character, text)


def manual_blocks(page: str, text: str) -> list[Block]:
    """The literal displays of the section EXAMPLES."""
    found = []
    marks: list[str] = []
    body: list[str] | None = None
    section = ""
    for number, line in enumerate(text.split("\n"), 1):
        if line.startswith(".Sh "):
            section = line.removeprefix(".Sh ")
        if section != "EXAMPLES":
            continue
        if body is not None and line != ".Ed":
            body.append(plain(line) + "\n")
        elif body is not None:
            kind = TEXT if any(mark in ROLES for mark in marks) else COMMANDS
            found.append(Block(page, number - len(body), kind, "".join(body), tuple(marks)))
            body, marks = None, []
        elif line.startswith(".Bd -literal"):
            body = []
        elif line.startswith('.\\" '):
            marks.append(line.removeprefix('.\\" '))
            if not is_mark(marks[-1]):
                raise PageError(f"{page}:{number}: an unknown mark: {marks[-1]}")
        elif marks:
            raise PageError(f"{page}:{number}: a mark without a display: {marks[0]}")
    if body is not None or marks:
        raise PageError(f"{page}: a display without an end")
    return found
