#!/usr/bin/env python3
"""Says in words what a tour found of programs whose work is counted, beside their own accounts: demo_programs.py RUN LOG ACCOUNT,
a run directory, what zarn and the programs under valgrind printed meanwhile, and what the process that perf recorded printed."""
import re
import sys

sys.dont_write_bytecode = True
from demo_files import printed_by, the_file  # noqa: E402

NOT_BEGUN = "the program had not begun its work when it was interrupted."


def shares_told(account, words):
    """The shares in percent that the loops tell of themselves: those of instructions or of time."""
    return {name: float(share) for name, share in re.findall(rf"^(spin_\w+) .*\b{words} [\d.]+ ([\d.]+)%", account, re.M)}


def in_words(found, told):
    return ", ".join(f"{name} {found.get(name, 0.0):.1f} % (told: {share:.1f})" for name, share in told.items())


def cachegrind_sentence(run, log):
    told = shares_told(log, "instructions")
    if not told:
        return f"cachegrind, instructions: {NOT_BEGUN}"
    rows = printed_by("cg_annotate", the_file(f"{run}/raw_data/cachegrind/cachegrind_counted_loops_*.log"))
    found = {name: float(share) for share, name in re.findall(r"^ *[\d,]+ \( *([\d.]+)%\).*:(spin_\w+)", rows, re.M)}
    return f"cachegrind, instructions: {in_words(found, told)}."


def massif_sentence(run, log):
    told = re.search(r"^peak bytes (\d+)$", log, re.M)
    if not told:
        return f"massif, peak of the heap: {NOT_BEGUN}"
    rows = printed_by("ms_print", the_file(f"{run}/raw_data/massif/massif_planned_heap_*.log"))
    peak = re.search(r"\[.*?(\d+) \(peak\)", rows).group(1)
    heap = re.search(rf"^ *{peak} +[\d,]+ +[\d,]+ +([\d,]+) ", rows, re.M)
    holders = re.findall(r"^->([\d.]+)% .*: (hold_\w+) ", rows[heap.end():rows.index("--------", heap.end())], re.M)
    shares = ", ".join(f"{float(share):.0f} % of it held by {name}" for share, name in holders)
    return f"massif, peak of the heap: {heap.group(1)} bytes (told: {int(told.group(1)):,}), {shares}."


def perf_sentence(run, account):
    recording = the_file(f"{run}/raw_data/callgrind/callgrind_counted_work_*.data")
    rows = printed_by("perf", "report", "-i", recording, "--no-children", "--stdio", "-g", "none", "-F", "sample,sym")
    samples = {name: int(count) for count, name in re.findall(r"^ *(\d+) +\[\.\] (spin_\w+)", rows, re.M)}
    if not samples:
        return "perf, time: this machine's kernel lets this user sample nothing."
    found = {name: 100 * count / sum(samples.values()) for name, count in samples.items()}
    return f"perf, time: {in_words(found, shares_told(account, 'ms'))}."


def main():
    run = sys.argv[1]
    log, account = (open(path).read() for path in sys.argv[2:])
    print("Programs whose work is counted, beside their own accounts:")
    for sentence in (cachegrind_sentence(run, log), massif_sentence(run, log), perf_sentence(run, account)):
        print(f"  {sentence}")


main()
