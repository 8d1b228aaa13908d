#!/usr/bin/env python3
"""Makes one table of the benchmarks' JSON results: bench_table.py [--whole|--trial] FILE... Median CPU time, and ratios where
a name has several forms.

A name is <what>/<form>, the form being ours, naive (the plain way of doing it) or bound (what cannot be avoided). The
status is 1 if a row does not keep what its benchmark promises; with --whole, if a promised row is missing too; with --trial,
if it misses by more than what so short a measurement may be wrong."""
import argparse
import json
import re
import sys

SLACK_OF_A_TRIAL = 1.3
MILLISECONDS = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}

STANDARD = {"name", "run_name", "run_type", "repetitions", "repetition_index", "threads", "aggregate_name", "iterations",
            "aggregate_unit", "family_index", "per_family_instance_index", "real_time", "cpu_time", "time_unit",
            "bytes_per_second", "items_per_second", "label"}


def read(paths):
    """Milliseconds by (what, form), the median repetition, real time where the benchmark measures that; the counters by
    what/form and name; and what the programs promise, limits by kind and row."""
    times, counters, promises = {}, {}, {}
    for path in paths:
        with open(path) as file:
            text = file.read()
        results = json.loads(text) if text else {"benchmarks": [], "context": {}}
        for key, limit in results["context"].items():
            if key.startswith("promise "):
                _, kind, row = key.split(" ", 2)
                promises[(kind, row)] = float(limit)
        for row in results["benchmarks"]:
            if row.get("aggregate_name") != "median":
                continue
            name = re.sub(r"/(iterations|repeats):\d+", "", row["run_name"])
            real = name.endswith(("/real_time", "/manual_time"))
            name = re.sub("/(real|manual|process)_time", "", name)
            what, _, form = name.rpartition("/")
            times[(what, form)] = row["real_time" if real else "cpu_time"] * MILLISECONDS[row["time_unit"]]
            for counter in sorted(set(row) - STANDARD):
                counters[f"{name} {counter}"] = row[counter]
    return times, counters, promises


def ratio(a, b):
    return a / b if a is not None and b else None


class Judge:
    """Makes numbers to texts, each with what was promised of it, and notes the promises that were not kept."""

    def __init__(self, promises, slack):
        self.promises, self.slack, self.missed, self.judged = promises, slack, [], set()

    def text(self, value, kind="", row=""):
        if value is None:
            return ""
        limit = self.promises.get((kind, row))
        if limit is None:
            return f"{value:.4g}"
        self.judged.add((kind, row))
        kept = value * self.slack >= limit if kind == "naive" else value <= limit * self.slack
        if not kept:
            self.missed.append(row)
        return f"{value:.4g} (at {'least' if kind == 'naive' else 'most'} {limit:g}{'' if kept else ': MISSED'})"


def main():
    parser = argparse.ArgumentParser()
    kind = parser.add_mutually_exclusive_group()
    kind.add_argument("--whole", action="store_true")
    kind.add_argument("--trial", action="store_true")
    parser.add_argument("files", nargs="+")
    options = parser.parse_args()
    times, counters, promises = read(options.files)
    judge = Judge(promises, SLACK_OF_A_TRIAL if options.trial else 1.0)
    print("| what | ours, ms | bound, ms | ours / bound | plain form, ms | plain form / ours |")
    print("|---|---|---|---|---|---|")
    for what in sorted({what for what, _ in times}):
        forms = {form: time for (name, form), time in times.items() if name == what}
        ours, bound, naive = forms.get("ours"), forms.get("bound"), forms.get("naive")
        if ours is not None:
            cells = [judge.text(ours, "most", what), judge.text(bound), judge.text(ratio(ours, bound), "bound", what),
                     judge.text(naive), judge.text(ratio(naive, ours), "naive", what)]
            print(f"| {what} | " + " | ".join(cells) + " |")
        for form in sorted(set(forms) - {"ours", "bound", "naive"}):
            name = f"{what}/{form}"
            print(f"| {name} | {judge.text(forms[form], 'most', name)} | | | | |")
    print()
    for name, value in sorted(counters.items()):
        print(f"- {name}: {judge.text(value, 'most', name)}")
    unmeasured = [row for kind, row in sorted(set(promises) - judge.judged)] if options.whole else []
    for row in judge.missed:
        print(f"{row} does not keep its promise", file=sys.stderr)
    for row in unmeasured:
        print(f"{row} is promised and was not measured", file=sys.stderr)
    return 1 if judge.missed or unmeasured else 0


sys.exit(main())
