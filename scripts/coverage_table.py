#!/usr/bin/env python3
"""Makes a table of coverage: coverage_table.py ALL PURE, summaries as gcovr writes them; and a list of the files of pure
functions that are not reached whole."""
import json
import sys


def read(path):
    with open(path) as file:
        return json.load(file)


def main():
    everything, pure = (read(path) for path in sys.argv[1:])
    print("| code | lines | reached, % | branches | taken, % |")
    print("|---|---|---|---|---|")
    for name, summary in (("all production code", everything), ("its pure functions", pure)):
        print(f"| {name} | {summary['line_total']} | {summary['line_percent']} "
              f"| {summary['branch_total']} | {summary['branch_percent']} |")
    print("\nPure functions with lines that the suite does not reach:\n")
    for file in pure["files"]:
        missed = file["line_total"] - file["line_covered"]
        if missed:
            print(f"- `{file['filename']}`: {missed} of {file['line_total']}")


main()
