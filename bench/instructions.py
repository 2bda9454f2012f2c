#!/usr/bin/env python3
"""Counts the instructions that each reader takes for its benchmark files, and compares them with
bench/instructions.txt, so that a slower reader shows without a clock.

usage: instructions.py FOLDER_OF_THE_PROGRAMS [--record]

Exits with 1 when a count has grown by more than 3 per cent. The counts are those of the release
preset with the distribution's compiler; --record writes the present ones into the file.
"""
import re
import subprocess
import sys
from pathlib import Path

CASES = [("ergo", "NumberHeavy/50"), ("ergo", "NodeHeavy/1000"), ("hugin", "NumberHeavy/10"),
         ("hugin", "NodeHeavy/1000"), ("dsc", "NumberHeavy"), ("dsc", "RowsOf10"),
         ("dsc", "NodeHeavy/1000"),
         ("dxpress", "NumberHeavy/10"), ("dxpress", "NodeHeavy/1000"),
         ("xmlbif", "NumberHeavy/12"), ("xmlbif", "NodeHeavyPlaced/1000"),
         ("bif", "NodeHeavy/1000"), ("xdsl", "NodeHeavy/1000"), ("uai", "NodeHeavy/1000"),
         # Nothing is laid out: as much as with positions, or less.
         *((name, "NodeHeavyUnplaced/1000")
           for name in ("hugin", "dsc", "dxpress", "xmlbif", "bif", "xdsl"))]
TOLERANCE = 1.03
RECORD = Path(__file__).with_name("instructions.txt")


def count(program, case):
    run = subprocess.run(
        ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null",
         "--toggle-collect=lumo::ReadForeignNetText_kt*", program, f"--benchmark_filter={case}$",
         "--benchmark_min_time=0"],
        stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=True)
    # A forked child that starts another program has a count as well.
    return max(int(n) for n in re.findall(r"Collected : (\d+)", run.stderr))


def recorded():
    if not RECORD.exists():
        return {}
    lines = [line.split() for line in RECORD.read_text().splitlines() if not line.startswith("#")]
    return {(line[0], line[1]): int(line[2]) for line in lines}


def main():
    folder = Path(sys.argv[1])
    before = recorded()
    lines = ["# Instructions of one import: format, case of its benchmark, count."]
    worse = False
    for format_name, case in CASES:
        now = count(folder / f"{format_name}_bench", case)
        line = f"{format_name:8} {case:25} {now:12}"
        lines.append(line)
        then = before.get((format_name, case))
        change = "" if then is None else f"  {100 * (now / then - 1):+.1f} %"
        print(line + change)
        worse |= then is not None and now > then * TOLERANCE
    if "--record" in sys.argv:
        RECORD.write_text("\n".join(lines) + "\n")
    return 1 if worse else 0


if __name__ == "__main__":
    sys.exit(main())
