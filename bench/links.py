"""Links that are hard to follow in the report's pictures: links.py lumo-import FILE...

Counts, in the pictures by the automatic layout and by the files' own, of nodes alone and with their
distributions, the links that run through a node which is not their end and those whose arrow head
lies within the node it points to. Ends with 1 when an automatic picture has one.
"""
import json
import math
import re
import subprocess
import sys

PIECES = 16  # of a segment of a course
SLACK = 0.01  # of a shape
HEAD = 9  # pixels


def reach(shape, at, point):
    """How far out the point lies: 1 on the shape's border."""
    x, y = abs(point[0] - at[0]) / at[2], abs(point[1] - at[1]) / at[3]
    if shape == "nature":
        return math.hypot(x, y)
    if shape == "utility":
        return max(y, x + 0.6 * at[3] * y / at[2])
    return max(x, y)


def sampled(course):
    points = course[:1]
    for i in range(0, len(course) - 3, 3):
        for n in range(1, PIECES + 1):
            t = n / PIECES
            weights = ((1 - t) ** 3, 3 * t * (1 - t) ** 2, 3 * t * t * (1 - t), t ** 3)
            points.append(tuple(sum(w * p[k] for w, p in zip(weights, course[i:])) for k in (0, 1)))
    if len(course) == 2:
        steps = 1 + int(math.dist(*course) / 3)
        points += [tuple(a + (b - a) * n / steps for a, b in zip(*course)) for n in range(1, steps + 1)]
    return points


def courses(numbers):
    at = 0
    while at < len(numbers):
        parent, child, count = numbers[at:at + 3]
        values = numbers[at + 3:at + 3 + 2 * count]
        yield parent, child, list(zip(values[::2], values[1::2]))
        at += 3 + 2 * count


def by_node(numbers):
    return [numbers[i:i + 4] for i in range(0, len(numbers), 4)]


def faults(shapes, boxes, numbers):
    """Links, those through a node, and those with their head in their node."""
    cells, size = {}, 150
    for i, (x, y, w, h) in enumerate(boxes):
        for column in range(int((x - w) // size), int((x + w) // size) + 1):
            for row in range(int((y - h) // size), int((y + h) // size) + 1):
                cells.setdefault((column, row), []).append(i)
    links = through = heads = 0
    for parent, child, course in courses(numbers):
        links += 1
        through += any(reach(shapes[i], boxes[i], point) < 1 - SLACK for point in sampled(course)
                       for i in cells.get((int(point[0] // size), int(point[1] // size)), ()) if i not in (parent, child))
        tip, before = course[-1], course[-2]
        part = HEAD / max(math.dist(before, tip), 1e-9)
        base = [t + (b - t) * part for t, b in zip(tip, before)]
        heads += any(reach(shapes[child], boxes[child], point) < 1 - SLACK for point in (tip, base))
    return links, through, heads


def pictures(page):
    data = json.loads(re.search(r'<script type="application/json" id="data">(.*?)</script>', page, re.S)[1])
    kinds = [node["kind"] for node in data["nodes"]]
    shown = data["picture"]
    for picture, own in ((shown, [node["at"] for node in data["nodes"]]), (shown.get("other"), None)):
        if not picture or not kinds:
            continue
        name = "automatic" if picture["laidOut"] else "the file's"
        yield name + ", nodes", kinds, own or by_node(picture["at"]), picture["links"]
        if "believed" in picture:
            believed = picture["believed"]
            yield name + ", distributions", ["box"] * len(kinds), by_node(believed["at"]), believed["links"]


def main(program, *files):
    sums = {}
    for file in files:
        page = subprocess.run([program, "convert", "-q", file, "--to", "html", "-o", "-"], capture_output=True, text=True).stdout
        for name, *picture in pictures(page) if page else ():
            found = faults(*picture)
            sums[name] = [total + one for total, one in zip(sums.get(name, [0] * 4), (1, *found))]
            if found[1] or found[2]:
                print(f"{file}, {name}: of {found[0]} links {found[1]} through nodes, {found[2]} heads in them")
    for name, (count, links, through, heads) in sorted(sums.items()):
        print(f"{name}: {count} pictures, {links} links, {through} through nodes, {heads} heads in them")
    return 1 if any(sum(found[2:]) for name, found in sums.items() if name.startswith("automatic")) else 0


sys.exit(main(*sys.argv[1:]))
