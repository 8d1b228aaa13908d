#!/usr/bin/env python3
"""Holds the tree to the rules of docs/architecture.md and CONTRIBUTING.md.

usage: house_check.py [ROOT]       lists what breaks a rule, one line each; status 1 if there is any
       house_check.py --self-test  proves on small trees that each rule can fail
"""
import re
import sys
import tempfile
from pathlib import Path

# Folders of the program from the lowest up, each with what it may include besides itself.
FAMILIES = ("collectors/system", "collectors/profiling", "collectors/device", "analyzers", "comparators", "optimizer")
MAY_INCLUDE = {
    "foundation": (),
    "platform": (),
    **{family: ("foundation", "platform") for family in FAMILIES},
    "mission": (*FAMILIES, "foundation", "platform"),
    "app": ("mission", "foundation"),
    "board": ("foundation", "platform"),
}
# Headers that are found by their bare name, as on the board.
BARE_HEADERS = ("platform/include",)
TEST_FOLDERS = ("tests", "benchmarks", "fuzz")
TEXT_SUFFIXES = {".h", ".cpp", ".cmake", ".txt", ".md", ".py", ".sh", ".json", ".yml", ".yaml", ""}

# What production code does not call: pattern, files that may, what to use instead.
BANNED = (
    (r"\b(?:system|popen|v?fork|exec[vl]p?e?|posix_spawnp?)\s*\(", {"foundation/process.cpp"},
     "a CommandRunner"),
    (r"\bstd::(?:cout|cerr|clog)\b|\b(?:v?f?printf|f?puts|putchar|perror)\s*\(",
     {"foundation/console.cpp", "foundation/json.cpp"}, "PrintLine and PrintError"),
    (r"\bstd::(?:regex_(?:search|match|replace)|[csw]*regex_(?:token_)?iterator)\b", {"foundation/regex_guard.cpp"},
     "foundation/regex_guard.h"),
    (r"#\s*include\s*<rapidjson/", {"foundation/json.h"}, "foundation/json.h"),
    (r"\bstd::(?:[iow]*fstream|filebuf)\b|\b(?:fopen|freopen)\s*\(", set(), "foundation/files.h"),
    (r"\bstd::endl\b", set(), r"'\n'"),
    (r"\b(?:strcpy|strcat|v?sprintf|gets|strtok)\s*\(", set(), "std::string"),
    (r"\b(?:ato[ifl]|atoll|sscanf|scanf)\s*\(", set(), "the conversions of foundation/zarn_utils.h"),
    (r"\b(?:localtime|gmtime|ctime|asctime)\s*\(", set(), "localtime_r, or the time functions of zarn_utils.h"),
    (r"\bsetlocale\s*\(|\bstd::locale::global\b", set(), "nothing: numbers carry a point everywhere"),
    (r"\bs?rand\s*\(", set(), "the random source that is handed in"),
    (r"\b(?:tmpnam|tempnam|mktemp)\s*\(", set(), "mkdtemp or mkstemp"),
    (r"\b(?:setjmp|longjmp|alloca)\s*\(", set(), "plain control flow and the heap"),
    (r"\busing\s+namespace\s+std\b", set(), "qualified names"),
)
# What the sources of test cases do not call.
BANNED_IN_TESTS = (
    (r"\b(?:sleep_for|sleep_until|usleep|nanosleep|sleep)\s*\(", "an event of the thing waited for"),
)

SCRATCH_WORDS = re.compile(r"\b(?:" + "|".join(("TO" + "DO", "FIX" + "ME", "XX" + "X", "HA" + "CK", "W" + "IP")) + r")\b")

TOKEN = re.compile(
    r'(?P<comment>//[^\n]*|/\*.*?\*/)'
    r'|R"(?P<mark>[^\s()\\]{0,16})\((?P<raw>.*?)\)(?P=mark)"'
    r'|"(?P<text>(?:\\.|[^"\\\n])*)"'
    r"|(?<![0-9A-Fa-f])'(?:\\.[^'\n]*|[^'\\\n])'", re.S)
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*"(?P<path>[^"]+)"', re.M)


