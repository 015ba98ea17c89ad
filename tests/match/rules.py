"""The rules of chess, slow and plain: a second opinion that shares nothing with the engine."""

from __future__ import annotations

FILES = "abcdefgh"
DIAGONALS = [(1, 1), (1, -1), (-1, 1), (-1, -1)]
LINES = [(1, 0), (-1, 0), (0, 1), (0, -1)]
KNIGHT = [(1, 2), (2, 1), (2, -1), (1, -2), (-1, -2), (-2, -1), (-2, 1), (-1, 2)]
SLIDERS = {"b": DIAGONALS, "r": LINES, "q": DIAGONALS + LINES}
ROOK_OF_CASTLING = {"e1g1": "h1f1", "e1c1": "a1d1", "e8g8": "h8f8", "e8c8": "a8d8"}
RIGHT_OF_SQUARE = {"e1": "KQ", "h1": "K", "a1": "Q", "e8": "kq", "h8": "k", "a8": "q"}

Square = tuple[int, int]  # file and rank, from 0


def name(square: Square) -> str:
    return FILES[square[0]] + str(square[1] + 1)


def square_of(text: str) -> Square:
    return FILES.index(text[0]), int(text[1]) - 1


class Position:
    def __init__(self, fen: str) -> None:
        placement, side, castling, en_passant, clock, number = fen.split()
        self.board: dict[Square, str] = {}
        for rank, row in zip(range(7, -1, -1), placement.split("/")):
            file = 0
            for letter in row:
                if letter.isdigit():
                    file += int(letter)
                else:
                    self.board[file, rank] = letter
                    file += 1
        self.white = side == "w"
        self.castling = castling.replace("-", "")
        self.en_passant = None if en_passant == "-" else square_of(en_passant)
        self.clock = int(clock)
        self.number = int(number)

    def copy(self) -> Position:
        other = object.__new__(Position)
        other.__dict__.update(self.__dict__)
        other.board = dict(self.board)
        return other

    def fen(self) -> str:
        """The engine's way of writing a position: the en-passant square after every double push."""
        en_passant = name(self.en_passant) if self.en_passant else "-"
        side = "w" if self.white else "b"
        return (f"{self.placement()} {side} {self.castling or '-'} {en_passant}"
                f" {self.clock} {self.number}")

    def placement(self) -> str:
        rows = []
        for rank in range(7, -1, -1):
            row = "".join(self.board.get((file, rank), "1") for file in range(8))
            for length in range(8, 1, -1):
                row = row.replace("1" * length, str(length))
            rows.append(row)
        return "/".join(rows)

    # --- attacks ---

    def is_own(self, piece: str | None) -> bool:
        return piece is not None and piece.isupper() == self.white

    def rays(self, start: Square, directions: list[Square]):
        """The squares that a slider reaches, whoever stands on the last ones."""
        for df, dr in directions:
            file, rank = start[0] + df, start[1] + dr
            while 0 <= file < 8 and 0 <= rank < 8:
                yield file, rank
                if (file, rank) in self.board:
                    break
                file, rank = file + df, rank + dr

    @staticmethod
    def steps(start: Square, directions: list[Square]):
        for df, dr in directions:
            if 0 <= start[0] + df < 8 and 0 <= start[1] + dr < 8:
                yield start[0] + df, start[1] + dr

    def is_attacked(self, square: Square, by_white: bool) -> bool:
        def holds(targets, pieces: str) -> bool:
            letters = pieces.upper() if by_white else pieces
            return any(self.board.get(target, " ") in letters for target in targets)

        behind = -1 if by_white else 1  # where a pawn that attacks the square stands
        return (
            holds(self.rays(square, DIAGONALS), "bq")
            or holds(self.rays(square, LINES), "rq")
            or holds(self.steps(square, KNIGHT), "n")
            or holds(self.steps(square, DIAGONALS + LINES), "k")
            or holds(self.steps(square, [(-1, behind), (1, behind)]), "p")
        )

    def king_attacked(self, white: bool) -> bool:
        king = "K" if white else "k"
        square = next(s for s, piece in self.board.items() if piece == king)
        return self.is_attacked(square, not white)

    def in_check(self) -> bool:
        return self.king_attacked(self.white)

    # --- moves ---

    def pawn_moves(self, start: Square):
        forward = 1 if self.white else -1
        file, rank = start
        one, two = (file, rank + forward), (file, rank + 2 * forward)
        if one not in self.board:
            yield one
            if rank == (1 if self.white else 6) and two not in self.board:
                yield two
        for target in self.steps(start, [(-1, forward), (1, forward)]):
            piece = self.board.get(target)
            if target == self.en_passant or (piece and not self.is_own(piece)):
                yield target

    def castling_moves(self, start: Square):
        rank = start[1]
        for letter, empty, safe in (("K", (5, 6), (4, 5, 6)), ("Q", (1, 2, 3), (4, 3, 2))):
            if (letter if self.white else letter.lower()) not in self.castling:
                continue
            if any((file, rank) in self.board for file in empty):
                continue
            if not any(self.is_attacked((file, rank), not self.white) for file in safe):
                yield safe[2], rank

    def targets(self, start: Square, piece: str):
        kind = piece.lower()
        if kind == "p":
            yield from self.pawn_moves(start)
            return
        if kind == "k":
            yield from self.castling_moves(start)
        if kind in SLIDERS:
            squares = self.rays(start, SLIDERS[kind])
        else:
            squares = self.steps(start, KNIGHT if kind == "n" else DIAGONALS + LINES)
        for target in squares:
            if not self.is_own(self.board.get(target)):
                yield target

    def legal_moves(self) -> list[str]:
        moves = []
        for start, piece in list(self.board.items()):
            if not self.is_own(piece):
                continue
            for target in list(self.targets(start, piece)):
                promotes = piece in "Pp" and target[1] in (0, 7)
                for letter in "qrbn" if promotes else [""]:
                    move = name(start) + name(target) + letter
                    after = self.copy()
                    after.play(move)
                    if not after.king_attacked(self.white):
                        moves.append(move)
        return moves

    def play(self, move: str) -> None:
        """Plays a move that is at least pseudo-legal."""
        start, target = square_of(move), square_of(move[2:])
        piece = self.board.pop(start)
        pawn, captures = piece in "Pp", target in self.board
        # The engine counts on over an en-passant capture.
        self.clock = 0 if captures or (pawn and target != self.en_passant) else self.clock + 1
        if pawn and target == self.en_passant:
            del self.board[target[0], start[1]]
        if piece in "Kk" and move in ROOK_OF_CASTLING and abs(start[0] - target[0]) == 2:
            rook = ROOK_OF_CASTLING[move]
            self.board[square_of(rook[2:])] = self.board.pop(square_of(rook))
        if len(move) == 5:
            piece = move[4].upper() if self.white else move[4]
        self.board[target] = piece

        double = pawn and abs(start[1] - target[1]) == 2
        self.en_passant = (start[0], (start[1] + target[1]) // 2) if double else None
        lost = RIGHT_OF_SQUARE.get(move[:2], "") + RIGHT_OF_SQUARE.get(move[2:4], "")
        self.castling = "".join(right for right in self.castling if right not in lost)
        self.number += not self.white
        self.white = not self.white

    # --- ends of games ---

    def repetition_key(self) -> str:
        """Positions are the same if the same moves are possible: an en-passant square counts only
        where a pawn may capture there."""
        square = name(self.en_passant) if self.en_passant else "-"
        taking = [m for m in self.legal_moves() if m[2:4] == square] if self.en_passant else []
        pawns = [m for m in taking if self.board[square_of(m)] in "Pp"]
        return f"{self.placement()} {self.white} {self.castling} {square if pawns else '-'}"

    def is_dead(self) -> bool:
        """Whether the material cannot mate by any sequence of moves."""
        rest = [(s, piece.lower()) for s, piece in self.board.items() if piece not in "Kk"]
        if len(rest) <= 1:
            return all(piece in "nb" for _, piece in rest)
        colours = {(square[0] + square[1]) % 2 for square, _ in rest}
        return all(piece == "b" for _, piece in rest) and len(colours) == 1
