"""What the scripts that say in words what a tour found have in common."""
import glob
import subprocess
import sys


def the_file(pattern):
    """The one file of a pattern."""
    found = glob.glob(pattern)
    if len(found) != 1:
        sys.exit(f"{len(found)} files are {pattern}")
    return found[0]


def printed_by(*command):
    return subprocess.run(command, check=True, text=True, capture_output=True).stdout
