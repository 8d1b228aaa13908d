#!/usr/bin/env bash
# Checks the format of every C++ file and of the page of the report, and lints the C++ files of the program and the board; any
# finding is a failure.
# With --all it lints the tests and benchmarks too. What was clean is remembered, in ZARN_LINT_CACHE or, by default, beside
# other caches of the user, and not linted again until it, a header of it or the list of checks changes.
#
# usage: scripts/lint.sh [--all]
source "$(dirname "$0")/lib.sh"
take_arguments 1 --all "$@"

need_packages scripts/packages.txt scripts/packages-dev.txt
say "Format"
git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run --Werror
cmake --preset release -B build/lint -DZARN_MERGED_TESTS=OFF >/dev/null
cmake --build build/lint --target zarn_report_page_lint
say "Lint"
skipped='^(fuzz|tests|benchmarks)/'
[ "${1:-}" != --all ] || skipped='^fuzz/'
git ls-files '*.cpp' | grep -vE "$skipped" |
    xargs scripts/lint_files.py build/lint "${ZARN_LINT_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/zarn-lint}"
