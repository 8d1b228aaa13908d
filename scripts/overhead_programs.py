#!/usr/bin/env python3
"""What profiles of single programs cost, a table for each: overhead_programs.py ZARN SECONDS, on the virtual board, in a folder to
write to. The program is the board's counted_work, whose own account tells how much longer the same work takes meanwhile."""
import json
import os
import re
import shutil
import subprocess
import sys
import time

TICKS = os.sysconf("SC_CLK_TCK")
RUNS = "/opt/usr/mnt"
MOST_ROUNDS = {"loops": 100000, "heap": 2000}  # so that the work ends even where nobody interrupts it
# A collector, the name of its program, the mode of the work.
CASES = (("CallGrindCollector", "counted_work", "loops"), ("CacheGrindCollector", "counted_loops", "loops"),
         ("MassifCollector", "counted_loops", "loops"), ("MassifCollector", "planned_heap", "heap"))


def command_of(mode):
    return f"counted_work {mode} {MOST_ROUNDS[mode]}"


def ms_of_a_round(account):
    """The processor's time for a round of the work, by its account."""
    rounds = re.search(r"^rounds (\d+) ms ([\d.]+)", account, re.M)
    if rounds:
        return float(rounds.group(2)) / int(rounds.group(1))
    loops = re.findall(r"^spin_(\w+) instructions (\d+) \S+ ms ([\d.]+)", account, re.M)
    return sum(float(ms) for _, _, ms in loops) / (int(dict((name, count) for name, count, _ in loops)["ten"]) / 100000)


def begin_work(mode):
    """The work without a collector, once it has begun."""
    work = subprocess.Popen(command_of(mode).split(), stdout=subprocess.PIPE, text=True)
    work.stdout.readline()
    return work


def end_work(work):
    work.send_signal(2)
    return work.communicate()[0]


def alone(mode, seconds):
    work = begin_work(mode)
    time.sleep(seconds)
    return ms_of_a_round(end_work(work))


def configure(collector, program, mode, seconds):
    lists = {"parallelCollectMode": [], "collectMode": [collector], "analyzeMode": [], "optimizeMode": [],
             "compareMode": {"comparatorName": [], "versionMap": {}}}
    with open("/opt/usr/config.json", "w") as file:
        json.dump({"ManagerParam": lists, collector: {"process": [program], "duration": seconds},
                   "ProcessRunSetting": {program: {"bin_path": command_of(mode), "env_variables": {}}}}, file)


def peak_kib(pid):
    with open(f"/proc/{pid}/status") as status:
        return next((int(line.split()[1]) for line in status if line.startswith("VmHWM:")), 0)


def run(zarn):
    """CPU seconds of zarn and of its tools, its largest memory and that of the largest tool in KiB."""
    open("asked", "w").close()
    with open("out", "w") as out, open("err", "w") as err:
        pid = os.posix_spawn(zarn, [zarn, "/opt/usr/config.json"], os.environ,
                             file_actions=[(os.POSIX_SPAWN_DUP2, out.fileno(), 1), (os.POSIX_SPAWN_DUP2, err.fileno(), 2)])
    peak = 0
    # A process that has ended but is not waited for still has its own times apart from its children's.
    while os.waitid(os.P_PID, pid, os.WEXITED | os.WNOWAIT | os.WNOHANG) is None:
        peak = max(peak, peak_kib(pid))
        time.sleep(0.1)
    with open(f"/proc/{pid}/stat") as stat:
        fields = [int(field) / TICKS for field in stat.read().rpartition(")")[2].split()[11:15]]
    usage = os.wait4(pid, 0)[2]
    return fields[0] + fields[1], fields[2] + fields[3], peak, usage.ru_maxrss


def bytes_left():
    return sum(os.path.getsize(os.path.join(folder, name)) for folder, _, names in os.walk(RUNS) for name in names)


def measure(zarn, seconds, collector, program, mode):
    plain = alone(mode, seconds)
    configure(collector, program, mode, seconds)
    before = bytes_left()
    beside = begin_work(mode) if collector == "CallGrindCollector" else None
    own, tools, own_peak, tools_peak = run(zarn)
    account = end_work(beside) if beside else open("out").read()
    print(f"\n{collector} on the board, seconds: {seconds}, program: counted_work {mode}\n")
    print("| | zarn | its tools |")
    print("|---|---|---|")
    print(f"| CPU time, s | {own:.2f} | {tools:.2f} |")
    print(f"| largest memory, MiB | {own_peak / 1024:.1f} | {tools_peak / 1024:.1f} |")
    print(f"| left in the run directory, MB | {(bytes_left() - before) / 1e6:.2f} | |")
    print(f"| the program's work takes, times as long | | {ms_of_a_round(account) / plain:.2f} |", flush=True)


def main():
    zarn, seconds = sys.argv[1], int(sys.argv[2])
    # What is interrupted before it has begun has no account.
    os.mkdir("tools")
    shutil.copy(os.path.join(os.path.dirname(__file__), "../tests/data/patient_pidof"), "tools/pidof")
    os.environ["PATH"] = os.path.abspath("tools") + ":" + os.environ["PATH"]
    for case in CASES:
        measure(zarn, seconds, *case)


main()
