#!/usr/bin/env python3
"""Says in words what a tour found, from the files that it left: demo_findings.py BASELINE COMPARISON SEARCH MEMORY PROFILE BENCH,
run directories. The baseline was collected untouched, the comparison sets it beside a throttled version under load; the memory's
comparison sets a version that leaks beside a healthy one, runs that lie beside it by their names, as do those of the devices. The profile's
comparison sets the functions of a program on a throttled board beside those on an untouched one; runs about the scheduler lie there, too.
The last one ran benchmarks."""
import csv
import datetime
import glob
import json
import os
import re
import subprocess
import sys

sys.dont_write_bytecode = True
from demo_files import the_file  # noqa: E402

ROOT = os.path.join(os.path.dirname(__file__), "..")


def rows_of(path):
    """The cells of a comparison table by the name of the row: one cell for each version."""
    with open(path) as file:
        return {row[0]: [cell for cell in row[1:] if cell] for row in csv.reader(file) if row}


def moved(before, after):
    """How a figure moved from one version to the other; what a single digit shows counts."""
    verb = "rose" if round(after, 1) > round(before, 1) else "fell" if round(after, 1) < round(before, 1) else "stayed"
    return f"{verb} at {before:.1f}" if verb == "stayed" else f"{verb} from {before:.1f} to {after:.1f}"


def busiest_process(baseline):
    """Command and mean load of the process that was on top of the baseline."""
    with open(the_file(f"{baseline}/json/soc_cpu_ana_global_*.data")) as file:
        for content in (json.loads(line)["content"] for line in file):
            for process in content.get("top10ProcInfo", {}).values():
                return process["procCommand"], float(process["meanUsage"])
    return None


def cpu_sentences(baseline, comparison):
    table = rows_of(f"{comparison}/csv/cpu/cpu_comparator_result.csv")
    user, idle, tasks = ([float(cell) for cell in table[f"{row}_avg"]] for row in ("cpu_us", "cpu_id", "tasks_total"))
    yield (f"CPU: with two busy loops beside it user time {moved(*user)} %, idle time {moved(*idle)} %, "
           f"with {tasks[0]:.0f} and {tasks[1]:.0f} tasks.")
    top = busiest_process(baseline)
    if top:
        yield f"The busiest process of the baseline was {top[0]}, with {top[1]:.1f} % of a core on average."


def ddr_sentences(comparison):
    table = rows_of(f"{comparison}/csv/ddr/soc_ddr_comp_info.csv")
    held = {row.removesuffix("_bwHigh(GB/s)"): bounds for row, bounds in table.items()
            if row.endswith("_bwHigh(GB/s)") and bounds[0] != bounds[1]}
    yield f"DDR: the traffic {moved(*map(float, table['total_mean(%)']))} % of the peak with {len(held)} masters held down:"
    for master, bounds in held.items():
        yield f"  {master}, {bounds[1]} GB/s at most instead of {bounds[0]}, {moved(*map(float, table[f'{master}_mean(%)']))} %."


def search_sentences(search):
    """The optimizer heads the rates with its best bounds by "benchmark", those before the search by "optimized"."""
    with open(the_file(f"{search}/raw_data/ddr/soc_ddr_opt_info_1_*.log")) as file:
        log = file.read()

    def rates(label):
        return {name: float(rate) for name, rate in re.findall(r"(\w+) : ([\d.]+),", re.search(f"{label} :(.*)", log).group(1))}

    before, after = rates("optimized"), rates("benchmark")
    if not after:
        yield f"Optimizer: none of {log.count('t-value  cpu')} trials raised the CPU's rate."
        return
    best = dict(re.findall(r"(\d+) : (\d+),", re.findall("best bwHigh setting:(.*)", log)[-1]))
    yield (f"Optimizer: the best of {log.count('t-value  cpu')} trials holds the CPU at {best['0']} GB/s, the image block at "
           f"{best['3']} and AI at {best['5']}. With it")
    for name, words in (("cpu", "the CPU's rate"), ("aic", "AI's"), ("imgp", "the image block's"), ("isp", "the camera's")):
        yield f"  {words} {moved(before[name], after[name])} a second{'.' if name == 'isp' else ','}"


def documents(run, table):
    """The documents of a table of a run."""
    with open(the_file(f"{run}/json/{table}_1_*.data")) as file:
        return [json.loads(line) for line in file]


def growth(samples):
    """KB a second from the first sample to the last, of pairs of a document's time and KB."""
    (begin, first), (end, last) = samples[0], samples[-1]
    seconds = (moment(end) - moment(begin)).total_seconds()
    return (last - first) / seconds


