"""Runs one test module for CTest: run.py MODULE [TEST...].

Ends with status 77, which CTest shows as skipped, if the module or every test of it was skipped.
"""

import os
import sys
import unittest

SKIPPED = 77
TESTS = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def main() -> int:
    sys.dont_write_bytecode = True
    folders = ("uci", "match", "tools", "docs", "packaging", "tuning", "../tuning", "../scripts")
    sys.path[:0] = [os.path.join(TESTS, folder) for folder in folders]
    if "MORVANE_ENGINE" not in os.environ:
        sys.exit("MORVANE_ENGINE must name the engine's executable")
    module, *names = sys.argv[1:]
    loader = unittest.defaultTestLoader
    try:
        suite = loader.loadTestsFromNames([f"{module}.{n}" for n in names] or [module])
    except unittest.SkipTest as reason:
        print(f"skipped: {reason}")
        return SKIPPED
    result = unittest.TextTestRunner(verbosity=2).run(suite)
    if not result.wasSuccessful() or result.testsRun == 0:
        return 1
    return SKIPPED if len(result.skipped) == result.testsRun else 0


if __name__ == "__main__":
    sys.exit(main())
