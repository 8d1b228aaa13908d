#!/usr/bin/env python3
"""Says in words what a tour found of two boards on which something happens for a moment, beside what the boards know of it:
demo_moments.py BURST_RUN BURST_BOARD SPIKE_RUN SPIKE_BOARD, run directories and the folders of their boards. On the first one memory,
cores and scheduler burst together, and one table has all of them; on the second one cores have spikes that samples of seconds do not
show."""
import csv
import datetime
import glob
import json
import os
import re
import sys
import time

sys.dont_write_bytecode = True
from demo_files import printed_by, the_file  # noqa: E402

ROOT = os.path.join(os.path.dirname(__file__), "..")


class Board:
    """What a board knows of its bursts; moments are seconds of the machine's clock."""

    def __init__(self, folder):
        self.server = os.path.join(ROOT, "build", "release", "bin", "zarn-board-server")
        self.state = os.path.join(folder, "state")
        status = printed_by(self.server, "status", self.state)
        # Uptimes begin at another moment of the clock whenever somebody sets it.
        self.zero = float(re.search(r"time 0 is at ([\d.]+) s", status).group(1)) + time.time() - time.monotonic()

    def bursts(self, begin, end):
        """Tuples of begin, end, and whose, in a time."""
        span = [str(max(0, round((moment - self.zero) * 1e6))) for moment in (begin, end)]
        for row in csv.DictReader(printed_by(self.server, "bursts", self.state, *span).splitlines()):
            yield self.zero + int(row["begin_us"]) / 1e6, self.zero + int(row["end_us"]) / 1e6, row["name"]


def moment_of(digits):
    """Seconds of the clock of a time of 17 digits, or 20."""
    return datetime.datetime.strptime(digits[:20].ljust(20, "0"), "%Y%m%d%H%M%S%f").timestamp()


def clock(moment):
    return datetime.datetime.fromtimestamp(moment).strftime("%H:%M:%S.%f")[:-3]


def table_of(path):
    """The rows of a table as dictionaries."""
    with open(path) as file:
        return list(csv.DictReader(file))


def ddr_rows(table):
    return [row for row in table if row["ddr_total"]]


def masters_of(row):
    """The three masters with the most bandwidth, and that of all."""
    shares = {key.removeprefix("ddr_"): float(value) for key, value in row.items()
              if key and key.startswith("ddr_") and key != "ddr_total" and value}
    first = sorted(shares.items(), key=lambda item: -item[1])[:3]
    return f"DDR {float(row['ddr_total']):.1f} % of its peak ({', '.join(f'{name} {share:.1f}' for name, share in first)})"


class Runs:
    """The runs of tasks in a table. Their stamps are sums of digits: the moment of booting and the microseconds since then."""

    def __init__(self, table, run):
        with open(the_file(f"{run}/json/soc_schedAna_global_timehist_ana_1_*.data")) as file:
            start = json.load(file)["content"][0]["systemStartUpTime"]
        stamp = f"{start[:8]} {start[8:10]}:{start[10:12]}:{start[12:]}"
        booted = int(printed_by("date", "-d", stamp, "+%s"))
        self.runs = []
        for row in table:
            if row["sched_global_task_name"]:
                end = booted + (int(row["happen_time"][1:]) - int(start + "000000")) / 1e6
                self.runs.append((float(row["sched_global_run_time"]), end, row["sched_global_task_name"]))

    def longest(self, begin, end):
        """Length in ms, end and task of the longest run that ended in a time; an idle core is no task."""
        return max(run for run in self.runs if begin < run[1] <= end and not run[2].startswith("<idle>"))


def burst_sentences(run, board):
    table = table_of(the_file(f"{run}/csv/correlation/soc_correlation_ana_info_*.csv"))
    samples = ddr_rows(table)
    top = max(range(len(samples)), key=lambda i: (samples[i].get("peak_ddr_total") == "1", float(samples[i]["ddr_total"])))
    cpu = [(moment_of(row["happen_time"][1:]), float(row["cpu_total"])) for row in table if row["cpu_total"]]
    yield "Correlation: memory, cores and scheduler around the DDR's peak"
    for row in samples[max(0, top - 1):top + 2]:
        at = moment_of(row["happen_time"][1:])
        load = next((f"{share:.1f}" for moment, share in cpu if moment >= at), "-")
        yield f"  {clock(at)} {masters_of(row)}, cpu_total {load} %{' <- peak' if row is samples[top] else ''}"
    at = moment_of(samples[top]["happen_time"][1:])
    # Stamps of tasks are up to a second early, since the moment of booting has whole seconds.
    ran, end, task = Runs(table, run).longest(at - 1, at)
    yield f"  {task} ran then, for {ran:.1f} ms until {clock(end)} by a stamp that is up to a second early."
    told = list(board.bursts(at - 0.1, at))
    if told:
        names = [name for _, _, name in told]
        yield f"  The board: {', '.join(names[:-1])} and {names[-1]} burst from {clock(told[0][0])} to {clock(told[0][1])}."


class Recording:
    """A recording of busy cores, by its text."""

    def __init__(self, path):
        self.cores, stamp = re.search(r"_CPU_([\d,]+)_(\d{17})\.unfold$", path).groups()
        self.cores = [int(core) for core in self.cores.split(",")]
        self.moment = moment_of(stamp)
        with open(path) as file:
            samples = file.read().split("\n\n")
        # Behind its head a sample has a line for each function, the innermost first.
        self.functions = [lines[1].split()[1].split("+")[0] for lines in (sample.strip().split("\n") for sample in samples)
                          if len(lines) > 1]


def spike_sentences(run, board, scenario):
    with open(os.path.join(ROOT, "board", "scenarios", f"{scenario}.json")) as file:
        core_of = {process["name"]: process["affinity"][0] for process in json.load(file)["sched"]["processes"]}
    loads = table_of(the_file(f"{run}/raw_data/cpu/soc_cpu_ana_loading_rawdata_*.csv"))
    first, last = (moment_of(loads[i]["happen_time"][1:]) for i in (0, -1))
    spikes = list(board.bursts(first, last))
    recordings = [Recording(path) for path in sorted(glob.glob(f"{run}/raw_data/cpu_peak/*.unfold"))]
    caught = [spike for spike in spikes
              if any(core_of[spike[2]] in recording.cores and spike[0] <= recording.moment <= spike[1] + 0.1
                     for recording in recordings)]
    functions = [function for recording in recordings for function in recording.functions]
    top = max(sorted(set(functions)), key=functions.count, default=None)
    most = max(float(row[f"Cpu{core}"]) for row in loads[1:] for core in {core_of[name] for _, _, name in spikes})
    length = 1000 * (spikes[0][1] - spikes[0][0])
    yield (f"Spikes: in {last - first:.0f} s the board had {len(spikes)} of {length:.0f} ms; {len(caught)} of them were caught, "
           f"in {len(recordings)} recordings.")
    yield f"  A sample each 5 s shows these cores at {most:.1f} % at most;"
    if top:
        share = 100 * functions.count(top) / len(functions)
        yield f"  on top of the recorded profile is {top}, with {share:.1f} % of {len(functions)} samples."


def main():
    burst_run, burst_board, spike_run, spike_board = sys.argv[1:]
    print(*burst_sentences(burst_run, Board(burst_board)), sep="\n")
    print(*spike_sentences(spike_run, Board(spike_board), "short_spike"), sep="\n")


main()
