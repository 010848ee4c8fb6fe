#!/usr/bin/python3
"""From an impulse in a player to its bytes at a server: the application's way beside three others, one after the other.

usage: delivery.py PROGRAMS [IMPULSES]

PROGRAMS is the folder of delivery_peers, built optimised. Runs inside tests/support/headless-desktop. IMPULSES are four a
second, 240 if not given.
"""

import bisect
import os
import pathlib
import signal
import statistics
import subprocess
import sys
import tempfile
import time

from processes import processor_seconds

# Until everything is connected, and after the last impulse.
LEAD_SECONDS = 2
AFTER_SECONDS = 0.5

WAYS = QUORVEL, BARE, PAREC, PW_RECORD = "quorvel", "bare capture and sender", "parec, piped", "pw-record, piped"


class Measurement:
    def __init__(self, programs, impulses):
        self.peers = str(programs / "delivery_peers")
        self.impulses = impulses
        self.folder = tempfile.TemporaryDirectory()
        self.arrivals = pathlib.Path(self.folder.name, "arrivals")
        self.server = subprocess.Popen([self.peers, "serve"], stdout=open(self.arrivals, "w"))
        while not (lines := self.arrivals.read_text().split()):
            time.sleep(0.01)
        self.port = lines[0]

    def close(self):
        self.server.kill()
        self.server.wait()
        self.folder.cleanup()

    def commands(self, name, player):
        """The command lines of a way's pipeline."""
        recording = ["--rate=24000", "--channels=1"]
        sender = [self.peers, "send-input", self.port]
        return {
            QUORVEL: [[self.peers, "quorvel", self.port, str(player)]],
            BARE: [[self.peers, "bare", self.port]],
            PAREC: [["parec", "--device=@DEFAULT_MONITOR@", "--raw", "--latency-msec=20", "--format=s16le", *recording],
                    sender],
            PW_RECORD: [["pw-record", "-P", "{ stream.capture.sink = true }", "--latency=20ms", "--format=s16",
                         *recording, "-"], sender],
        }[name]

    def measure(self, name):
        """Delays in milliseconds, and the shares of a core of the processes and of the service that works for them."""
        played = pathlib.Path(self.folder.name, "played")
        before = len(self.arrivals.read_text().split())
        with open(played, "w") as file:
            # Starts when it is told to, but has its process id already.
            player = subprocess.Popen(["sh", "-c", f"read go; exec {self.peers} play {self.impulses}"], stdout=file,
                                      stdin=subprocess.PIPE)
        processes = []
        for command in self.commands(name, player.pid):
            source = processes[-1].stdout if processes else None
            processes.append(subprocess.Popen(command, stdin=source, stdout=subprocess.PIPE))
        time.sleep(LEAD_SECONDS)
        watched = [process.pid for process in processes]
        # One of the ways has a server of its own work for it.
        helper = [int(os.environ["HEADLESS_PIPEWIRE_PULSE_PID"])] if name == PAREC else []
        start = time.monotonic()
        used = [processor_seconds(process) for process in watched + helper]
        player.communicate(b"go\n")
        shares = [100 * (processor_seconds(process) - earlier) / (time.monotonic() - start)
                  for process, earlier in zip(watched + helper, used)]
        time.sleep(AFTER_SECONDS)
        for process in processes:
            process.send_signal(signal.SIGTERM)
            process.wait()
        moments = [int(line) for line in played.read_text().split()]
        arrivals = [int(line) for line in self.arrivals.read_text().split()[before:]]
        delays = [(arrival - moments[bisect.bisect(moments, arrival) - 1]) / 1e6 for arrival in arrivals
                  if arrival > moments[0]]
        return delays, sum(shares[:len(watched)]), sum(shares[len(watched):])


def measure(programs, impulses=240):
    """Yields the name, delays, and shares of a core of one way after the other."""
    measurement = Measurement(programs, impulses)
    try:
        for name in WAYS:
            yield name, *measurement.measure(name)
    finally:
        measurement.close()


def percentile(values, percent):
    return statistics.quantiles(values, n=100, method="inclusive")[percent - 1]


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    print("| way | arrived | delay p50, ms | p95 | longest | processor, % of a core |\n|---|---|---|---|---|---|")
    for name, delays, share, service in measure(pathlib.Path(sys.argv[1]).resolve(), *map(int, sys.argv[2:])):
        print(f"| {name} | {len(delays)} | {percentile(delays, 50):.1f} | {percentile(delays, 95):.1f} | "
              f"{max(delays):.1f} | {share:.2f}{f' + {service:.2f} in its service' if service else ''} |", flush=True)


if __name__ == "__main__":
    main()
