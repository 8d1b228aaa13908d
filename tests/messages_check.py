#!/usr/bin/env python3
"""Holds docs/messages.md and the missions' pages to the lines that the sources print.

usage: messages_check.py [ROOT]       lists what the pages lack and what no source prints; status 1 if there is any
       messages_check.py --self-test  proves on small trees that each rule can fail

A mission's folder has its lines on the page of its class, docs/missions/<Class>.md, below the heading "Messages"; all
other sources have theirs in docs/messages.md. A mission's page may explain one of those too, but no other mission's.

A literal is what the compiler sees: adjacent ones are one. On a page a message is a code span in the first cell of a
table whose first column is called "message"; "<...>" stands for what is put in. The second cell names the stream: out,
err or both.
"""
import re
import sys
import tempfile
from pathlib import Path

sys.dont_write_bytecode = True
from house_check import MISSION_CLASS, TOKEN, Tree, folder_of, is_mission  # noqa: E402

COMMON = "docs/messages.md"
MISSIONS = "docs/missions/"
# The head of a class's own line, wherever in the sources it stands.
HEAD = re.compile(r"\[[\w:]+\]")
# What prints its argument, and on which stream.
CALL = re.compile(r"\b(Print(?:Line|Error|Failure|FromSignalHandler)|WriteOptLog|Fail)\s*\(")
STREAMS = {"PrintLine": "out", "PrintFromSignalHandler": "out", "WriteOptLog": "out"}  # the others: err
ESCAPES = {r"\n": "\n", r"\"": '"', r"\\": "\\", r"\'": "'", r"\t": "\t"}
PLACEHOLDER = re.compile(r"<[^<>]*>")
# What parts the cells of a table: a bar that is no text.
BAR = re.compile(r"(?<!\\)\|")
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


def page_of(name):
    """The page of a mission's class."""
    return f"{MISSIONS}{name}.md"


def pages_by_folder(tree):
    """The pages of each mission's folder: one for each class that its headers declare."""
    pages = {}
    for source in tree.production:
        if source.name.endswith(".h") and is_mission(folder_of(source.name)):
            found = [page_of(name) for name in MISSION_CLASS.findall(source.code)]
            pages.setdefault(folder_of(source.name), []).extend(found)
    return {folder: tuple(found) for folder, found in pages.items() if found}


class Sources:
    """What some of the program's sources say."""

    def __init__(self, sources):
        self.all = set()   # every literal's lines, stripped, cut where another value is put in
        self.heads = {}    # line that begins with a class's name -> [(place, stream, or None where it is not known)]
        self.printed = {}  # literal inside a call that prints -> place
        for source in sources:
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


def sources_by_pages(tree):
    """The sources that tell their lines on the same pages: pages -> Sources."""
    folders, groups = pages_by_folder(tree), {(COMMON,): []}
    for source in tree.production:
        groups.setdefault(folders.get(folder_of(source.name), (COMMON,)), []).append(source)
    return {pages: Sources(sources) for pages, sources in groups.items()}


class Entry:
    """A message of a page."""

    def __init__(self, place, text, stream):
        self.place, self.text, self.stream = place, text, stream
        self.pieces = [piece.strip() for piece in PLACEHOLDER.split(text)]
        self.head = self.pieces[0] if HEAD.match(text) else None


def entries_of(name, text):
    """The messages of a page's tables, of a mission's page those below its heading."""
    in_section, in_table = name == COMMON, False
    for number, line in enumerate(text.splitlines(), 1):
        if line.startswith("## ") and name != COMMON:
            in_section = line.strip() == "## Messages"
        cells = [cell.strip().replace(r"\|", "|") for cell in BAR.split(line.strip().strip("|"))]
        if not line.startswith("|"):
            in_table = False
        elif cells[0] == "message":
            in_table = in_section
        elif in_table and set(cells[0]) - set("-: "):
            for _, words in re.findall(r"(`+)(.+?)\1(?!`)", cells[0]):
                yield Entry(f"{name}:{number}", words.strip(), cells[1] if len(cells) > 1 else "")


