#!/usr/bin/env python3
"""What no test has shown: skipped.py FOLDER... reads the results that tests have left there.

A test that one build cannot pass, since sanitizers use memory their way, is no gap if another build has
passed it. Prints what was skipped everywhere, a line for each reason, and ends with status 1 if there is such
a test, or if none was passed.
"""

from __future__ import annotations

import collections
import json
import pathlib
import sys
import xml.etree.ElementTree

Results = tuple[set[str], dict[str, str]]  # the tests that were passed; those skipped, with their reasons


def of_units(path: pathlib.Path) -> Results:
    """From units.AREA.SHARD.xml, a report by GoogleTest."""
    area = path.name.split(".")[1]
    passed, skipped = set(), {}
    for test in xml.etree.ElementTree.parse(path).iter("testcase"):
        name = f"{area}.{test.get('classname')}.{test.get('name')}"
        reason = test.find("skipped")
        if reason is not None:
            skipped[name] = " ".join(reason.text.splitlines()[1:])  # behind the line with the place
        elif test.get("result") == "completed":
            passed.add(name)
    return passed, skipped


def of_module(path: pathlib.Path) -> Results:
    """From a report by run.py."""
    report = json.loads(path.read_text(encoding="utf-8"))
    return set(report["passed"]), report["skipped"]


def read(folders: list[str]) -> Results:
    passed, skipped = set(), {}
    for folder in folders:
        for path in sorted(pathlib.Path(folder).glob("*")):
            here = of_units(path) if path.suffix == ".xml" else of_module(path)
            passed |= here[0]
            skipped |= here[1]
    return passed, {name: reason for name, reason in skipped.items() if name not in passed}


def main() -> int:
    passed, skipped = read(sys.argv[1:])
    print(f"{len(passed)} tests passed, {len(skipped)} skipped")
    names = collections.defaultdict(list)
    for name, reason in sorted(skipped.items()):
        names[reason].append(name)
    for reason, tests in names.items():
        more = f" and {len(tests) - 1} more" if len(tests) > 1 else ""
        print(f"skipped: {tests[0]}{more}: {reason}")
    return 0 if passed and not skipped else 1


if __name__ == "__main__":
    sys.exit(main())
