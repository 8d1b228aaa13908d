#!/usr/bin/env python3
"""Runs zarn on a configuration and prints what it cost, as a table: overhead_of.py ZARN CONFIGURATION SHARES WHAT [--workload].

SHARES divides the CPU time in the table's second row, and WHAT names such a share: a process and pass, a second measured. With
--workload something is at work before, meanwhile and afterwards, and a row tells how much longer the same work takes meanwhile."""
import os
import statistics
import sys
import time

TICKS = os.sysconf("SC_CLK_TCK")
WORK = 400000  # some hundredths of a second
ALONE_SECONDS = 3


def tree_bytes(root):
    return sum(os.path.getsize(os.path.join(folder, name)) for folder, _, names in os.walk(root) for name in names)


def peak_kib(pid):
    """The largest resident memory of a process so far; 0 when it has ended."""
    with open(f"/proc/{pid}/status") as status:
        return next((int(line.split()[1]) for line in status if line.startswith("VmHWM:")), 0)


def round_of_work():
    """Seconds that a piece of work takes, always the same one."""
    begun = time.perf_counter()
    sum(i * i for i in range(WORK))
    return time.perf_counter() - begun


def work_alone():
    """Seconds of rounds that nothing is measured beside."""
    end = time.perf_counter() + ALONE_SECONDS
    rounds = []
    while time.perf_counter() < end:
        rounds.append(round_of_work())
    return rounds


def main():
    program, configuration, shares, what = sys.argv[1:5]
    works = sys.argv[5:] == ["--workload"]
    alone = work_alone() if works else []
    pid = os.posix_spawn(program, [program, configuration], os.environ,
                         file_actions=[(os.POSIX_SPAWN_OPEN, stream, os.devnull, os.O_WRONLY, 0) for stream in (1, 2)])
    own_peak = 0
    beside = []
    # A process that has ended but is not waited for still has its own times apart from its children's.
    while os.waitid(os.P_PID, pid, os.WEXITED | os.WNOWAIT | os.WNOHANG) is None:
        own_peak = max(own_peak, peak_kib(pid))
        if works:
            beside.append(round_of_work())
        else:
            time.sleep(0.1)
    with open(f"/proc/{pid}/stat") as stat:
        fields = stat.read().rpartition(")")[2].split()
    own = (int(fields[11]) + int(fields[12])) / TICKS
    children = (int(fields[13]) + int(fields[14])) / TICKS
    _, status, usage = os.wait4(pid, 0)
    tools_peak = f"{usage.ru_maxrss / 1024:.1f}" if usage.ru_maxrss > own_peak else "less"
    print("| | zarn | its tools |")
    print("|---|---|---|")
    print(f"| CPU time, s | {own:.2f} | {children:.2f} |")
    print(f"| CPU time for a {what}, ms | {1000 * own / int(shares):.3f} | {1000 * children / int(shares):.3f} |")
    print(f"| largest memory, MiB | {own_peak / 1024:.1f} | {tools_peak} |")
    print(f"| left in the run directory, MB | {tree_bytes('/opt/usr/mnt') / 1e6:.2f} | |")
    if works:
        alone += work_alone()
        print(f"| other work takes, times as long | {statistics.median(beside) / statistics.median(alone):.3f} | |")
    return os.waitstatus_to_exitcode(status)


sys.exit(main())
