#!/usr/bin/env python3
"""Prints the total of test results as one line: count_tests.py FILE..., reports in the JUnit form of ctest or GoogleTest."""
import sys
import xml.etree.ElementTree as tree


def outcome(case):
    if case.find("failure") is not None or case.find("error") is not None:
        return "failed"
    if case.find("skipped") is not None or case.get("status") in ("notrun", "disabled"):
        return "skipped"
    return "passed"


def main():
    outcomes = [outcome(case) for path in sys.argv[1:] for case in tree.parse(path).iter("testcase")]
    print(", ".join(f"{outcomes.count(word)} {word}" for word in ("passed", "failed", "skipped")))


main()
