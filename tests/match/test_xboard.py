"""Games as a user plays them: xboard runs the match and is the referee, an adapter translates
between its protocol and UCI.  A library replays what was played."""

from __future__ import annotations

import re
import unittest

from programs import ProgramTest, require

MISTAKES = r"(?i)illegal|exited unexpectedly|forfeits"
POLYGLOT = 'polyglot -noini -ec "%fcp" -ed "%fd"'  # what xboard runs UCI engines by, as installed


class Xboard(ProgramTest):
    def setUp(self) -> None:
        require("xvfb-run", "xboard", "polyglot")
        super().setUp()

    def assert_no_mistake(self, text: str) -> None:
        self.assertEqual([line for line in text.splitlines() if re.search(MISTAKES, line)], [])

    def play(self, *options: str) -> str:
        """Plays a game under short clocks; returns what the programs said to each other."""
        # The time limit is xboard's, inside: xvfb-run then takes its display down, come what may.
        done = self.run_program(
            "xvfb-run", "-a", "timeout", "-k", "5", "90",
            "xboard", "-noGUI", "-xexit", "-saveSettingsOnExit", "false", "-xponder",
            "-soundProgram", "", "-mg", "1", "-mps", "0",
            "-tc", "0:02", "-inc", "0.05", "-fd", ".", "-sd", ".", "-sgf", "games.pgn",
            "-debug", "-nameOfDebugFile", "debug", *options, limit=120)
        self.assertEqual(done.status, 0, done.stdout + done.stderr)
        self.check_games("games.pgn", 1)
        conversation = self.read("debug").decode(errors="replace")
        self.assert_no_mistake(conversation + done.stdout + done.stderr)
        return conversation

    def test_polyglot(self) -> None:
        """Each engine has its settings in a file; all goes into logs."""
        for name in ("a", "b"):
            self.write(f"{name}.ini", "\n".join((
                "[PolyGlot]", f"EngineName = Morvane-{name}", "EngineCommand = ./engine",
                "Log = true", f"LogFile = {name}.log", "[Engine]", "Move Overhead = 20", "")).encode())
        self.play("-fcp", "polyglot a.ini", "-scp", "polyglot b.ini", "-smpCores", "2",
                  "-defaultHashSize", "16", "-defaultCacheSizeEGTB", "0")
        for name in ("a.log", "b.log"):
            log = self.read(name).decode(errors="replace")
            self.assert_no_mistake(log)
            for told in ("setoption name Hash value 16", "setoption name Threads value 2",
                         "setoption name Move Overhead value 20"):
                self.assertIn(f"Adapter->Engine: {told}", log)
            self.assertGreater(len(re.findall("Engine->Adapter: bestmove", log)), 10)
            self.assertIn("Child exited with status 0", log)

    def test_as_a_uci_engine(self) -> None:
        """As xboard starts UCI engines by itself."""
        conversation = self.play("-fUCI", "-sUCI", "-fcp", "./engine", "-scp", "./engine",
                                 "-adapterCommand", POLYGLOT)
        for side in ("first", "second"):
            self.assertRegex(conversation, f'<{side} *: feature myname="Morvane ')
            self.assertGreater(len(re.findall(f"<{side} *: move ", conversation)), 5)

    def test_uci2wb(self) -> None:
        """The same with the other adapter, which shows what the engine says."""
        require("uci2wb")
        conversation = self.play("-fUCI", "-sUCI", "-fcp", "./engine", "-scp", "./engine",
                                 "-adapterCommand", "uci2wb debug %fcp")
        for side in ("first", "second"):
            said = rf"<{side} *: # engine said: "
            self.assertRegex(conversation, said + r"info depth \d+ seldepth \d+ score cp .* pv ")
            answers = re.findall(said + "bestmove [a-h][1-8][a-h][1-8]", conversation)
            self.assertGreater(len(answers), 5)


if __name__ == "__main__":
    unittest.main()
