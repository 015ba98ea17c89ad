"""Games longer than any history, and boards fuller than any game's."""

import time
import unittest

from client import START_FEN, EngineTest
from rules import Position

PLIES = 6000
PAWN_MOVE_EVERY = 220  # plies; the clock of a position stays below 255


def pawn_moves(white: bool):
    """Pushes of one square that leave the way of the king's knights free."""
    for file in "ahbcdeg":
        for rank in (2, 3) if white else (7, 6):
            yield f"{file}{rank}{file}{rank + (1 if white else -1)}"


def long_game(plies: int) -> list[str]:
    """The king's knights go out and back, and now and then a pawn moves."""
    knights = {True: ["g1f3", "f3g1"], False: ["g8f6", "f6g8"]}
    pawns = {True: pawn_moves(True), False: pawn_moves(False)}
    moves: list[str] = []
    since_pawn = 0
    for ply in range(plies):
        white = ply % 2 == 0
        since_pawn += 1
        push = next(pawns[white], None) if since_pawn > PAWN_MOVE_EVERY else None
        if push:
            moves.append(push)
            since_pawn = 0
        else:
            moves.append(knights[white][0])
            knights[white].reverse()
    return moves


class LongGame(EngineTest):
    def position_after(self, moves: list[str]) -> Position:
        position = Position(START_FEN)
        for move in moves:
            position.play(move)
        return position

    def test_positions_are_right(self) -> None:
        moves = long_game(PLIES)
        for plies in (1022, 1023, 1024, 1025, 1026, 2047, 2048, 2049, 4000, PLIES):
            with self.subTest(plies=plies):
                command = f"position startpos moves {' '.join(moves[:plies])}"
                self.assertEqual(self.engine.answers(command), [])
                position = self.position_after(moves[:plies])
                self.assertEqual(self.engine.fen(), position.fen())
                legal = sorted(position.legal_moves())
                self.assertEqual(sorted(self.engine.legal_moves()), legal)

    def test_search_answers(self) -> None:
        moves = long_game(PLIES)
        for threads in (1, 4):
            self.engine.send(f"setoption name Threads value {threads}")
            for plies in (900, 1000, 1020, 1023, 1024, 1100, PLIES):
                with self.subTest(plies=plies, threads=threads):
                    command = f"position startpos moves {' '.join(moves[:plies])}"
                    legal = self.position_after(moves[:plies]).legal_moves()
                    self.assertIn(self.engine.best_move(command, "go depth 8"), legal)
                    self.assertIn(self.engine.best_move(command, "go movetime 100"), legal)

    def test_deep_search_in_a_full_history(self) -> None:
        # Every line ends by the fifty-move rule, and the search goes to its greatest depth.
        shuffle = ["d3d4", "e6e7", "d4d3", "e7e6"]
        moves = [shuffle[i % 4] for i in range(400)]
        fen = "8/8/4k3/8/8/3K4/8/8 w - - 0 1"
        command = f"position fen {fen} moves {' '.join(moves)}"
        self.assertIn(self.engine.best_move(command, "go depth 128"), Position(fen).legal_moves())

    def test_repetitions_are_seen_in_the_part_that_is_kept(self) -> None:
        # White lacks the queen and is glad to repeat; right after a pawn move there is nothing to
        # repeat yet.
        fen = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNB1KBNR w KQkq - 0 1"
        game = long_game(PLIES)
        for plies in (20, 900, 1022, 1024, 1026, 1200, 3000, PLIES):
            with self.subTest(plies=plies):
                moves = " ".join(game[:plies])
                lines = self.engine.search(f"position fen {fen} moves {moves}", "go depth 4")
                self.assertRegex(lines[-2], r" score cp 0 ")
        black = range(1201, PLIES, 2)
        pawn_move = next(i for i in black if game[i] not in ("g8f6", "f6g8"))
        moves = " ".join(game[: pawn_move + 1])
        lines = self.engine.search(f"position fen {fen} moves {moves}", "go depth 4")
        self.assertRegex(lines[-2], r" score cp -\d{3,} ")

    def test_illegal_move_late_in_a_game(self) -> None:
        moves = long_game(3000)
        message = ('position moves: хід "e1e3" нелегальний у цій позиції'
                   " — решту ходів пропущено")
        lines = self.engine.answers(f"position startpos moves {' '.join(moves)} e1e3 e2e4")
        self.assert_info_string(lines, message)
        self.assertEqual(self.engine.fen(), self.position_after(moves).fen())


class FullBoard(EngineTest):
    """More moves than any game knows.  Captures of queens by queens never end by themselves, so
    those searches are stopped."""

    MANY_MOVES = [
        "QQQQQQQQ/Q6Q/Q6Q/Q6Q/Q6Q/Q6Q/Q5RB/KQQQQQBk w - - 0 1",
        "kqqqqqbK/q5rb/q6q/q6q/q6q/q6q/q6q/qqqqqqqq b - - 0 1",
        "R6R/3Q4/1Q4Q1/4Q3/2Q4Q/Q4Q2/pp1Q4/kBNN1KB1 w - - 0 1",
    ]
    CAPTURES = [
        "q1qqqQqq/qqqq1Q1Q/qqkqQQQQ/QqqqqQKQ/4QQQQ/1qQ1qq2/Q1qQQQq1/QqQQ1qQQ b - - 0 60",
        "2Q1QqQ1/1Q1QQQ1Q/4qqq1/4Q1Q1/q3qQQQ/3Q1QKQ/qqQQQQQQ/kq1qqQqQ b - - 0 60",
    ]
    # All squares taken, and no move.
    NO_MOVE = "QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQRB/KQQQQQBk w - - 0 1"

    def set_up(self, fen: str) -> list[str]:
        self.assertEqual(self.engine.answers(f"position fen {fen}"), [])
        self.assertEqual(self.engine.fen(), fen)
        legal = Position(fen).legal_moves()
        self.assertEqual(sorted(self.engine.legal_moves()), sorted(legal))
        return legal

    def test_many_moves(self) -> None:
        counts = []
        for threads in (1, 4):
            self.engine.send(f"setoption name Threads value {threads}")
            for fen in self.MANY_MOVES:
                with self.subTest(fen, threads=threads):
                    legal = self.set_up(fen)
                    counts.append(len(legal))
                    self.assertIn(self.engine.best_move("go depth 4"), legal)
        self.assertGreater(max(counts), 256)

    def test_captures_without_end(self) -> None:
        for threads in (1, 4):
            self.engine.send(f"setoption name Threads value {threads}")
            for fen in self.CAPTURES:
                with self.subTest(fen, threads=threads):
                    legal = self.set_up(fen)
                    self.engine.send("go depth 4")
                    time.sleep(0.5)
                    self.engine.send("stop")
                    best = self.engine.read_until("bestmove .*")[-1].split()[1]
                    self.assertIn(best, legal)

    def test_no_square_left(self) -> None:
        self.assertEqual(self.set_up(self.NO_MOVE), [])
        lines = self.engine.search("go depth 4")
        self.assertEqual(lines, ["info depth 0 score cp 0", "bestmove 0000"])


if __name__ == "__main__":
    unittest.main()
