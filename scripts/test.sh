#!/usr/bin/env bash
# Installs what is needed, builds the release preset and runs the whole suite.
# With --all it does the same for the sanitizer presets and, cross-built, for arm64.
#
# usage: scripts/test.sh [--all]
source "$(dirname "$0")/lib.sh"

all=false
case "${1:-}" in
    "") ;;
    --all) all=true ;;
    *) echo "usage: scripts/test.sh [--all]" >&2; exit 2 ;;
esac

# run_suite PRESET [CTEST_OPTION...]
run_suite() {
    local preset=$1
    shift
    build_preset "$preset"
    say "Testing preset $preset"
    ctest --preset "$preset" -j "$(nproc)" "$@"
}

need_packages scripts/packages.txt
if $all; then
    need_packages scripts/packages-dev.txt
    run_suite asan
    run_suite tsan
    run_suite arm64
fi
run_suite release
