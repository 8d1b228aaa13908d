#!/usr/bin/env bash
# Builds the Debian packages zarn and zarn-board for amd64 and arm64 into build/packages, lints them, and runs the system
# tests on the programs of the packages for this machine.
#
# usage: scripts/package.sh
source "$(dirname "$0")/lib.sh"
take_arguments 0 '' "$@"

need_packages scripts/packages.txt scripts/packages-dev.txt
mkdir -p build/packages
rm -f build/packages/*.deb
for preset in release arm64; do
    build_preset "$preset"
    say "Packing preset $preset"
    (umask 022 && cd "build/$preset" && cpack -G DEB >/dev/null)
    cp "build/$preset"/packages/*.deb build/packages/
done
say "Lint"
lintian --fail-on error build/packages/*.deb
say "Testing the packages"
installed=$root/build/packages/root
rm -rf "$installed"
for package in build/packages/*_"$(dpkg --print-architecture)".deb; do
    dpkg-deb --extract "$package" "$installed"
done
ZARN_PREFIX=$installed/usr run_tests release:packages -L system
ls -l build/packages
