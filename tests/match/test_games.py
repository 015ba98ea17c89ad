"""A won game is won; and the referee of games sees what there is to see."""

import time
import unittest
import unittest.mock

from client import START_FEN, Engine, EngineTest
from library import Rules
from display import ANOTHER_MOVE, ILLEGAL_VARIATION, NO_VARIATION
from referee import (FORFEIT, ILLEGAL_MOVE, LATE_BY_THE_MACHINE, Clock, Control, Game, Referee,
                     Watchdog)

CONTROL = Control(1000)
LONE_PAWN = "4k3/8/8/8/8/8/4P3/4K3 w - - 0 1"


class Games(EngineTest):
    def test_a_won_ending_is_won(self) -> None:
        rules = Rules()
        self.addCleanup(rules.close)
        referee = Referee(rules, lenient=True)
        fen = "8/8/8/3k4/8/8/8/R3K3 w Q - 0 1"
        game = referee.play((self.engine, self.start()), fen, Control(3000, 50))
        self.assertEqual((game.result, game.reason), ("1-0", "mate"))


class FakePlayer(Engine):
    """Answers what it was told to: a move, or lines."""

    pid = 0

    def __init__(self, answers: list[str | list[str]], thinks: float = 0.0) -> None:
        self._answers = list(answers)
        self._thinks = thinks

    def answers(self, *lines: str, deadline: float = 0) -> list[str]:
        return []

    def search(self, *lines: str, deadline: float = 0) -> list[str]:
        time.sleep(self._thinks)
        self.sent = list(lines)
        answer = self._answers.pop(0)
        return [f"bestmove {answer}"] if isinstance(answer, str) else answer


class RefereeTest(unittest.TestCase):
    def setUp(self) -> None:
        self.rules = Rules()
        self.addCleanup(self.rules.close)
        self.referee = Referee(self.rules)

    def play(self, fen: str, white: list, black: list = ()) -> Game:
        return self.referee.play((FakePlayer(white), FakePlayer(black)), fen, CONTROL)

    def assert_faults(self, *kinds: str) -> None:
        """Besides that most of these players say nothing but their moves."""
        found = [kind for kind, faults in self.referee.faults.items() for _ in faults
                 if kind != NO_VARIATION]
        self.assertEqual(found, list(kinds))


class Ends(RefereeTest):
    def test_mate(self) -> None:
        game = self.play(START_FEN, ["f2f3", "g2g4"], ["e7e5", "d8h4"])
        self.assertEqual((game.result, game.reason), ("0-1", "mate"))
        self.assert_faults()

    def test_repetition(self) -> None:
        game = self.play(START_FEN, 2 * ["g1f3", "f3g1"], 2 * ["g8f6", "f6g8"])
        self.assertEqual((game.reason, len(game.moves)), ("threefold repetition", 8))

    def test_en_passant_counts_in_a_repetition_only_where_it_can_be_played(self) -> None:
        for pawn, plies in (("", 9), ("p", 10)):
            row = "3p4" if pawn else "8"
            knights = 3 * (["b1a3", "a3b1"]), 3 * (["b8a6", "a6b8"])
            fen = f"1n2k3/8/8/8/{row}/8/4P3/1N2K3 w - - 0 1"
            with self.subTest(pawn):
                game = self.play(fen, ["e2e4", *knights[0]], knights[1])
                self.assertEqual((game.reason, len(game.moves)), ("threefold repetition", plies))

    def test_draws(self) -> None:
        for fen, move, reason in (
            ("7k/8/6K1/8/8/8/8/5Q2 w - - 0 1", "f1f7", "stalemate"),
            ("7k/8/8/8/8/8/4r3/4K3 w - - 0 1", "e1e2", "insufficient material"),
            ("7k/8/8/8/8/8/4r3/K3R3 w - - 99 80", "e1d1", "the fifty-move rule"),
        ):
            with self.subTest(reason):
                game = self.play(fen, [move])
                self.assertEqual((game.result, game.reason), ("1/2-1/2", reason))


