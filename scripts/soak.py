#!/usr/bin/env python3
"""Watches a program that uses the library without rest: soak.py HOURS PROGRAM FOLDER [BYTES], by scripts/soak.sh.

Every few seconds its memory, threads and descriptors are noted, and those of the virtual controller that it talks to;
meanwhile that has its faults. After the first fifth, in which buffers find their sizes, a straight line through the lows
of what was measured may not rise by more than a bound.
"""

import itertools
import os
import random
import subprocess
import sys
import tempfile
import time
from pathlib import Path
from typing import Callable, Dict, List, NamedTuple, Tuple

from kyt_host_testing import VirtualController  # type: ignore[import]

WARMING_UP = 0.2  # of the whole
BOUNDS = {  # that a line may rise by
    "allocated, KiB": 256.0,  # of the library's program alone
    "resident, KiB": 2048.0,  # with what is free, but has not been given back to the system
    "threads": 2.0,
    "descriptors": 2.0,
}
# The replies that get lost: speed, servo state, position, inputs, identity. (None of those about files: a download waits
# for its answer without limit.)
QUERIES = ["0x2602", "0x2002", "0x2F07", "0x3605", "0x5052"]
COLOURS = {"library": "#1f77b4", "virtual controller": "#ff7f0e"}
Point = Tuple[float, float]


class Sample(NamedTuple):
    seconds: float
    values: List[float]  # in the order of BOUNDS


def measured(process: int, heap: Path) -> List[float]:
    status = Path(f"/proc/{process}/status").read_text(encoding="ascii")
    fields = dict(line.split(":", 1) for line in status.splitlines())
    descriptors = len(os.listdir(f"/proc/{process}/fd"))
    allocated = float(heap.read_text() or 0) if heap.exists() else 0.0
    return [allocated, float(fields["VmRSS"].split()[0]), float(fields["Threads"]), float(descriptors)]


