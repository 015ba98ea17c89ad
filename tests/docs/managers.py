"""The command lines of tournament managers on the pages: their options, taken apart.

Debian has neither program, so nothing here runs them. What is checked is that each option is one that the
program's own help lists, with the words that it takes.
"""

from __future__ import annotations

import dataclasses
import re
import shlex

# Options of each program that pages may use, with the words NAME=VALUE behind them; None where an option takes
# no such words. "option." stands for the options of an engine.
ENGINE = {"name", "cmd", "dir", "proto", "tc", "st", "nodes", "depth", "timemargin", "restart", "option."}
CUTECHESS_ENGINE = ENGINE | {"conf", "arg", "stderr", "trust", "book", "bookdepth", "ponder"}
FASTCHESS_ENGINE = ENGINE | {"args"}
OPENINGS = {"file", "format", "order", "plies", "start"}
SPRT = {"elo0", "elo1", "alpha", "beta"}
COMMON: dict[str, set[str] | None] = {
    "-draw": {"movenumber", "movecount", "score"},
    "-resign": {"movecount", "score", "twosided"},
    "-concurrency": None, "-event": None, "-games": None, "-maxmoves": None, "-noswap": None,
    "-ratinginterval": None, "-recover": None, "-repeat": None, "-reverse": None, "-rounds": None, "-site": None,
    "-srand": None, "-tournament": None, "-variant": None, "-wait": None,
}
OPTIONS: dict[str, dict[str, set[str] | None]] = {
    "cutechess-cli": COMMON | {
        "-engine": CUTECHESS_ENGINE, "-each": CUTECHESS_ENGINE, "-openings": OPENINGS | {"policy"}, "-sprt": SPRT,
        "-debug": None, "-epdout": None, "-outcomeinterval": None, "-pgnout": None,
    },
    "fastchess": COMMON | {
        "-engine": FASTCHESS_ENGINE, "-each": FASTCHESS_ENGINE, "-openings": OPENINGS, "-sprt": SPRT | {"model"},
        "-pgnout": {"file", "notation", "nodes", "nps", "seldepth", "hashfull", "tbhits", "timeleft", "latency"},
        "-log": {"file", "level"}, "-config": {"file", "outname"}, "-scoreinterval": None, "-use-affinity": None,
    },
}
ALL_CORES = "glaurung"  # takes them by itself unless it is told otherwise


@dataclasses.dataclass
class Command:
    program: str
    groups: list[tuple[str, list[str]]]  # each option with what stands behind it

    def faults(self) -> list[str]:
        """What is wrong with it, in words; nothing if it is right."""
        known = OPTIONS[self.program]
        found = [f"{self.program} has no option {name}" for name, _ in self.groups if name not in known]
        for name, words in self.groups:
            allowed = known.get(name)
            for word in words if allowed is not None else ():
                key = "option." if word.startswith("option.") else word.partition("=")[0]
                if key not in allowed or "=" not in word:
                    found.append(f"{self.program} {name} takes no {word}")
        engines = [words for name, words in self.groups if name == "-engine"]
        every = [word for name, words in self.groups if name == "-each" for word in words]
        if len(engines) < 2:
            found.append(f"{self.program} needs two engines")
        for words in engines:
            if any(re.search(rf"^cmd=.*\b{ALL_CORES}$", word) for word in words):
                if "option.Threads=1" not in words + every:
                    found.append(f"{ALL_CORES} is left to take all cores")
        return found


def commands(text: str) -> list[Command]:
    """The calls of the managers in a text of shell commands, however they are broken into lines.  A program that
    is called as `PATH/NAME` is one of them, too."""
    found = []
    for line in text.replace("\\\n", " ").splitlines():
        words = shlex.split(line, comments=True)
        if not words or (program := words[0].rpartition("/")[2]) not in OPTIONS:
            continue
        groups: list[tuple[str, list[str]]] = []
        for word in words[1:]:
            if word.startswith("-") and not word[1:2].isdigit():
                groups.append((word, []))
            elif groups:
                groups[-1][1].append(word)
            else:
                groups.append((word, []))
        found.append(Command(program, groups))
    return found