class Source:
    """A C++ file: its text, and the same text with the comments, or with comments and literals, blanked out."""

    def __init__(self, path, name):
        self.name = name
        self.text = path.read_text(encoding="utf-8", errors="replace")
        self.comments, self.literals = [], []
        self.code = TOKEN.sub(self._take, self.text)

    def _take(self, match):
        line = self.text.count("\n", 0, match.start()) + 1
        if match.group("comment") is not None:
            self.comments.append((line, match.group("comment")))
        else:
            literal = match.group("raw") if match.group("raw") is not None else match.group("text")
            before = self.text[self.text.rfind("\n", 0, match.start()) + 1:match.start()]
            if literal is not None and not re.match(r"\s*#\s*include\b", before):
                self.literals.append((line, literal))
        return re.sub(r"[^\n]", " ", match.group(0))

    def lines_with(self, pattern):
        return [self.code.count("\n", 0, match.start()) + 1 for match in re.finditer(pattern, self.code)]


class Tree:
    """The files of a checkout, without what was built."""

    def __init__(self, root):
        self.root = Path(root)
        self.names = sorted(
            str(path.relative_to(self.root)) for path in self.root.rglob("*")
            if path.is_file() and not self._is_foreign(path.relative_to(self.root).parts))
        self.sources = [Source(self.root / name, name) for name in self.names if name.endswith((".h", ".cpp"))]
        self.production = [source for source in self.sources if folder_of(source.name)]

    @staticmethod
    def _is_foreign(parts):
        return parts[0] in ("build", "dist") or any(part.startswith(".") or part == "__pycache__" for part in parts)

    def read(self, name):
        return (self.root / name).read_text(encoding="utf-8", errors="replace")


def folder_of(name):
    """The folder of the program that a file or an included path belongs to, or None."""
    return next((folder for folder in MAY_INCLUDE if name.startswith(folder + "/")), None)


def shared_headers(tree):
    """What architecture.md lists as shared between families: (header, folder that may include it)."""
    shared, in_table = set(), False
    for line in tree.read("docs/architecture.md").splitlines() if "docs/architecture.md" in tree.names else ():
        cells = [cell.strip() for cell in line.strip().strip("|").split("|")]
        if cells == ["shared", "from", "used by"]:
            in_table = True
        elif not line.startswith("|"):
            in_table = False
        elif in_table and len(cells) == 3:
            origin = re.findall(r"`([^`]+)`", cells[1])
            for header in re.findall(r"`([^`]+\.h)`", cells[0]):
                shared.update((f"{origin[0]}/{header}", user) for user in re.findall(r"`([^`]+)`", cells[2]))
    return shared


def check_includes(tree):
    """Folders include downwards only, and a mission's folder never a sibling's headers."""
    shared = shared_headers(tree)
    for source in tree.production:
        folder = folder_of(source.name)
        for match in INCLUDE.finditer(source.text):
            path = match.group("path")
            line = source.text.count("\n", 0, match.start()) + 1
            target = folder_of(path)
            if target is None and any(f"{bare}/{path}" in tree.names for bare in BARE_HEADERS):
                target = "platform"
            if target is None:
                yield f"{source.name}:{line}: includes {path}, which is no header of the program"
            elif target != folder and target not in MAY_INCLUDE[folder] and (path, folder) not in shared:
                yield f"{source.name}:{line}: {folder}/ may not include {path}"


def check_tests_are_built(tree):
    """Every source of a test, benchmark or fuzz target stands in a CMakeLists.txt."""
    lists = {name: tree.read(name) for name in tree.names if name.endswith("CMakeLists.txt")}
    for source in tree.sources:
        if not source.name.endswith(".cpp") or source.name.split("/")[0] not in TEST_FOLDERS:
            continue
        path = Path(source.name)
        # A fuzz target names its source by its own name.
        fuzz_name = path.name[:-len("_fuzz.cpp")] if path.name.endswith("_fuzz.cpp") else None
        built = False
        for parent in path.parents:
            text = re.sub(r"#[^\n]*", "", lists.get(str(parent / "CMakeLists.txt"), ""))
            written = re.escape(str(path.relative_to(parent)))
            built = built or re.search(rf"(?<![\w./-]){written}(?![\w.-])", text) is not None
            built = built or (fuzz_name and re.search(rf"zarn_fuzz_target\({fuzz_name}\b", text) is not None)
        if not built:
            yield f"{source.name}: named in no CMakeLists.txt, so it is never built"


