#!/usr/bin/env python3
"""Holds every #include of the tree to the table of the house in CONTRIBUTING.md, headers of the platform to
library/utilities/system*, and what not every standard library has to where there is another way."""
import glob
import os
import re
import subprocess
import sys

os.chdir(sys.argv[1])
allowed = {}  # folder -> the folders that it may include from, in the order of the table
for line in open("CONTRIBUTING.md", encoding="utf-8"):
    cells = [re.findall(r"`([a-z/]+/(?:NAME/)?)`", cell) for cell in line.split("|")[1:-1]]
    if len(cells) == 3 and cells[0]:
        for folder in cells[0]:
            allowed[folder] = cells[2]
formats = [os.path.dirname(row) + "/" for row in glob.glob("formats/*/format.cpp")]
for folder in formats:
    allowed[folder] = allowed["formats/NAME/"]
for folders in allowed.values():
    if "formats/NAME/" in folders:
        folders += formats
assert "library/utilities/" in allowed, "the table is gone"


def reach(folder):
    return {folder}.union(*(reach(below) for below in allowed[folder]))


def folder_of(path):
    return next((f for f in sorted(allowed, key=len, reverse=True) if path.startswith(f)), None)


# What is neither the standard library's nor a package's.
platform = re.compile(r"#include <(sys/.*|arpa/.*|netinet/.*|(unistd|fcntl|poll|dlfcn|malloc|malloc/malloc|locale|xlocale|"
                      r"signal|termios|pthread|windows|io|fcntl|process|shellapi|direct|strings)\.h|csignal)>")
without = ("library/", "formats/", "export/", "app/", "python/", "R/", "web/")


def floating_from_chars(text):
    """The lines that read floating numbers with std::from_chars, which libc++ does not have: by the names of their
    variables."""
    floats = set(re.findall(r"\b(?:double|float)\s+(\w+)\b(?!\()", text))
    for found in re.finditer(r"\bfrom_chars\(", text):
        depth, end = 1, found.end()
        while depth > 0:
            depth += {"(": 1, ")": -1}.get(text[end], 0)
            end += 1
        arguments = text[found.end():end - 1].split(",")
        if len(arguments) > 2 and any(re.search(r"\b(%s|double|float)\b" % name, ",".join(arguments[2:]))
                                      for name in floats):
            yield text.count("\n", 0, found.start()) + 1


faults = count = 0
files = subprocess.run(["find", *sorted({f.split("/")[0] for f in allowed}), "-name", "*.cpp", "-o", "-name", "*.h"],
                       capture_output=True, text=True, check=True).stdout.split()
for path in files:
    home = folder_of(path)
    text = open(path, encoding="utf-8").read()
    if path.startswith(without) and path != "library/utilities/numbers.cpp":
        for number in floating_from_chars(text):
            faults += 1
            print("%s:%d: not every standard library reads floating numbers so; ParseNumber does" % (path, number))
    for number, line in enumerate(text.splitlines(), 1):
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
