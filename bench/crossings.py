"""Crossings of the automatic layout against dot's: crossings.py lumo-import FILE...

Counts the points where courses of links cross, in the program's picture and in dot's drawing of the
same net, and lists the nets where dot has fewer. Nets of more than 3,000 links are
left out. Ends with 1 when dot has fewer crossings in all.
"""
import re
import subprocess
import sys

MOST_LINKS = 3000
PIECES = 12  # of a segment of a course


def along(points):
    """Points along a course of cubic segments, or of a straight line."""
    if len(points) == 2:
        return points
    course = [points[0]]
    for first in range(0, len(points) - 3, 3):
        segment = points[first:first + 4]
        for n in range(1, PIECES + 1):
            t = n / PIECES
            weights = ((1 - t) ** 3, 3 * t * (1 - t) ** 2, 3 * t * t * (1 - t), t ** 3)
            course.append(tuple(sum(w * p[k] for w, p in zip(weights, segment)) for k in (0, 1)))
    return course


def side(a, b, p):
    area = (b[0] - a[0]) * (p[1] - a[1]) - (b[1] - a[1]) * (p[0] - a[0])
    return (area > 0) - (area < 0)


def apart(course, link):
    """The course with the points between its ends a trace aside: dot leads several courses through
    one point, and where they cross in it that counts."""
    return [course[0], *((x + link * 1e-7, y) for x, y in course[1:-1]), course[-1]]


def crossings(courses):
    pieces = []
    for link, course in enumerate(courses):
        course = apart(course, link)
        for a, b in zip(course, course[1:]):
            upper, lower = sorted((a, b), key=lambda p: p[1])
            pieces.append((upper[1], lower[1], upper, lower, link))
    pieces.sort()
    count = 0
    for i, (_, end, a, b, link) in enumerate(pieces):
        for j in range(i + 1, len(pieces)):
            top, _, c, d, other = pieces[j]
            if top > end:
                break
            count += (link != other and side(a, b, c) * side(a, b, d) < 0
                      and side(c, d, a) * side(c, d, b) < 0)
    return count


def numbers(text):
    found = [float(n) for n in re.findall(r"-?[\d.]+(?:e-?\d+)?", text)]
    return list(zip(found[::2], found[1::2]))


def ours(program, file):
    svg = subprocess.run([program, "convert", "-q", file, "--to", "svg", "--layout", "auto", "-o", "-"],
                         capture_output=True, text=True).stdout
    links = svg.split('<g fill="none"', 1)[-1].split("</g>", 1)[0]
    return [along(numbers(path)) for path in re.findall(r'<path d="([^"]*)"/>', links)]


def dots(program, file):
    """Courses by dot, of nodes with the sizes of the picture's."""
    made = subprocess.run([program, "convert", "-q", file, "--to", "dot", "-o", "-"], capture_output=True, text=True).stdout
    made = re.sub(r'pos="[^"]*", ', "", made)
    drawn = subprocess.run(["dot", "-Tplain"], input=made, capture_output=True, text=True).stdout
    courses = []
    for line in drawn.split("\n"):
        found = re.match(r"edge .*? (\d+)((?: -?[\d.]+){4,})", line)
        if found:
            count = int(found.group(1))
            courses.append(along(numbers(found.group(2))[:count]))
    return courses


def main(program, *files):
    sums, fewer = [0, 0], []
    for file in files:
        svg = ours(program, file)
        if not svg or len(svg) > MOST_LINKS:
            continue
        by_dot = dots(program, file)
        if len(by_dot) != len(svg):
            print(f"{file}: {len(svg)} links, and {len(by_dot)} by dot: not compared")
            continue
        counts = crossings(svg), crossings(by_dot)
        sums = [total + count for total, count in zip(sums, counts)]
        if counts[0] > counts[1]:
            fewer.append((file, *counts))
    for file, own, by_dot in fewer:
        print(f"{file}: {own}, by dot {by_dot}")
    print(f"in all: {sums[0]}, by dot {sums[1]}")
    return 1 if sums[0] > sums[1] else 0


sys.exit(main(*sys.argv[1:]))