def check_banned_calls(tree):
    """One file for processes, for streams, for regular expressions, for JSON; none of the unsafe old calls."""
    for source in tree.production:
        for pattern, allowed, instead in BANNED:
            if source.name not in allowed:
                for line in source.lines_with(pattern):
                    yield f"{source.name}:{line}: banned here; use {instead}"
    for source in tree.sources:
        if source.name.startswith("tests/") and source.name.endswith("_test.cpp"):
            for pattern, instead in BANNED_IN_TESTS:
                for line in source.lines_with(pattern):
                    yield f"{source.name}:{line}: a test does not sleep; wait for {instead}"


def is_name_header(name):
    return re.fullmatch(r"foundation/(?:\w+_files|run_tree)\.h", name) is not None


def check_file_names(tree):
    """Names of files and folders of the run tree stand in their headers beside foundation/run_tree.h only."""
    own = {literal for source in tree.production if is_name_header(source.name)
           for _, literal in source.literals if "_" in literal and len(literal) > 5}
    shape = re.compile(r"(?:^|/)(?:raw_data|csv|json|env_info)/|^raw_data|^env_info|^/?soc_\w+_$|_1_$|\w\.(?:data|log|csv)$")
    for source in tree.production:
        if is_name_header(source.name) or source.name.startswith("board/"):
            continue
        for line, literal in source.literals:
            is_name = " " not in literal and (shape.search(literal) or any(name in literal for name in own))
            if is_name:
                yield f"{source.name}:{line}: \"{literal}\" names something of the run tree outside its header"


def check_headers(tree):
    """Every header is guarded."""
    for source in tree.sources:
        if source.name.endswith(".h") and "#pragma once" not in source.code:
            yield f"{source.name}: without #pragma once"


def check_scratch_words(tree):
    """Nothing that is left to do is committed."""
    comments = {source.name: source.comments for source in tree.sources}
    for name in tree.names:
        if Path(name).suffix not in TEXT_SUFFIXES or name.startswith(("tests/data/", "fuzz/corpus/", "fuzz/regressions/")):
            continue
        for line, text in comments.get(name) or ([] if name in comments else enumerate(tree.read(name).splitlines(), 1)):
            if SCRATCH_WORDS.search(text):
                yield f"{name}:{line}: {SCRATCH_WORDS.search(text).group(0)} left behind"


RULES = (check_includes, check_tests_are_built, check_banned_calls, check_file_names, check_headers, check_scratch_words)


def findings_of(root):
    tree = Tree(root)
    if not tree.production:
        yield f"{root}: holds no program"
    for rule in RULES:
        yield from rule(tree)


# ---- Self-test

CLEAN = {
    "docs/architecture.md": "| shared | from | used by |\n|---|---|---|\n"
                            "| `shared.h`: what two families need | `collectors/system` | `optimizer` |\n",
    "foundation/console.cpp": "#include \"foundation/console.h\"\nvoid P() { std::cout << 1; }\n",
    "foundation/console.h": "#pragma once\n",
    "foundation/cpu_run_files.h": "#pragma once\nconst char* kLog = \"cpu_global_1_\";\n",
    "platform/include/tovi_device.h": "#pragma once\n",
    "collectors/system/shared.h": "#pragma once\n#include \"tovi_device.h\"\n",
    "collectors/system/own.h": "#pragma once\n",
    "optimizer/o.cpp": "#include \"collectors/system/shared.h\"\n// system(3) is not called, \"raw_data/\" not named\n"
                       "const char* s = \"system(\"; char c = '\"'; int n = 1'000; // \" std::endl\n",
    "mission/m.cpp": "#include \"optimizer/o.h\"\n#include \"collectors/system/own.h\"\n"
                     "const char* s = \"[X] The raw_data/cpu/ of soc_x_1_ is missing\";\n",
    "tests/CMakeLists.txt": "add_subdirectory(unit)\n",
    "tests/unit/CMakeLists.txt": "zarn_test(unit_test SOURCES a_test.cpp)\n",
    "tests/unit/a_test.cpp": "const char* zone = \"XX" + "X-13:30\";\n",
    "fuzz/CMakeLists.txt": "zarn_fuzz_target(json)\n",
    "fuzz/json_fuzz.cpp": "",
}


