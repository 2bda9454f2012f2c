#!/usr/bin/env python3
"""Runs the benchmarks of the readers and of the command line, and prints one table of what matters.

usage: table.py FOLDER_OF_THE_PROGRAMS PROGRAM [FORMAT ...]

A row is a case of a format: the fastest import of all runs in milliseconds; how much slower the
slowest of the repetitions was; how fast imports from memory, from a file, and of the first file of
a fresh process are beside a bare std::from_chars pass over the same bytes (1.0: as fast); how time
grows with the nodes (1.0: linear; the exponent from the smallest to the largest net); and the
memory of the fresh process beyond the file and the tables. Below stands what the command PROGRAM
takes.
"""
import json
import math
import subprocess
import sys
from pathlib import Path

import commands

REPETITIONS = 5


def measure(program):
    """The counters of each case, as the lists of what the repetitions had."""
    run = subprocess.run([program, "--benchmark_format=json", "--benchmark_min_time=0.2",
                          f"--benchmark_repetitions={REPETITIONS}"],
                         stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True)
    cases = {}
    for one in json.loads(run.stdout)["benchmarks"]:
        if one["run_type"] == "iteration" and "of_bare" in one:
            cases.setdefault(one["run_name"], []).append(one)
    return {name: {key: [one[key] for one in runs] for key in runs[0]}
            for name, runs in cases.items()}


def growth(family):
    """The exponent of time over nodes, for a case that was run with several numbers of nodes."""
    first, last = family[0], family[-1]
    nodes = [min(case["nodes"]) for case in (first, last)]
    if nodes[0] < 1000 or nodes[0] >= nodes[1]:
        return None
    return math.log(min(last["text_ns"]) / min(first["text_ns"])) / math.log(nodes[1] / nodes[0])


def rows(format_name, cases):
    families = {}
    for name in cases:
        families.setdefault(name.split("/")[0], []).append(name)
    for names in families.values():
        exponent = growth([cases[name] for name in names])
        for name in names:
            case = cases[name]
            text, bare = case["text_ns"], min(case["bare_ns"])
            memory = f'{min(case["beyond_B"]) / 1e6:.1f} MB'
            if exponent is not None:
                memory += f' ({min(case["beyond_B"]) / min(case["nodes"]):.0f} B a node)'
            last = name == names[-1] and exponent is not None
            yield (format_name, name, f"{min(text) / 1e6:.2f}",
                   f"{100 * (max(text) / min(text) - 1):.0f} %",
                   *(f"{bare / min(case[key]):.2f}" for key in ("text_ns", "file_ns", "fresh_ns")),
                   f"{exponent:.3f}" if last else "", memory)


def show(table):
    widths = [max(len(row[i]) for row in table) for i in range(len(table[0]))]
    for row in table:
        print("  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip())


def main():
    folder, program = Path(sys.argv[1]), Path(sys.argv[2])
    table = [("format", "case", "ms", "spread", "of bare: memory", "file", "fresh", "growth",
              "memory beyond file and tables")]
    for format_name in sys.argv[3:] or [name for name in commands.formats(program) if (folder / f"{name}_bench").exists()]:
        print(f"measuring {format_name}", file=sys.stderr)
        table += rows(format_name, measure(folder / f"{format_name}_bench"))
    show(table)
    if len(sys.argv) == 3:
        print("measuring the command line", file=sys.stderr)
        print()
        show([("command", "ms", "spread", "beside", "ms", "")] + commands.rows(folder, program))


if __name__ == "__main__":
    main()
