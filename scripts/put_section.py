#!/usr/bin/env python3
"""Puts standard input into the section NAME of a page, between its two marks: put_section.py PAGE NAME."""
import re
import sys


def main():
    path, name = sys.argv[1:]
    begin, end = f"<!-- {name}: begin -->\n", f"<!-- {name}: end -->\n"
    with open(path) as file:
        page = file.read()
    section = re.compile(re.escape(begin) + ".*?" + re.escape(end), re.DOTALL)
    if not section.search(page):
        sys.exit(f"{path} has no section {name}")
    text = begin + "\n" + sys.stdin.read().strip("\n") + "\n\n" + end
    with open(path, "w") as file:
        file.write(section.sub(lambda _: text, page))


main()
