"""Runs one test module: run.py MODULE [TEST...].

Ends with status 77, which CTest shows as skipped, if the module or every test of it was skipped. If the
environment variable MORVANE_RESULTS names a folder, a file there tells which tests were passed and which
were skipped, and why (tests/skipped.py reads it).
"""

import json
import os
import sys
import unittest

SKIPPED = 77
TESTS = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


class Result(unittest.TextTestResult):
    """Knows the tests that were passed whole, by name, and why others were skipped."""

    def __init__(self, *arguments) -> None:
        super().__init__(*arguments)
        self.passed: list[str] = []

    def addSuccess(self, test) -> None:
        super().addSuccess(test)
        self.passed.append(test.id())

    def left_out(self) -> dict[str, str]:
        """Of subtests, the name is that of their test."""
        return {getattr(test, "test_case", test).id(): reason for test, reason in self.skipped}


def leave(name: str, passed: list[str], skipped: dict[str, str]) -> None:
    folder = os.environ.get("MORVANE_RESULTS")
    if folder:
        os.makedirs(folder, exist_ok=True)
        with open(os.path.join(folder, f"{name}-{os.getpid()}.json"), "w", encoding="utf-8") as file:
            json.dump({"passed": passed, "skipped": skipped}, file)


def main() -> int:
    sys.dont_write_bytecode = True
    folders = ("uci", "match", "tools", "docs", "packaging", "windows", "tuning", "../tuning", "../scripts")
    sys.path[:0] = [os.path.join(TESTS, folder) for folder in folders]
    if "MORVANE_ENGINE" not in os.environ:
        sys.exit("MORVANE_ENGINE must name the engine's executable")
    module, *names = sys.argv[1:]
    loader = unittest.defaultTestLoader
    try:
        suite = loader.loadTestsFromNames([f"{module}.{n}" for n in names] or [module])
    except unittest.SkipTest as reason:
        print(f"skipped: {reason}")
        leave(module, [], {module: str(reason)})
        return SKIPPED
    result = unittest.TextTestRunner(verbosity=2, resultclass=Result).run(suite)
    leave(module, result.passed, result.left_out())
    if not result.wasSuccessful() or not (result.passed or result.skipped):
        return 1
    return 0 if result.passed else SKIPPED


if __name__ == "__main__":
    sys.exit(main())
