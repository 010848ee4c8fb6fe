#!/usr/bin/python3
"""Start to first frame, resident memory and idle processor time of the application's window, beside a bare window.

usage: window.py PROGRAMS [RUNS]

PROGRAMS is the folder of quorvel, quorvel-backend and bare_window, built optimised. Runs inside tests/support/headless-desktop. Both
windows are drawn in software; the application shows its first screen. Medians of RUNS starts (10).
"""

import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

from processes import processor_seconds, resident_bytes

IDLE_SECONDS = 30
SETTLED_SECONDS = 3
ENVIRONMENT = dict(os.environ, QT_QUICK_BACKEND="software", QT_LOGGING_RULES="qt.scenegraph.time.renderloop=true")


def first_frame(program):
    """Milliseconds from the start of the process to its first frame."""
    start = time.monotonic()
    with subprocess.Popen([program], env=ENVIRONMENT, stderr=subprocess.PIPE, text=True) as process:
        drawn = any("Frame rendered" in line for line in process.stderr)
        took = (time.monotonic() - start) * 1000
        process.terminate()
        process.stderr.read()
    if not drawn:
        sys.exit(f"{program} has drawn nothing")
    return took


def at_rest(program):
    """Resident megabytes, and milliseconds of processor time in IDLE_SECONDS."""
    quiet = {name: value for name, value in ENVIRONMENT.items() if name != "QT_LOGGING_RULES"}
    process = subprocess.Popen([program], env=quiet, stderr=subprocess.DEVNULL)
    time.sleep(SETTLED_SECONDS)
    before = processor_seconds(process.pid)
    time.sleep(IDLE_SECONDS)
    used = (processor_seconds(process.pid) - before) * 1000
    resident = resident_bytes(process.pid) / 1e6
    process.terminate()
    process.wait()
    return resident, used


def measure(programs, runs=10):
    """By program: the milliseconds of each start, resident megabytes, idle milliseconds."""
    with tempfile.TemporaryDirectory() as state:
        backend = subprocess.Popen([programs / "quorvel-backend", "--state-dir", state], stderr=subprocess.DEVNULL)
        starts = {"quorvel": [], "bare_window": []}
        # In turns, so that a busy moment of the machine meets both.
        for _ in range(runs):
            for name, times in starts.items():
                times.append(first_frame(programs / name))
        result = {name: (times, *at_rest(programs / name)) for name, times in starts.items()}
        backend.terminate()
        backend.wait()
    return result


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    print("| | first frame, ms (median, least, most) | resident, MB | processor time in "
          f"{IDLE_SECONDS} s of rest, ms |\n|---|---|---|---|")
    for name, (times, resident, used) in measure(pathlib.Path(sys.argv[1]).resolve(), *map(int, sys.argv[2:])).items():
        print(f"| {name} | {statistics.median(times):.0f}, {min(times):.0f}, {max(times):.0f} | {resident:.1f} |"
              f" {used:.0f} |")


if __name__ == "__main__":
    main()
