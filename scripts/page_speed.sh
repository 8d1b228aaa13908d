#!/usr/bin/env bash
# How fast the report's page is in a headless chromium: the time to its first picture and that of a step of the zoom, with a
# million points in a chart. Fails where a limit is not kept. The table goes into docs/performance.md, with the time of the
# demo's report, which is made if it is not there; with --trial the table is only printed.
#
# usage: scripts/page_speed.sh [--trial]
source "$(dirname "$0")/lib.sh"
take_arguments 1 --trial "$@"

need_packages scripts/packages.txt scripts/packages-browser.txt
build_preset release zarn_report_page_tests
mkdir -p build/bench
page=build/release/report/page reports=()
if [ -z "${1:-}" ]; then
    [ -e build/demo/report.html ] || scripts/demo.sh
    reports=(build/demo/report.html)
fi
status=0
{
    echo "$(machine); $(chromium --version 2>/dev/null | sed 's/ built.*//')."
    echo
    node "$page/stage/built/speed.mjs" "$page/page_template.html" "${reports[@]}"
} | tee build/bench/page_speed.md || status=$?
[ -n "${1:-}" ] || scripts/put_section.py docs/performance.md page <build/bench/page_speed.md
exit "$status"