class Faults(RefereeTest):
    def test_illegal_moves(self) -> None:
        for move in ("e2e5", "0000", "e1e2", "e8e7", "e2", "e2e4q", "x", ""):
            with self.subTest(move):
                self.referee = Referee(self.rules)
                game = self.play(LONE_PAWN, [move])
                self.assertEqual((game.result, game.reason), ("0-1", ILLEGAL_MOVE))
                self.assertEqual(len(self.referee.faults[ILLEGAL_MOVE]), 1)
        self.play("4k3/P7/8/8/8/8/8/4K3 w - - 0 1", ["a7a8"])
        self.assertEqual(len(self.referee.faults[ILLEGAL_MOVE]), 2)

    def test_what_is_shown(self) -> None:
        line = "info depth 1 seldepth 1 score cp 0 nodes 5 nps 0 time 0 pv "
        self.play(LONE_PAWN, [[line + "e2e4 e8e7", "bestmove e2e4"], "0000"], ["e8e7"])
        self.assert_faults(ILLEGAL_MOVE)
        self.referee = Referee(self.rules)
        self.play(LONE_PAWN, [[line + "e2e4 e8e1", "bestmove e2e3"], "0000"], ["e8e7"])
        self.assert_faults(ILLEGAL_VARIATION, ANOTHER_MOVE, ILLEGAL_MOVE)


class Clocks(RefereeTest):
    def test_what_is_left(self) -> None:
        clock = Clock(Control(1000, 10))
        clock.spend(300)
        self.assertEqual((clock.left, clock.reserve), (710, 700))
        clock.spend(720)
        self.assertEqual((clock.left, clock.reserve), (11, -10))

    def test_given_again_after_its_moves(self) -> None:
        clock = Clock(Control(1000, moves=3))
        seen = []
        for _ in range(4):
            seen.append((clock.left, clock.moves_to_go()))
            clock.spend(100)
        self.assertEqual(seen, [(1000, 3), (900, 2), (800, 1), (1700, 3)])

    def test_what_players_are_told(self) -> None:
        for control, words in (
            (Control(900, 10), "go wtime 900 btime 900 winc 10 binc 10"),
            (Control(900, moves=40), "go wtime 900 btime 900 movestogo 40"),
        ):
            player = FakePlayer(["e1e2"])
            self.referee.play((player, player), LONE_PAWN, control)
            self.assertEqual(player.sent, [f"position fen {LONE_PAWN}", words])

    def late_game(self, lenient: bool) -> Game:
        self.referee = Referee(self.rules, lenient)
        players = (FakePlayer(["e2e4"], thinks=0.15), FakePlayer(["e8e1"]))
        return self.referee.play(players, LONE_PAWN, Control(100))

    def test_too_late(self) -> None:
        for lenient in (False, True):
            with self.subTest(lenient=lenient):
                game = self.late_game(lenient)
                self.assertEqual((game.result, game.reason), ("0-1", FORFEIT))
                self.assert_faults(FORFEIT)
                self.assertLess(game.clocks[0].reserve, -49)

    def test_too_late_by_the_machine(self) -> None:
        busy = unittest.mock.patch("referee.waits", side_effect=[{"1": 0}, {"1": 200}] * 2)
        with busy:
            self.assertEqual(self.late_game(lenient=True).reason, ILLEGAL_MOVE)  # Black's
        self.assert_faults(LATE_BY_THE_MACHINE, ILLEGAL_MOVE)
        busy = unittest.mock.patch("referee.waits", side_effect=[{"1": 0}, {"1": 200}])
        with busy:
            self.assertEqual(self.late_game(lenient=False).reason, FORFEIT)

    def test_watchdog(self) -> None:
        watchdog = Watchdog()
        start = time.monotonic()
        sum(range(5_000_000))  # one piece of work that keeps all other threads from running
        blocked = (time.monotonic() - start) * 1000
        time.sleep(0.05)
        watchdog.end()
        self.assertGreater(watchdog.delay, blocked / 2)


if __name__ == "__main__":
    unittest.main()
