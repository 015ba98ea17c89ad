#!/usr/bin/env python3
"""Make suite.epd, the perft suite, from positions.txt.

    make_suite.py            count every position and write suite.epd
    make_suite.py --check    count again and compare with the suite.epd at hand

positions.txt has one position a line, `FEN ;name ;maxdepth`; `#` starts a
comment line.  The counts come from the program `stockfish`, driven over UCI:
a suite counted by the engine under test would only say that the engine agrees
with itself.
"""

import os
import shutil
import sys
from pathlib import Path

sys.path.append(str(Path(__file__).resolve().parents[3] / "scripts"))
import uci  # noqa: E402

HERE = Path(__file__).resolve().parent
POSITIONS = HERE / "positions.txt"
SUITE = HERE / "suite.epd"

# The suite runs inside the ordinary tests, so it must stay affordable.
MIN_DEPTH, MAX_DEPTH = 4, 6
MAX_LEAVES_PER_COUNT = 40_000_000
MAX_LEAVES_AT_FULL_DEPTH = 600_000_000

CASTLING_HOMES = {
    "K": (("e1", "K"), ("h1", "R")),
    "Q": (("e1", "K"), ("a1", "R")),
    "k": (("e8", "k"), ("h8", "r")),
    "q": (("e8", "k"), ("a8", "r")),
}

HEADER = """\
# Perft suite: FEN ;name ;D1 leaves ;D2 leaves ...
#
# Made by make_suite.py from positions.txt; do not edit by hand.
# Every count was made by an independent program ({engine}, `go perft`),
# not by the engine under test.  `make_suite.py --check` counts them all again.
# The name says which bug a position is there to catch; -white and -black are
# the same idea with colours swapped.
"""


class Bad(Exception):
    """A position or an answer that must stop the run."""


class Stockfish:
    """One stockfish process, spoken to over UCI."""

    def __init__(self):
        # Debian installs games outside the PATH of most service users.
        path = shutil.which("stockfish") or shutil.which("stockfish", path="/usr/games")
        if path is None:
            raise Bad("no `stockfish` found: install the package `stockfish`")
        self.engine = uci.Engine(path, Threads=1)
        self.name = next(line[len("id name "):] for line in self.engine.greeting
                         if line.startswith("id name "))

    def answers(self, *commands, end):
        """What it says to them.  A position it cannot stand makes stockfish crash, not answer."""
        self.engine.send(*commands)
        try:
            return self.engine.lines_until(end)
        except uci.EngineError:
            raise Bad("stockfish ended without an answer") from None

    def display(self, fen, moves=()):
        """The FEN and the checking squares that `d` shows."""
        tail = " moves " + " ".join(moves) if moves else ""
        shown = {}
        for line in self.answers(f"position fen {fen}{tail}", "d", "isready", end="readyok"):
            key, colon, value = line.partition(":")
            if colon:
                shown[key] = value.strip()
        return shown["Fen"], shown["Checkers"].split()

    def perft(self, fen, depth):
        """The number of leaves, and the root moves in a fixed order."""
        lines = self.answers(f"position fen {fen}", f"go perft {depth}", end="Nodes searched:")
        moves = sorted(line.split(":")[0] for line in lines[:-1]
                       if ":" in line and not line.startswith("info"))
        return int(lines[-1].split(":")[1]), moves

    def close(self):
        self.engine.close()


def parse_placement(placement):
    """{'e1': 'K', ...} from the first field of a FEN."""
    ranks = placement.split("/")
    if len(ranks) != 8:
        raise Bad("not eight ranks")
    board = {}
    for rank, row in zip("87654321", ranks):
        file = 0
        for char in row:
            if char in "12345678":
                file += int(char)
            elif char in "PNBRQKpnbrqk" and file < 8:
                board["abcdefgh"[file] + rank] = char
                file += 1
            else:
                raise Bad(f"bad rank {row!r}")
        if file != 8:
            raise Bad(f"rank {row!r} does not have eight squares")
    return board


def format_placement(board):
    rows = []
    for rank in "87654321":
        row = "".join(board.get(file + rank, ".") for file in "abcdefgh")
        for length in range(8, 0, -1):
            row = row.replace("." * length, str(length))
        rows.append(row)
    return "/".join(rows)


def double_push_squares(ep, side):
    """Where the pawn stood before, and stands after, the push behind `ep`."""
    file = ep[0]
    return (file + "7", file + "5") if side == "w" else (file + "2", file + "4")


