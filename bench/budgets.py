#!/usr/bin/python3
"""Every budget of the product beside what was measured, and beside an alternative that was measured in the same run.

usage: budgets.py PROGRAMS OUTPUT

PROGRAMS is the folder of the programs and the benchmarks, built optimised. Runs inside tests/support/headless-desktop
--own-network, for about ten minutes. OUTPUT receives the table and what each part has printed. A budget that is missed is
named, and is no failure: the figures of a busy machine say little, their ratios more.
"""

import json
import pathlib
import re
import resource
import statistics
import subprocess
import sys
import time

BENCH = pathlib.Path(__file__).resolve().parent
sys.path[:0] = [str(BENCH / "programs"), str(BENCH.parent / "tests/e2e")]
import delivery
import interview
import session
import window

STARTS = 15
SESSION_MINUTES = 1


class Table:
    def __init__(self):
        self.rows = []

    def add(self, what, unit, measured, limit, alternative, compared, ratio_limit=None):
        """`limit` bounds the measured figure, `ratio_limit` its ratio to the alternative's; either may be missing."""
        ratio = measured / compared if compared else None
        budget = f"at most {limit:g} {unit}" if limit is not None else f"at most {ratio_limit:g} x"
        kept = (limit is None or measured <= limit) and (ratio_limit is None or ratio <= ratio_limit)
        other = f"{alternative}: {compared:.3g} {unit}" if compared is not None else alternative
        self.rows.append([what, budget, f"{measured:.3g} {unit}", other, f"{ratio:.2f}" if ratio else "-",
                          "kept" if kept else "MISSED"])
        print(f"{what}: {self.rows[-1][2]} ({budget}; {other})", flush=True)

    def text(self):
        head = ["what", "budget", "median measured", "alternative in the same run", "ratio", ""]
        lines = [head, ["---"] * len(head), *self.rows]
        return "\n".join("| " + " | ".join(line) + " |" for line in lines)


def run(arguments, output, name):
    """The standard output of a benchmark, which is kept too."""
    text = subprocess.run(arguments, check=True, stdout=subprocess.PIPE, text=True).stdout
    (output / name).write_text(text)
    return text


def google_benchmark(program, output, repetitions):
    """The medians of a program of this library, by benchmark."""
    text = run([program, "--benchmark_format=json", f"--benchmark_repetitions={repetitions}"], output, program.name + ".json")
    return {entry["run_name"]: entry for entry in json.loads(text)["benchmarks"]
            if entry.get("aggregate_name") == "median"}


def measure_kernels(programs, output, table):
    medians = google_benchmark(programs / "SampleKernelsBenchmark", output, 9)
    nanoseconds = {name: entry["per_sample"] * 1e9 for name, entry in medians.items()}
    copy, library = nanoseconds["copy of the input"], nanoseconds["conversion/libswresample"]
    for kernel, limit in ("AVX2", 1.3), ("SSE2", 1.9):
        if own := nanoseconds.get(f"conversion/{kernel}"):
            table.add(f"conversion by {kernel}, a sample", "ns", own, None, "copy of the input", copy, limit)
    fastest = next(time for name, time in nanoseconds.items() if name.startswith("conversion/"))
    table.add("conversion by the fastest, a sample", "ns", fastest, None, "libswresample", library, 1)
    loudness = next(time for name, time in nanoseconds.items() if name.startswith("loudness/"))
    table.add("loudness, a sample", "ns", loudness, 0.11, "plain double loop", nanoseconds["loudness/plain double loop"])


def measure_delivery(programs, table):
    ways = {name: (delays, share + service) for name, delays, share, service in delivery.measure(programs)}
    own, own_share = ways.pop(delivery.QUORVEL)
    bare, bare_share = ways.pop(delivery.BARE)
    lost = 240 - len(own)
    table.add("impulse to the server, lost of 240", "", lost, 0, "bare sender lost", 240 - len(bare))
    for percent, limit in (50, 22), (95, 25):
        for name, (delays, _) in {delivery.BARE: (bare, bare_share), **ways}.items():
            table.add(f"impulse to the server, p{percent}", "ms", delivery.percentile(own, percent), limit, name,
                      delivery.percentile(delays, percent))
    for name, share in {delivery.BARE: bare_share, **{name: share for name, (_, share) in ways.items()}}.items():
        table.add("processor while streaming, no window", "% of a core", own_share, 1.5, name, share)
    return bare_share