def moment(time):
    return datetime.datetime.strptime(time + "000", "%Y%m%d%H%M%S%f")


def uss_of(run, program):
    for document in documents(run, "soc_gea_process_mem_rawdata_info"):
        for row in document["content"][0]["process"]:
            if row["COMMAND"] == program:
                yield document["happenTime"], int(row["USS"].rstrip("K"))


def scenario_of(name):
    with open(os.path.join(ROOT, "board", "scenarios", f"{name}.json")) as file:
        return json.load(file)


def leaks_of(scenario):
    """The programs of a scenario that leak, with their rates in KB/s."""
    return {plan["name"]: plan["leak_kb_s"] for plan in scenario_of(scenario)["programs"] if plan.get("leak_kb_s")}


def memory_sentences(memory):
    used = rows_of(f"{memory}/csv/mem/mem_system_info.csv")["used"]
    uss = rows_of(f"{memory}/csv/mem/mem_process_info.csv")["USS"]
    leaking = os.path.join(os.path.dirname(memory), "leaking")
    system = [(document["happenTime"], int(document["content"][0]["memInfo"]["used"]))
              for document in documents(leaking, "soc_gea_memory_info")]
    ((program, rate),) = leaks_of("memory_leak").items()
    yield "Memory, KB: least, mean and greatest of the healthy version, and of the one that leaks"
    for name, row in (("used by the system", used), (f"USS of {program}", uss)):
        yield f"  {name + ':':20}" + "".join(f"{float(cell):11.0f}" for cell in row)
    yield (f"  In the latter {program} grew by {growth(list(uss_of(leaking, program))):.0f} KB a second, what the system uses by "
           f"{growth(system):.0f}; the scenario leaks {rate}.")


def ai_cores_of(run):
    """The mean of a run's samples of the AI cores, in percent."""
    paths = glob.glob(f"{run}/json/soc_ai_resource_usage_info_1_*.data")
    samples = [float(json.loads(open(path).read())["content"][0]["aicore"].split()[0]) for path in paths]
    return sum(samples) / len(samples)


def planned_ai_cores(scenario):
    """The percentage that a scenario plans: the load by the share of the demand that the bound leaves, over the phases."""
    ai = scenario["masters"]["aic_dat"]
    most = ai.get("qos", {}).get("bw_high", 51) * 1024
    length = sum(milliseconds for milliseconds, _ in ai["phases"])
    carried = sum(milliseconds * min(ai["demand"] * factor, most) for milliseconds, factor in ai["phases"])
    return scenario["load"]["aic"] * carried / length / ai["demand"]


def slow_threads_of(scenario):
    """The threads of a scenario that are slow, with their factors. Those of a program are counted through its groups."""
    counts = {}
    for group in scenario["event_scheduler"]["groups"]:
        for thread in group["threads"]:
            number = counts.get(group["program"], 0)
            counts[group["program"]] = number + 1
            if thread.get("slow", 1) != 1:
                yield f"{group['program']}_{number}", thread["slow"]


def holders_of(run):
    """The processes whose buffers timed out, with how many did."""
    counts = {}
    for path in glob.glob(f"{run}/json/soc_mbuffer_stat_info_*.data"):
        for buffer in json.loads(open(path).read())["content"]:
            counts[buffer["useName"]] = counts.get(buffer["useName"], 0) + 1
    return ", ".join(f"{name} ({count})" for name, count in sorted(counts.items())) or "nobody"


def device_sentences(runs):
    yield "Devices: a healthy board, and one with the AI block throttled, a slow thread and an owner that keeps buffers"
    for name in ("device_healthy", "device_trouble"):
        run, scenario = os.path.join(runs, name), scenario_of(name)
        with open(the_file(f"{run}/json/soc_aicpu_ana_1_soc_*.data")) as file:
            events = json.loads(file.readlines()[-1])["content"]
        first = [f"{row['pid:thread_name'].split(':')[1]} ({row['times']})" for row in events["topN_abnormal_thread_proc"][:2]]
        slow = [f"{thread} {factor} times as slow" for thread, factor in slow_threads_of(scenario)]
        keeps = [owner["program"] for owner in scenario["buffers"]["owners"] if owner.get("stuck_one_of")]
        yield f"  {name}: the AI cores' mean is {ai_cores_of(run):.1f} %; the scenario plans {planned_ai_cores(scenario):.1f};"
        yield (f"    the worst wait is {max(map(int, events['soc_sched_max_time']))} us, the threads that ran too long are "
               f"{' and '.join(first) or 'none'}; the scenario: {', '.join(slow) or 'none slow'};")
        yield f"    buffers are held too long by {holders_of(run)}; the scenario: {', '.join(keeps) or 'nobody'}."


