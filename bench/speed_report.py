#!/usr/bin/env python3
"""Runs zvclr_bench and writes the table of docs/speed.md.

Usage: speed_report.py PROGRAM [--update FILE] [--json FILE...] [--repetitions N]

Without --update the table goes to the standard output. --json reads the results of earlier runs with
--benchmark_format=json instead of running the program.
"""
import argparse
import collections
import datetime
import json
import re
import subprocess
import sys

BEGIN = "<!-- zvclr_bench: begin -->"
END = "<!-- zvclr_bench: end -->"
SETS = ("baseline", "avx2", "avx512")
# What is little but a copy is measured by one of as many bits as the wider side has.
COPIES = {"ClrHubSwap": 24, "ClrCmyFromHub": 24, "ClrCmyToHub": 24, "ClrRgb444FromHub": 24, "ClrRgb444ToHub": 24}


def run(program, repetitions):
    command = [program, "--benchmark_format=json", f"--benchmark_repetitions={repetitions}",
               "--benchmark_min_time=0.1"]
    return json.loads(subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout)


class Results:
    """The best repetitions, by the names of the benchmarks: a machine that has other guests is only ever slower."""

    def __init__(self, reports):
        self.context = reports[0]["context"]
        rates, times, self.labels, failed = {}, {}, {}, set()
        for entry in (entry for report in reports for entry in report["benchmarks"]):
            if entry.get("run_type") == "aggregate":
                continue
            name = entry["run_name"]
            if entry.get("error_occurred"):
                failed.add(name)
                continue
            self.labels[name] = entry.get("label", "")
            nanoseconds = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[entry["time_unit"]] * entry["cpu_time"]
            times.setdefault(name, []).append(nanoseconds)
            if "pixels" in entry:
                rates.setdefault(name, []).append(entry["pixels"] / 1e6)
        if failed:
            raise SystemExit("failed: " + ", ".join(sorted(failed)))
        self.rates = {name: max(values) for name, values in rates.items()}
        self.times = {name: min(values) for name, values in times.items()}
        self.repetitions = min(len(values) for values in times.values())

    def peers(self, operation):
        """(Mpixel/s, name) of those that are labelled with the operation, best first."""
        found = [(self.rates[name], name.removeprefix("peer/").replace("/", " ", 1))
                 for name, label in self.labels.items() if name.startswith("peer/") and label == operation]
        return sorted(found, reverse=True)


def number(value):
    if value is None:
        return ""
    return f"{value:,.0f}" if value >= 10 else f"{value:.1f}"


def row(cells):
    return "| " + " | ".join(cells) + " |\n"


def pixel_table(results):
    text = row(["operation", "plain", "baseline", "AVX2", "AVX-512", "greys", "share of memcpy", "best peer"])
    text += row(["---"] + ["---:"] * 6 + ["---"])
    operations = collections.OrderedDict()
    for name in results.rates:
        match = re.fullmatch(r"(?!plain/|grey/|peer/|memcpy/)(.+)/(" + "|".join(SETS) + ")", name)
        if match:
            operations.setdefault(match[1], {})[match[2]] = results.rates[name]
    for operation, speeds in operations.items():
        best = speeds[[isa for isa in SETS if isa in speeds][-1]]
        grey = [results.rates.get(f"grey/{operation}/{isa}") for isa in SETS if isa in speeds][-1]
        copy = results.rates.get(f"memcpy/bits/{COPIES[operation]}") if operation in COPIES else None
        peers = results.peers(operation)
        text += row([f"`{operation}`", number(results.rates.get(f"plain/{operation}"))] +
                    [number(speeds.get(isa)) for isa in SETS] +
                    [number(grey), f"{best / copy:.2f}" if copy else "",
                     f"{number(peers[0][0])} ({peers[0][1]})" if peers else ""])
    return text


def call_table(results):
    text = row(["64 pixels in one call", "ns", "among 10,000 converters"]) + row(["---", "---:", "---:"])
    for name, time in results.times.items():
        match = re.fullmatch(r"OneRow/(.+)/0", name)
        if match:
            text += row([f"`{match[1]}`", number(time), number(results.times.get(f"OneRow/{match[1]}/10000"))])
    return text


def creation_table(results):
    text = row(["converter made and freed", "ms"]) + row(["---", "---:"])
    for name, time in results.times.items():
        if name.startswith(("IccCreate/", "CreateAndFree/", "CreateWithLabRecords")):
            text += row([f"`{name}`", f"{time / 1e6:.3f}"])
    return text


def processor():
    try:
        with open("/proc/cpuinfo", encoding="utf-8") as file:
            return re.search(r"^model name\s*:\s*(.*)$", file.read(), re.M)[1]
    except (OSError, TypeError):
        return "an unknown processor"


def table(results):
    date = results.context.get("date", datetime.date.today().isoformat())[:10]
    compiler = results.context.get("compiler", "an unknown compiler")
    return (f"Measured on {date}: one core of {processor()}, {compiler}. Mpixel/s of a picture of 1920 x 1080,\n"
            f"the best of at least {results.repetitions} repetitions; times are the processor's.\n\n" +
            pixel_table(results) + "\n" + call_table(results) + "\n" + creation_table(results))


def update(path, text):
    with open(path, encoding="utf-8") as file:
        document = file.read()
    begin, end = document.find(BEGIN), document.find(END)
    if begin < 0 or end < begin:
        raise SystemExit(f"{path} lacks the two marks of the table")
    with open(path, "w", encoding="utf-8") as file:
        file.write(document[:begin + len(BEGIN)] + "\n\n" + text + "\n" + document[end:])


def main():
    parser = argparse.ArgumentParser(description="Writes the table of docs/speed.md.")
    parser.add_argument("program")
    parser.add_argument("--update", metavar="FILE")
    parser.add_argument("--json", metavar="FILE", nargs="+")
    parser.add_argument("--repetitions", type=int, default=5)
    arguments = parser.parse_args()
    if arguments.json:
        reports = []
        for name in arguments.json:
            with open(name, encoding="utf-8") as file:
                reports.append(json.load(file))
    else:
        reports = [run(arguments.program, arguments.repetitions)]
    text = table(Results(reports))
    if arguments.update:
        update(arguments.update, text)
    else:
        sys.stdout.write(text)


if __name__ == "__main__":
    main()
