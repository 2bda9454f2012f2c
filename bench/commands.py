"""Whole commands of lumo-import, each in turn with what it is measured beside; milliseconds of the
processor, which do not count what others take, where nothing else is said."""
import os
import re
import subprocess
import tempfile
import time
from pathlib import Path


def formats(program):
    """The names of the formats that are read."""
    table = subprocess.run([program, "formats"], check=True, capture_output=True, text=True).stdout
    return re.findall(r"^(\w+) .* yes +(?:yes|-) +\.", table, re.M)


def hugin_net(nodes):
    """A Hugin file of binary nodes, each with the three before it as its parents."""
    out = ["net\n{\n    node_size = (80 40);\n}\n"]
    for i in range(nodes):
        out.append(f'node N{i}\n{{\n    label = "Node {i}";\n    position = ({i % 300 * 90} '
                   f'{i // 300 * 50});\n    states = ("no" "yes");\n}}\n')
    for i in range(nodes):
        parents = range(max(i - 3, 0), i)
        row = "(0.25 0.75)"
        for _ in parents:
            row = f"({row}{row})"
        out.append(f'potential (N{i} | {" ".join(f"N{p}" for p in parents)})\n'
                   f"{{\n    data = {row};\n}}\n")
    return "".join(out)


def bif_net(nodes, positions):
    """A BIF file of binary nodes, each with the three before it as its parents."""
    out = ["network n { }\n"]
    for i in range(nodes):
        place = f"  property position = ({i % 6 * 90}, {i // 6 * 50});\n" if positions else ""
        out.append(f"variable N{i} {{\n  type discrete [ 2 ] {{ no, yes }};\n{place}}}\n")
    for i in range(nodes):
        parents = ", ".join(f"N{p}" for p in range(max(i - 3, 0), i))
        table = ", ".join(["0.25"] * 2 ** min(i, 3) + ["0.75"] * 2 ** min(i, 3))
        out.append(f"probability ( N{i}{' | ' if parents else ''}{parents} ) "
                   f"{{\n  table {table};\n}}\n")
    return "".join(out)


def processor(command):
    """Milliseconds of the processor that the command takes."""
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    assert process.returncode == 0, command
    return 1e3 * (usage.ru_utime + usage.ru_stime)


def clock(command):
    """Milliseconds by the clock."""
    start = time.perf_counter()
    subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
    return 1e3 * (time.perf_counter() - start)


def in_turn(runs, *measured):
    """The times of what is measured in turn, after one run of each."""
    times = [[measure() for measure in measured] for _ in range(runs + 1)]
    return list(zip(*times[1:]))


def row(name, beside, times, comparison):
    """A line of the table: the fastest of each, and what compares them."""
    best, other = min(times[0]), min(times[1])
    return (name, f"{best:.1f}", f"{100 * (max(times[0]) / best - 1):.0f} %", beside,
            f"{other:.1f}", comparison(best, other))


def rows(folder, program):
    def ratio(a, b):
        return f"{a / b:.2f} times"

    def beyond(a, b):
        return f"{a - b:.1f} ms beyond"

    with tempfile.TemporaryDirectory() as where:
        small, large = Path(where, "small.net"), Path(where, "large.net")
        small.write_text(hugin_net(10))
        large.write_text(hugin_net(100_000))
        many = []
        for i in range(300):
            many.append(Path(where, f"{i}.net"))
            many[-1].write_text(hugin_net(10))

        placed, unplaced = [], []
        for i in range(100):
            for files, name, positions in ((placed, "placed", True), (unplaced, "bare", False)):
                files.append(Path(where, f"{name}{i}.bif"))
                files[-1].write_text(bif_net(30, positions))

        def import_alone():
            told = subprocess.run([folder / "import_once", large, "hugin"], stdout=subprocess.PIPE,
                                  check=True).stdout
            return int(told.split()[0]) / 1e6

        picture = os.path.join(where, "large.svg")
        return [
            row("summary of 100,000 nodes", "the import alone",
                in_turn(7, lambda: processor([program, large]), import_alone), ratio),
            row("summary of 10 nodes", "an empty program",
                in_turn(50, lambda: processor([program, small]), lambda: processor(["true"])),
                beyond),
            row("300 small files, -j 1", "-j 2, by the clock",
                in_turn(20, lambda: clock([program, "-j", "1", *many]),
                        lambda: clock([program, "-j", "2", *many])), ratio),
            row("check of 100 files without positions", "with positions",
                in_turn(20, lambda: processor([program, "check", *unplaced]),
                        lambda: processor([program, "check", *placed])), ratio),
            row("picture of 100,000 nodes", "check",
                in_turn(5, lambda: processor([program, "convert", "--force", large, "-o", picture]),
                        lambda: processor([program, "check", large])), beyond),
        ]
