#!/usr/bin/env python3
"""Runs zarn on a configuration and prints what it cost, as a table: overhead_of.py ZARN CONFIGURATION SHARES.

SHARES, processes times passes, divides the CPU time in the table's second row; 0: it has none."""
import os
import sys
import time

TICKS = os.sysconf("SC_CLK_TCK")


def tree_bytes(root):
    return sum(os.path.getsize(os.path.join(folder, name)) for folder, _, names in os.walk(root) for name in names)


def peak_kib(pid):
    """The largest resident memory of a process so far; 0 when it has ended."""
    with open(f"/proc/{pid}/status") as status:
        return next((int(line.split()[1]) for line in status if line.startswith("VmHWM:")), 0)


def main():
    program, configuration, shares = sys.argv[1:]
    pid = os.posix_spawn(program, [program, configuration], os.environ,
                         file_actions=[(os.POSIX_SPAWN_OPEN, stream, os.devnull, os.O_WRONLY, 0) for stream in (1, 2)])
    own_peak = 0
    # A process that has ended but is not waited for still has its own times apart from its children's.
    while os.waitid(os.P_PID, pid, os.WEXITED | os.WNOWAIT | os.WNOHANG) is None:
        own_peak = max(own_peak, peak_kib(pid))
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
    if int(shares):
        print(f"| CPU time for a process and pass, ms | {1000 * own / int(shares):.3f} | {1000 * children / int(shares):.3f} |")
    print(f"| largest memory, MiB | {own_peak / 1024:.1f} | {tools_peak} |")
    print(f"| left in the run directory, MB | {tree_bytes('/opt/usr/mnt') / 1e6:.2f} | |")
    return os.waitstatus_to_exitcode(status)


sys.exit(main())
