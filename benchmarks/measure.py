"""Measures the library beside what a user might pick instead, and beside the same work without it.

Installs what is missing, builds the preset "bench", and runs every benchmark several times, in an order of chance.
Medians count. Prints a table of ratios with the goals that they have, and draws plots. A library that is not installed has
no rows.
"""
import argparse
import collections
import concurrent.futures
import json
import os
import pathlib
import random
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
PROGRAMS = ROOT / "build/bench/benchmarks"
LIBRARY = ROOT / "build/bench/src/libbrindle.so.1"
SUBJECTS = ["files", "versions", "handoff", "waiters", "timers", "options", "uuid", "daemon", "size"]
TOO_LONG = 120  # seconds for one run

# What the table shows: a benchmark's row and size, and the most that ours may take, by whose figure it is divided.
Row = collections.namedtuple("Row", "subject row size goals")
ROWS = [
    Row("files", "read a file once", "10", {"ifstream": 0.75}),
    Row("files", "read a file once", "100", {"ifstream": 0.75}),
    Row("files", "read a file", "1000", {"ifstream": 0.75}),
    Row("files", "read a file", "100000", {"GLib": 0.85}),
    Row("files", "read a file", "1000000", {"GLib": 0.65}),
    Row("files", "memory of a read file", "1000000", {"ifstream": 1.35}),
    Row("files", "read keys like stairs", "4000", {"ifstream": 1.5}),
    Row("files", "look up a key", "1000", {"std::map": 1.05}),
    Row("versions", "version from text", "", {"Qt": 0.90}),
    Row("versions", "compare versions", "", {"Qt": 0.50}),
    Row("size", "stripped library", "", {"49,152 bytes": 49152}),
    Row("timers", "timer expiry", "", {"floor": 1.05}),
    Row("daemon", "daemon, start to exit", "", {"asio": 1.05, "POCO": 0.50}),
    Row("daemon", "memory of the daemon", "", {"3.82 MB": 3.82e6}),
    Row("handoff", "hand-off", "", {"floor": 1.02, "std::condition_variable": 0.95}),
    Row("handoff", "signal, nobody waits", "", {"floor": 1.0}),
    Row("waiters", "release waiters", "1024", {"floor": 1.05, "POCO": 0.66}),
    Row("options", "parse options", "64", {"floor": 1.0, "POCO": 0.13}),
    Row("uuid", "make a UUID", "", {"floor": 1.03}),
]
NOT_PEERS = ("brindle", "floor")
UNITS = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}


class Parser(argparse.ArgumentParser):
    def error(self, message):
        self.exit(2, f"script/bench: {message}; --help tells more\n")


