#!/usr/bin/python3
"""Memory and processor time of the application, the backend and the audio server over a long session.

usage: session.py PROGRAMS OUTPUT MINUTES

PROGRAMS is the folder of quorvel and quorvel-backend, built optimised. Runs inside tests/support/headless-desktop: a media
player repeats its questions, and the application's window shows the transcript and the suggestions all the time. OUTPUT
receives samples.csv and its curves.
"""

import csv
import os
import pathlib
import statistics
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tests/e2e"))
from interview import NotThere, hold
from processes import processor_seconds, resident_bytes

SAMPLE_SECONDS = 10
# Lists, caches and the backend's recogniser have their size by then.
SETTLED_MINUTES = 10

CURVES = """
set datafile separator ","
set terminal svg size 900,600 background "white"
set output "curves.svg"
set multiplot layout 2,1
set key outside autotitle columnheader
set xlabel "minutes"
set ylabel "resident, MB"
plot for [column=2:4] "samples.csv" using 1:column with lines
set ylabel "processor, % of a core"
plot for [column=5:7] "samples.csv" using 1:column with lines
"""


def watch(interview, minutes):
    """A row for each sample: minutes, resident megabytes of each process, its share of a core since the last sample."""
    watched = {"quorvel": interview.processes["quorvel"].pid, "quorvel-backend": interview.processes["backend"].pid,
               "audio server": int(os.environ["HEADLESS_PIPEWIRE_PID"])}
    rows = []
    start = before = time.monotonic()
    used = [processor_seconds(process) for process in watched.values()]
    with open(interview.output / "samples.csv", "w", newline="") as file:
        writer = csv.writer(file)
        writer.writerow(["minutes", *watched, *watched])
        while before < start + minutes * 60:
            time.sleep(max(0, before + SAMPLE_SECONDS - time.monotonic()))
            now = time.monotonic()
            used_now = [processor_seconds(process) for process in watched.values()]
            shares = [100 * (after - earlier) / (now - before) for after, earlier in zip(used_now, used)]
            resident = [resident_bytes(process) / 1e6 for process in watched.values()]
            rows.append([(now - start) / 60, *resident, *shares])
            writer.writerow(f"{value:.3f}" for value in rows[-1])
            file.flush()
            before, used = now, used_now
    return list(watched), rows


def report(names, rows):
    # The growth is the slope of the line through the samples.
    settled = [row for row in rows if row[0] > SETTLED_MINUTES] or rows
    minutes = [row[0] for row in settled]
    print(f"\n{len(rows)} samples in {rows[-1][0]:.0f} min; medians and growth of those after {settled[0][0]:.0f} min\n\n"
          "| | resident, MB | growth, kB an hour | processor, % of a core (least, most) |\n|---|---|---|---|")
    for column, name in enumerate(names, 1):
        resident = [row[column] for row in settled]
        share = [row[column + len(names)] for row in settled]
        growth = statistics.linear_regression(minutes, resident).slope * 60 * 1000
        print(f"| {name} | {statistics.median(resident):.1f} | {growth:+.0f} | {statistics.median(share):.2f} "
              f"({min(share):.2f}, {max(share):.2f}) |")


def begin(interview):
    """From the first start to a session in which the questions are repeated for ever."""
    interview.start_everything()
    interview.set_up()
    interview.command_player("set_property", "loop-file", "inf")
    interview.listen()
    interview.play()


def run(interview, minutes):
    begin(interview)
    names, rows = watch(interview, minutes)
    if interview.application.find("Session: Running") is None:
        raise NotThere("a running session")
    interview.screenshot("at-the-end")
    interview.stop_listening()
    status = interview.end("quorvel")
    if status != 0:
        raise NotThere(f"an orderly end (status {status})")
    subprocess.run(["gnuplot"], input=CURVES, text=True, cwd=interview.output, check=True)
    report(names, rows)


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    length = float(sys.argv.pop())
    hold(__doc__, lambda interview: run(interview, length))
