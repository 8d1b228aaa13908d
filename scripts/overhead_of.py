#!/usr/bin/env python3
"""Runs zarn on a configuration and prints what it cost: overhead_of.py ZARN CONFIGURATION."""
import os
import sys

TICKS = os.sysconf("SC_CLK_TCK")


def tree_bytes(root):
    return sum(os.path.getsize(os.path.join(folder, name)) for folder, _, names in os.walk(root) for name in names)


def main():
    pid = os.posix_spawn(sys.argv[1], sys.argv[1:], os.environ,
                         file_actions=[(os.POSIX_SPAWN_OPEN, 1, os.devnull, os.O_WRONLY, 0)])
    # A process that has ended but is not waited for still has its own times apart from its children's.
    os.waitid(os.P_PID, pid, os.WEXITED | os.WNOWAIT)
    with open(f"/proc/{pid}/stat") as stat:
        fields = stat.read().rpartition(")")[2].split()
    own = (int(fields[11]) + int(fields[12])) / TICKS
    children = (int(fields[13]) + int(fields[14])) / TICKS
    _, status, usage = os.wait4(pid, 0)
    print(f"own CPU time       {own:8.2f} s")
    print(f"CPU time of tools  {children:8.2f} s")
    print(f"largest memory     {usage.ru_maxrss / 1024:8.1f} MiB (of zarn or a tool)")
    print(f"bytes written      {tree_bytes('/opt/usr/mnt') / 1e6:8.2f} MB")
    return os.waitstatus_to_exitcode(status)


sys.exit(main())
