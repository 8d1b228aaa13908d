#!/usr/bin/env bash
# Installs what is needed, builds the release preset and runs the whole suite.
# With --all the suite also runs under the address, leak and undefined-behaviour sanitizers; what has threads, under
# the thread sanitizer; and, cross-built, on arm64, without the tests that trace a process.
#
# usage: scripts/test.sh [--all]
source "$(dirname "$0")/lib.sh"
take_arguments 1 --all "$@"

all=false
[ $# -eq 0 ] || all=true

# run_tests PRESET [CTEST_OPTION...]
run_tests() {
    say "Testing preset $1"
    ctest --preset "$1" -j "$(nproc)" "${@:2}"
}

need_packages scripts/packages.txt
if $all; then
    need_packages scripts/packages-dev.txt
    build_preset asan
    run_tests asan
    threaded=(foundation_test collectors_system_cpu_test collectors_system_ddr_test mission_test system_test)
    build_preset tsan zarn "${threaded[@]}"
    for program in "${threaded[@]}"; do
        say "Testing preset tsan: $program"
        TSAN_OPTIONS="suppressions=$root/tests/thread_sanitizer.supp" build/tsan/bin/"$program" --gtest_brief=1
    done
    build_preset arm64
    run_tests arm64
fi
build_preset release
run_tests release
