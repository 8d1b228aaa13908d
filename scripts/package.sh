#!/usr/bin/env bash
# Builds the Debian packages zarn, zarn-board-libs and zarn-board for amd64 and arm64 into build/packages, lints them, and
# runs the system tests on the programs of the packages for this machine: those that look into the packages, and of the others, which
# the release lane has run on the same programs, a quarter that the last commit draws; with ZARN_WALK=all the whole of them.
# With --reproducible it then builds those for this machine once more, in another folder and without a compiler
# cache, and compares them byte by byte.
#
# usage: scripts/package.sh [--reproducible]
source "$(dirname "$0")/lib.sh"
take_arguments 1 --reproducible "$@"

need_packages scripts/packages.txt scripts/packages-dev.txt

# The highest version of a kind (GLIBC, GLIBCXX, ...) that the files of a folder ask of their libraries.
highest() { # FOLDER KIND
    find "$1" -type f -exec file {} + | sed -n 's/: *ELF .*//p' | xargs -r readelf -V |
        grep -oE "\b$2_[0-9.]+" | sort -uV | tail -n 1
}

# What this machine's packages depend on holds for arm64 too if the programs there ask for no later versions. There are no
# lists of the symbols of another architecture's libraries to compute it from.
pack_arm64() {
    local options=() name native=build/packages/native cross=build/packages/cross kind
    for name in zarn zarn-board-libs zarn-board; do
        options+=(-D "CPACK_DEBIAN_${name^^}_PACKAGE_DEPENDS=$(dpkg-deb -f "build/release/packages/${name}_"*.deb Depends)")
    done
    pack build/arm64 "${options[@]}"
    for name in zarn zarn-board-libs zarn-board; do
        dpkg-deb --extract "build/release/packages/${name}_"*.deb "$native"
        dpkg-deb --extract "build/arm64/packages/${name}_"*.deb "$cross"
    done
    for kind in GLIBC GLIBCXX CXXABI GCC; do
        [ "$(printf '%s\n' "$(highest "$native" $kind)" "$(highest "$cross" $kind)" | sort -V | tail -n 1)" = \
            "$(highest "$native" $kind)" ] || {
            echo "arm64 asks for $(highest "$cross" $kind), this machine's packages for $(highest "$native" $kind)" >&2
            return 1
        }
    done
}

rm -rf build/packages
mkdir -p build/packages
build_preset release
say "Packing preset release"
pack build/release
build_preset arm64 zarn-and-board
say "Packing preset arm64"
pack_arm64
cp build/release/packages/*.deb build/arm64/packages/*.deb build/packages/
say "Lint"
lintian --fail-on error,warning build/packages/*.deb
say "Testing the packages"
export ZARN_PREFIX=$root/build/packages/native/usr
run_tests release:packages-own -R '^ReportSystemTest\.'
drawn=()
if [ "${ZARN_WALK:-}" != all ]; then
    part=$(($(commit_number) % 4 + 1))
    say "Of the system tests each fourth is drawn, beginning with number $part"
    drawn=(--tests-information "$part,,4")
fi
run_tests release:packages -L system "${drawn[@]}"
unset ZARN_PREFIX
if [ $# -gt 0 ]; then
    say "Building again in another folder"
    again=$(mktemp -d)
    trap 'rm -rf "$again"' EXIT
    git ls-files -z | xargs -0 cp --parents -t "$again"
    (cd "$again" && cmake --preset release -DZARN_TESTS=OFF -DZARN_BENCHMARKS=OFF >/dev/null && cmake --build --preset release)
    pack "$again/build/release"
    for package in build/release/packages/*.deb; do
        cmp "$package" "$again/$package"
        echo "$(basename "$package"): the same bytes"
    done
fi
ls -l build/packages/*.deb