def truth_of(scenario, program):
    """What the board knows of a program's metrics and functions: pairs of a name and its text."""
    path = os.path.join(ROOT, "board", "scenarios", f"{scenario}.json")
    server = os.path.join(ROOT, "build", "release", "bin", "zarn-board-server")
    told = subprocess.run([server, "truth", path, "1", "-p", program, "0", "4000"], check=True, capture_output=True, text=True)
    metrics = dict(line.split(": ", 1) for line in told.stdout.splitlines() if ": " in line)
    functions = dict(line.split()[1:] for line in told.stdout.splitlines() if ": " not in line)
    return metrics, functions


def profile_sentences(profile):
    program, runs = "frame_worker", os.path.dirname(profile)
    tops = ("Frontend_Bound", "Bad_Speculation", "Retiring", "Backend_Bound")
    yield f"The cycles of {program}, and what the board knows of them:"
    functions = {}
    for run, scenario in (("profile_baseline", "frame_worker"), ("profile_throttled", "frame_worker_throttled")):
        with open(the_file(f"{runs}/{run}/json/soc_topdown_process_info_process{program}_1_*.data")) as file:
            metrics = json.loads(file.read())["content"][0]
        known, functions[run] = truth_of(scenario, program)
        yield f"  {run}: <== {metrics['<==']}; the board: {known['<==']};"
        yield "    " + ", ".join(f"{name} {metrics[name]} ({known[name]})" for name in tops) + "."
    yield "  Functions, % of the baseline and how they moved on the throttled board; the board's own figures behind them:"
    with open(the_file(f"{profile}/csv/hotFun/hotfun_process_{program}_info.csv")) as file:
        for baseline, delta, _, symbol in list(csv.reader(file))[1:]:
            known = [float(functions[run][symbol].rstrip("%")) for run in ("profile_baseline", "profile_throttled")]
            yield f"    {symbol:16}{baseline:>8}{delta:>9}   ({known[0]:.2f} %, {known[1] - known[0]:+.2f})"


def milliseconds(text):
    return float(text.removesuffix(" ms"))


def seconds(text):
    return float(text.removesuffix(" s"))


def name_of(task):
    """The thread's name of "name:tid" or "name[tid]"."""
    return re.split(r"[:\[]", task)[0]


def worst_delay(run, pattern):
    """Name, length in ms and begin in s of the longest delay that an analysed latency report tells."""
    with open(the_file(f"{run}/json/{pattern}")) as file:
        rows = json.loads(file.read())["content"][0]["sortedList"]
    worst = max(rows, key=lambda row: milliseconds(row["maximumDelay"]))
    return name_of(worst["task"]), milliseconds(worst["maximumDelay"]), seconds(worst["maximumDelayAt"])


def ask_server(*words):
    server = os.path.join(ROOT, "build", "release", "bin", "zarn-board-server")
    return subprocess.run([server, *words], check=True, capture_output=True, text=True).stdout


def truth_of_tasks(board, begin, end):
    """What the board knows of its tasks by their names, in a time of its own in us."""
    table = ask_server("sched", os.path.join(board, "state"), str(begin), str(end))
    return {row["task"]: row for row in csv.DictReader(table.splitlines())}


def recorded_time(run):
    """The time that was recorded of all cores, which stands in the second line of the recording."""
    with open(the_file(f"{run}/raw_data/sched/sched_global_record_1_*.perf")) as file:
        return [int(word) for word in file.readlines()[1].split()[1:3]]


def board_time(board, moment):
    """A moment of the machine's uptime in us of the board's time."""
    zero = re.search(r"time 0 is at ([\d.]+) s", ask_server("status", os.path.join(board, "state"))).group(1)
    return round((moment - float(zero)) * 1e6)


class Turn:
    """A row of a thread's history: a wait, then a run; moments in s."""

    def __init__(self, row):
        wait, delay, ran = (milliseconds(row[key]) / 1000 for key in ("waitTime", "schedDelay", "runTime"))
        self.name, self.cpu, self.end = name_of(row["task"]), row["cpu"], seconds(row["time"])
        self.begin = self.end - ran
        self.woken = self.begin - delay
        self.asleep = self.woken - wait

    def ran_between(self, begin, end):
        return max(0, min(self.end, end) - max(self.begin, begin))


def turns_of(run, label):
    """The turns of all threads that the analysis followed."""
    for path in glob.glob(f"{run}/json/soc_schedAna_{label}_timehist_process_tid_*.data"):
        with open(path) as file:
            yield from map(Turn, json.loads(file.read())["content"])


