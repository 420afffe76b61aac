#!/usr/bin/env python3
"""Counts the results of a test run: one line "N passed, N failed", or with ", N skipped" when there are any.

    count_tests.py <build tree>

CTest's report (ctest.xml) says which entries ran. An entry that is a GoogleTest program left its own report in
reports/<program>.xml and counts with each of its tests; any other entry counts as one. A program that died, leaked or
ran no test counts as a failure whatever its report says. The exit code is 1 when anything failed or nothing ran.
"""

import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path


def count_program(report):
    """Passed, failed, skipped of one GoogleTest program."""
    passed = failed = skipped = 0
    for case in ElementTree.parse(report).getroot().iter("testcase"):
        if case.find("failure") is not None:
            failed += 1
        elif case.get("result") == "completed":
            passed += 1
        else:
            skipped += 1
    return passed, failed, skipped


def count_entry(entry, reports):
    """Passed, failed, skipped of one CTest entry; the program's name follows the label and a dot."""
    ran_well = entry.get("status") == "run" and entry.find("failure") is None
    if entry.find("skipped") is not None or entry.get("status") == "disabled":
        return 0, 0, 1
    report = reports / (entry.get("name").partition(".")[2] + ".xml")
    if not report.exists():
        return (1, 0, 0) if ran_well else (0, 1, 0)
    try:
        passed, failed, skipped = count_program(report)
    except ElementTree.ParseError:
        return 0, 1, 0
    if failed == 0 and (not ran_well or passed + skipped == 0):
        failed = 1
    return passed, failed, skipped


def main(tree):
    totals = [0, 0, 0]
    results = tree / "ctest.xml"
    if results.exists():
        for entry in ElementTree.parse(results).getroot().iter("testcase"):
            totals = [a + b for a, b in zip(totals, count_entry(entry, tree / "reports"))]
    passed, failed, skipped = totals
    print(f"{passed} passed, {failed} failed" + (f", {skipped} skipped" if skipped else ""))
    return 1 if failed or not passed else 0


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1])))
