#!/usr/bin/env bash
# Opens the page of zarn-report that scripts/demo.sh made in a headless chromium, from disk: it shows all that it holds,
# nothing complains, nothing is asked for. It may not be larger than 1.5 MB. Says what it skips where zarn-report was not built
# or where no chromium can be had.
#
# usage: scripts/demo_check.sh [FOLDER]     where it lies, seen from the checkout's; build/demo unless named
source "$(dirname "$0")/lib.sh"
folder=${1:-build/demo} most_bytes=1500000
take_arguments 1 '[^-].*' "$@"

need_packages scripts/packages.txt
build_preset release zarn-and-board
if [ ! -x build/release/bin/zarn-report ]; then
    echo "Skipped: the demo has no page, since zarn-report was not built, which takes node 18 or later and npm."
    exit 0
fi
report=$folder/report.html
[ -e "$report" ] || { echo "$folder holds no page; scripts/demo.sh makes what is to be checked" >&2; exit 1; }
need_packages scripts/packages-browser.txt || say "No chromium can be had: only the size is checked"
build_preset release zarn_report_page_tests

say "Checking $report"
status=0 bytes=$(stat -c %s "$report")
echo "It has $bytes bytes."
[ "$bytes" -le "$most_bytes" ] || { echo "$report is larger than $most_bytes bytes" >&2; status=1; }
opened=0 page=build/release/report/page
node "$page/stage/built/check_reports.mjs" "$page/page_template.html" "$report" || opened=$?
# With 77 it has said that there is no browser.
[ "$opened" -eq 0 ] || [ "$opened" -eq 77 ] || status=1
exit "$status"