def validate(fen, engine):
    """Raise Bad unless `fen` is a complete FEN of a legal position.

    Stockfish takes nearly any text without a word, so the rules are checked
    here, and stockfish is asked only what needs attack tables.
    """
    fields = fen.split(" ")
    if len(fields) != 6:
        raise Bad("a FEN has six fields")
    placement, side, castling, ep, halfmove, fullmove = fields

    board = parse_placement(placement)
    if format_placement(board) != placement:
        raise Bad("placement is not in its shortest form")
    pieces = list(board.values())
    if pieces.count("K") != 1 or pieces.count("k") != 1:
        raise Bad("not one king a side")
    if any(piece in "Pp" and square[1] in "18" for square, piece in board.items()):
        raise Bad("pawn on a back rank")

    if side not in ("w", "b"):
        raise Bad("bad side to move")

    if castling != "-":
        if not castling or castling != "".join(c for c in "KQkq" if c in castling):
            raise Bad("bad castling field")
        for right in castling:
            if any(board.get(square) != piece for square, piece in CASTLING_HOMES[right]):
                raise Bad(f"castling right {right} without king and rook at home")

    if not (halfmove.isdigit() and fullmove.isdigit() and int(fullmove) >= 1):
        raise Bad("bad move counters")

    if ep != "-":
        if len(ep) != 2 or ep[0] not in "abcdefgh" or ep[1] != ("6" if side == "w" else "3"):
            raise Bad("bad en passant square")
        before, after = double_push_squares(ep, side)
        if board.get(after) != ("p" if side == "w" else "P") or before in board or ep in board:
            raise Bad("en passant square without a double push")
        if halfmove != "0":
            raise Bad("a double push resets the halfmove clock")
        # Take the push back: had the side to move been in check already then,
        # it would have left its king in check, and the push never happened.
        undone = dict(board)
        undone[before] = undone.pop(after)
        if engine.display(f"{format_placement(undone)} {side} {castling} - 0 1")[1]:
            raise Bad("the king stood in check before the double push")

    # Checkers are shown for the side to move, so swap sides to see the other.
    other = "b" if side == "w" else "w"
    if engine.display(f"{placement} {other} {castling} - 0 1")[1]:
        raise Bad("the side not to move is in check")

    shown, checkers = engine.display(fen)
    if len(checkers) > 2:
        raise Bad("more than two checking pieces")
    shown = shown.split(" ")
    # Stockfish drops an en passant square that no pawn can use; that is fine.
    if shown[3] == "-":
        shown[3] = ep
    if shown != fields:
        raise Bad(f"stockfish reads it as {' '.join(shown)}")


def validate_material(fen):
    """Raise Bad if a side has more pieces than its pawns could have become."""
    pieces = list(parse_placement(fen.split(" ")[0]).values())
    for white in (True, False):
        def count(piece):
            return pieces.count(piece if white else piece.lower())
        promoted = sum(max(0, count(piece) - usual)
                       for piece, usual in (("Q", 1), ("R", 2), ("B", 2), ("N", 2)))
        if count("P") + promoted > 8:
            raise Bad("more promoted pieces than missing pawns")


def read_positions():
    entries = []
    for number, line in enumerate(POSITIONS.read_text().splitlines(), 1):
        if not line.strip() or line.startswith("#"):
            continue
        parts = [part.strip() for part in line.split(";")]
        if len(parts) != 3 or not parts[2].isdigit():
            raise Bad(f"{POSITIONS.name}:{number}: expected `FEN ;name ;maxdepth`")
        entries.append((parts[0], parts[1], int(parts[2])))
    for what in (0, 1):
        seen = [entry[what] for entry in entries]
        for item in seen:
            if seen.count(item) > 1:
                raise Bad(f"twice in {POSITIONS.name}: {item}")
    return entries


def count_position(engine, fen, name, depth):
    """One line of the suite, and the leaves at its full depth."""
    if not MIN_DEPTH <= depth <= MAX_DEPTH:
        raise Bad(f"maxdepth {depth} is not in {MIN_DEPTH}..{MAX_DEPTH}")
    validate(fen, engine)
    validate_material(fen)
    counts = [engine.perft(fen, d)[0] for d in range(1, depth + 1)]
    if max(counts) > MAX_LEAVES_PER_COUNT:
        raise Bad(f"{max(counts)} leaves are too many for a test")
    line = f"{fen} ;{name}" + "".join(f" ;D{d} {n}" for d, n in enumerate(counts, 1))
    return line, counts


def main():
    arguments = sys.argv[1:]
    if arguments not in ([], ["--check"]):
        raise Bad("usage: make_suite.py [--check]")

    engine = Stockfish()
    lines, at_full_depth, all_leaves = [], 0, 0
    for fen, name, depth in read_positions():
        try:
            line, counts = count_position(engine, fen, name, depth)
        except Bad as problem:
            raise Bad(f"{name}: {fen}: {problem}") from None
        lines.append(line)
        at_full_depth += counts[-1]
        all_leaves += sum(counts)
    engine.close()
    if at_full_depth > MAX_LEAVES_AT_FULL_DEPTH:
        raise Bad(f"{at_full_depth} leaves at full depth are too many for a test")

    if arguments:
        # The header names the version of stockfish, which may differ here.
        old = [line for line in SUITE.read_text().splitlines() if not line.startswith("#")]
        if old != lines:
            for line in sorted(set(old) ^ set(lines)):
                print("only in the file:" if line in old else "only in the count:", line)
            raise Bad(f"{SUITE.name} differs from the count (or in its order)")
        print(f"{SUITE.name} agrees with {engine.name}")
    else:
        # Written beside and moved over, so that a broken run leaves no half file.
        partial = SUITE.with_suffix(".partial")
        partial.write_text(HEADER.format(engine=engine.name) + "\n".join(lines) + "\n")
        os.replace(partial, SUITE)
    print(f"{len(lines)} positions, {at_full_depth} leaves at full depth, "
          f"{all_leaves} leaves at all depths")


if __name__ == "__main__":
    try:
        main()
    except Bad as problem:
        sys.exit(f"make_suite.py: {problem}")
