#!/usr/bin/env python3
"""Holds the tree to the rules of docs/architecture.md and CONTRIBUTING.md.

usage: house_check.py [ROOT]       lists what breaks a rule, one line each; status 1 if there is any
       house_check.py --self-test  proves on small trees that each rule can fail
"""
import posixpath
import re
import sys
import tempfile
from pathlib import Path

# Folders of the program from the lowest up, each with what it may include besides itself. A mission's folder is one
# below a stage, or the stage itself where it has but one mission.
STAGES = ("collectors/system", "collectors/profiling", "collectors/device", "analyzers", "comparators")
LONE_MISSIONS = ("optimizer",)
BELOW_MISSIONS = ("kit", "formats", "platform", "foundation")
MAY_INCLUDE = {
    "foundation": (),
    "formats": ("foundation",),
    "platform": ("foundation",),
    "kit": ("formats", "platform", "foundation"),
    "mission": ("kit", "formats", "platform", "foundation"),
    "app": ("mission", "foundation"),
    "board": ("foundation", "platform"),
    "report": ("kit", "formats", "foundation"),
}
# Headers that are found by their bare name, as on the board.
BARE_HEADERS = ("platform/include",)
# Made by the build from the missions' folders.
GENERATED_HEADER = "mission_classes.h"
TEST_FOLDERS = ("tests", "benchmarks", "fuzz")
TEXT_SUFFIXES = {".h", ".cpp", ".cmake", ".txt", ".md", ".py", ".sh", ".json", ".yml", ".yaml", ".ts", ".mjs", ".css", ".html",
                 ""}

