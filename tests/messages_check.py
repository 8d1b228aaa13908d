#!/usr/bin/env python3
"""Holds docs/messages.md to the lines that the sources print.

usage: messages_check.py [ROOT]       lists what the page lacks and what no source prints; status 1 if there is any
       messages_check.py --self-test  proves on small trees that each rule can fail

A literal is what the compiler sees: adjacent ones are one. On the page a message is a code span in the first cell of a
table whose first column is called "message"; "<...>" stands for what is put in. The second cell names the stream: out,
err or both.
"""
import re
import sys
import tempfile
from pathlib import Path

sys.dont_write_bytecode = True
from house_check import TOKEN, Tree  # noqa: E402

PAGE = "docs/messages.md"
# The head of a class's own line, wherever in the sources it stands.
HEAD = re.compile(r"\[[\w:]+\]")
# What prints its argument, and on which stream.
CALL = re.compile(r"\b(Print(?:Line|Error|Failure|FromSignalHandler)|WriteOptLog|Fail)\s*\(")
STREAMS = {"PrintLine": "out", "PrintFromSignalHandler": "out", "WriteOptLog": "out"}  # the others: err
ESCAPES = {r"\n": "\n", r"\"": '"', r"\\": "\\", r"\'": "'", r"\t": "\t"}
PLACEHOLDER = re.compile(r"<[^<>]*>")
CONVERSION = re.compile(r"%[sd]")


def has_words(text):
    """Whether a text says something: marks and the ends of paths do not."""
    return re.search(r"[A-Za-z]{2}", text) is not None and re.fullmatch(r"/[\w./-]*", text) is None


class Literal:
    """A literal of a source, adjacent ones joined: where it begins and its text."""

    def __init__(self, source, start, text):
        self.source, self.start, self.text = source, start, text

    def place(self):
        return f"{self.source.name}:{self.source.text.count(chr(10), 0, self.start) + 1}"


def literals_of(source):
    """All literals of a source but the names of included headers."""
    found, end = [], None
    for match in TOKEN.finditer(source.text):
        text = match.group("raw")
        if match.group("text") is not None:
            text = re.sub(r"\\.", lambda escape: ESCAPES.get(escape.group(0), escape.group(0)), match.group("text"))
        line = source.text[source.text.rfind("\n", 0, match.start()) + 1:match.start()]
        if text is None or re.match(r"\s*#\s*include\b", line):
            continue
        if end is not None and not source.code[end:match.start()].strip():
            found[-1].text += text
        else:
            found.append(Literal(source, match.start(), text))
        end = match.end()
    return found


def end_of_call(code, start):
    """The place behind the bracket that closes the one before `start`."""
    depth = 1
    while depth > 0 and start < len(code):
        depth += {"(": 1, ")": -1}.get(code[start], 0)
        start += 1
    return start


def calls_of(source):
    """The calls that print: (start, end, stream)."""
    for match in CALL.finditer(source.code):
        yield match.end(), end_of_call(source.code, match.end()), STREAMS.get(match.group(1), "err")


def is_argument(code, start, place):
    """Whether what stands at `place` belongs to the text that the call from `start` on prints, not to a call in it."""
    brackets = []
    for at in range(start, place):
        if code[at] == "(":
            brackets.append(re.search(r"(?:std::string|[^\w>])\s*$", code[start - 1:at]) is not None)
        elif code[at] == ")":
            brackets.pop()
    return all(brackets)


class Sources:
    """What the program's sources say."""

    def __init__(self, tree):
        self.all = set()   # every literal's lines, stripped, cut where another value is put in
        self.heads = {}    # line that begins with a class's name -> [(place, stream, or None where it is not known)]
        self.printed = {}  # literal inside a call that prints -> place
        for source in tree.production:
            calls = list(calls_of(source))
            for literal in literals_of(source):
                stream = next((stream for start, end, stream in calls if start <= literal.start < end
                               and is_argument(source.code, start, literal.start)), None)
                for line in filter(has_words, map(str.strip, literal.text.split("\n"))):
                    self._take(line, literal.place(), stream)

    def _take(self, line, place, stream):
        self.all.update(piece.strip() for piece in CONVERSION.split(line))
        if HEAD.match(line):
            self.heads.setdefault(line, []).append((place, stream))
        elif stream is not None:
            self.printed.setdefault(line, place)


class Entry:
    """A message of the page."""

    def __init__(self, number, text, stream):
        self.number, self.text, self.stream = number, text, stream
        self.pieces = [piece.strip() for piece in PLACEHOLDER.split(text)]
        self.head = self.pieces[0] if HEAD.match(text) else None


def entries_of(page):
    """The messages of the page's tables."""
    in_table = False
    for number, line in enumerate(page.splitlines(), 1):
        cells = [cell.strip() for cell in line.strip().strip("|").split("|")]
        if not line.startswith("|"):
            in_table = False
        elif cells[0] == "message":
            in_table = True
        elif in_table and set(cells[0]) - set("-: "):
            for _, text in re.findall(r"(`+)(.+?)\1(?!`)", cells[0]):
                yield Entry(number, text.strip(), cells[1] if len(cells) > 1 else "")


