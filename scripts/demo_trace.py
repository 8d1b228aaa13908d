#!/usr/bin/env python3
"""Says what a trace of the board's workload found beside the workload's own account: demo_trace.py RUN ACCOUNT, a run
directory and a file. The account is empty where the board's strace could not trace."""
import glob
import json
import sys


def main():
    run, account = sys.argv[1:]
    with open(glob.glob(f"{run}/json/soc_sys_call_info_1_*.data")[0]) as file:
        rows = {row["syscall-name"]: row for row in json.load(file)["content"]["counted_work"]}
    with open(account) as file:
        made = [line.split() for line in file.readlines()[1:]]
    if not made:
        print("System calls: nothing can be traced on this board; log/ has the reason.")
        return
    print("System calls of a program that counts them itself; its own figures behind those of the trace:")
    for name, calls, errors in made:
        row = rows.get(name, {"calls": "0", "errors": "0"})
        listed = len(row.get("everyCall", []))
        print(f"  {name:16}{row['calls']:>7} calls, {listed:>6} of them listed, {row['errors']:>5} failed   ({calls}, {errors})")


main()