def measure_session(programs, output, table, bare_share):
    """The application itself, in a session with the local backend."""
    folder = output / "session"
    subprocess.run(["rm", "-rf", folder], check=True)
    folder.mkdir()
    meeting = interview.Interview(programs, folder)
    try:
        session.begin(meeting)
        _, shown = session.watch(meeting, SESSION_MINUTES)
        subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^Quorvel$", "windowminimize"], check=True)
        _, hidden = session.watch(meeting, SESSION_MINUTES)
    finally:
        meeting.close()
    for what, rows, limit in ("window hidden", hidden, 1.5), ("window repainting live text", shown, 3):
        share = statistics.median(row[4] for row in rows)
        table.add(f"processor while streaming, {what}", "% of a core", share, limit, delivery.BARE, bare_share)


def measure_events(programs, output, table):
    medians = google_benchmark(programs / "list_events_bench", output, 5)
    reset = medians["appendTurnWithReset"]["p95_us"] / 1000
    for event, text in {"appendTurn": "a turn", "takeInSuggestion": "a suggestion", "writePartialText": "interim text"}.items():
        table.add(f"{text} into full lists to painted, p95", "ms", medians[event]["p95_us"] / 1000, 5,
                  "turn into a model that is reset", reset)


def measure_window(programs, table):
    figures = window.measure(programs, STARTS)
    starts, resident, idle = figures["quorvel"]
    bare_starts, bare_resident, bare_idle = figures["bare_window"]
    table.add("start to first frame", "ms", statistics.median(starts), 200, "bare window", statistics.median(bare_starts))
    table.add("resident, idle", "MB", resident, 80, "bare window", bare_resident)
    table.add(f"processor in {window.IDLE_SECONDS} s of rest", "ms", idle, 10, "bare window", bare_idle)


def plain_recogniser(manifest):
    """Words wrong in per cent, and processor seconds for each second of sound, of the library's own program as it comes."""
    files, texts = zip(*(line.split("\t") for line in manifest.read_text().splitlines()))
    folder = manifest.parent / manifest.stem
    folder.mkdir(exist_ok=True)
    for number, file in enumerate(files):
        # It reads sound at its model's rate only.
        subprocess.run(["sox", file, "-r", "16000", folder / f"{number}.wav"], check=True)
    control, heard = folder / "files", folder / "heard"
    control.write_text("".join(f"{number}\n" for number in range(len(files))))
    model = "/usr/share/pocketsphinx/model/en-us/"
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    subprocess.run(["pocketsphinx_batch", "-adcin", "yes", "-adchdr", "44", "-cepdir", folder, "-cepext", ".wav", "-ctl",
                    control, "-hyp", heard, "-hmm", model + "en-us", "-lm", model + "en-us.lm.bin", "-dict",
                    model + "cmudict-en-us.dict"], check=True, stderr=subprocess.DEVNULL)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    # A line is the words, then the file's name and a score in parentheses.
    faults = [interview.wrong_words(text, line.rsplit("(", 1)[0])
              for text, line in zip(texts, heard.read_text().splitlines(), strict=True)]
    sound = sum(float(subprocess.run(["soxi", "-D", file], check=True, stdout=subprocess.PIPE, text=True).stdout)
                for file in files)
    return (100 * sum(wrong for wrong, _ in faults) / sum(words for _, words in faults),
            (after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime) / sound)


def measure_recognition(programs, output, table):
    corpus = output / "corpus"
    subprocess.run(["sh", BENCH / "localbackend/make-corpus.sh", corpus], check=True)
    for name, limit in ("questions", 11), ("readings", 30):
        manifest = corpus / f"{name}.tsv"
        text = run([programs / "measure_recognition", manifest], output, f"{name}.txt")

        def figure(pattern):
            return float(re.search(pattern, text)[1])

        wrong, factor = plain_recogniser(manifest)
        other = "the library's program as it comes"
        table.add(f"words wrong, {name}", "%", figure(r"word errors: .* ([\d.]+) %"), limit, other, wrong)
        table.add(f"processor for a second of sound, {name}", "s", figure(r"real-time factor ([\d.]+)"), 0.4, other, factor)
        table.add(f"sound's arrival to final, mean, {name}", "ms", figure(r"arrival of the sound to final: mean ([\d.]+)"),
                  120, "-", None)


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    programs, output = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    output.mkdir(parents=True, exist_ok=True)
    table = Table()
    start = time.monotonic()
    measure_kernels(programs, output, table)
    measure_events(programs, output, table)
    measure_window(programs, table)
    bare_share = measure_delivery(programs, table)
    measure_session(programs, output, table, bare_share)
    measure_recognition(programs, output, table)
    (output / "budgets.md").write_text(table.text() + "\n")
    print(f"\nIn {time.monotonic() - start:.0f} s:\n\n{table.text()}")


main()