def streams_known(uses):
    """The streams of a head, or None if one of its uses does not tell."""
    streams = {stream for _, stream in uses}
    return None if None in streams else streams


def check_sources(sources, entries):
    """What the sources print stands on the page."""
    heads = {entry.head for entry in entries}
    pieces = {piece for entry in entries for piece in entry.pieces}
    for head, uses in sorted(sources.heads.items()):
        if head not in heads:
            yield f"{uses[0][0]}: \"{head}\" is no message of {PAGE}"
    for text, place in sorted(sources.printed.items()):
        if text not in pieces:
            yield f"{place}: \"{text}\" is in no message of {PAGE}"


def check_page(sources, entries):
    """What stands on the page is printed by a source, and on that stream."""
    for entry in entries:
        where = f"{PAGE}:{entry.number}: \"{entry.text}\""
        if entry.head is not None and entry.head not in sources.heads:
            yield f"{where} begins like no literal of the sources"
            continue
        for piece in filter(has_words, entry.pieces[0 if entry.head is None else 1:]):
            if piece not in sources.all:
                yield f"{where}: no source has \"{piece}\""
        known = streams_known(sources.heads.get(entry.head, [(None, None)]))
        stated = {"both": {"out", "err"}}.get(entry.stream, {entry.stream})
        if not stated <= {"out", "err"} or known not in (None, stated):
            yield f"{where} has the stream {entry.stream}"


def findings_of(root):
    tree = Tree(root)
    if PAGE not in tree.names:
        return [f"{root}: holds no {PAGE}"]
    sources, entries = Sources(tree), list(entries_of(tree.read(PAGE)))
    return [*check_sources(sources, entries), *check_page(sources, entries)]


# ---- Self-test

SOURCE = '''#include "foundation/console.h"
constexpr const char* kWords =
    "[Tool] Warning: "
    "odd job ";
void P(const std::string& tag) {
    PrintLine("[Tool] started");  // PrintError("not said")
    PrintError(kWords + std::string(tag) + ", left out");
    PrintError("[" + tag + "] Cannot open " + Name("tag") + std::string("\\"! "));
    PrintError("[Tool] twice");
    PrintLine("[Tool] twice");
    PrintFromSignalHandler("[Tool] stops\\n[Tool] soon\\n");
    return PrintFailure(path + "/files" + " is gone");
}
'''
ROWS = ("| `[Tool] started` | out | |", "| `[Tool] Warning: odd job <job>, left out` | err | |",
        "| `[<tag>] Cannot open <file>\"!` | err | |", "| `[Tool] twice` | both | |",
        "| `[Tool] stops`, `[Tool] soon` | out | |", "| `<path> is gone` | err | |")
TABLE = "| message | stream | meaning |\n|---|---|---|\n"


def page_of(rows):
    return "`[Prose] is no entry`\n\n" + TABLE + "\n".join(rows) + "\n"


def tree_of(rows=ROWS, source=SOURCE):
    return {PAGE: page_of(rows), "mission/m.cpp": source, "tests/unit/t.cpp": 'PrintLine("[Test] not asked");\n'}


def breaks():
    """What each rule must catch: files, words of the finding."""
    for number, words in enumerate(("[Tool] started", "odd job", "Cannot open", "[Tool] twice", "[Tool] s", "is gone")):
        yield tree_of(rows=ROWS[:number] + ROWS[number + 1:]), words
    for old, new, words in (
            ("[Tool] started", "[Tool] begun", "[Tool] begun"), (", left out", ", passed over", "left out"),
            ("Cannot open", "Can not open", "Can not open"), ("odd job ", "odd job: ", "odd job:"),
            ('PrintLine("[Tool] started")', 'PrintError("[Tool] started")', "has the stream out"),
            ('PrintLine("[Tool] twice")', 'PrintError("[Tool] twice")', "has the stream both"),
            ('PrintLine("[Tool] started")', 'log.WriteOptLog("[Tool] logged")', "[Tool] logged"),
            ("path +", 'path + " not " + ', '"not"')):
        yield tree_of(source=SOURCE.replace(old, new)), words
    for row, words in (("| `[Tool] never` | out | |", "begins like no literal"),
                       ("| `[Tool] started <now>, again` | out | |", "no source has"),
                       ("| `<file> was here` | err | |", "no source has"),
                       ("| `[Tool] started` | screen | |", "has the stream screen")):
        yield tree_of(rows=(*ROWS, row)), words
    yield {"mission/m.cpp": SOURCE}, "holds no"


def findings_with(files):
    with tempfile.TemporaryDirectory() as root:
        for name, text in files.items():
            path = Path(root) / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text, encoding="utf-8")
        return findings_of(root)


def self_test():
    """Prints what the rules miss or find too much of; the number of these."""
    failures = [f"clean tree: {finding}" for finding in findings_with(tree_of())]
    for files, words in breaks():
        found = findings_with(files)
        if not any(words in finding for finding in found):
            failures.append(f"expected a finding with {words!r}, got {found}")
    print("\n".join(failures) or "every rule can fail")
    return len(failures)


def main(arguments):
    if arguments == ["--self-test"]:
        return 1 if self_test() else 0
    findings = findings_of(arguments[0] if arguments else Path(__file__).resolve().parent.parent)
    print("\n".join(findings) or "every message is told")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
