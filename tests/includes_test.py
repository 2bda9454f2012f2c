#!/usr/bin/env python3
"""Holds every #include of the tree to the table of the house in CONTRIBUTING.md, and headers of the platform to
library/utilities/system*.cpp."""
import os
import re
import subprocess
import sys

os.chdir(sys.argv[1])
allowed = {}  # folder -> the folders that it may include from, in the order of the table
for line in open("CONTRIBUTING.md", encoding="utf-8"):
    cells = [re.findall(r"`([a-z/]+/)`", cell) for cell in line.split("|")[1:-1]]
    if len(cells) == 3 and cells[0]:
        for folder in cells[0]:
            allowed[folder] = cells[2]
assert "library/utilities/" in allowed, "the table is gone"


def reach(folder):
    return {folder}.union(*(reach(below) for below in allowed[folder]))


def folder_of(path):
    return next((f for f in sorted(allowed, key=len, reverse=True) if path.startswith(f)), None)


# What is neither the standard library's nor a package's.
platform = re.compile(r"#include <(sys/.*|arpa/.*|netinet/.*|(unistd|fcntl|poll|dlfcn|malloc|malloc/malloc|locale|xlocale|"
                      r"signal|termios|pthread|windows|io|fcntl|process|shellapi|direct|strings)\.h)>")
without = ("library/", "formats/", "export/")  # but for the place of the machine

faults = count = 0
files = subprocess.run(["find", *sorted({f.split("/")[0] for f in allowed}), "-name", "*.cpp", "-o", "-name", "*.h"],
                       capture_output=True, text=True, check=True).stdout.split()
for path in files:
    home = folder_of(path)
    for number, line in enumerate(open(path, encoding="utf-8"), 1):
        if platform.match(line) and path.startswith(without) and not path.startswith("library/utilities/system"):
            faults += 1
            print("%s:%d: only library/utilities/system knows the platform" % (path, number))
        if line.startswith("#include <filesystem>") and path.startswith(("library/", "formats/")) and not path.startswith(
                "library/utilities/"):
            faults += 1
            print("%s:%d: a browser has no <filesystem>" % (path, number))
        included = re.match(r'#include "([^"]+)"', line)
        if not included:
            continue
        count += 1
        if home is None or folder_of(included[1]) not in reach(home):
            faults += 1
            print("%s:%d: %s may not include %s" % (path, number, home, included[1]))
print("%d includes, %d of them out of order" % (count, faults))
sys.exit(faults > 0 or count < 100)
