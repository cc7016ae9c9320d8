#!/usr/bin/env python3
"""Holds the #include lines of lib/ and tools/ against the floors in docs/architecture.md and draws them.

    include_graph.py           checks, and writes docs/floors.svg
    include_graph.py --check   checks, and fails when docs/floors.svg is out of date
    include_graph.py --public  names the public headers, which are those that kr.h leads to

The table of floors is read from docs/architecture.md, a room in each row. The backquoted names of a
room are its files below lib/ (or from the root): with an ending one file, without one the header and
the source of that name; `*` stands for any characters. A file includes files of its own room and of
rooms on lower floors; no file includes itself by way of others; a public header does not lead to
platform/platform.h.
"""
import fnmatch
import os
import re
import sys

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
MAP = "docs/architecture.md"
DRAWING = "docs/floors.svg"
COLOURS = {  # by directory: fill, line
    "platform": ("#eceff1", "#78909c"),
    "result": ("#fff3e0", "#fb8c00"),
    "base": ("#e3f2fd", "#1e88e5"),
    "printf": ("#f3e5f5", "#8e24aa"),
    "log": ("#e8f5e9", "#43a047"),
    "settings": ("#fffde7", "#c0a000"),
    "tools": ("#fbe9e7", "#d84315"),
    "": ("#ffffff", "#424242"),
}
MARGIN, LABEL_WIDTH, ROW, BOX, GAP, CHARACTER = 16, 60, 62, 24, 10, 6.6


class Room:
    def __init__(self, name, floor, patterns):
        self.name, self.floor, self.patterns = name, floor, patterns
        self.lower = set()  # names of the rooms that this one includes

    def holds(self, path):
        stem = os.path.splitext(path)[0]
        return any(fnmatch.fnmatchcase(path if "." in p or "*" in p else stem, p)
                   for p in self.patterns)


def read(path):
    with open(os.path.join(ROOT, path), encoding="utf-8") as file:
        return file.read()


def read_rooms():
    rooms = []
    for floor, cell in re.findall(r"^\| (\d+) \| (.*) \|$", read(MAP), re.MULTILINE):
        patterns = re.findall(r"`([^`]+)`", cell)
        if not patterns:
            sys.exit(f"{MAP}: a room without a file: {cell}")
        rooms.append(Room(os.path.splitext(patterns[0])[0], int(floor), patterns))
    return rooms


def read_includes():
    """Every source and header, by its name below lib/ or from the root, with those it includes."""
    paths = []
    for top in ("lib", "tools"):
        for folder, _, names in os.walk(os.path.join(ROOT, top)):
            paths += [os.path.relpath(os.path.join(folder, name), ROOT) for name in names
                      if name.endswith((".h", ".cpp", ".c"))]
    paths.sort()
    known = set(paths)
    short = lambda path: path[len("lib/"):] if path.startswith("lib/") else path
    includes = {}
    for path in paths:
        found = includes.setdefault(short(path), [])
        for name in re.findall(r'^\s*#\s*include\s+"([^"]+)"', read(path), re.MULTILINE):
            near = os.path.normpath(os.path.join(os.path.dirname(path), name))
            found += [short(place) for place in (near, "lib/" + name) if place in known][:1]
    return includes


def circle_below(start, includes, done):
    """The files of a circle that can be reached from `start`, or nothing."""
    trail, stack = [], [(start, iter(includes[start]))]
    trail.append(start)
    while stack:
        path, rest = stack[-1]
        for lower in rest:
            if lower in trail:
                return trail[trail.index(lower):] + [lower]
            if lower not in done:
                trail.append(lower)
                stack.append((lower, iter(includes[lower])))
                break
        else:
            done.add(path)
            trail.pop()
            stack.pop()
    return []


def public_headers(includes):
    public = ["kr.h"]
    for path in public:
        public += [lower for lower in includes[path] if lower not in public]
    return public


def check(rooms, includes):
    """The faults found, one text each. Fills in which rooms a room includes."""
    faults, home = [], {}
    for path in includes:
        homes = [room for room in rooms if room.holds(path)]
        if len(homes) == 1:
            home[path] = homes[0]
        else:
            names = ", ".join(room.name for room in homes) or "none"
            faults.append(f"{path}: must stand in one room of the table of floors, stands in {names}")
    for room in rooms:
        for pattern in room.patterns:
            if not any(Room("", 0, [pattern]).holds(path) for path in includes):
                faults.append(f"floor {room.floor}: `{pattern}` is no file")

    for path, lower_paths in includes.items():
        for lower in lower_paths:
            upper_room, lower_room = home.get(path), home.get(lower)
            if not upper_room or not lower_room or upper_room is lower_room:
                continue
            upper_room.lower.add(lower_room.name)
            if lower_room.floor >= upper_room.floor:
                faults.append(f"{path} (floor {upper_room.floor}) includes {lower} (floor "
                              f"{lower_room.floor}): only lower floors may be included")

    done = set()
    for path in includes:
        circle = circle_below(path, includes, done) if path not in done else []
        if circle:
            faults.append("includes go round in a circle: " + " > ".join(circle))
            break

    if "platform/platform.h" in public_headers(includes):
        faults.append("kr.h leads to platform/platform.h: public headers must not need the system")
    return faults


