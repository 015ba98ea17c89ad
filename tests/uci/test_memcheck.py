"""Sessions and modes under valgrind's memcheck: no use of memory that was never written, none
behind the end of anything, nothing lost."""

import functools
import os
import shutil
import subprocess
import unittest

import grammar
from client import START_FEN, Engine, FolderTest, engine_path
from conditions import is_instrumented

VALGRIND = shutil.which("valgrind")
COMMAND = ["--error-exitcode=99", "--leak-check=full", "--errors-for-leak-kinds=definite,possible",
           "--track-origins=no", "--num-callers=30"]
DEADLINE = 600.0  # everything takes some thirty times as long
KIWIPETE = "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1"


@functools.cache
def why_not() -> str:
    """Why the engine cannot run here under memcheck; empty if it can."""
    if not VALGRIND:
        return "needs valgrind"
    if is_instrumented():
        return "a sanitizer watches this build's memory itself"
    result = subprocess.run([VALGRIND, engine_path()], input=b"quit\n", capture_output=True,
                            timeout=DEADLINE, check=False)
    if b"unhandled instruction" in result.stderr or b"Illegal opcode" in result.stderr:
        return ("the build uses instructions that this valgrind does not know;"
                " one with MORVANE_ARCH=x86-64 can be checked")
    return ""


@unittest.skipIf(why_not(), why_not())
class Memcheck(FolderTest):
    def wrapper(self) -> list[str]:
        self.log = self.path("valgrind.log")
        return [VALGRIND, *COMMAND, f"--log-file={self.log}"]

    def check_log(self, status: int, expected: int = 0) -> None:
        log = self.read("valgrind.log").decode()
        self.assertEqual(status, expected, log[-5000:])
        self.assertIn("ERROR SUMMARY: 0 errors", log)

    def start(self) -> Engine:
        engine = Engine(wrapper=self.wrapper())
        self.addCleanup(engine.kill)
        return engine

    def test_session(self) -> None:
        for threads in (1, 2):
            with self.subTest(threads=threads):
                engine = self.start()
                engine.answers("uci", "setoption name Hash value 2", "setoption name Hash value 1",
                               f"setoption name Threads value {threads}", deadline=DEADLINE)
                for position in ("startpos moves e2e4 e7e5 g1f3", f"fen {KIWIPETE}",
                                 "fen 8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
                                 "fen 4k3/P7/8/8/8/8/7p/4K3 b - - 99 80",
                                 "startpos moves f2f3 e7e5 g2g4 d8h4"):
                    engine.search(f"position {position}", "go depth 4", deadline=DEADLINE)
                engine.answers("setoption name Threads value 3", "setoption name Threads value 2",
                               "ucinewgame", "perft 2", "d", "go infinite", deadline=DEADLINE)
                engine.answers("position x", "position fen x", "setoption name Hash value x",
                               "go", "stop", 3000 * "x", "position startpos moves e2e5",
                               deadline=DEADLINE)
                engine.search("go movetime 100", deadline=DEADLINE)
                engine.send("go infinite", "quit")
                self.check_log(engine.wait(DEADLINE))
                self.assertRegex(engine.rest()[-1], grammar.BEST_MOVE)

    def test_long_game(self) -> None:
        # Longer than the history, which is moved on in place.
        engine = self.start()
        engine.answers("setoption name Hash value 1", deadline=DEADLINE)
        moves = 600 * "g1f3 g8f6 f3g1 f6g8 "
        engine.search(f"position startpos moves {moves}", "go depth 3", deadline=DEADLINE)
        engine.close_input()
        self.check_log(engine.wait(DEADLINE))

    def test_modes(self) -> None:
        data, rows = self.path("data.txt"), self.path("rows.txt")
        for arguments in (["benchsearch", "2"], ["perft", KIWIPETE, "2"], ["evaltrace", KIWIPETE],
                          ["egscale"], ["tuneparams"],
                          ["datagen", "games=1", "seed=3", "nodes=50", f"out={data}"],
                          ["featureexport", data, rows], ["perft", KIWIPETE, "x"]):
            with self.subTest(" ".join(arguments[:1])):
                result = subprocess.run([*self.wrapper(), engine_path(), *arguments],
                                        input=f"{START_FEN}\nx\n".encode(), capture_output=True,
                                        timeout=DEADLINE, check=False)
                self.check_log(result.returncode, int(arguments[-1] == "x"))
        self.assertGreater(os.path.getsize(rows), 0)


if __name__ == "__main__":
    unittest.main()
