#!/usr/bin/env python3
"""Times programs outside and on the virtual board, in turns: board_speed.py ROUNDS LAUNCHER.

Prints a Markdown table of the shortest times, which other work on the machine disturbs least, and their ratios. Run with "inside", it is the part on the board: it reads
lines with a number and answers with the seconds that this program took."""
import os
import shutil
import subprocess
import sys
import time

# Name, command, the largest ratio that is promised for the namespace.
PROGRAMS = (
    ("ps -e", ["ps", "-e"], 1.5),
    ("three short programs in a pipe", ["sh", "-c", "cat /proc/uptime | head -n 1 | wc -l"], 1.5),
    ("sh -c true", ["sh", "-c", "true"], 1.2),
    ("cat of a board's file", ["cat", "FILE"], 1.2),
    ("top -b -n1", ["top", "-b", "-n1"], 1.1),
    ("perf bench sched pipe -l 20000", ["perf", "bench", "sched", "pipe", "-l", "20000"], 1.1),
)
BOARD_FILE = "/proc/umap/vpc"
READ_EVENTS = """node=/sys/devices/virtual/event_sched/event_sched/node
for second in 1 2 3 4 5 6 7 8 9 10 11; do cat $node/*; sleep 1; done"""


def seconds_of(command):
    start = time.perf_counter()
    subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
    return time.perf_counter() - start


def serve(file):
    for line in sys.stdin:
        command = [file if word == "FILE" else word for word in PROGRAMS[int(line)][1]]
        print(seconds_of(command), flush=True)


class Side:
    """A process in which programs are timed."""

    def __init__(self, launcher, file):
        self.process = subprocess.Popen([*launcher, sys.executable, os.path.abspath(__file__), "inside", file],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def time(self, index):
        self.process.stdin.write(f"{index}\n")
        self.process.stdin.flush()
        return float(self.process.stdout.readline())

    def end(self):
        self.process.stdin.close()
        self.process.wait()


def cpu_seconds(process):
    with open(f"/proc/{process}/stat") as file:
        fields = file.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def server_share(command):
    """The share of a core that the server of a board takes, over nine seconds in which a command of eleven runs."""
    board = subprocess.Popen(command, stdout=subprocess.DEVNULL)
    time.sleep(1)
    server = subprocess.run(["pgrep", "-P", str(board.pid), "zarn-board-serv"], capture_output=True, text=True, check=True)
    before = cpu_seconds(server.stdout.strip())
    time.sleep(9)
    share = (cpu_seconds(server.stdout.strip()) - before) / 9
    board.wait()
    return share


def main(rounds, launcher):
    ways = {"namespace": rounds, "proot": max(3, rounds // 10)}
    sides = {way: Side([launcher, "--paths", way, "--"], BOARD_FILE) for way in ways}
    outside_file = os.path.join(os.path.dirname(launcher), "../share/zarn/board/files" + BOARD_FILE)
    sides["outside"] = Side([], outside_file)
    print("| program | outside, ms | namespace, ms | ratio | proot, ms | ratio |\n|---|---|---|---|---|---|")
    broken = 0
    for index, (name, command, limit) in enumerate(PROGRAMS):
        if not shutil.which(command[0]):
            print(f"| {name} | not installed | | | | |")
            continue
        times = {side: [] for side in sides}
        for turn in range(rounds):
            for side, process in sides.items():
                if turn < ways.get(side, rounds):
                    times[side].append(process.time(index))
        outside, inside, traced = (min(times[side]) * 1000 for side in ("outside", "namespace", "proot"))
        broken += inside / outside > limit
        print(f"| {name} | {outside:.2f} | {inside:.2f} | {inside / outside:.2f} (at most {limit}) | {traced:.2f} "
              f"| {traced / outside:.2f} |", flush=True)
    for side in sides.values():
        side.end()
    for way, turns in ways.items():
        whole = min([seconds_of([launcher, "--paths", way, "--", "true"]) for _ in range(turns)]) * 1000
        limit = " (at most 150)" if way == "namespace" else ""
        broken += way == "namespace" and whole > 150
        print(f"\nStart and end of a board by {way}: {whole:.0f} ms{limit}.")
    share = server_share([launcher, "--", "sleep", "11"])
    broken += share > 0.01
    print(f"\nThe server's share of a core: {share * 100:.2f} % (at most 1).")
    share = server_share([launcher, "--scenario", "device_trouble", "--", "sh", "-c", READ_EVENTS])
    broken += share > 0.05
    print(f"\nThe same with 2000 events of the AI CPUs per second, all attributes read once in a second: {share * 100:.2f} % (at most 5).")
    return 1 if broken else 0


if sys.argv[1] == "inside":
    serve(sys.argv[2])
else:
    sys.exit(main(int(sys.argv[1]), sys.argv[2]))
