#!/usr/bin/env python3
"""Make tactics.epd: positions where one move wins and all others do not.

    make_tactics.py ENGINE            write tactics.epd
    make_tactics.py ENGINE --check    judge the positions of the file at hand again

The positions come from games of the engine against itself at a few nodes a move, which are full of
mistakes.  A position is kept if the first plies neither play the move nor see what it brings, if
the engine then finds it and holds on to it through a long search, and if `stockfish`, which
searches the two best moves, agrees: the best one wins, the second one does not.  All searches are
limited by nodes and begin with empty tables, so that every run with the same programs makes the
same file.
"""

from __future__ import annotations

import os
import re
import shutil
import subprocess
import sys
import tempfile
from dataclasses import dataclass
from pathlib import Path

HERE = Path(__file__).resolve().parent
OUTPUT = HERE / "tactics.epd"
sys.dont_write_bytecode = True  # no __pycache__ among the test data
sys.path[:0] = [str(HERE.parent / "match"), str(HERE.parents[1] / "scripts")]
import uci  # noqa: E402
from library import Rules  # noqa: E402

HEADER = """\
# Tactics: one move wins, all others do not. Made by make_tactics.py; do not edit by hand.
# The positions come from games of the engine against itself; a second engine agrees on every move.
"""
GAMES = "games=5000 seed=20240303 nodes=100 skipquiet=0 skipcheck=0 evalcap=200 resignplies=20"
PIECES = 12  # fewer make end games
GLANCE_DEPTH, GLANCE_NODES, SECOND_GLANCE_NODES = 2, 15_000, 100_000
LONG_NODES, SECOND_LONG_NODES = 4_000_000, 2_000_000
FOUND_BY = 12  # depth by which the engine must have settled
UNSEEN, WINS, WINS_CLEARLY, DOES_NOT = 150, 250, 300, 80  # centipawns
POSITIONS = 24
MATE = 100_000


@dataclass
class Line:
    """What an engine says of a move at some depth."""

    depth: int
    score: int  # centipawns; mates come from MATE downwards
    move: str

    def mate(self) -> int:
        return MATE - self.score if self.score > MATE // 2 else 0


class Analyst:
    def __init__(self, path: str, **options: int) -> None:
        self.engine = uci.Engine(path, **options)
        self.lines = options.get("MultiPV", 1)

    def search(self, fen: str, nodes: int) -> list[list[Line]]:
        """The lines of each depth, best one first."""
        self.engine.new_game()
        found: dict[int, dict[str, Line]] = {}
        for text in self.engine.search(fen, f"nodes {nodes}"):
            match = re.search(r" depth (\d+) .*score (cp|mate) (-?\d+) .*pv ([a-h]\S+)", text)
            if match and "bound" not in text:
                score = int(match[3])
                if match[2] == "mate":
                    score = MATE - score if score > 0 else -MATE - score
                rank = re.search(r"multipv (\d+)|$", text)[1] or "1"
                line = Line(int(match[1]), score, match[4])
                found.setdefault(line.depth, {})[rank] = line
        return [[lines[rank] for rank in sorted(lines)]
                for _, lines in sorted(found.items()) if len(lines) == self.lines]


class Judge:
    def __init__(self, path: str) -> None:
        second = shutil.which("stockfish") or shutil.which("stockfish", path="/usr/games")
        if second is None:
            sys.exit("make_tactics: install the package stockfish")
        self.first = Analyst(path, Hash=16)
        self.second = Analyst(second, Hash=16, MultiPV=2)

    def candidate(self, fen: str) -> bool:
        """Whether a win is there that the first plies do not find, and one move alone brings it."""
        depths = [lines[0] for lines in self.first.search(fen, GLANCE_NODES)]
        if not depths or depths[-1].score < WINS:
            return False
        early = [line for line in depths if line.depth <= GLANCE_DEPTH]
        if early[-1].move == depths[-1].move or any(line.score >= UNSEEN for line in early):
            return False
        best, other = self.second.search(fen, SECOND_GLANCE_NODES)[-1]
        return best.score >= WINS and other.score <= DOES_NOT

    def verdict(self, fen: str) -> tuple[str, str, int] | None:
        """The winning move, what it brings, the depth that finds it; None if there is a doubt."""
        depths = [lines[0] for lines in self.first.search(fen, LONG_NODES)]
        if not depths or depths[-1].score < WINS:
            return None
        move = depths[-1].move
        settled = max((line.depth for line in depths if line.move != move), default=0) + 1
        best, other = self.second.search(fen, SECOND_LONG_NODES)[-1]
        if not GLANCE_DEPTH < settled <= FOUND_BY or best.move != move:
            return None
        if best.score < WINS_CLEARLY or other.score > DOES_NOT:
            return None
        mates = [line.mate() for line in (depths[-1], best) if line.mate()]
        what = f"mate in {min(mates)}" if mates else f"{best.score / 100:+.1f}"
        return move, f"{what}, any other move {other.score / 100:+.1f} at most", settled


def games(path: str) -> list[list[str]]:
    """The FENs of each game."""
    with tempfile.TemporaryDirectory() as folder:
        file = os.path.join(folder, "data")
        subprocess.run([path, "datagen", *GAMES.split(), "progress=0", f"out={file}"], check=True,
                       stderr=subprocess.DEVNULL)
        lines = Path(file).read_text(encoding="ascii").splitlines()
    found: list[list[str]] = []
    last = 1000
    for line in lines:
        fen = line.partition(" [")[0]
        number = int(fen.split()[-1])
        if number < last:
            found.append([])
        last = number
        found[-1].append(fen)
    return found


def make(path: str) -> None:
    judge, rules = Judge(path), Rules()
    kept: list[str] = []
    for game in games(path):
        for fen in game:
            if sum(letter.isalpha() for letter in fen.split()[0]) < PIECES:
                break
            if not judge.candidate(fen):
                continue
            record = " ".join(rules.play(fen, []).fen.split()[:4])  # which holds no counters
            if not (verdict := judge.verdict(f"{record} 0 1")):
                continue
            move, what, depth = verdict
            san = rules.translate(fen, move).san
            kept.append(f'{record} bm {san}; id "tactics.{len(kept) + 1:02}"; c0 "{what}";')
            print(f"{kept[-1]} found at depth {depth}", flush=True)
            break  # one of each game
        if len(kept) == POSITIONS:
            break
    rules.close()
    OUTPUT.write_text(HEADER + "\n".join(kept) + "\n", encoding="ascii")


def check(path: str) -> None:
    judge, rules = Judge(path), Rules()
    doubts = 0
    for line in OUTPUT.read_text(encoding="ascii").splitlines():
        if line.startswith("#"):
            continue
        fields = re.fullmatch(r'(\S+ \S+ \S+ \S+) bm (\S+); id "(.+?)"; c0 "(.+?)";', line)
        fen = f"{fields[1]} 0 1"
        verdict = judge.verdict(fen)
        agrees = verdict is not None and verdict[0] == rules.translate(fen, fields[2]).move
        doubts += not agrees
        print(fields[3], "agrees" if agrees else "DOUBT", verdict, flush=True)
    rules.close()
    sys.exit(doubts > 0)


if __name__ == "__main__":
    if len(sys.argv) not in (2, 3) or sys.argv[2:] not in ([], ["--check"]):
        sys.exit(__doc__)
    (check if sys.argv[2:] else make)(os.path.abspath(sys.argv[1]))
