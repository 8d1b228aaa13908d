#!/usr/bin/env bash
# Prints line and branch figures, of all and of the pure functions, of the last run of the suite in the asan preset,
# which carries the counters; runs the whole of it first if there was none. The report is build/coverage/index.html. With
# --page the figures go into docs/performance.md.
#
# usage: scripts/coverage.sh [--page]
source "$(dirname "$0")/lib.sh"
take_arguments 1 --page "$@"

need_packages scripts/packages.txt scripts/packages-dev.txt
if [ -z "$(find build/asan -name '*.gcda' -print -quit 2>/dev/null)" ]; then
    ZARN_WALK=all scripts/test.sh asan
fi

# Files of pure functions: parsers, findings, documents, tables and the utilities below them.
pure='(foundation/(text|numbers|statistics|time|json|regex_guard)|kit/(section|event_line|event_reader|csv_table)|.*_(parser|patterns|matchers|findings|documents|tables?|figures|swarm|step|test)|board/model/.*)\.cpp'
mkdir -p build/coverage
gcovr_options=(--root . --object-directory build/asan --exclude-throw-branches --exclude-unreachable-branches
               -j "$(nproc)")
say "Coverage of all production code"
gcovr "${gcovr_options[@]}" --exclude 'tests/.*' --exclude 'benchmarks/.*' --exclude 'fuzz/.*' \
    --json build/coverage/all.json --html-details build/coverage/index.html --print-summary \
    >/dev/null 2>build/coverage/complaints
# A source whose counters cannot be read would only be missing.
if grep -q 'GCOV produced' build/coverage/complaints; then
    cat build/coverage/complaints >&2
    exit 1
fi
gcovr --root . --add-tracefile build/coverage/all.json | tail -n 4
gcovr --root . --add-tracefile build/coverage/all.json --branches | tail -n 4
say "Coverage of the pure functions"
gcovr --root . --add-tracefile build/coverage/all.json --filter "$pure" --json-summary build/coverage/pure.json \
    --txt - --fail-under-line 95
if [ $# -gt 0 ]; then
    gcovr --root . --add-tracefile build/coverage/all.json --json-summary build/coverage/summary.json
    scripts/coverage_table.py build/coverage/summary.json build/coverage/pure.json |
        scripts/put_section.py docs/performance.md coverage
fi
