"""The links and headings of this project's pages."""

from __future__ import annotations

import os
import re
from collections.abc import Iterator
from urllib.parse import unquote

from pages import ROOT

NOT_OURS = {".git", "build", "node_modules", "__pycache__"}

FENCE = re.compile(r" *(`{3,}|~{3,})")
LINK = re.compile(r"!?\[(?:[^\[\]]|\[[^\[\]]*\]\([^()]*\))*\]\(\s*<?([^()<>\s]+)>?[^()]*\)")
PICTURE_IN_LINK = re.compile(r"(?<=\()([^()\s]+)(?=\)\])")
ATTRIBUTE = re.compile(r"""<[^>]*\b(?:href|src|srcset)="([^"]+)\"""")
DEFINITION = re.compile(r"^ *\[[^\]]+\]: +(\S+)", re.MULTILINE)
CODE = re.compile(r"(`+)(?!`).*?(?<!`)\1(?!`)", re.DOTALL)


def page_names() -> list[str]:
    """All Markdown pages of the tree, by their paths from its root."""
    found = []
    for folder, folders, files in os.walk(ROOT):
        folders[:] = [name for name in folders if name not in NOT_OURS]
        found += [os.path.relpath(os.path.join(folder, f), ROOT) for f in files if f.endswith(".md")]
    return sorted(found)


def read(name: str) -> str:
    return (ROOT / name).read_text(encoding="utf-8")


def prose_lines(text: str) -> Iterator[str]:
    """The lines that stand in no block, neither fenced nor indented."""
    fence = ""
    blank = True
    for line in text.split("\n"):
        mark = FENCE.match(line)
        if mark and (not fence or line.strip() == fence):
            fence = "" if fence else mark[1]
        elif not fence and not (blank and line.startswith("    ")):
            yield line
            blank = not line.strip()


def targets(text: str) -> list[str]:
    """Where all links and pictures of a page lead."""
    prose = CODE.sub("code", "\n".join(prose_lines(text)))
    kinds = (LINK, PICTURE_IN_LINK, ATTRIBUTE, DEFINITION)
    return [unquote(target) for kind in kinds for target in kind.findall(prose)]


def is_outside(target: str) -> bool:
    return "://" in target or target.startswith("mailto:")


def page_of(name: str, target: str) -> str:
    """The file that a relative link on a page names, by its path from the root."""
    path = target.partition("#")[0]
    return os.path.normpath(os.path.join(os.path.dirname(name), path)) if path else name


def anchors(text: str) -> set[str]:
    """The names by which links reach the headings of a page."""
    found: set[str] = set()
    for line in prose_lines(text):
        if heading := re.match(r"#{1,6} +(.*?) *#*$", line):
            shown = re.sub(r"!?\[([^\]]*)\]\([^)]*\)", r"\1", heading[1])
            name = re.sub(r"[^\w\- ]", "", shown.lower()).replace(" ", "-")
            unique, number = name, 0
            while unique in found:
                number += 1
                unique = f"{name}-{number}"
            found.add(unique)
    return found


def mistake(name: str, target: str) -> str:
    """What is wrong with a link on a page, if anything is."""
    if is_outside(target):
        return ""
    page, anchor = page_of(name, target), target.partition("#")[2]
    if target.startswith("/") or page.startswith("..") or not (ROOT / page).exists():
        return f"{name}: {target}: no such file"
    if anchor and (not page.endswith(".md") or anchor not in anchors(read(page))):
        return f"{name}: {target}: no such heading"
    return ""