def streams_known(uses):
    """The streams of a head, or None if one of its uses does not tell."""
    streams = {stream for _, stream in uses}
    return None if None in streams else streams


def own_page(pages, line):
    """Of the pages of a folder that holds several classes, the one of the class that heads the line."""
    named = page_of(HEAD.match(line).group(0).strip("[]")) if HEAD.match(line) else None
    return (named,) if named in pages else pages


def check_sources(pages, sources, entries):
    """What the sources print stands on one of their pages. `entries` are those of all pages, by the page's name."""
    for head, uses in sorted(sources.heads.items()):
        own = own_page(pages, head)
        if not any(entry.head == head for page in own for entry in entries.get(page, ())):
            yield f"{uses[0][0]}: \"{head}\" is no message of {' or '.join(own)}"
    for text, place in sorted(sources.printed.items()):
        if not any(text in entry.pieces for page in pages for entry in entries.get(page, ())):
            yield f"{place}: \"{text}\" is in no message of {' or '.join(pages)}"


def check_page(groups, entries):
    """What stands on a page is printed by one of its sources, the first of `groups` that has it, and on that stream."""
    for entry in entries:
        where = f"{entry.place}: \"{entry.text}\""
        if entry.head is not None and not any(entry.head in sources.heads for sources in groups):
            yield f"{where} begins like no literal of its sources"
            continue
        for piece in filter(has_words, entry.pieces[0 if entry.head is None else 1:]):
            if not any(piece in sources.all for sources in groups):
                yield f"{where}: none of its sources has \"{piece}\""
        uses = next((sources.heads[entry.head] for sources in groups if entry.head in sources.heads), [(None, None)])
        stated = {"both": {"out", "err"}}.get(entry.stream, {entry.stream})
        if not stated <= {"out", "err"} or streams_known(uses) not in (None, stated):
            yield f"{where} has the stream {entry.stream}"