def lowest(points: List[Point]) -> List[Point]:
    """Of each stretch of the time: what is there at any moment comes and goes, what is kept does not."""
    stretch = max(1, len(points) // 16)
    return [min(points[i : i + stretch], key=lambda point: point[1]) for i in range(0, len(points), stretch)]


def rise(points: List[Point]) -> float:
    """Of the straight line that fits best, from the first point to the last."""
    n = len(points)
    mean_x, mean_y = sum(x for x, _ in points) / n, sum(y for _, y in points) / n
    spread = sum((x - mean_x) ** 2 for x, _ in points)
    slope = sum((x - mean_x) * (y - mean_y) for x, y in points) / spread
    return slope * (points[-1][0] - points[0][0])


def faults(controller: VirtualController) -> Dict[str, Callable[[], object]]:
    """What may happen, each put right again by the next one or by itself."""

    def cut() -> None:
        controller.cut()
        time.sleep(0.5)
        controller.restore()

    def slow() -> None:
        controller.delay(300)
        time.sleep(2)
        controller.delay(0)

    def mute() -> None:  # for longer than a query waits, and than heartbeats do
        for query in QUERIES:
            controller.silence(query, -1)
        time.sleep(2)
        controller.clear_script()

    return {
        "cut": cut,
        "slow": slow,
        "mute": mute,
        "lose": lambda: controller.silence(random.choice(QUERIES), 5),
        "refuse": lambda: controller.refuse(random.choice(QUERIES), 5),
        "stop": lambda: controller.emergency_stop(random.randint(1, 4)),
        "raise": lambda: controller.perform("raise_warning", code=7, text="soaking", robot=1),
    }


def picture(samples: Dict[str, List[Sample]], file: Path) -> None:
    width, height, left, top = 900, 170, 60, 30
    parts = [f"<svg xmlns='http://www.w3.org/2000/svg' width='{width + 80}' height='{len(BOUNDS) * (height + 50)}' "
             "font-family='sans-serif' font-size='12'>\n<rect width='100%' height='100%' fill='white'/>\n"]  # fmt: skip
    hours = max(each[-1].seconds for each in samples.values()) / 3600
    for row, name in enumerate(BOUNDS):
        highest = 1.1 * max(sample.values[row] for each in samples.values() for sample in each)
        floor = top + row * (height + 50) + height
        parts.append(f"<text x='{left}' y='{floor - height - 8}'>{name}, over {hours:.2f} h</text>\n")
        parts.append(f"<path d='M{left} {floor - height} V{floor} H{left + width}' fill='none' stroke='#999'/>\n")
        parts.append(f"<text x='5' y='{floor}'>0</text><text x='5' y='{floor - height + 10}'>{highest:.0f}</text>\n")
        for place, (who, each) in enumerate(samples.items()):
            points = " ".join(
                f"{left + width * sample.seconds / (hours * 3600):.1f},{floor - height * sample.values[row] / highest:.1f}"
                for sample in each
            )
            parts.append(f"<polyline fill='none' stroke='{COLOURS[who]}' points='{points}'/>\n")
            parts.append(f"<text x='{left + 250 + 150 * place}' y='{floor - height - 8}' fill='{COLOURS[who]}'>{who}</text>\n")
    file.write_text("".join(parts) + "</svg>\n", encoding="utf-8")


def main() -> int:
    hours, program, folder = float(sys.argv[1]), sys.argv[2], Path(sys.argv[3])
    end = hours * 3600
    between = min(10.0, end / 200)
    host = f"127.85.{os.getpid() // 250 % 250}.{os.getpid() % 250 + 1}"  # files go over port 5000
    samples: Dict[str, List[Sample]] = {who: [] for who in COLOURS}
    happened: "Dict[str, int]" = {}
    with tempfile.TemporaryDirectory() as files, VirtualController(
        "--host", host, "--file-port", "5000", "--state-period", "100", "--time-scale", "10"
    ) as controller:
        command = [program, host, str(controller.port), files, *sys.argv[4:]]
        # With a heap for each few threads, as is usual, resident memory creeps up though nothing is kept. And what each
        # thread puts aside of what it frees, up to 200 KiB, would be counted as allocated.
        heaps = {**os.environ, "MALLOC_ARENA_MAX": "2", "GLIBC_TUNABLES": "glibc.malloc.tcache_count=0"}
        soak = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, env=heaps)
        processes = {"library": soak.pid, "virtual controller": controller._process.pid}
        begin = time.monotonic()
        turn = itertools.cycle(faults(controller).items())
        while soak.poll() is None and time.monotonic() - begin < end:
            now = time.monotonic() - begin
            for who, process in processes.items():
                samples[who].append(Sample(now, measured(process, Path(files, "heap" if process == soak.pid else "none"))))
            if len(samples["library"]) % 3 == 0:
                name, fault = next(turn)
                fault()
                happened[name] = happened.get(name, 0) + 1
            time.sleep(max(0.0, between - (time.monotonic() - begin - now)))
        try:
            said, _ = soak.communicate("", timeout=120)
        except subprocess.TimeoutExpired:
            soak.kill()
            said = "the program has not ended within two minutes"
    print(said.strip())
    print("faults: " + ", ".join(f"{name} {count}" for name, count in happened.items()))

    with open(folder / "soak.csv", "w", encoding="utf-8") as table:
        table.write("who,seconds,allocated KiB,resident KiB,threads,descriptors\n")
        for who, each in samples.items():
            table.writelines(f"{who},{one.seconds:.1f},{','.join(f'{v:.0f}' for v in one.values)}\n" for one in each)
    picture(samples, folder / "soak.svg")

    failed = soak.returncode != 0
    if failed:
        print(f"the program has ended with {soak.returncode}", file=sys.stderr)
    for who, each in samples.items():
        judged = [sample for sample in each if sample.seconds >= WARMING_UP * end]
        for row, (name, bound) in enumerate(BOUNDS.items()):
            risen = rise(lowest([(sample.seconds, sample.values[row]) for sample in judged]))
            last = sum(sample.values[row] for sample in judged[-10:]) / len(judged[-10:])
            print(f"{who}: {name}: {last:.0f} at the end, the line rises by {risen:+.1f}", end="")
            print(f", more than {bound:.0f}: FAILED" if risen > bound else "")
            failed = failed or risen > bound
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
