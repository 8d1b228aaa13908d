#!/usr/bin/env bash
# Installs what is needed, builds the release preset and runs the whole suite; what of it root cannot show, once more as an
# ordinary user.
# With --all the suite also runs under the address, leak and undefined-behaviour sanitizers; what has threads, under
# the thread sanitizer; and, cross-built, on arm64, without the tests that trace a process. Root ends with the clean
# room, of which CI takes the short form.
#
# usage: scripts/test.sh [--all]
source "$(dirname "$0")/lib.sh"
take_arguments 1 --all "$@"

all=false
[ $# -eq 0 ] || all=true

# Becomes COMMAND in a mount namespace in which everyone may reach the checkout: a closed folder on the way to it is covered
# by an open one that holds nothing else.
# shellcheck disable=SC2016
reachable='root=$1 kept=$2 folder=$1 closed=
shift 2
while [ "$folder" != / ]; do
    [ "$(($(stat -c %a "$folder") % 2))" -eq 1 ] || closed=$folder
    folder=$(dirname "$folder")
done
if [ -n "$closed" ]; then
    mount --bind "$root" "$kept" && mount -t tmpfs -o mode=755 none "$closed" && mkdir -p "$root"
    for entry in "$kept"/*; do
        part=$root/${entry##*/}
        if [ -d "$entry" ]; then mkdir "$part"; else : >"$part"; fi
        mount --bind "$entry" "$part"
    done
    cd "$root"
fi
exec "$@"'

# Runs those tests of the release preset once more, as an ordinary user, that its last run skipped.
run_skipped_as_user() {
    local scratch names status=0
    names=$(sed -n 's/.*<testcase name="\([^"]*\)".* status="notrun".*/\1/p' "$test_results/release.xml" |
        sed 's/[.+*?^$()|]/\\&/g' | paste -sd'|')
    [ -n "$names" ] || return 0
    say "Testing as an ordinary user what root skipped"
    scratch=$(mktemp -d /tmp/zarn-user.XXXXXX)
    mkdir "$scratch/kept" "$scratch/home"
    echo "subdirs(\"$root/build/release\")" >"$scratch/CTestTestfile.cmake"
    chown -R 12345:12345 "$scratch"
    unshare --mount bash -c "$reachable" bash "$root" "$scratch/kept" \
        setpriv --reuid 12345 --regid 12345 --clear-groups --inh-caps=-all \
        env HOME="$scratch/home" TMPDIR="$scratch" ctest --test-dir "$scratch" -j "$(nproc)" --output-on-failure \
        --output-junit "$scratch/user.xml" -R "^($names)\$" || status=$?
    cp "$scratch/user.xml" "$test_results/release-user.xml"
    rm -rf "$scratch"
    return "$status"
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
        TSAN_OPTIONS="suppressions=$root/tests/thread_sanitizer.supp" build/tsan/bin/"$program" --gtest_brief=1 \
            --gtest_output=xml:"$test_results/tsan-$program.xml"
    done
    build_preset arm64
    run_tests arm64
fi
build_preset release
run_tests release
if [ "$(id -u)" -eq 0 ]; then
    run_skipped_as_user
    ! $all || scripts/clean_room.sh ${CI:+--demo}
fi
