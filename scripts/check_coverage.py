#!/usr/bin/env python3
"""Sums llvm-cov's figures by room, and holds them against the floors, together with those of the layer in Python:

llvm-cov export ... | check_coverage.py PYTHON [--raise], where PYTHON is what `coverage json` has written
"""

import json
import math
import os
import sys
from pathlib import Path
from typing import Dict

ROOT = Path(__file__).resolve().parent.parent
FLOORS = ROOT / "tests/coverage.json"
ROOMS = {  # the first whose path a file begins with
    "kyt_host/robot": "layer in C++",
    "kyt_host": "library",
    "tool": "tool",
    "virtual_controller": "virtual controller",
}
KINDS = ("lines", "branches")


def sums() -> Dict[str, Dict[str, float]]:
    """Percent reached, by room and kind."""
    counts = {room: {kind: [0, 0] for kind in KINDS} for room in ROOMS.values()}
    for file in json.load(sys.stdin)["data"][0]["files"]:
        path = Path(os.path.normpath(file["filename"]))  # compilers may have been told it from the folder of the build
        if ROOT not in path.parents or ROOT / "build" in path.parents:
            continue
        place = path.relative_to(ROOT).as_posix()
        room = next((name for start, name in ROOMS.items() if place.startswith(start)), None)
        if room is None:
            continue
        for kind in KINDS:
            counts[room][kind][0] += file["summary"][kind]["covered"]
            counts[room][kind][1] += file["summary"][kind]["count"]
    python = json.loads(Path(sys.argv[1]).read_text())["totals"]
    counts["layer in Python"] = {
        "lines": [python["covered_lines"], python["num_statements"]],
        "branches": [python["covered_branches"], python["num_branches"]],
    }
    return {
        room: {kind: 100 * covered / max(count, 1) for kind, (covered, count) in kinds.items()}
        for room, kinds in counts.items()
    }


def main() -> None:
    reached = sums()
    floors = json.loads(FLOORS.read_text()) if FLOORS.exists() else {}
    below = []
    print(f"{'':20} {'lines':>8} {'floor':>6} {'branches':>9} {'floor':>6}")
    for room, kinds in reached.items():
        floor = floors.setdefault(room, dict.fromkeys(KINDS, 0))
        print(
            f"{room:20} {kinds['lines']:7.1f}% {floor['lines']:6} {kinds['branches']:8.1f}% {floor['branches']:6}"
        )
        below += [f"{room}: {kind}" for kind in KINDS if kinds[kind] < floor[kind]]
        for kind in KINDS:  # a percent of room, for what depends on the machine
            floor[kind] = max(floor[kind], math.floor(kinds[kind]) - 1)
    if "--raise" in sys.argv:
        FLOORS.write_text(json.dumps(floors, indent=2) + "\n")
    if below:
        sys.exit("below the floor: " + ", ".join(below))


if __name__ == "__main__":
    main()
