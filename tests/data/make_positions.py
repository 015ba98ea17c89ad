#!/usr/bin/env python3
"""Make positions.epd: about 400 diverse legal positions for property tests.

    make_positions.py            write positions.epd
    make_positions.py --check    make them again and compare with the file

One FEN of six fields a line, nothing else.  Half of them come from random
play, the rest are oddities that random play hardly ever reaches.  `stockfish`
supplies move lists and checks, so nothing here depends on the engine under
test.  The seed is fixed and move lists are sorted, so that every run makes the
same file.
"""

import os
import random
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.dont_write_bytecode = True  # no __pycache__ among the test data
sys.path.insert(0, str(HERE / "perft"))
from make_suite import Bad, Stockfish, format_placement, parse_placement, validate  # noqa: E402

OUTPUT = HERE / "positions.epd"
SEED = 20240229
START = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1"
SQUARES = [file + rank for rank in "12345678" for file in "abcdefgh"]
# No legal position has more moves than 218, and engines size their move lists
# by that; boards full of queens must not go beyond it.
MOST_MOVES = 218

rng = random.Random(SEED)
engine = Stockfish()
made = {}  # FEN -> None; a dict keeps the order and drops repeats


def legal(fen):
    try:
        validate(fen, engine)
    except Bad:
        return False
    return True


def add(fen):
    """Add a position; False if it is there already."""
    validate(fen, engine)
    if fen in made:
        return False
    made[fen] = None
    return True


def add_many(wanted, make):
    """Call `make` until `wanted` new positions came of it; None means no luck."""
    tries = 0
    while wanted:
        tries += 1
        if tries > 100_000:
            raise Bad(f"{make.__name__} finds no more positions")
        fen = make()
        if fen is not None and add(fen):
            wanted -= 1


def play(fen, move):
    """The FEN after a move, with an en passant square after every double push.

    Stockfish shows that square only where a pawn can use it; a reader of FENs
    must cope with the plain rule too.
    """
    fields = engine.display(fen, [move])[0].split(" ")
    piece = parse_placement(fen.split(" ")[0])[move[:2]]
    if piece in "Pp" and abs(int(move[1]) - int(move[3])) == 2:
        fields[3] = move[0] + ("3" if piece == "P" else "6")
    return " ".join(fields)


def moves_of(fen):
    return engine.perft(fen, 1)[1]


def random_square(piece):
    return rng.choice(SQUARES[8:56] if piece in "Pp" else SQUARES)


def place(pieces, halfmove=0, fullmove=40, side=None):
    """A random legal position of these pieces, without castling rights."""
    while True:
        board = {random_square(piece): piece for piece in pieces}
        if len(board) < len(pieces):
            continue  # two pieces on one square
        mover = side or rng.choice("wb")
        fen = f"{format_placement(board)} {mover} - - {halfmove} {fullmove}"
        if legal(fen):
            return fen


def after_random_move(pieces):
    """A position one random move after a random placement, or None at an end.

    A check given by a move just played is one that a game can bring about.
    """
    fen = place(pieces, halfmove=7)
    moves = moves_of(fen)
    return play(fen, rng.choice(moves)) if moves else None


# Random games.

def random_game(samples):
    fen, seen = START, []
    for _ in range(rng.choice((12, 30, 60, 120, 240))):
        moves = moves_of(fen)
        if not moves:
            break
        fen = play(fen, rng.choice(moves))
        seen.append(fen)
    for fen in rng.sample(seen, min(samples, len(seen))):
        add(fen)


# Castling rights in all sixteen combinations, for either side to move.

def castling_combinations():
    full = "r3k2r/pppq1ppp/2npbn2/2b1p3/2B1P3/2NPBN2/PPPQ1PPP/R3K2R"
    bare = "r3k2r/p6p/8/8/8/8/P6P/R3K2R"
    for mask in range(16):
        rights = "".join(right for bit, right in enumerate("KQkq") if mask >> bit & 1) or "-"
        add(f"{full} {'wb'[mask % 2]} {rights} - 4 9")
        add(f"{bare} {'bw'[mask % 2]} {rights} - 0 30")


# Boards full of queens.

def queen_mobility(board, white):
    """Squares the queens of one side reach; a cheap upper bound of its moves."""
    total = 0
    for square, piece in board.items():
        if piece != ("Q" if white else "q"):
            continue
        file, rank = ord(square[0]) - 97, int(square[1]) - 1
        for df in (-1, 0, 1):
            for dr in (-1, 0, 1):
                f, r = file + df, rank + dr
                while (df or dr) and 0 <= f < 8 and 0 <= r < 8:
                    target = board.get(SQUARES[8 * r + f])
                    if target is None or target.isupper() != white:
                        total += 1
                    if target is not None:
                        break
                    f, r = f + df, r + dr
    return total


