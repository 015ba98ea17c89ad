"""What standard error tells a person before the loop starts, and that a client sees nothing of it."""

from __future__ import annotations

import fcntl
import os
import pty
import re
import subprocess
import unittest

from client import EngineTest, Engine, engine_path, run_mode
from grammar import IDENTIFICATION

UNKNOWN = 'morvane: невідомий режим "{}" — запущено UCI\n'
MISSING = "morvane: режиму {} потрібні аргументи: {} — запущено UCI\n"
NAME = IDENTIFICATION[0].removeprefix("id name ")
DEADLINE = 60.0


class Introduction(unittest.TestCase):
    maxDiff = None

    def told(self, *arguments: str) -> str:
        """What a start with arguments tells, while the loop runs as if there were none."""
        result = run_mode(*arguments, stdin=b"isready\nquit\n")
        self.assertEqual((result.returncode, result.stdout), (0, b"readyok\n"), arguments)
        return result.stderr.decode()

    def test_clients_are_told_nothing(self) -> None:
        self.assertEqual(self.told(), "")

    def test_help(self) -> None:
        text = self.told("--help")
        for more in (["-h"], ["help"], ["--help", "perft"]):
            self.assertEqual(self.told(*more), text)
        self.assertEqual(re.findall(r"^  morvane (\w+(?: \S+)*)  +\w", text, re.MULTILINE), [
            "perft FEN DEPTH", "benchsearch [DEPTH]", "evaltrace FEN", "egscale <FILE",
            "datagen [OPTION=VALUE...]", "featureexport DATA ROWS", "tuneparams", "bench"])
        self.assertIn("man morvane", text)
        self.assertIn("docs/uci.md", text)
        for line in text.splitlines():
            self.assertLessEqual(len(line), 84)

    def test_version(self) -> None:
        text = self.told("--version")
        self.assertEqual(self.told("-v"), text)
        self.assertRegex(text, rf"\A{re.escape(NAME)}(, revision [0-9a-zA-Z._+-]+)?\n"
                               r"Built by \w+ \d+\.\d+\S* for \w+( with( [a-z0-9.]+)+)?(, profile-guided)?\n")

    def test_unknown_words(self) -> None:
        for word in ("datagne", "uci", "", " ", "Perft", "--halp", "-V", "--", "ход"):
            self.assertEqual(self.told(word), UNKNOWN.format(word))
            self.assertEqual(self.told(word, "--help"), UNKNOWN.format(word))

    def test_missing_arguments(self) -> None:
        for mode, usage in (("perft", "FEN DEPTH"), ("evaltrace", "FEN"),
                            ("featureexport", "DATA ROWS")):
            self.assertEqual(self.told(mode), MISSING.format(mode, usage))
        self.assertEqual(self.told("perft", "x"), MISSING.format("perft", "FEN DEPTH"))


class Greeting(unittest.TestCase):
    def told(self, terminals: set[str], *arguments: str,
             typed: str = "isready\nquit\n") -> tuple[str, str]:
        """Standard output and error of an engine with a terminal in place of some pipes."""
        master, slave = pty.openpty()
        streams = {name: slave if name in terminals else subprocess.PIPE
                   for name in ("stdin", "stdout", "stderr")}
        with subprocess.Popen([engine_path(), *arguments], **streams) as engine:
            os.close(slave)
            if "stdin" in terminals:
                os.write(master, typed.encode())
            out, err = engine.communicate(None if "stdin" in terminals else typed.encode(),
                                          DEADLINE)
            self.assertEqual(engine.returncode, 0)
        shown = self.read_all(master).replace("\r\n", "\n") if terminals else ""
        os.close(master)
        shown = shown.replace(typed, "", 1)  # the terminal's echo
        return (shown if "stdout" in terminals else out.decode(),
                shown if "stderr" in terminals else err.decode())

    @staticmethod
    def read_all(master: int) -> str:
        text = b""
        try:
            while piece := os.read(master, 65536):
                text += piece
        except OSError:  # how Linux tells that the other side has closed it
            pass
        return text.decode()

    def test_at_a_terminal(self) -> None:
        out, err = self.told({"stdin", "stderr"})
        self.assertEqual(out, "readyok\n")
        self.assertEqual(err.count("\n"), 2)
        self.assertIn(NAME, err)
        for word in ("UCI", "go movetime 1000", "quit", "--help"):
            self.assertIn(word, err)
        everything = self.told({"stdin", "stdout", "stderr"})[0]
        self.assertEqual(everything, err + "readyok\n")

    def test_unknown_commands(self) -> None:
        typed = "help\n\nisready\nGo depth 3\nquit\n"
        out, err = self.told({"stdin", "stderr"}, typed=typed)
        self.assertEqual(out, "readyok\n")
        greeting, remarks = err.splitlines()[:2], err.splitlines()[2:]
        self.assertEqual(greeting, self.told({"stdin", "stderr"})[1].splitlines())
        self.assertEqual([remark.partition(":")[0] for remark in remarks],
                         ['Unknown command "help"', 'Unknown command "Go"'])
        for remark in remarks:
            self.assertIn('"quit"', remark)
        for terminals in (set(), {"stdin"}, {"stderr"}):
            self.assertEqual(self.told(terminals, typed=typed), ("readyok\n", ""))

    def test_nobody_else_is_greeted(self) -> None:
        for terminals in (set(), {"stdin"}, {"stderr"}, {"stdin", "stdout"}, {"stdout"}):
            with self.subTest(terminals):
                out, err = self.told(terminals)
                self.assertEqual(out, "readyok\n")
                self.assertEqual(err, "")

    def test_with_an_argument(self) -> None:
        self.assertEqual(self.told({"stdin", "stderr"}, "x"), ("readyok\n", UNKNOWN.format("x")))


class Unread(EngineTest):
    """Nobody has to read it."""

    def test_standard_error_that_is_closed(self) -> None:
        result = subprocess.run([engine_path(), "--help"], input=b"isready\n", timeout=DEADLINE,
                                stdout=subprocess.PIPE, check=False,
                                preexec_fn=lambda: os.close(2))
        self.assertEqual((result.returncode, result.stdout), (0, b"readyok\n"))

    def test_standard_error_that_is_full(self) -> None:
        reader, writer = os.pipe()
        fcntl.fcntl(writer, fcntl.F_SETPIPE_SZ, 4096)
        os.write(writer, 4096 * b"x")
        with subprocess.Popen([engine_path(), "--help"], stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE, stderr=writer) as engine:
            out, _ = engine.communicate(b"isready\n", DEADLINE)
        os.close(reader)
        os.close(writer)
        self.assertEqual((engine.returncode, out), (0, b"readyok\n"))

    def test_the_loop_is_whole(self) -> None:
        for arguments in (["--help"], ["--version"], ["datagne"]):
            engine: Engine = self.start(*arguments)
            self.assertEqual(engine.answers("uci"), IDENTIFICATION)
            self.assertRegex(engine.best_move("go depth 4"), r"[a-h][1-8]")


if __name__ == "__main__":
    unittest.main()
