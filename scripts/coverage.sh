#!/usr/bin/env bash
# Runs the suite with coverage counters and prints line and branch figures, of all and of the pure functions.
# The report is build/coverage/report/index.html.
source "$(dirname "$0")/lib.sh"

need_packages scripts/packages.txt scripts/packages-dev.txt
build_preset coverage
say "Testing preset coverage"
find build/coverage -name '*.gcda' -delete
ctest --test-dir build/coverage -j "$(nproc)" --output-on-failure | tail -n 5

# Files of pure functions: parsers, findings, documents, tables and the utilities below them.
pure='(foundation/(text_utils|statistics|time_utils|settings_reader|json|regex_guard)|.*_(parser|patterns|matchers|findings|documents|tables?|figures|swarm|step|test)|board/model/.*)\.cpp'
mkdir -p build/coverage/report
gcovr_options=(--root . --object-directory build/coverage --exclude-throw-branches --exclude-unreachable-branches
               -j "$(nproc)")
say "Coverage of all production code"
gcovr "${gcovr_options[@]}" --exclude 'tests/.*' --exclude 'benchmarks/.*' --exclude 'fuzz/.*' \
    --json build/coverage/all.json --html-details build/coverage/report/index.html --print-summary >/dev/null
gcovr --root . --add-tracefile build/coverage/all.json | tail -n 4
gcovr --root . --add-tracefile build/coverage/all.json --branches | tail -n 4
say "Coverage of the pure functions"
gcovr --root . --add-tracefile build/coverage/all.json --filter "$pure" --fail-under-line 95