def many_queens(white, black):
    def make():
        kings = rng.sample(SQUARES, 2)
        board = {kings[0]: "K", kings[1]: "k"}
        left = {"Q": white, "q": black}
        # A wall of own queens round each king, or some king is always in check.
        for king, queen in zip(kings, "Qq"):
            for square in SQUARES:
                near = (abs(ord(square[0]) - ord(king[0])) <= 1
                        and abs(int(square[1]) - int(king[1])) <= 1)
                if near and square not in board and left[queen]:
                    board[square] = queen
                    left[queen] -= 1
        empty = [square for square in SQUARES if square not in board]
        rng.shuffle(empty)
        for queen in "Qq":
            for _ in range(left[queen]):
                board[empty.pop()] = queen
        # Both sides count: the side to move changes as soon as one plays on.
        if max(queen_mobility(board, True), queen_mobility(board, False)) + 8 > MOST_MOVES:
            return None
        fen = f"{format_placement(board)} {rng.choice('wb')} - - 0 60"
        return fen if legal(fen) else None
    return make


# Checks, ends of the game, promotions, en passant.

def with_checkers(count):
    def make():
        pieces = "Kk" + "".join(rng.choice("RBNQP") for _ in range(4)) + "rbnp"
        fen = after_random_move(pieces)
        return fen if fen and len(engine.display(fen)[1]) == count else None
    return make


def finished(mate):
    def make():
        fen = after_random_move("Kk" + rng.choice(("QR", "QQ", "RR", "QN", "QBp", "RBN")))
        if fen is None or moves_of(fen):
            return None
        return fen if bool(engine.display(fen)[1]) == mate else None
    return make


def promotion(capture):
    def make():
        side = rng.choice("wb")
        fen = place("KkPPppRrNb", side=side)
        board = parse_placement(fen.split(" ")[0])
        promotions = [move for move in moves_of(fen) if len(move) == 5]
        captures = [move for move in promotions if move[2:4] in board]
        return fen if promotions and bool(captures) == capture else None
    return make


def en_passant(capturable):
    def make():
        fen = after_random_move("KkPPPPpppp" + rng.choice(("", "R", "b", "Rr", "Qq")))
        if fen is None or fen.split(" ")[3] == "-":
            return None
        ep = fen.split(" ")[3]
        usable = any(move[2:] == ep and parse_placement(fen.split(" ")[0])[move[:2]] in "Pp"
                     for move in moves_of(fen))
        return fen if usable == capturable else None
    return make


# Endings.

def opposite_bishops():
    fen = place("KkBb" + "P" * rng.randint(1, 4) + "p" * rng.randint(1, 4))
    board = parse_placement(fen.split(" ")[0])
    colours = {piece: (ord(square[0]) + int(square[1])) % 2
               for square, piece in board.items() if piece in "Bb"}
    return fen if colours["B"] != colours["b"] else None


def ending(pieces):
    def make():
        # Either colour may be the stronger one.
        return place(pieces if rng.random() < 0.5 else pieces.swapcase())
    return make


def make_all():
    add(START)
    for _ in range(50):
        random_game(samples=4)

    castling_combinations()

    for white, black in ((2, 2), (3, 1), (5, 5), (9, 9), (9, 0), (12, 0), (9, 12), (12, 12),
                         (16, 16), (24, 12), (24, 24), (28, 24), (30, 30), (31, 31)):
        add_many(1, many_queens(white, black))
    # The position with the most legal moves known, and its mirror image.
    add("R6R/3Q4/1Q4Q1/4Q3/2Q4Q/Q4Q2/pp1Q4/kBNN1KB1 w - - 0 60")
    add("Kbnn1kb1/PP1q4/q4q2/2q4q/4q3/1q4q1/3q4/r6r b - - 0 60")

    add_many(15, with_checkers(1))
    add_many(12, with_checkers(2))
    add_many(5, finished(mate=True))
    add_many(4, finished(mate=False))
    add_many(10, promotion(capture=False))
    add_many(12, promotion(capture=True))
    add_many(14, en_passant(capturable=True))
    add_many(8, en_passant(capturable=False))

    add_many(6, ending("Kk"))
    # The clock counts half moves, so the move number has to be far enough on.
    for clock in [*range(0, 96, 5), 98, 99, 100]:
        add(place(rng.choice(("KkRr", "KkQ", "KkBN", "KkRb", "KkPp")), clock, clock // 2 + 30))
    for pieces in ("KkQ", "KkR", "KkBB", "KkBN", "KkNN", "KkN", "KkB", "KkQr", "KkQq", "KkRb",
                   "KkRn", "KkRRr", "KkQRq", "KkBn", "KkNNn", "KkQbb", "KkRBr", "KkRNr"):
        add_many(1, ending(pieces))
    add_many(10, opposite_bishops)
    add_many(16, ending("KkP"))
    add_many(12, ending("KkRPr"))


def main():
    if sys.argv[1:] not in ([], ["--check"]):
        raise Bad("usage: make_positions.py [--check]")
    make_all()
    engine.close()
    text = "".join(fen + "\n" for fen in made)
    if sys.argv[1:]:
        if OUTPUT.read_text() != text:
            raise Bad(f"{OUTPUT.name} differs from what this script makes")
        print(f"{OUTPUT.name} is up to date")
    else:
        # Written beside and moved over, so that a broken run leaves no half file.
        partial = OUTPUT.with_suffix(".partial")
        partial.write_text(text)
        os.replace(partial, OUTPUT)
    print(f"{len(made)} positions")


if __name__ == "__main__":
    try:
        main()
    except Bad as problem:
        sys.exit(f"make_positions.py: {problem}")
