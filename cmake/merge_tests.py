#!/usr/bin/env python3
"""Makes one source of several test sources: merge_tests.py RESULT ROOT SOURCE...

Unnamed namespaces stay apart: each source's stand in a namespace of the source's own, so that names in them may be the
same in several sources. Lines keep their numbers, and files their names from ROOT on, in what compiler and tests say."""
import os
import re
import sys


def merged(root, number, path):
    with open(path) as file:
        text = file.read()
    own = f"merged_{number}"
    text, opened = re.subn(r"^namespace \{$", f"namespace {own} {{ namespace {{", text, flags=re.MULTILINE)
    text, closed = re.subn(r"^\}  // namespace$", f"}} }}  using namespace {own};", text, flags=re.MULTILINE)
    if opened != closed:
        sys.exit(f"{path}: {opened} unnamed namespaces begin on a line of their own, {closed} end so")
    return f'#line 1 "{os.path.relpath(path, root)}"\n{text}'


def main():
    result, root, *sources = sys.argv[1:]
    with open(result, "w") as file:
        file.write("".join(merged(root, number, path) for number, path in enumerate(sources)))


main()
