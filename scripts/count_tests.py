#!/usr/bin/env python3
"""Prints the total of test results as one line: count_tests.py FILE..., reports in the JUnit form of ctest or GoogleTest.

A test of ctest that is a part of a program counts as the cases it ran, if it left a report of them: <report>/<test>.xml
beside <report>.xml."""
import os
import sys
import xml.etree.ElementTree as tree


def outcome(case):
    if case.find("failure") is not None or case.find("error") is not None:
        return "failed"
    if case.find("skipped") is not None or case.get("status") in ("notrun", "disabled"):
        return "skipped"
    return "passed"


def outcomes_of(path):
    for case in tree.parse(path).iter("testcase"):
        own = os.path.join(os.path.splitext(path)[0], case.get("name") + ".xml")
        if os.path.exists(own):
            yield from outcomes_of(own)
        else:
            yield outcome(case)


def main():
    outcomes = [outcome for path in sys.argv[1:] for outcome in outcomes_of(path)]
    print(", ".join(f"{outcomes.count(word)} {word}" for word in ("passed", "failed", "skipped")))


main()