def busiest(turns, begin, end):
    """Who ran most in a time, and for how many ms."""
    ran = {}
    for turn in turns:
        ran[turn.name] = ran.get(turn.name, 0) + 1000 * turn.ran_between(begin, end)
    return max(ran.items(), key=lambda item: item[1])


def starved_sentences(run, board):
    """Who waited longest for a core, and who had it."""
    task, length, begin = worst_delay(run, "soc_schedAna_global_latency_ana_1_*.data")
    end = begin + length / 1000
    turns = list(turns_of(run, "global"))
    known = truth_of_tasks(board, *recorded_time(run))[task]
    core = min((turn for turn in turns if turn.name == task), key=lambda turn: abs(turn.begin - end)).cpu
    busy, ran = busiest((turn for turn in turns if turn.cpu == core), begin, end)
    yield f"  starved_task: {task} waited {length:.3f} ms for a core, from {begin:.6f} s on"
    yield f"    (the board: {known['max_delay_ms']} ms, from {known['max_delay_start_s']} s on), while {busy} ran on it for {ran:.3f} ms."


def inversion_sentences(run, board, high):
    """For whom and because of whom a task waited, that of the highest priority."""
    turns = list(turns_of(run, "core1"))
    late = max((turn for turn in turns if turn.name == high), key=lambda turn: turn.woken - turn.asleep)
    others = [turn for turn in turns if turn.name != high]
    # The owner of the lock is who runs until the task wakes up.
    low = min(others, key=lambda turn: abs(turn.end - late.woken)).name
    back = [turn for turn in others if turn.name == low and late.asleep < turn.begin <= late.woken]
    away = sum(turn.begin - turn.asleep for turn in back)
    since = min(turn.asleep for turn in [late, *back])
    middle, ran = busiest((turn for turn in others if turn.name != low), since, late.woken)
    known = truth_of_tasks(board, board_time(board, since), board_time(board, late.woken) + 1)
    yield f"  priority_inversion: {high} waited {1000 * (late.woken - late.asleep):.3f} ms for a lock, until {late.woken:.6f} s;"
    yield f"    {low}, which held it, was without a core for {1000 * away:.3f} ms (the board: {known[low]['delay_ms']} ms),"
    yield f"    while {middle} ran for {ran:.3f} ms (the board: {known[middle]['runtime_ms']} ms)."
    yield f"    The scenario: {plan_of_locks('priority_inversion')}."


def sched_sentences(runs):
    demo = os.path.join(runs, "..", "..", "..")
    yield "Scheduler: who was kept from a core in a second of two boards, and by whom"
    yield from starved_sentences(os.path.join(runs, "starved"), os.path.join(demo, "starved"))
    yield from inversion_sentences(os.path.join(runs, "inversion"), os.path.join(demo, "inversion"), "control")


def plan_of_locks(scenario):
    """The tasks on a core with a lock, by their priorities, and who takes it."""
    processes = scenario_of(scenario)["sched"]["processes"]
    takers = [process for process in processes if process.get("locks")]
    core = [process for process in processes if process["affinity"] == takers[0]["affinity"]]
    ranks = ", ".join(f"{process['name']} {process['priority']}" for process in core)
    return f"priorities {ranks}; {' and '.join(process['name'] for process in takers)} take the lock {takers[0]['locks'][0]['name']}"


def bench_sentences(run):
    program = "frame_worker"

    def content(kind):
        with open(the_file(f"{run}/json/soc_{kind}_info_*.data")) as file:
            return json.load(file)["content"]

    speeds = content("mem_throughput")
    yield "What the benchmarks say of this machine, and the counters of the board:"
    yield (f"  400 processes have talked to each other in {content('cpu_bench')['messaging']['Total time']} s; the C library's "
           f"functions fill memory at {float(speeds['memory set speed(GB/sec)'].split()[0]):.1f} GB/s "
           f"and copy it at {float(speeds['memory copy speed(GB/sec)'].split()[0]):.1f};")
    counters = content("cpu_stat")[program]
    known, _ = truth_of("frame_worker", program)
    yield (f"  {program} retires {int(counters['instructions']) / int(counters['cycles']):.3f} instructions a cycle; the board: "
           f"{4 * float(known['Retiring']):.3f}.")


def main():
    baseline, comparison, search, memory, profile, bench = sys.argv[1:]
    for sentences in (cpu_sentences(baseline, comparison), ddr_sentences(comparison), search_sentences(search),
                      memory_sentences(memory), device_sentences(os.path.dirname(memory)), profile_sentences(profile),
                      sched_sentences(os.path.dirname(memory)), bench_sentences(bench)):
        print(*sentences, sep="\n")


main()
