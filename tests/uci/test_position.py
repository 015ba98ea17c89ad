"""The `position` command: what it sets up, what it refuses and what it says then."""

import unittest

import grammar
from client import START_FEN, EngineTest

UNCHANGED = " — позицію не змінено"
MISSING = "position: очікувалось startpos або fen" + UNCHANGED
EMPTY_FEN = "position fen: порожній FEN" + UNCHANGED
AFTER_E4 = "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3 0 1"
AFTER_E4_E5 = "rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq e6 0 2"
OTHER = "4k3/8/8/8/8/8/4P3/4K3 b - - 7 30"


def bad_fen(fen: str) -> str:
    return f'position fen: некоректний FEN "{fen}"' + UNCHANGED


def unknown(word: str) -> str:
    return f'position: невідомий аргумент "{word}"' + UNCHANGED


def illegal(move: str) -> str:
    return f'position moves: хід "{move}" нелегальний у цій позиції — решту ходів пропущено'


class PositionTest(EngineTest):
    def sets(self, command: str, fen: str) -> None:
        self.assertEqual(self.engine.answers(command), [], command)
        self.assertEqual(self.engine.fen(), fen, command)

    def refuses(self, command: str, message: str) -> None:
        """The message comes once on each stream, and the position is the one of before."""
        self.engine.send(f"position fen {OTHER}")
        self.assert_info_string(self.engine.answers(command), message)
        self.assertEqual(self.engine.fen(), OTHER, command)
        self.said += message + "\n"

    def setUp(self) -> None:
        super().setUp()
        self.said = ""  # what standard error must hold in the end

    def tearDown(self) -> None:
        self.engine.quit()
        self.assertEqual(self.engine.stderr.decode(errors="surrogateescape"), self.said)


class StartPosition(PositionTest):
    def test_alone(self) -> None:
        self.engine.send(f"position fen {OTHER}")
        self.sets("position startpos", START_FEN)

    def test_with_moves(self) -> None:
        self.sets("position startpos moves e2e4", AFTER_E4)
        self.sets("position startpos moves e2e4 e7e5", AFTER_E4_E5)
        self.sets("position startpos moves", START_FEN)

    def test_another_word_instead_of_moves_is_ignored(self) -> None:
        self.sets("position startpos e2e4", START_FEN)
        self.sets("position startpos Moves e2e4", START_FEN)
        self.sets("position startpos x moves e2e4", START_FEN)

    def test_each_command_starts_anew(self) -> None:
        self.sets("position startpos moves e2e4", AFTER_E4)
        self.sets("position startpos moves d2d4 d7d5 c2c4",
                  "rnbqkbnr/ppp1pppp/8/3p4/2PP4/8/PP2PPPP/RNBQKBNR b KQkq c3 0 2")


