#!/usr/bin/env python3
"""Counts the results of a test run: one line "N passed, N failed", or with ", N skipped" when there are any.

    count_tests.py <build tree>

CTest's report (ctest.xml) says which entries ran. An entry that is a GoogleTest program counts with each test of the
report that it was told to write, and so does a run of pytest; any other entry counts as one. A program that wrote no
report, ran no test, died or leaked counts as a failure whatever else it says. The exit code is 1 when anything failed or
nothing ran.
"""

import json
import subprocess
import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path

REPORT_OPTIONS = ("--gtest_output=xml:", "--junitxml=")


def reports_of(tree):
    """The report of each entry that is a GoogleTest program or a run of pytest."""
    command = ["ctest", "--test-dir", str(tree), "--show-only=json-v1"]
    listing = json.loads(subprocess.run(command, check=True, capture_output=True, text=True).stdout)
    return {
        entry["name"]: tree / argument.removeprefix(option)
        for entry in listing["tests"]
        for argument in entry.get("command", [])
        for option in REPORT_OPTIONS
        if argument.startswith(option)
    }


def count_program(report):
    """Passed, failed, skipped of one GoogleTest program or run of pytest, which says no result of what passed."""
    passed = failed = skipped = 0
    # A message may hold any byte.
    for case in ElementTree.fromstring(report.read_text(errors="replace")).iter("testcase"):
        if case.find("failure") is not None or case.find("error") is not None:
            failed += 1
        elif case.get("result", "completed") == "completed" and case.find("skipped") is None:
            passed += 1
        else:
            skipped += 1
    return passed, failed, skipped


def count_entry(entry, report):
    """Passed, failed, skipped of one CTest entry; report is None when it is not a GoogleTest program.

    A program that could not be started is "skipped" as well, but not for a reason of its own (SKIP_...).
    """
    skipped = entry.find("skipped")
    if entry.get("status") == "disabled" or (skipped is not None and skipped.get("message").startswith("SKIP_")):
        return 0, 0, 1
    ran_well = entry.get("status") == "run" and entry.find("failure") is None
    if report is None:
        return (1, 0, 0) if ran_well else (0, 1, 0)
    try:
        passed, failed, skipped = count_program(report)
    except (OSError, ElementTree.ParseError):
        return 0, 1, 0
    if failed == 0 and (not ran_well or passed + skipped == 0):
        failed = 1
    return passed, failed, skipped


def main(tree):
    passed = failed = skipped = 0
    results = tree / "ctest.xml"
    if results.exists():
        reports = reports_of(tree)
        for entry in ElementTree.parse(results).getroot().iter("testcase"):
            counts = count_entry(entry, reports.get(entry.get("name")))
            passed, failed, skipped = (a + b for a, b in zip((passed, failed, skipped), counts))
    print(f"{passed} passed, {failed} failed" + (f", {skipped} skipped" if skipped else ""))
    return 1 if failed or not passed else 0


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1])))