def breaks():
    """What each rule must catch: file, text, words of the finding."""
    may_not = "may not include"
    yield "analyzers/a.cpp", '#include "comparators/c.h"\n', may_not
    yield "analyzers/a.cpp", '#include "collectors/system/shared.h"\n', may_not
    yield "optimizer/o.cpp", '#include "collectors/system/own.h"\n', may_not
    yield "foundation/f.cpp", '#include "mission/m.h"\n', may_not
    yield "collectors/device/d.cpp", '#include "collectors/system/own.h"\n', may_not
    yield "app/main.cpp", '#include "comparators/c.h"\n', may_not
    yield "mission/m.cpp", '#include "tests/unit/support/x.h"\n', "no header of the program"
    yield "tests/unit/b_test.cpp", "", "never built"
    yield "tests/unit/x/a_test.cpp", "", "never built"
    yield "tests/unit/CMakeLists.txt", "# a_test.cpp\nzarn_test(unit_test SOURCES aa_test.cpp)\n", "never built"
    yield "benchmarks/b_bench.cpp", "", "never built"
    yield "fuzz/yaml_fuzz.cpp", "", "never built"
    for call in ("std::system(\"ls\");", "popen (c, \"r\");", "::fork();", "::execve(p, a, e);", "posix_spawn(a);"):
        yield "optimizer/b.cpp", f"void B() {{ {call} }}\n", "use a CommandRunner"
    for call in ("std::cout << 1;", "std::cerr << 1;", "printf(\"x\");", "std::fprintf(f, \"x\");", "puts(s);"):
        yield "optimizer/b.cpp", f"void B() {{ {call} }}\n", "use PrintLine"
    for call in ("std::regex_search(t, p);", "std::regex_match(t, p);", "std::sregex_token_iterator i;"):
        yield "optimizer/b.cpp", f"void B() {{ {call} }}\n", "use foundation/regex_guard.h"
    yield "optimizer/b.cpp", "#include <rapidjson/document.h>\n", "use foundation/json.h"
    yield "optimizer/b.cpp", "std::ofstream file;\n", "use foundation/files.h"
    for call in ("s << std::endl;", "strcpy(a, b);", "sprintf(a, b);", "atoi(a);", "strtok(a, b);", "localtime(&t);",
                 "setlocale(LC_ALL, a);", "rand();", "mktemp(a);", "alloca(9);"):
        yield "optimizer/b.cpp", f"void B() {{ {call} }}\n", "banned here"
    yield "optimizer/b.cpp", "using namespace std;\n", "banned here"
    yield "tests/unit/a_test.cpp", "std::this_thread::sleep_for(x);\n", "a test does not sleep"
    for name in ("soc_gea_x_", "raw_data/mem/", "raw_data", "csv/cpu/x", "json/", "x_1_", "a.data", "tmp/cpu_global_1_5",
                 "env_info/x"):
        yield "optimizer/b.cpp", f'const char* n = "{name}";\n', "outside its header"
    yield "optimizer/b.cpp", 'const char* n = R"(soc_gea_x_)";\n', "outside its header"
    yield "optimizer/b.h", "int n;\n", "without #pragma once"
    for word in ("TO" + "DO", "FIX" + "ME", "XX" + "X"):
        yield "optimizer/b.cpp", f"int n;  // {word}: later\n", "left behind"
        yield "docs/page.md", f"{word} later\n", "left behind"


def findings_with(files):
    with tempfile.TemporaryDirectory() as root:
        for name, text in files.items():
            path = Path(root) / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text, encoding="utf-8")
        return list(findings_of(root))


def self_test():
    """Prints what the rules miss or find too much of; the number of these."""
    failures = [f"clean tree: {finding}" for finding in findings_with(CLEAN)]
    for name, text, words in breaks():
        found = findings_with({**CLEAN, name: text})
        if len(found) != 1 or words not in found[0]:
            failures.append(f"{name} with {text!r}: expected one finding with {words!r}, got {found}")
    if not findings_with({"README.md": ""}):
        failures.append("a tree without a program passes")
    print("\n".join(failures) or "every rule can fail")
    return len(failures)


def main(arguments):
    if arguments == ["--self-test"]:
        return 1 if self_test() else 0
    root = arguments[0] if arguments else Path(__file__).resolve().parent.parent
    findings = list(findings_of(root))
    print("\n".join(findings) or "the house is in order")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