class Fen(PositionTest):
    def test_alone_and_with_moves(self) -> None:
        self.sets(f"position fen {OTHER}", OTHER)
        self.sets(f"position fen {OTHER} moves", OTHER)
        self.sets(f"position fen {OTHER} moves e8d7 e2e4", "8/3k4/8/8/4P3/8/8/4K3 b - e3 0 31")

    def test_blanks_between_fields(self) -> None:
        self.sets("position   fen  " + OTHER.replace(" ", "  \t "), OTHER)

    def test_four_and_five_fields(self) -> None:
        self.sets("position fen 4k3/8/8/8/8/8/4P3/4K3 w - -", "4k3/8/8/8/8/8/4P3/4K3 w - - 0 1")
        self.sets("position fen 4k3/8/8/8/8/8/4P3/4K3 w - - 9", "4k3/8/8/8/8/8/4P3/4K3 w - - 9 1")
        self.sets("position fen 4k3/8/8/8/8/8/4P3/4K3 w - - moves e2e3",
                  "4k3/8/8/8/8/4P3/8/4K3 b - - 0 1")

    def test_fields_after_the_sixth_are_ignored(self) -> None:
        self.sets(f"position fen {OTHER} what ever e2e4", OTHER)

    def test_what_is_corrected_silently(self) -> None:
        kings = "4k3/8/8/8/8/8/4P3/4K3"
        self.sets(f"position fen {kings} W - - 0 1", f"{kings} w - - 0 1")
        self.sets(f"position fen {kings} B - - 0 1", f"{kings} b - - 0 1")
        self.sets(f"position fen {kings} w KQkq - 0 1", f"{kings} w - - 0 1")
        self.sets(f"position fen {kings} w - e6 0 1", f"{kings} w - - 0 1")
        self.sets(f"position fen {kings} w - - 150 0", f"{kings} w - - 100 1")
        self.sets(f"position fen {kings} w - - 0 999999999", f"{kings} w - - 0 999999999")
        self.sets("position fen r3k2r/8/8/8/8/8/8/R3K3 w qkQK - 0 1",
                  "r3k2r/8/8/8/8/8/8/R3K3 w Qkq - 0 1")
        self.sets("position fen 4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 2",
                  "4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 2")
        self.sets("position fen 4k3/3p4/8/3pP3/8/8/8/4K3 w - d6 0 2",
                  "4k3/3p4/8/3pP3/8/8/8/4K3 w - - 0 2")

    def test_rejected(self) -> None:
        start, tail = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR", "w KQkq - 0 1"
        fens = [
            "x",
            "startpos",
            start,
            f"{start} w",
            f"{start} w KQkq",
            f"8/8/8/8/8/8/8/8 {tail}",
            f"4k3/8/8/8/8/8/8/8 {tail}",
            f"4k3/8/8/8/8/8/8/3KK3 {tail}",
            f"3kk3/8/8/8/8/8/8/4K3 {tail}",
            f"4k2P/8/8/8/8/8/8/4K3 {tail}",
            f"4k3/8/8/8/8/8/8/p3K3 {tail}",
            f"rnbqkbnr/ppppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR {tail}",
            f"rnbqkbnr/ppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR {tail}",
            f"rnbqkbnr/pppppppp/9/8/8/8/PPPPPPPP/RNBQKBNR {tail}",
            f"rnbqkbnr/pppppppp/0/8/8/8/PPPPPPPP/RNBQKBNR {tail}",
            f"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP {tail}",
            f"{start}/8 {tail}",
            f"{start}/ {tail}",
            f"rnbqkbnr/ppppxppp/8/8/8/8/PPPPPPPP/RNBQKBNR {tail}",
            f"{start} white KQkq - 0 1",
            f"{start} x KQkq - 0 1",
            f"{start} w KK - 0 1",
            f"{start} w KQkqK - 0 1",
            f"{start} w KQxq - 0 1",
            f"{start} w HAha - 0 1",
            f"{start} w -- - 0 1",
            f"{start} w KQkq e 0 1",
            f"{start} w KQkq e9 0 1",
            f"{start} w KQkq i3 0 1",
            f"{start} w KQkq E3 0 1",
            f"{start} w KQkq e33 0 1",
            f"{start} w KQkq - -1 1",
            f"{start} w KQkq - +1 1",
            f"{start} w KQkq - 1x 1",
            f"{start} w KQkq - 0 x",
            f"{start} w KQkq - 0 -5",
            f"{start} w KQkq - 0 1234567890",
            f"{start} w KQkq - 1234567890 1",
            f"{start} w KQkq - 0 1.5",
        ]
        for fen in fens:
            with self.subTest(fen):
                self.refuses(f"position fen {fen}", bad_fen(fen))
                self.refuses(f"position fen {fen} moves e2e4", bad_fen(fen))

    def test_rejected_because_the_side_not_to_move_is_in_check(self) -> None:
        for fen in ("4k3/4R3/8/8/8/8/8/4K3 w - - 0 1", "4k3/8/8/8/8/8/3p4/4K3 b - - 0 1"):
            with self.subTest(fen):
                self.refuses(f"position fen {fen}", bad_fen(fen))

    def test_message_joins_the_fields_with_single_blanks(self) -> None:
        self.refuses("position  fen   8/8   w\t-  ", bad_fen("8/8 w -"))
        self.refuses('position fen "quoted" \\n %s', bad_fen('"quoted" \\n %s'))

    def test_empty(self) -> None:
        self.refuses("position fen", EMPTY_FEN)
        self.refuses("position fen moves", EMPTY_FEN)
        self.refuses("position fen   moves e2e4", EMPTY_FEN)


class Argument(PositionTest):
    def test_missing(self) -> None:
        self.refuses("position", MISSING)
        self.refuses("position   ", MISSING)
        self.refuses("position\t", MISSING)

    def test_unknown(self) -> None:
        for word in ("moves", "Startpos", "FEN", "startpos,", "позиція", "8/8/8/8/8/8/8/8"):
            with self.subTest(word):
                self.refuses(f"position {word} fen {START_FEN}", unknown(word))


