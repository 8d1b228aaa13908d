#!/usr/bin/env python3
"""Lints sources, those anew that are not known to be clean: lint_files.py BUILD CACHE FILE...

BUILD holds the compile commands, CACHE a record for each source that was clean: the check's settings and what the source
and each header it includes held then. Runs in the project's folder. The status is 1 if there was a finding."""
import concurrent.futures
import functools
import hashlib
import json
import os
import subprocess
import sys


def digest(data):
    return hashlib.sha256(data).hexdigest()


@functools.lru_cache(maxsize=None)
def content(path):
    """What identifies a file's content; empty if it is gone."""
    try:
        with open(path, "rb") as file:
            return digest(file.read())
    except OSError:
        return ""


def settings(build):
    """What identifies the way each source is checked, by the source's path."""
    version = subprocess.run(["clang-tidy", "--version"], check=True, capture_output=True).stdout
    with open(".clang-tidy", "rb") as file:
        common = version + file.read()
    with open(os.path.join(build, "compile_commands.json")) as file:
        commands = json.load(file)
    here = os.getcwd()
    return {os.path.relpath(entry["file"]): digest(common + entry["command"].replace(here, ".").encode())
            for entry in commands}


def lint(build, path):
    """What the linter says of a source, nothing if it is clean; and the files it read."""
    run = subprocess.run(["clang-tidy", "-p", build, "--quiet", "--extra-arg=-Wno-unknown-warning-option",
                          "--extra-arg=-H", path], capture_output=True, text=True)
    # The headers are told on the error stream, a dot for each level they are included at.
    lines = run.stderr.splitlines()
    headers = {os.path.realpath(line.lstrip(".").lstrip()) for line in lines if line.startswith(".")}
    said = "" if run.returncode == 0 else run.stdout or run.stderr
    here = os.path.realpath(os.getcwd()) + "/"
    return said, sorted(header.removeprefix(here) for header in headers) + [path]


class Cache:
    """Records of clean sources."""

    def __init__(self, folder, ways):
        self.folder, self.ways = folder, ways
        os.makedirs(folder, exist_ok=True)

    def path(self, source):
        return os.path.join(self.folder, digest(source.encode()) + ".json")

    def is_clean(self, source):
        try:
            with open(self.path(source)) as file:
                record = json.load(file)
        except (OSError, ValueError):
            return False
        return record["way"] == self.ways.get(source) and all(content(path) == held for path, held in record["files"].items())

    def keep(self, source, files):
        record = {"way": self.ways.get(source), "files": {path: content(path) for path in files}}
        with open(self.path(source), "w") as file:
            json.dump(record, file)


def main():
    build, folder, *sources = sys.argv[1:]
    cache = Cache(folder, settings(build))
    doubtful = [source for source in sources if not cache.is_clean(source)]
    print(f"{len(doubtful)} of {len(sources)} sources to lint", flush=True)
    findings = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as threads:
        for source, (said, files) in zip(doubtful, threads.map(lambda source: lint(build, source), doubtful)):
            if said:
                findings += 1
                print(said, flush=True)
            else:
                cache.keep(source, files)
    return 1 if findings else 0


sys.exit(main())
