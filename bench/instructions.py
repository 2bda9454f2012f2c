#!/usr/bin/env python3
"""Counts the instructions that each reader takes for its benchmark files, and compares them with
bench/instructions.txt, so that a slower reader shows without a clock.

usage: instructions.py FOLDER_OF_THE_PROGRAMS... [--record]

Exits with 1 when a count has grown by more than 3 per cent. The counts are those of the release
preset with the distribution's compiler; --record writes the present ones into the file, the greatest
of several builds (compiled a file at a time or a folder at a time, the release inlines differently).
"""
import os
import re
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

NODES = ["NodeHeavy/1000", "NodeHeavyUnplaced/1000"]
# Exact: numbers that only doubles hold. Ergo's files always have positions, and UAI's never.
CASES = {
    "hugin": ["NumberHeavy/10", "NumberHeavyExact/10", *NODES],
    "dsc": ["NumberHeavy/50", "NumberHeavyExact/50", "RowsOf10", *NODES],
    "dxpress": ["NumberHeavy/10", "NumberHeavyExact/10", *NODES],
    "ergo": ["NumberHeavy/50", "NumberHeavySummed/50", "NumberHeavyExact/50", "NodeHeavy/1000"],
    "xmlbif": ["NumberHeavy/12", "NumberHeavyExact/12", "NodeHeavyPlaced/1000", NODES[1]],
    "bif": ["NumberHeavy/50", "NumberHeavyExact/50", *NODES],
    "xdsl": ["NumberHeavy/50", "NumberHeavyExact/50", *NODES],
    "uai": ["NumberHeavy/50", "NumberHeavyExact/50", "NodeHeavy/1000"],
    "json": ["NumberHeavy/50", "NumberHeavyExact/50", "NodeHeavy/1000"],
}
TOLERANCE = 1.03
RECORD = Path(__file__).with_name("instructions.txt")


def count(programs, format_name, case):
    """The instructions of one import of the text that the benchmark reads."""
    with tempfile.NamedTemporaryFile() as text:
        subprocess.run([programs / f"{format_name}_bench", f"--benchmark_filter=^{case}$",
                        "--benchmark_min_time=0"], check=True, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, env={**os.environ, "LUMO_BENCH_TEXT": text.name})
        run = subprocess.run(
            ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null",
             "--toggle-collect=lumo::ReadForeignNetFile_kt*", programs / "import_once", text.name,
             format_name], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    return int(re.search(r"Collected : (\d+)", run.stderr)[1])


def recorded():
    if not RECORD.exists():
        return {}
    lines = [line.split() for line in RECORD.read_text().splitlines() if not line.startswith("#")]
    return {(line[0], line[1]): int(line[2]) for line in lines}


def main():
    builds = [Path(argument) for argument in sys.argv[1:] if argument != "--record"]
    before = recorded()
    lines = ["# Instructions of one import: format, case of its benchmark, count."]
    worse = False
    cases = [(name, case) for name, names in CASES.items() for case in names]
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        counts = pool.map(lambda named: max(count(build, *named) for build in builds), cases)
        for (format_name, case), now in zip(cases, counts):
            line = f"{format_name:8} {case:25} {now:12}"
            lines.append(line)
            then = before.get((format_name, case))
            change = "" if then is None else f"  {100 * (now / then - 1):+.1f} %"
            print(line + change, flush=True)
            worse |= then is not None and now > then * TOLERANCE
    if "--record" in sys.argv:
        RECORD.write_text("\n".join(lines) + "\n")
    return 1 if worse else 0


if __name__ == "__main__":
    sys.exit(main())
