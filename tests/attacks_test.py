#!/usr/bin/env python3
"""Holds the table of attacks in docs/limits.md to the tests: attacks_test.py ROOT PROGRAM...

A row names tests, of the programs as GoogleTest's filters, in Python as FILE: PATTERN, or files as a glob, and how many of them
there are at least."""
import fnmatch
import pathlib
import re
import subprocess
import sys

root, programs = pathlib.Path(sys.argv[1]), sys.argv[2:]
text = (root / "docs/limits.md").read_text(encoding="utf-8")
rows = re.findall(r"^\| (.+?) \| (.+) \| (\d+) \|$", text.split("## Attacks")[1].split("\n## ")[0], re.M)
assert len(rows) > 8, rows


def tests_of(pattern):
    if ": " in pattern:
        file, wanted = pattern.split(": ")
        names = re.findall(r"def (test_\w+)", (root / file).read_text(encoding="utf-8"))
        return len(fnmatch.filter(names, wanted))
    if pattern[0].islower():
        return len([path for path in root.glob(pattern) if path.is_file() and path.suffix != ".expected"])
    return sum(len(re.findall("^  ", subprocess.run([program, "--gtest_list_tests", "--gtest_filter=" + pattern], check=True,
                                                    capture_output=True, text=True).stdout, re.M)) for program in programs)


faults = 0
for attack, cell, least in rows:
    found = 0
    for pattern in re.findall(r"`([^`]+)`", cell):
        count = tests_of(pattern)
        found += count
        if count == 0:
            faults += 1
            print("%s: no test is %s" % (attack, pattern))
    if found < int(least):
        faults += 1
        print("%s: %d tests, where the page says at least %s" % (attack, found, least))
print("%d attacks, %d of them not held" % (len(rows), faults))
sys.exit(faults > 0)
