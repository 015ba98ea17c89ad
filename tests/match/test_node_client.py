"""A client that others have written, for Node.js: it understands every line that the engine prints,
and drives a game that a library of the rules referees."""

from __future__ import annotations

import random
import unittest

import grammar
from client import START_FEN, engine_path
from library import RULES, Script, install
from test_rules import OPENINGS, lines_of

CLIENT = ("node-uci", "1.3.4")
MATE_ON_THE_BOARD = "rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq - 1 3"
STALEMATE = "7k/5Q2/6K1/8/8/8/8/8 b - - 0 1"
MATE_IN_TWO = "7k/8/5K2/8/8/8/8/R7 w - - 0 1"
MATED_IN_ONE = "7k/5K2/8/8/8/8/8/R7 b - - 0 1"
PROMOTION = "8/1P6/k1K5/8/8/8/8/8 w - - 0 1"


class NodeClient(unittest.TestCase):
    maxDiff = None

    def setUp(self) -> None:
        self.client = Script("client.mjs", install(*CLIENT), install(*RULES), engine_path())
        self.addCleanup(self.client.close)

    def search(self, fen: str, limits: dict[str, object], moves: list[str] = (), stop: int = 0):
        answer = self.client.ask({"fen": fen, "moves": list(moves), "limits": limits, "stop": stop})
        self.assertNotIn("error", vars(answer))
        return answer

    @staticmethod
    def words(info: dict) -> str:
        """The line that the client's understanding of it stands for."""
        parts = ["info depth", info["depth"]]
        if "seldepth" in info:
            parts += ["seldepth", info["seldepth"]]
        if "score" in info:
            parts += ["score", info["score"]["unit"], info["score"]["value"]]
        if "nodes" in info:
            parts += ["nodes", info["nodes"], "nps", info["nps"], "time", info["time"]]
        if "pv" in info:
            parts += ["pv", info["pv"]]
        return " ".join(str(part) for part in parts)

    def assert_understood(self, answer) -> None:
        understood = [self.words(info) for info in answer.infos] + [f"bestmove {answer.bestmove}"]
        self.assertEqual(understood, answer.lines)
        for line in answer.lines:
            self.assertTrue(grammar.is_protocol(line), line)

    def test_greeting(self) -> None:
        hello = self.client.ask({"hello": True})
        lines = [f"id {key} {value}" for key, value in hello.id.items()]
        for name, option in hello.options.items():
            self.assertEqual(option["type"], "spin")
            lines.append(f"option name {name} type spin default {option['default']}"
                         f" min {option['min']} max {option['max']}")
        self.assertEqual([*lines, "uciok"], grammar.IDENTIFICATION)

    def test_every_line_is_understood(self) -> None:
        rng = random.Random(5)
        positions = lines_of(OPENINGS)
        for depth in range(1, 10):
            answer = self.search(rng.choice(positions), {"depth": depth})
            self.assert_understood(answer)
            self.assertEqual(len(answer.infos), depth)
        clocks = {"wtime": 900, "btime": 800}
        for limits in ({"nodes": 20000}, {"movetime": 700}, {**clocks, "winc": 20, "binc": 20},
                       {**clocks, "movestogo": 10}):
            self.assert_understood(self.search(rng.choice(positions), limits))
        answer = self.search(START_FEN, {"movetime": 1500})  # long enough for lines of progress
        self.assert_understood(answer)
        self.assertTrue(any("score" not in info for info in answer.infos), answer.lines)
        answer = self.search(START_FEN, {"infinite": True}, ["e2e4", "e7e5"], stop=400)
        self.assert_understood(answer)
        self.assertGreater(len(answer.infos), 3)

    def test_mates_and_ends(self) -> None:
        for fen, score, best in (
            (MATE_IN_TWO, {"unit": "mate", "value": 2}, None),
            (MATED_IN_ONE, {"unit": "mate", "value": -1}, None),
            (MATE_ON_THE_BOARD, {"unit": "mate", "value": 0}, "0000"),
            (STALEMATE, {"unit": "cp", "value": 0}, "0000"),
            (PROMOTION, None, "b7b8q"),
        ):
            with self.subTest(fen):
                answer = self.search(fen, {"depth": 6})
                self.assert_understood(answer)
                if score:
                    self.assertEqual(answer.infos[-1]["score"], score)
                if best:
                    self.assertEqual(answer.bestmove, best)

    def test_a_game(self) -> None:
        for fen in (START_FEN, lines_of(OPENINGS)[7]):
            game = self.client.ask({"fen": fen, "game": {"nodes": 3000}})
            self.assertIsNone(game.error, vars(game))
            self.assertGreater(len(game.moves), 20)
            print(f"{game.result} by {game.end} after {len(game.moves)} plies")
            self.assertIn(game.end, ("mate", "stalemate", "repetition", "the fifty-move rule",
                                     "insufficient material"))


if __name__ == "__main__":
    unittest.main()
