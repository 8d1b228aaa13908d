#!/usr/bin/env python3
"""Makes one table of the benchmarks' JSON results: median CPU time, and ratios where a name has several forms.

A name is <what>/<form>, the form being ours, naive (the plain way of doing it) or bound (what cannot be avoided).
"""
import json
import sys

MILLISECONDS = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}


def medians(paths):
    """(what, form) -> milliseconds of the median repetition; real time where the benchmark measures that."""
    found = {}
    for path in paths:
        with open(path) as file:
            text = file.read()
        for row in json.loads(text)["benchmarks"] if text else []:
            if row.get("aggregate_name") != "median":
                continue
            name = row["run_name"].split("/iterations:")[0]
            real = name.endswith("/real_time")
            what, _, form = name.removesuffix("/real_time").removesuffix("/process_time").rpartition("/")
            time = row["real_time" if real else "cpu_time"] * MILLISECONDS[row["time_unit"]]
            found[(what, form)] = time
    return found


def ratio(a, b):
    return f"{a / b:.2f}" if a is not None and b else ""


def main():
    found = medians(sys.argv[1:])
    print("| what | ours, ms | bound, ms | ours / bound | plain form, ms | plain form / ours |")
    print("|---|---|---|---|---|---|")
    for what in sorted({what for what, _ in found}):
        forms = {form: time for (name, form), time in found.items() if name == what}
        ours, bound, naive = forms.get("ours"), forms.get("bound"), forms.get("naive")
        for form in sorted(set(forms) - {"ours", "bound", "naive"}):
            print(f"| {what}/{form} | {forms[form]:.4g} | | | | |")
        if ours is not None:
            cells = [f"{ours:.4g}", f"{bound:.4g}" if bound else "", ratio(ours, bound),
                     f"{naive:.4g}" if naive else "", ratio(naive, ours)]
            print(f"| {what} | " + " | ".join(cells) + " |")


main()
