#!/usr/bin/env bash
# Checks format and lint of every C++ file; any finding is a failure.
source "$(dirname "$0")/lib.sh"

need_packages scripts/packages.txt scripts/packages-dev.txt
say "Format"
git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run --Werror
say "Lint"
cmake --preset release >/dev/null
git ls-files '*.cpp' | grep -v '^fuzz/' |
    xargs -P "$(nproc)" -n 4 clang-tidy -p build/release --quiet --extra-arg=-Wno-unknown-warning-option 2>/dev/null