# What production code does not call: pattern, files that may, what to use instead.
BANNED = (
    (r"\b(?:system|popen|v?fork|exec[vl]p?e?|posix_spawnp?)\s*\(",
     {"foundation/process.cpp", "board/launcher/child.cpp"}, "a CommandRunner"),
    (r"\bstd::(?:cout|cerr|clog)\b|\b(?:v?f?printf|f?puts|putchar|perror)\s*\(",
     {"foundation/console.cpp"}, "PrintLine and PrintError"),
    (r"\bstd::(?:regex_(?:search|match|replace)|[csw]*regex_(?:token_)?iterator)\b", {"foundation/regex_guard.cpp"},
     "foundation/regex_guard.h"),
    (r"#\s*include\s*<rapidjson/", {"foundation/json.h"}, "foundation/json.h"),
    (r"\bstd::(?:[iow]*fstream|filebuf)\b|\b(?:fopen|freopen)\s*\(",
     {"board/preload/board_paths.cpp"}, "foundation/files.h"),
    (r"\bstd::endl\b", set(), r"'\n'"),
    (r"\b(?:strcpy|strcat|v?sprintf|gets|strtok)\s*\(", set(), "std::string"),
    (r"\b(?:ato[ifl]|atoll|sscanf|scanf)\s*\(", set(), "the conversions of foundation/numbers.h"),
    (r"\b(?:localtime|gmtime|ctime|asctime)\s*\(", set(), "localtime_r, or foundation/time.h"),
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
# What a mission's header declares.
MISSION_CLASS = re.compile(r"\bclass (\w+) final : public Basic\w+")
# What the common pages promise of a mission's page.
PAGE_HEADINGS = ("Section", "Files", "Fields and units", "Edges", "Messages", "Example")
LINK = re.compile(r"\]\((?P<path>[^()\s#]*)(?:#(?P<heading>[^()\s]*))?\)")
INSTALLED_PAGE = re.compile(r"/usr/share/doc/zarn/(?P<path>[\w./-]*[\w/])")
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
    for stage in STAGES:
        if name.startswith(stage + "/"):
            parts = name[len(stage) + 1:].split("/")
            return f"{stage}/{parts[0]}" if len(parts) > 1 else stage
    folders = (*LONE_MISSIONS, *MAY_INCLUDE)
    return next((folder for folder in folders if name.startswith(folder + "/")), None)


def is_mission(folder):
    return folder in LONE_MISSIONS or any(folder.startswith(stage + "/") for stage in STAGES)


def may_include(folder, target):
    if is_mission(folder):
        return target in BELOW_MISSIONS
    return target in MAY_INCLUDE.get(folder, ()) or (folder == "mission" and is_mission(target))


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
    """Folders include downwards only, and a mission's folder never another mission's headers."""
    shared = shared_headers(tree)
    for source in tree.production:
        folder = folder_of(source.name)
        for match in INCLUDE.finditer(source.text):
            path = match.group("path")
            line = source.text.count("\n", 0, match.start()) + 1
            target = folder_of(path)
            if path == GENERATED_HEADER and folder == "mission":
                continue
            if target is None and any(f"{bare}/{path}" in tree.names for bare in BARE_HEADERS):
                target = "platform"
            if target is None:
                yield f"{source.name}:{line}: includes {path}, which is no header of the program"
            elif target != folder and ("/internal/" in path or not may_include(folder, target)) \
                    and (path, folder) not in shared:
                yield f"{source.name}:{line}: {folder}/ may not include {path}"


def words_of(text):
    """The words of a CMakeLists.txt, without its comments."""
    return re.findall(r"[^\s()]+", re.sub(r"#[^\n]*", "", text))


def mission_call(tree, folder):
    """What a folder's one call of zarn_mission says: keyword to words; None if there is no such call."""
    name = f"{folder}/CMakeLists.txt"
    words = words_of(tree.read(name)) if name in tree.names else []
    if "zarn_mission" not in words:
        return None
    call, keyword = {}, None
    for word in words[words.index("zarn_mission") + 1:]:
        if re.fullmatch(r"[A-Z_]+", word):
            keyword = word
        call.setdefault(keyword, [])
        call[keyword] += [word] if word != keyword else []
    return call


def mission_folders(tree):
    return sorted({folder_of(name) for name in tree.names if folder_of(name) and is_mission(folder_of(name))})


def built_by_missions(tree):
    """The sources of tests, fuzz targets and benchmarks that the missions' calls name."""
    for folder in mission_folders(tree):
        call = mission_call(tree, folder) or {}
        yield from (f"tests/unit/{folder}/{file}" for file in call.get("TESTS", ()))
        yield from (f"tests/system/{file}" for file in call.get("SYSTEM_TESTS", ()))
        yield from (f"fuzz/{target}_fuzz.cpp" for target in call.get("FUZZ_TARGETS", ()))
        yield from (f"benchmarks/{file}" for file in call.get("BENCHMARK", ()))


def check_tests_are_built(tree):
    """Every source of a test, benchmark or fuzz target stands in a CMakeLists.txt."""
    lists = {name: " ".join(words_of(tree.read(name)))
             for name in tree.names if name.endswith(("CMakeLists.txt", ".cmake"))}
    by_missions = set(built_by_missions(tree))
    for source in tree.sources:
        if not source.name.endswith(".cpp") or source.name.split("/")[0] not in TEST_FOLDERS:
            continue
        path = Path(source.name)
        built = source.name in by_missions
        # A fuzz target names its source by its own name.
        fuzz_name = path.name[:-len("_fuzz.cpp")] if path.name.endswith("_fuzz.cpp") else None
        for name, text in lists.items():
            parent = Path(name).parent
            if parent in path.parents:
                written = re.escape(str(path.relative_to(parent)))
                built = built or re.search(rf"(?<![\w./-]){written}(?![\w.-])", text) is not None
                built = built or (fuzz_name and re.search(rf"zarn_fuzz_target {fuzz_name}\b", text) is not None)
                built = built or f"${{PROJECT_SOURCE_DIR}}/{source.name}" in text.split()
        if not built:
            yield f"{source.name}: named in no CMakeLists.txt, so it is never built"


def headings_of(text):
    return re.findall(r"^#+ +(.*?) *$", text, re.M)


def check_mission_page(tree, page):
    if page not in tree.names:
        yield f"{page}: missing"
        return
    found = headings_of(tree.read(page))
    yield from (f"{page}: without the heading {heading}" for heading in PAGE_HEADINGS if heading not in found)


def anchor_of(heading):
    return re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-")


def broken_link(tree, page, path, heading):
    """What is wrong with a link from a page to `heading` of `path`, each of which may be missing; or None."""
    target = posixpath.normpath(posixpath.join(posixpath.dirname(page), path)) if path else page
    if target not in tree.names and not any(name.startswith(target + "/") for name in tree.names):
        return f"{path} is no file or folder"
    if heading and heading not in map(anchor_of, headings_of(tree.read(target))):
        return f"{target} has no heading #{heading}"
    return None


def check_links(tree):
    """What the pages and the manual point to is there."""
    for page in tree.names:
        if page.startswith("docs/man/"):
            links = [("../" + match["path"], None) for match in INSTALLED_PAGE.finditer(tree.read(page))]
        elif page.endswith(".md"):
            links = [(match["path"], match["heading"]) for match in LINK.finditer(tree.read(page)) if ":" not in match["path"]]
        else:
            continue
        broken = [broken_link(tree, page, *link) for link in links]
        yield from (f"{page}: {words}" for words in broken if words)


def check_missions(tree):
    """A mission is a folder with all that belongs to it, and its class stands in the factory tables."""
    tables = tree.read("mission/factory_tables.cpp") if "mission/factory_tables.cpp" in tree.names else ""
    classes = re.findall(r"\b(?:Collector|Analyzer|Optimizer|Comparator)<(\w+)>\(\)", tables)
    for folder in mission_folders(tree):
        call = mission_call(tree, folder)
        if call is None:
            yield f"{folder}/: without a CMakeLists.txt that calls zarn_mission"
            continue
        for keyword in ("HEADERS", "SOURCES", "TESTS", "FUZZ_TARGETS", "BENCHMARK"):
            if not call.get(keyword):
                yield f"{folder}/CMakeLists.txt: names no {keyword}"
        if not any("ExpectKeysHold(" in tree.read(f"tests/unit/{folder}/{file}") for file in call.get("TESTS", ())
                   if f"tests/unit/{folder}/{file}" in tree.names):
            yield f"tests/unit/{folder}/: no test holds the option check to the declared keys"
        for header in call.get("HEADERS", ()):
            text = tree.read(f"{folder}/{header}") if f"{folder}/{header}" in tree.names else ""
            found = MISSION_CLASS.search(text)
            if found is None or found.group(1) not in classes:
                yield f"{folder}/{header}: declares no class of mission/factory_tables.cpp"
                continue
            name = found.group(1)
            if f'kName = "{name}";' not in text:
                yield f"{folder}/{header}: configurations name its class otherwise than the code"
            yield from check_mission_page(tree, f"docs/missions/{name}.md")
            if not any(f'"{name}"' in tree.read(example) for example in tree.names
                       if example.startswith("docs/examples/") and example.endswith(".json")):
                yield f"docs/examples/: no example runs {name}"


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


def check_file_names(tree):
    """Names of files and folders of the run tree stand in formats/ only; its sources hold other facts too."""
    own = {literal for source in tree.production if re.fullmatch(r"formats/.*\.h", source.name)
           for _, literal in source.literals if "_" in literal and len(literal) > 5}
    shape = re.compile(r"(?:^|/)(?:raw_data|csv|json|env_info)/|^raw_data|^env_info|^/?soc_\w+_$|_1_$|\w\.(?:data|log|csv)$")
    for source in tree.production:
        if source.name.startswith("formats/") or source.name.startswith("board/"):
            continue
        for line, literal in source.literals:
            is_name = " " not in literal and (shape.search(literal) or any(name in literal for name in own))
            if is_name:
                yield f"{source.name}:{line}: \"{literal}\" names something of the run tree outside formats/"


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


def check_lockfiles(tree):
    """Where packages are got from is the builder's own affair: what pins them names them, and no address."""
    for name in tree.names:
        if Path(name).name in ("package.json", "package-lock.json"):
            for line, text in enumerate(tree.read(name).splitlines(), 1):
                if "://" in text:
                    yield f"{name}:{line}: holds an address"


RULES = (check_includes, check_tests_are_built, check_missions, check_links, check_banned_calls, check_file_names,
         check_headers, check_scratch_words, check_lockfiles)


def findings_of(root):
    tree = Tree(root)
    if not tree.production:
        yield f"{root}: holds no program"
    for rule in RULES:
        yield from rule(tree)


# ---- Self-test


def mission(name):
    return (f"zarn_mission(HEADERS {name}.h SOURCES {name}.cpp TESTS {name}_test.cpp FUZZ_TARGETS {name}\n"
            f"  BENCHMARK {name}_bench.cpp)\n")


MISSION_PAGE = "".join(f"## {heading}\n" for heading in PAGE_HEADINGS)
CLEAN = {
    "docs/architecture.md": "| shared | from | used by |\n|---|---|---|\n"
                            "| `shared.h`: what two missions need | `collectors/system/ddr` | `optimizer` |\n",
    "docs/missions/CpuCollector.md": MISSION_PAGE,
    "docs/missions/DdrCollector.md": MISSION_PAGE + "[own](#edges) [other](CpuCollector.md#fields-and-units) [a](b:c)\n",
    "docs/missions/DdrOptimizer.md": MISSION_PAGE,
    "docs/page.md": "# What `x`, y-z\n[m](missions) [d](missions/DdrCollector.md) [o](../optimizer/o.h) [s](#what-x-y-z)\n",
    "docs/man/zarn.1": ".IR /usr/share/doc/zarn/page.md .\n.I /usr/share/doc/zarn/missions/<name>.md\n",
    "docs/examples/all.json": '["CpuCollector", "DdrCollector", "DdrOptimizer"]',
    "foundation/console.cpp": "#include \"foundation/console.h\"\nvoid P() { std::cout << 1; }\n",
    "foundation/console.h": "#pragma once\n",
    "formats/cpu.h": "#pragma once\nconst char* kLog = \"cpu_global_1_\";\n",
    "kit/section.h": "#pragma once\n#include \"formats/cpu.h\"\n#include \"foundation/console.h\"\n",
    "platform/include/tovi_device.h": "#pragma once\n",
    "collectors/system/ddr/shared.h": "#pragma once\n#include \"tovi_device.h\"\n",
    "collectors/system/ddr/d.h": "#pragma once\nclass DdrCollector final : public BasicCollector { kName = \"DdrCollector\"; };\n",
    "collectors/system/ddr/CMakeLists.txt": mission("d"),
    "collectors/system/cpu/c.h": "#pragma once\n#include \"kit/section.h\"\n"
                                 "class CpuCollector final : public BasicCollector { kName = \"CpuCollector\"; };\n",
    "collectors/system/cpu/CMakeLists.txt": mission("c"),
    "optimizer/o.h": "#pragma once\nclass DdrOptimizer final : public BasicOptimizer { kName = \"DdrOptimizer\"; };\n",
    "optimizer/o.cpp": "#include \"collectors/system/ddr/shared.h\"\n// system(3) is not called, \"raw_data/\" not named\n"
                       "const char* s = \"system(\"; char c = '\"'; int n = 1'000; // \" std::endl\n",
    "report/r.h": "#pragma once\n#include \"kit/section.h\"\n#include \"formats/cpu.h\"\n",
    "formats/facts.cpp": "const char* master = \"a_master\";\n",
    "optimizer/p.cpp": "const char* master = \"a_master\";\n",
    "optimizer/CMakeLists.txt": mission("o"),
    "mission/m.cpp": "#include \"optimizer/o.h\"\n#include \"collectors/system/ddr/d.h\"\n"
                     "const char* s = \"[X] The raw_data/cpu/ of soc_x_1_ is missing\";\n",
    "mission/factory_tables.cpp": "#include \"mission_classes.h\"\nCollector<CpuCollector>(), Collector<DdrCollector>(),\n"
                                  "Optimizer<DdrOptimizer>(),\n",
    "tests/CMakeLists.txt": "add_subdirectory(unit)\n",
    "tests/unit/CMakeLists.txt": "zarn_test(unit_test SOURCES a_test.cpp)\n",
    "tests/unit/a_test.cpp": "const char* zone = \"XX" + "X-13:30\";\n",
    **{f"tests/unit/{folder}_test.cpp": "void K() { ExpectKeysHold(x); }\n"
       for folder in ("optimizer/o", "collectors/system/cpu/c", "collectors/system/ddr/d")},
    "fuzz/CMakeLists.txt": "zarn_fuzz_target(json)\n",
    "fuzz/json_fuzz.cpp": "",
    "fuzz/o_fuzz.cpp": "",
    "benchmarks/o_bench.cpp": "",
}


def breaks():
    """What each rule must catch: file, text, words of the finding."""
    may_not = "may not include"
    yield "optimizer/o.cpp", '#include "collectors/system/cpu/c.h"\n', may_not
    yield "optimizer/o.cpp", '#include "collectors/system/ddr/d.h"\n', may_not
    yield "optimizer/o.cpp", '#include "mission/m.h"\n', may_not
    yield "collectors/system/cpu/c.cpp", '#include "collectors/system/ddr/shared.h"\n', may_not
    yield "collectors/system/cpu/c.cpp", '#include "optimizer/o.h"\n', may_not
    yield "kit/k.cpp", '#include "collectors/system/cpu/c.h"\n', may_not
    yield "optimizer/o.cpp", '#include "kit/internal/k.h"\n', may_not
    yield "formats/f.h", '#pragma once\n#include "kit/section.h"\n', may_not
    yield "foundation/f.cpp", '#include "formats/cpu.h"\n', may_not
    yield "foundation/f.cpp", '#include "mission/m.h"\n', may_not
    yield "app/main.cpp", '#include "optimizer/o.h"\n', may_not
    yield "report/r.cpp", '#include "collectors/system/ddr/d.h"\n', may_not
    yield "report/r.cpp", '#include "mission/m.h"\n', may_not
    yield "kit/k.cpp", '#include "report/r.h"\n', may_not
    yield "mission/m.cpp", '#include "tests/unit/support/x.h"\n', "no header of the program"
    yield "optimizer/o.cpp", '#include "mission_classes.h"\n', "no header of the program"
    yield "tests/unit/b_test.cpp", "", "never built"
    yield "tests/unit/x/a_test.cpp", "", "never built"
    yield "tests/unit/CMakeLists.txt", "# a_test.cpp\nzarn_test(unit_test SOURCES aa_test.cpp)\n", "never built"
    yield "tests/unit/optimizer/p_test.cpp", "", "never built"
    yield "benchmarks/b_bench.cpp", "", "never built"
    yield "fuzz/yaml_fuzz.cpp", "", "never built"
    yield "optimizer/CMakeLists.txt", mission("o").replace("BENCHMARK o_bench.cpp", ""), "names no BENCHMARK", 2
    yield "optimizer/CMakeLists.txt", mission("o").replace("FUZZ_TARGETS o", ""), "names no FUZZ_TARGETS", 2
    yield "optimizer/CMakeLists.txt", mission("o").replace("TESTS o_test.cpp", ""), "names no TESTS", 3
    yield "analyzers/cpu/a.h", "#pragma once\n", "without a CMakeLists.txt"
    yield "tests/unit/optimizer/o_test.cpp", "", "no test holds the option check"
    yield "optimizer/o.h", "#pragma once\nclass Other final : public BasicOptimizer {};\n", "declares no class"
    yield "optimizer/o.h", CLEAN["optimizer/o.h"].replace('"Ddr', '"DDR'), "name its class otherwise"
    yield "docs/examples/all.json", '["CpuCollector", "DdrCollector"]', "no example runs DdrOptimizer"
    yield "docs/missions/DdrOptimizer.md", None, "missing"
    for heading in PAGE_HEADINGS:
        yield "docs/missions/DdrOptimizer.md", MISSION_PAGE.replace(f"## {heading}\n", ""), f"without the heading {heading}"
    yield "docs/page.md", "[x](missing.md)\n", "missing.md is no file"
    yield "docs/page.md", "[x](missions/Cpu)\n", "missions/Cpu is no file"
    yield "docs/page.md", "[x](../../away.md)\n", "../../away.md is no file"
    yield "docs/page.md", "# A\n[x](missions/DdrOptimizer.md#a)\n", "docs/missions/DdrOptimizer.md has no heading #a"
    yield "docs/page.md", "# A\n[x](#b)\n", "docs/page.md has no heading #b"
    yield "docs/man/zarn.1", ".IR /usr/share/doc/zarn/pages.md .\n", "../pages.md is no file"
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
        yield "optimizer/b.cpp", f'const char* n = "{name}";\n', "outside formats/"
    yield "optimizer/b.cpp", 'const char* n = R"(soc_gea_x_)";\n', "outside formats/"
    yield "optimizer/b.h", "int n;\n", "without #pragma once"
    for word in ("TO" + "DO", "FIX" + "ME", "XX" + "X"):
        yield "optimizer/b.cpp", f"int n;  // {word}: later\n", "left behind"
        yield "docs/page.md", f"{word} later\n", "left behind"
        yield "report/page/src/a.ts", f"// {word}: later\n", "left behind"
    yield "report/page/package-lock.json", '{"resolved": "https://' + 'host/a.tgz"}\n', "holds an address"


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
    for name, text, words, *count in breaks():
        files = {file: content for file, content in {**CLEAN, name: text}.items() if content is not None}
        found = findings_with(files)
        if len(found) != (count or [1])[0] or not any(words in finding for finding in found):
            failures.append(f"{name} with {text!r}: expected a finding with {words!r}, got {found}")
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
