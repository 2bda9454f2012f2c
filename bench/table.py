#!/usr/bin/env python3
"""Runs the benchmarks of the readers and prints one table of what matters.

usage: table.py FOLDER_OF_THE_PROGRAMS

A row is a case of a format: how fast the import is beside a bare std::from_chars pass over the same
bytes (1.0: as fast), how its time grows with the nodes (1.0: linear; the exponent from the smallest
to the largest net), and its peak of memory beyond the file and the tables.
"""
import json
import math
import subprocess
import sys
from pathlib import Path

FORMATS = ["ergo", "hugin", "dsc", "dxpress", "xmlbif", "bif", "xdsl", "uai"]


def measure(program):
    run = subprocess.run([program, "--benchmark_format=json"], stdout=subprocess.PIPE,
                         stderr=subprocess.DEVNULL, check=True)
    return [b for b in json.loads(run.stdout)["benchmarks"] if "of_bare" in b]


def size(benchmark):
    parts = benchmark["name"].split("/")
    return int(parts[1]) if len(parts) > 1 else 0


def growth(family):
    """The exponent of time over nodes, for a case that was run with several numbers of nodes."""
    first, last = family[0], family[-1]
    if size(first) < 1000 or size(last) <= size(first):
        return None
    return 1 + math.log(last["ns_per_node"] / first["ns_per_node"]) / math.log(
        size(last) / size(first))


def rows(format_name, benchmarks):
    families = {}
    for benchmark in benchmarks:
        families.setdefault(benchmark["name"].split("/")[0], []).append(benchmark)
    for name, family in families.items():
        exponent = growth(family)
        for benchmark in family:
            last = benchmark is family[-1] and exponent is not None
            memory = f'{benchmark["beyond_MB"]:.1f} MB'
            if exponent is not None:
                memory += f' ({benchmark["beyond_B_per_node"]:.0f} B a node)'
            yield (format_name, benchmark["name"], f'{benchmark["of_bare"]:.2f}',
                   f"{exponent:.3f}" if last else "", memory)


def main():
    folder = Path(sys.argv[1])
    table = [("format", "case", "of bare", "growth", "memory beyond file and tables")]
    for format_name in FORMATS:
        print(f"measuring {format_name}", file=sys.stderr)
        table += rows(format_name, measure(folder / f"{format_name}_bench"))
    widths = [max(len(row[i]) for row in table) for i in range(len(table[0]))]
    for row in table:
        print("  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip())


if __name__ == "__main__":
    main()