class Moves(PositionTest):
    def stops_at(self, command: str, move: str, fen: str) -> None:
        self.assert_info_string(self.engine.answers(command), illegal(move))
        self.said += illegal(move) + "\n"
        self.assertEqual(self.engine.fen(), fen)

    def test_moves_before_the_bad_one_stay(self) -> None:
        self.stops_at("position startpos moves e2e4 e7e5 e1e1 g1f3", "e1e1", AFTER_E4_E5)
        self.stops_at("position startpos moves e2e4 e7e5 e5e4 g1f3 zz", "e5e4", AFTER_E4_E5)

    def test_what_is_no_move(self) -> None:
        for word in ("0000", "e2", "e2e", "E2E4", "e2e9", "i2i4", "e2-e4", "x", "moves", "e4",
                     "Nf3", "O-O", "хід", "e2e4Q", "e2e4k", "e2e4-"):
            with self.subTest(word):
                self.stops_at(f"position startpos moves {word} e2e4", word, START_FEN)

    def test_impossible_moves(self) -> None:
        for move in ("e2e5", "e7e5", "e1e2", "a1a3", "b1d2", "d1h5", "e3e4", "e1g1", "e2d3",
                     "e2e4q"):
            with self.subTest(move):
                self.stops_at(f"position startpos moves {move}", move, START_FEN)

    def test_a_move_that_leaves_the_king_in_check(self) -> None:
        fen = "4k3/4r3/8/8/8/8/4N3/4K3 w - - 0 1"
        self.stops_at(f"position fen {fen} moves e2c3 e8d8", "e2c3", fen)

    def test_what_follows_the_move_is_ignored(self) -> None:
        # Only the first five characters count, and the fifth must then be a promotion.
        fen = "8/P3k3/8/8/8/8/4K3/8 w - - 0 1"
        self.sets(f"position fen {fen} moves a7a8qx", "Q7/4k3/8/8/8/8/4K3/8 b - - 0 1")

    def test_promotions(self) -> None:
        fen = "8/P3k3/8/8/8/8/4K3/8 w - - 0 1"
        for letter, piece in (("q", "Q"), ("r", "R"), ("b", "B"), ("n", "N"), ("", "Q")):
            with self.subTest(letter):
                after = f"{piece}7/4k3/8/8/8/8/4K3/8 b - - 0 1"
                self.sets(f"position fen {fen} moves a7a8{letter}", after)
        self.stops_at(f"position fen {fen} moves a7a8k", "a7a8k", fen)
        self.stops_at(f"position fen {fen} moves a7a8Q", "a7a8Q", fen)

    def test_promotion_with_capture(self) -> None:
        fen = "1n2k3/P7/8/8/8/8/8/4K3 w - - 3 9"
        self.sets(f"position fen {fen} moves a7b8n", "1N2k3/8/8/8/8/8/8/4K3 b - - 0 9")

    def test_castling(self) -> None:
        fen = "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1"
        self.sets(f"position fen {fen} moves e1g1 e8c8", "2kr3r/8/8/8/8/8/8/R4RK1 w - - 2 2")
        self.sets(f"position fen {fen} moves e1c1 e8g8", "r4rk1/8/8/8/8/8/8/2KR3R w - - 2 2")
        self.stops_at(f"position fen {fen} moves e1h1", "e1h1", fen)
        through = "4kr2/8/8/8/8/8/8/4K2R w K - 0 1"
        self.stops_at(f"position fen {through} moves e1g1", "e1g1", through)

    def test_en_passant_leaves_the_clock_running(self) -> None:
        self.sets("position startpos moves e2e4 a7a6 e4e5 d7d5 e5d6",
                  "rnbqkbnr/1pp1pppp/p2P4/8/8/8/PPPP1PPP/RNBQKBNR b KQkq - 1 3")
        self.stops_at("position startpos moves e2e4 d7d5 e4e5 a7a6 e5d6", "e5d6",
                      "rnbqkbnr/1pp1pppp/p7/3pP3/8/8/PPPP1PPP/RNBQKBNR w KQkq - 0 3")

    def test_clock_and_number_go_beyond_the_bounds_of_a_fen(self) -> None:
        fen = "4k3/8/8/8/8/8/4P3/4K3 w - - 99 500"
        self.sets(f"position fen {fen} moves e1d1 e8d8 d1e1",
                  "3k4/8/8/8/8/8/4P3/4K3 b - - 102 501")


class RunningSearch(PositionTest):
    def test_every_position_command_stops_it(self) -> None:
        said = {"position": MISSING, "position x": unknown("x"), "position fen": EMPTY_FEN}
        for command in ("position startpos moves e2e4", *said):
            with self.subTest(command):
                self.engine.send("position startpos", "go infinite")
                self.engine.read_line()
                lines = self.engine.answers(command)
                expected = []
                if command in said:
                    expected = ["info string " + said[command]]
                    self.said += said[command] + "\n"
                best = next(i for i, line in enumerate(lines) if line.startswith("bestmove"))
                self.assertRegex(lines[best], f"^{grammar.BEST_MOVE}$")
                self.assertEqual(lines[best + 1 :], expected)


if __name__ == "__main__":
    unittest.main()