def without_shortcuts(rooms):
    """Edges from room to room, without those that follow from two others: what a drawing can bear."""
    by_name = {room.name: room for room in rooms}
    below = {}
    for room in sorted(rooms, key=lambda room: room.floor):
        below[room.name] = set(room.lower).union(*(below.get(name, set()) for name in room.lower))
    edges = []
    for room in rooms:
        for name in sorted(room.lower):
            if not any(name in below[other] for other in room.lower if other != name):
                edges.append((room, by_name[name]))
    return edges


def place(rooms, edges):
    """A box for every room: each floor a row, in the order that keeps the lines short."""
    floors = sorted({room.floor for room in rooms})
    rows = {floor: [room for room in rooms if room.floor == floor] for floor in floors}
    width = lambda room: len(room.name) * CHARACTER + 14
    length = lambda row: sum(width(room) for room in row) + GAP * (len(row) - 1)
    widest = max(length(row) for row in rows.values())
    boxes = {}
    for sweep in range(4):
        for floor in floors if sweep % 2 == 0 else reversed(floors):
            row = rows[floor]

            def pull(room):
                others = [a if b is room else b for a, b in edges if room in (a, b)]
                middles = [boxes[o.name][0] + width(o) / 2 for o in others if o.name in boxes]
                return (sum(middles) / len(middles) if middles else widest / 2, room.name)

            row.sort(key=pull)
            space = min(GAP * 5, (widest - length(row)) / (len(row) + 1))
            x = MARGIN + LABEL_WIDTH + (widest - length(row) - space * (len(row) - 1)) / 2
            y = MARGIN + (floors[-1] - floor) * ROW
            for room in row:
                boxes[room.name] = (x, y, width(room))
                x += width(room) + GAP + space
    return boxes, widest + LABEL_WIDTH + 2 * MARGIN, (len(floors) - 1) * ROW + BOX + 2 * MARGIN + 24


def draw(rooms):
    edges = without_shortcuts(rooms)
    boxes, width, height = place(rooms, edges)
    out = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width:.0f}" height="{height:.0f}" '
        f'viewBox="0 0 {width:.0f} {height:.0f}" font-family="DejaVu Sans Mono, monospace" '
        f'font-size="11">',
        f"<!-- Written by tools/scripts/{os.path.basename(__file__)}. -->",
        f'<rect width="{width:.0f}" height="{height:.0f}" fill="#ffffff"/>',
    ]
    for floor in sorted({room.floor for room in rooms}, reverse=True):
        y = next(boxes[room.name][1] for room in rooms if room.floor == floor)
        out.append(f'<rect x="{MARGIN / 2:.0f}" y="{y - 6:.0f}" width="{width - MARGIN:.0f}" '
                   f'height="{BOX + 12}" fill="#fafafa"/>')
        out.append(f'<text x="{MARGIN}" y="{y + 16:.0f}" fill="#757575">floor {floor}</text>')
    out.append('<g fill="none" stroke-width="0.8" stroke-opacity="0.6">')
    for upper, lower in edges:
        x1, y1, w1 = boxes[upper.name]
        x2, y2, w2 = boxes[lower.name]
        x1, x2, y1 = x1 + w1 / 2, x2 + w2 / 2, y1 + BOX
        line = COLOURS[directory(upper)][1]
        bend = ROW / 2
        out.append(f'<path d="M{x1:.1f} {y1:.1f}C{x1:.1f} {y1 + bend:.1f} {x2:.1f} {y2 - bend:.1f} '
                   f'{x2:.1f} {y2:.1f}" stroke="{line}"><title>{upper.name} includes {lower.name}'
                   f"</title></path>")
    out.append("</g>")
    for room in sorted(rooms, key=lambda room: (-room.floor, room.name)):
        x, y, w = boxes[room.name]
        fill, line = COLOURS[directory(room)]
        out.append(f'<rect x="{x:.1f}" y="{y:.1f}" width="{w:.1f}" height="{BOX}" rx="3" '
                   f'fill="{fill}" stroke="{line}"/>')
        out.append(f'<text x="{x + w / 2:.1f}" y="{y + 16:.1f}" text-anchor="middle">{room.name}</text>')
    out.append(f'<text x="{MARGIN}" y="{height - MARGIN:.0f}" fill="#757575">A line leads from a room to '
               "one that it includes. Where a room also reaches it by way of another, the line is left "
               "out.</text>")
    out.append("</svg>")
    return "\n".join(out) + "\n"


def directory(room):
    return room.name.split("/")[0] if "/" in room.name else ""


def main(arguments):
    if arguments in (["--help"], ["-h"]):
        print(__doc__.strip())
        return 0
    if arguments not in ([], ["--check"], ["--public"]):
        print(__doc__.strip(), file=sys.stderr)
        return 2
    rooms = read_rooms()
    if not rooms:
        print(f"{MAP}: no table of floors found", file=sys.stderr)
        return 1
    includes = read_includes()
    if arguments == ["--public"]:
        print(" ".join("lib/" + path for path in sorted(public_headers(includes))))
        return 0
    faults = check(rooms, includes)
    if not faults:
        drawing = draw(rooms)
        path = os.path.join(ROOT, DRAWING)
        if not arguments:
            try:
                with open(path, "w", encoding="utf-8") as file:
                    file.write(drawing)
            except OSError as error:
                faults.append(f"{DRAWING} cannot be written: {error.strerror}")
        elif not os.path.exists(path) or read(DRAWING) != drawing:
            faults.append(f"{DRAWING} is out of date: run tools/scripts/{os.path.basename(__file__)}")
    for fault in faults:
        print(fault, file=sys.stderr)
    print(f"{len(includes)} files in {len(rooms)} rooms, faults: {len(faults)}")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
