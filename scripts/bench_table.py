#!/usr/bin/env python3
"""Makes one table of the benchmarks' JSON results: median CPU time, and ratios where a name has several forms.

A name is <what>/<form>, the form being ours, naive (the plain way of doing it) or bound (what cannot be avoided).
"""
import json
import re
import sys

MILLISECONDS = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}

# What each ratio may be: at most so many times the bound, at least so many times as fast as the plain form.
AT_MOST_BOUND = {"CpuAnalyzer": 6, "CpuCollector/collect": 3, "CpuCollector/documents": 6, "CpuComparator": 8,
                 "DdrAnalyzer": 3, "DdrComparator": 25, "Documents": 6}
AT_LEAST_PLAIN = {"CpuAnalyzer": 25}
# Milliseconds and other numbers that hold for a row or a counter.
AT_MOST = {"startup": 15, "CpuAnalyzer/memory peak_per_log": 3,
           **{f"call/{name}": 0.02 for name in ("device_count", "get_partition", "set_partition", "ai_usage_32_cores",
                                                "image_usage", "register_and_unregister")}}
STANDARD = {"name", "run_name", "run_type", "repetitions", "repetition_index", "threads", "aggregate_name", "iterations",
            "aggregate_unit", "family_index", "per_family_instance_index", "real_time", "cpu_time", "time_unit",
            "bytes_per_second", "items_per_second", "label"}


def read(paths):
    """Milliseconds by (what, form), the median repetition, real time where the benchmark measures that; and the
    counters by what/form and name."""
    times, counters = {}, {}
    for path in paths:
        with open(path) as file:
            text = file.read()
        for row in json.loads(text)["benchmarks"] if text else []:
            if row.get("aggregate_name") != "median":
                continue
            name = re.sub(r"/iterations:\d+", "", row["run_name"])
            real = name.endswith(("/real_time", "/manual_time"))
            name = re.sub("/(real|manual|process)_time", "", name)
            what, _, form = name.rpartition("/")
            times[(what, form)] = row["real_time" if real else "cpu_time"] * MILLISECONDS[row["time_unit"]]
            for counter in sorted(set(row) - STANDARD):
                counters[f"{name} {counter}"] = row[counter]
    return times, counters


def ratio(a, b):
    return a / b if a is not None and b else None


def judged(value, most=None, least=None):
    """A number as text, with its limit if it has one."""
    if value is None:
        return ""
    text = f"{value:.4g}"
    if most is not None:
        text += f" (at most {most}{'' if value <= most else ': MISSED'})"
    if least is not None:
        text += f" (at least {least}{'' if value >= least else ': MISSED'})"
    return text


def main():
    times, counters = read(sys.argv[1:])
    print("| what | ours, ms | bound, ms | ours / bound | plain form, ms | plain form / ours |")
    print("|---|---|---|---|---|---|")
    for what in sorted({what for what, _ in times}):
        forms = {form: time for (name, form), time in times.items() if name == what}
        ours, bound, naive = forms.get("ours"), forms.get("bound"), forms.get("naive")
        if ours is not None:
            cells = [judged(ours, AT_MOST.get(what)), judged(bound), judged(ratio(ours, bound), AT_MOST_BOUND.get(what)),
                     judged(naive), judged(ratio(naive, ours), least=AT_LEAST_PLAIN.get(what))]
            print(f"| {what} | " + " | ".join(cells) + " |")
        for form in sorted(set(forms) - {"ours", "bound", "naive"}):
            name = f"{what}/{form}"
            print(f"| {name} | {judged(forms[form], AT_MOST.get(name))} | | | | |")
    print()
    for name, value in sorted(counters.items()):
        print(f"- {name}: {judged(value, AT_MOST.get(name))}")


main()