def arguments():
    parser = Parser(prog="script/bench", description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    add = parser.add_argument
    add("--only", metavar="SUBJECT", action="append", choices=SUBJECTS,
        help="one of " + ", ".join(SUBJECTS) + "; may be repeated")
    add("--json", metavar="FILE", type=pathlib.Path, help="write the medians there, in seconds and bytes")
    add("--plots", metavar="DIRECTORY", type=pathlib.Path, default=PROGRAMS / "plots",
        help="where to draw (default: in the build)")
    add("--times", metavar="N", type=int, default=7, help="how often to run each benchmark (default: 7)")
    add("--no-peers", action="store_true", help="the library alone, with its floor")
    add("--once", action="store_true", help="one iteration each, a million entries left out, to see that all run")
    options = parser.parse_args()
    if options.times < 1:
        parser.error(f"argument --times: {options.times} is not a number from 1 up")
    return options


def run(*command, **more):
    return subprocess.run([str(word) for word in command], check=True, cwd=ROOT, **more)


def build(options):
    run("script/bootstrap", "benchmarks" if options.no_peers else "bench")
    peers = "OFF" if options.no_peers else "ON"
    strict = "ON" if os.environ.get("CI") else "OFF"
    configured = run("cmake", "--preset", "bench", f"-DBRINDLE_BENCHMARK_PEERS={peers}",
                     f"-DCMAKE_COMPILE_WARNING_AS_ERROR={strict}", stdout=subprocess.PIPE, text=True)
    print("".join(line + "\n" for line in configured.stdout.splitlines() if "benchmarks:" in line), end="", flush=True)
    run("cmake", "--build", "--preset", "bench", stdout=subprocess.DEVNULL)


def run_once(subject):
    # A million entries are the same code as ten.
    run(PROGRAMS / f"bench_{subject}", "--benchmark_min_time=0.000001", "--benchmark_filter=-/1000000$",
        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    if subject == "files":
        measure_once(1)
    return f"script/bench: {subject} runs"


def measure_once(times):
    """What a process that has just been started takes for its only small file, in seconds, by key."""
    figures = collections.defaultdict(list)
    with tempfile.TemporaryDirectory() as directory:
        for size in (10, 100):
            numbers = list(range(size))
            random.shuffle(numbers)
            lines = [f"sensor.{number}={number * 7919 % 100_000}\n" for number in numbers]
            pathlib.Path(directory, str(size)).write_text("[all]\n" + "".join(lines))
        work = [(who, size) for who in ("brindle", "ifstream", "floor") for size in ("10", "100")] * times
        random.shuffle(work)
        for who, size in work:
            said = run(PROGRAMS / "files_once", who, pathlib.Path(directory, size), stdout=subprocess.PIPE, text=True)
            figures["read a file once", who, size].append(float(said.stdout))
    return figures


def names_of(subject):
    listed = run(PROGRAMS / f"bench_{subject}", "--benchmark_list_tests=true", stdout=subprocess.PIPE, text=True)
    return listed.stdout.splitlines()


def measured(subject, name, *more):
    """What a program says of the benchmarks of that name: for each run its key, and its entry with the figures."""
    command = [str(PROGRAMS / f"bench_{subject}"), f"--benchmark_filter=^{name}", "--benchmark_format=json", *more]
    try:
        ended = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, timeout=TOO_LONG, check=True)
    except subprocess.SubprocessError as failure:
        sys.exit(f"script/bench: {failure}")
    entries = json.loads(ended.stdout)["benchmarks"]
    return [(key_of(entry["name"]), entry) for entry in entries
            if entry["run_type"] == "iteration" and not entry.get("error_occurred")]


def seconds_of(entry):
    return entry["real_time"] * UNITS[entry["time_unit"]]


def key_of(name):
    """The row, who, and the size as text: "" if there is none."""
    parts = [part for part in name.split("/") if not part.endswith("_time") and ":" not in part.replace("::", "")]
    return tuple((parts + [""])[:3])


def measure(subjects, times):
    figures, peaks = collections.defaultdict(list), collections.defaultdict(list)
    again = [f"--benchmark_repetitions={times}", "--benchmark_enable_random_interleaving=true"]
    for subject in subjects:
        show(subject)
        if subject not in ("files", "size"):
            for key, entry in measured(subject, "", *again, "--benchmark_min_time=0.03"):
                figures[key].append(entry["bytes"] if "bytes" in entry else seconds_of(entry))
    # A program reads its file once, into a heap that is still in order: so each contender has a process of its own.
    work = [name for name in names_of("files") * times] if "files" in subjects else []
    random.shuffle(work)
    for number, name in enumerate(work):
        show(f"{number} of {len(work)}: {name}")
        for key, entry in measured("files", name + "$", "--benchmark_min_time=0.05"):
            figures[key].append(seconds_of(entry))
            if "peak" in entry:
                peaks[key].append(entry["peak"])
    if "files" in subjects:
        show("files, read once")
        figures.update(measure_once(9 * times))
    for (row, who, size), values in peaks.items():
        if row == "read a file" and size != "10":
            smallest = statistics.median(peaks[(row, who, "10")])
            figures[("memory of a read file", who, size)] = [statistics.median(values) - smallest]
    if "size" in subjects:
        stripped = PROGRAMS / "stripped.so"
        run("strip", "-o", stripped, LIBRARY)
        figures[("stripped library", "brindle", "")] = [stripped.stat().st_size]
    show("")
    return figures


def show(what):
    if sys.stderr.isatty():
        print(f"\r\033[K{what}", end="", file=sys.stderr, flush=True)


def text_of(value, row):
    if value is None:
        return ""
    if "memory" in row:
        return f"{value / 1e6:.2f} MB"
    if "library" in row:
        return f"{value:,.0f} B"
    for unit, scale in (("s", 1), ("ms", 1e-3), ("us", 1e-6)):
        if value >= scale:
            return f"{value / scale:.3g} {unit}"
    return f"{value / 1e-9:.3g} ns"


def verdicts_of(row, ours, of):
    for who, most in row.goals.items():
        if most > 100:  # not a ratio
            yield f"{'met' if ours <= most else 'short'}: {who}"
        elif of(who):
            ratio = ours / of(who)
            yield f"{'met' if round(ratio, 2) <= most else 'short'}: {ratio:.2f} of {who}, {most:.2f} wanted"


def line_of(row, medians):
    def of(who):
        return medians.get((row.row, who, row.size))

    ours = of("brindle")
    if ours is None:
        return None
    peers = [who for name, who, size in medians if (name, size) == (row.row, row.size) and who not in NOT_PEERS]
    best = min(peers, key=of, default=None)
    return [row.row + (f", {int(row.size):,}" if row.size else ""), text_of(ours, row.row),
            f"{best} {text_of(of(best), row.row)}" if best else "", f"{ours / of(best):.2f}" if best else "",
            text_of(of("floor"), row.row), f"{ours / of('floor'):.2f}" if of("floor") else "",
            "; ".join(verdicts_of(row, ours, of))]


def print_table(subjects, medians):
    lines = [["subject", "ours", "best peer", "ratio", "floor", "ratio", "goal"]]
    lines += filter(None, (line_of(row, medians) for row in ROWS if row.subject in subjects))
    widths = [max(len(line[column]) for line in lines) for column in range(6)] + [0]
    for line in lines:
        print("  ".join(cell.ljust(width) for cell, width in zip(line, widths)).rstrip())


COLOURS = ["#0072b2", "#d55e00", "#009e73", "#cc79a7", "#56b4e9", "#e69f00", "#000000"]  # told apart by everybody


def draw(directory, name, commands, series, style):
    """Has gnuplot draw one picture of several series, each a name and its points."""
    if not series:
        return
    data = "".join(f"$data{number} << END\n" + "".join(f"{x} {y}\n" for x, y in points) + "END\n"
                   for number, (_, points) in enumerate(series))
    points = [f"pt {number + 4}" if "points" in style else "" for number in range(len(series))]
    plots = ", ".join(f'$data{number} title "{title}" noenhanced {style} lw 2 lc rgb "{COLOURS[number]}" '
                      + points[number] for number, (title, _) in enumerate(series))
    script = f"""set terminal svg size 760,460 font "sans-serif,14" background "white"
set output "{directory / name}.svg"
set key outside right top Left reverse
set grid lc rgb "#dddddd"
{commands}
{data}plot {plots}
"""
    subprocess.run(["gnuplot"], input=script, text=True, check=True)


def series_of(medians, row, scale):
    whos = dict.fromkeys(who for name, who, _ in medians if name == row)
    return [(who, sorted((int(size), value * scale) for (name, owner, size), value in medians.items()
                         if (name, owner) == (row, who)))
            for who in sorted(whos, key=lambda who: (who != "brindle", who == "floor", who))]


def draw_plots(directory, figures, medians):
    directory.mkdir(parents=True, exist_ok=True)
    tens = 'set format x "10^{%L}"; '
    draw(directory, "files", tens + 'set logscale xy; set format y "10^{%L}"; set xlabel "entries in the file"; '
         'set ylabel "milliseconds to read it"', series_of(medians, "read a file", 1e3), "with linespoints")
    memory = [(who, [point for point in points if point[0] >= 1000 and point[1] > 0])
              for who, points in series_of(medians, "memory of a read file", 1e-6)]
    draw(directory, "memory", tens + 'set logscale xy; set xlabel "entries in the file"; '
         'set ylabel "megabytes at the most"', memory, "with linespoints")
    draw(directory, "waiters", 'set logscale xy; set xlabel "threads that wait"; set xrange [1:1400]; '
         'set xtics (1, 4, 16, 64, 256, 1024); '
         'set ylabel "microseconds until all have returned"', series_of(medians, "release waiters", 1e6),
         "with linespoints")
    starts = [(who, [(1e3 * value, (number + 1) / len(values)) for number, value in enumerate(sorted(values))])
              for (row, who, _), values in figures.items() if row == "daemon, start to exit"]
    starts.sort(key=lambda one: (one[0] != "brindle", one[0] == "floor", one[0]))
    draw(directory, "daemon", 'set logscale x; set xlabel "milliseconds from start to exit"; set yrange [0:1.02]; '
         'set ylabel "share of the starts that took no longer"', starts, "with steps")


def main():
    options = arguments()
    subjects = options.only or SUBJECTS
    begin = time.monotonic()
    build(options)
    if options.once:
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as side_by_side:
            for said in side_by_side.map(run_once, [subject for subject in subjects if subject != "size"]):
                print(said)
        return
    figures = measure(subjects, options.times)
    medians = {key: statistics.median(values) for key, values in figures.items()}
    print_table(subjects, medians)
    draw_plots(options.plots, figures, medians)
    if options.json:
        rows = [{"row": row, "who": who, "size": size, "median": value} for (row, who, size), value in medians.items()]
        options.json.write_text(json.dumps(rows, indent=1) + "\n")
    print(f"script/bench: {time.monotonic() - begin:.0f} s; plots are in {os.path.relpath(options.plots)}")


if __name__ == "__main__":
    main()
