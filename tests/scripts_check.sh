#!/usr/bin/env bash
# Checks what of the scripts and the shell's completions can be told without building: scripts_check.sh ROOT
set -u
root=$1 failures=0

# expect WHAT EXPECTED ACTUAL
expect() {
    [ "$2" != "$3" ] || return 0
    printf '%s\n  expected: %s\n  but is:   %s\n' "$1" "$2" "$3"
    failures=$((failures + 1))
}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch" || exit 1

for script in "$root"/scripts/*.sh; do
    name=scripts/$(basename "$script")
    [ "$name" != scripts/lib.sh ] || continue
    "$script" --help >out 2>err </dev/null
    expect "$name --help: status" 0 $?
    expect "$name --help: usage lines" 1 "$(grep -c "^usage: $name" out)"
    expect "$name --help: error stream" "" "$(cat err)"
    "$script" --no-such-option >out 2>err </dev/null
    expect "$name --no-such-option: status" 2 $?
    expect "$name --no-such-option: standard output" "" "$(cat out)"
    expect "$name --no-such-option: error stream" "$("$script" --help | grep '^usage:')" "$(cat err)"
done

# The forms of ctest and of GoogleTest.
cat >ctest.xml <<'EOF'
<testsuite name="x" tests="4" failures="1" disabled="1" skipped="1">
  <testcase name="a" status="run"/><testcase name="b" status="fail"><failure message=""/></testcase>
  <testcase name="c" status="notrun"><skipped message="SKIP_REGULAR_EXPRESSION_MATCHED"/></testcase>
  <testcase name="d" status="disabled"/>
</testsuite>
EOF
cat >gtest.xml <<'EOF'
<testsuites tests="4" failures="1"><testsuite name="s">
  <testcase name="a" status="run" result="completed"/><testcase name="b" status="run" result="completed"><failure message=""/></testcase>
  <testcase name="c" status="run" result="skipped"><skipped message=""/></testcase>
  <testcase name="e" status="run" result="completed"/>
</testsuite></testsuites>
EOF
expect "the total of tests" "3 passed, 2 failed, 3 skipped" "$("$root/scripts/count_tests.py" ctest.xml gtest.xml)"
mkdir ctest && cp gtest.xml ctest/a.xml
expect "the total with a test's own report" "2 passed, 2 failed, 3 skipped" "$("$root/scripts/count_tests.py" ctest.xml)"
rm -r ctest

# Three milliseconds beside a bound of one, and promises of that row.
row() { # NAME MILLISECONDS
    printf '{"run_name": "%s", "aggregate_name": "median", "cpu_time": %s, "time_unit": "ms"}' "$1" "$2"
}
results() { # PROMISE LIMIT
    printf '{"context": {"promise %s": "%s"}, "benchmarks": [%s, %s]}' "$1" "$2" "$(row a/ours 3)" "$(row a/bound 1)" >bench.json
}
results 'bound a' 3
expect "a promise that is kept" "| a | 3 | 1 | 3 (at most 3) |  |  |" "$("$root/scripts/bench_table.py" bench.json | grep '^| a ')"
results 'bound a' 2.9
expect "a promise that is not kept" "a does not keep its promise
status 1" \
    "$("$root/scripts/bench_table.py" bench.json 2>&1 >/dev/null; echo "status $?")"
results 'bound a' 2.4
expect "a promise that a trial may miss" "0" "$("$root/scripts/bench_table.py" --trial bench.json >/dev/null; echo $?)"
results 'bound a' 2.2
expect "a promise that a trial misses too" "1" "$("$root/scripts/bench_table.py" --trial bench.json >/dev/null 2>&1; echo $?)"
results 'most b' 1
expect "a promise of a row left out" "0" "$("$root/scripts/bench_table.py" bench.json >/dev/null; echo $?)"
expect "a promise of a row that is none" "b is promised and was not measured
status 1" \
    "$("$root/scripts/bench_table.py" --whole bench.json 2>&1 >/dev/null; echo "status $?")"
rm bench.json

# completions COMMAND WORD...: what is offered for the last word.
completions() (
    command=$1
    # shellcheck source=/dev/null
    source "$root/packaging/completions/$(basename "$command")"
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMPREPLY=()
    "$(complete -p "$(basename "$command")" | sed 's/.*-F \([^ ]*\).*/\1/')"
    printf '%s\n' "${COMPREPLY[@]}" | sort | paste -sd' '
)
mkdir folder && touch a.json b.txt 'with blank.json'
board=$root/board/zarn-board
expect "zarn completes configurations" "a.json folder with blank.json" "$(completions zarn '')"
expect "zarn takes one argument" "" "$(completions zarn a.json '')"
expect "zarn-board completes scenarios" "throttled_cpu" "$(completions "$board" --scenario thr)"
expect "zarn-board completes options" "--scenario --seed" "$(completions "$board" --s)"
expect "zarn-board completes folders" "folder" "$(completions "$board" --opt-usr '')"
expect "zarn-board completes a plan's file" "b.txt" "$(completions "$board" --faults b)"
expect "zarn-board completes the command" "unshare" "$(completions "$board" --seed 1 -- unshar)"
expect "zarn-board completes the command's files" "a.json" "$(completions "$board" -- cat a)"
expect "zarn-board-server completes commands" "sched serve serve-once status" "$(completions zarn-board-server s)"
expect "zarn-board-server completes files" "b.txt" "$(completions zarn-board-server status b)"
expect "zarn-report completes runs" "folder" "$(completions zarn-report '')"
expect "zarn-report completes a page" "folder" "$(completions zarn-report folder -o '')"
expect "zarn-report completes options" "--help --version" "$(completions zarn-report --)"

[ "$failures" -gt 0 ] || echo "the scripts are in order"
[ "$failures" -eq 0 ]