def findings_of(root):
    tree = Tree(root)
    if COMMON not in tree.names:
        yield f"{root}: holds no {COMMON}"
        return
    names = [COMMON, *(name for name in tree.names if name.startswith(MISSIONS) and name.endswith(".md"))]
    entries = {name: list(entries_of(name, tree.read(name))) for name in names}
    by_pages = sources_by_pages(tree)
    for pages, sources in by_pages.items():
        yield from check_sources(pages, sources, entries)
    for name in names:
        own = [sources for pages, sources in by_pages.items() if name in pages and name != COMMON]
        yield from check_page([*own, by_pages[(COMMON,)]], entries[name])


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
    PrintLine("[Tool] a | b");
    PrintFromSignalHandler("[Tool] stops\\n[Tool] soon\\n");
    return PrintFailure(path + "/files" + " is gone");
}
'''
ROWS = ("| `[Tool] started` | out | |", "| `[Tool] Warning: odd job <job>, left out` | err | |",
        "| `[<tag>] Cannot open <file>\"!` | err | |", "| `[Tool] twice` | both | |",
        "| `[Tool] stops`, `[Tool] soon` | out | |", "| `<path> is gone` | err | |",
        r"| `[Tool] a \| b` | out | |")
TABLE = "| message | stream | meaning |\n|---|---|---|\n"
# Folders of missions: of one class, and of two.
ONE, TWO = "analyzers/one/", "collectors/profiling/two/"
ONE_SOURCE = 'void P() { PrintLine("[One] counted"); PrintError("odd " + Count()); }\n'
TWO_SOURCE = 'void P() { PrintLine("[First] ran"); PrintLine("[Second] ran"); PrintLine("[Helper] ran"); }\n'
ONE_ROWS = ("| `[One] counted` | out | |", "| `odd <count>` | err | |", "| `[Tool] started` | out | |")
FIRST_ROWS, SECOND_ROWS = ("| `[First] ran` | out | |",), ("| `[Second] ran`, `[Helper] ran` | out | |",)


def table_of(rows):
    return "`[Prose] is no entry`\n\n" + TABLE + "\n".join(rows) + "\n"


def mission_text(rows, heading="## Messages"):
    return f"# Mission\n\n{heading}\n\n### Some\n\n{table_of(rows)}\n"


def class_of(name):
    return f"class {name} final : public BasicMission {{}};\n"


def tree_of(rows=ROWS, source=SOURCE, **changed):
    files = {COMMON: table_of(rows), "mission/m.cpp": source, "mission/m.h": class_of("NoMission"),
             "tests/unit/t.cpp": 'PrintLine("[Test] not asked");\n',
             ONE + "one.h": class_of("One"), ONE + "one.cpp": ONE_SOURCE, page_of("One"): mission_text(ONE_ROWS),
             TWO + "first.h": class_of("First"), TWO + "second.h": class_of("Second"), TWO + "two.cpp": TWO_SOURCE,
             page_of("First"): mission_text(FIRST_ROWS), page_of("Second"): mission_text(SECOND_ROWS)}
    return {**files, **{page_of(name): text for name, text in changed.items()}}


def breaks_of_lines():
    """What each rule on lines must catch: files, words of the finding."""
    for number, words in enumerate(("[Tool] started", "odd job", "Cannot open", "[Tool] twice", "[Tool] s", "is gone",
                                   "[Tool] a | b")):
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
                       ("| `[Tool] started <now>, again` | out | |", "none of its sources has"),
                       ("| `<file> was here` | err | |", "none of its sources has"),
                       ("| `[Tool] started` | screen | |", "has the stream screen")):
        yield tree_of(rows=(*ROWS, row)), words
    yield {"mission/m.cpp": SOURCE}, "holds no"


def breaks_of_pages():
    """What each rule on the missions' pages must catch: files, words of the finding."""
    one, first, second = page_of("One"), page_of("First"), page_of("Second")
    for number, words in enumerate(("[One] counted", "odd")):
        row = ONE_ROWS[number]
        rest = ONE_ROWS[:number] + ONE_ROWS[number + 1:]
        yield tree_of(One=mission_text(rest)), f'"{words}" is'
        yield tree_of((*ROWS, row), One=mission_text(rest)), f"of {one}"
        yield tree_of((*ROWS, row)), f"{COMMON}:"
        yield tree_of(First=mission_text((*FIRST_ROWS, row))), f"{first}:"
    yield tree_of(One=mission_text(ONE_ROWS, "## Edges")), f'"[One] counted" is no message of {one}'
    yield tree_of(One=mission_text((ONE_ROWS[0].replace("out", "err"), *ONE_ROWS[1:]))), "has the stream err"
    yield tree_of(ROWS[1:]), f'"[Tool] started" is no message of {COMMON}'
    yield tree_of(First=mission_text((*FIRST_ROWS, *SECOND_ROWS)), Second=""), f"is no message of {second}"
    yield tree_of(Second=mission_text(("| `[Second] ran` | out | |",))), f"is no message of {first} or {second}"
    yield tree_of(Third=mission_text(ONE_ROWS)), page_of("Third")
    yield {name: text for name, text in tree_of().items() if name != one}, f"is no message of {one}"


def findings_with(files):
    with tempfile.TemporaryDirectory() as root:
        for name, text in files.items():
            path = Path(root) / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text, encoding="utf-8")
        return list(findings_of(root))


def self_test():
    """Prints what the rules miss or find too much of; the number of these."""
    failures = [f"clean tree: {finding}" for finding in findings_with(tree_of())]
    for files, words in (*breaks_of_lines(), *breaks_of_pages()):
        found = findings_with(files)
        if not any(words in finding for finding in found):
            failures.append(f"expected a finding with {words!r}, got {found}")
    print("\n".join(failures) or "every rule can fail")
    return len(failures)


def main(arguments):
    if arguments == ["--self-test"]:
        return 1 if self_test() else 0
    findings = list(findings_of(arguments[0] if arguments else Path(__file__).resolve().parent.parent))
    print("\n".join(findings) or "every message is told")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
