#!/usr/bin/env python3
"""Holds the tables of keys on the missions' pages to what the missions declare.

usage: key_tables.py PROGRAM ROOT           lists the pages whose table differs; status 1 if there is any
       key_tables.py --write PROGRAM ROOT   writes the tables

PROGRAM is the built setting_keys, which prints the declarations.
"""
import json
import subprocess
import sys
from pathlib import Path

BEGIN, END = "<!-- keys begin -->\n", "<!-- keys end -->\n"
COLUMNS = ("key", "type", "limits", "default", "unit", "meaning")


def table_of(keys):
    lines = ["| " + " | ".join(COLUMNS) + " |", "|" + "---|" * len(COLUMNS)]
    for key in keys:
        cells = [f"`{key['key']}`"] + [key[column] for column in COLUMNS[1:]]
        lines.append("|" + "".join(f" {cell} |" if cell else " |" for cell in cells))
    return "\n".join(lines) + "\n"


def main(arguments):
    write = arguments[:1] == ["--write"]
    if write:
        arguments = arguments[1:]
    if len(arguments) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    program, root = arguments
    lines = subprocess.run([program], check=True, capture_output=True, text=True).stdout.splitlines()
    different = 0
    for line in lines:
        mission = json.loads(line)
        page = Path(root) / "docs" / "missions" / f"{mission['class']}.md"
        head, _, rest = page.read_text(encoding="utf-8").partition(BEGIN)
        table, _, tail = rest.partition(END)
        if table == table_of(mission["keys"]):
            continue
        if write:
            page.write_text(head + BEGIN + table_of(mission["keys"]) + END + tail, encoding="utf-8")
        else:
            print(f"{page}: its table of keys is not what {mission['class']} declares; run scripts/key_tables.sh")
            different += 1
    if not lines:
        print("no mission declares anything")
    return 1 if different or not lines else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
