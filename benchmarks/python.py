#!/usr/bin/env python3
"""What a call costs from Python beside the same call from C++: python.py REFERENCE_LIBRARY

Both sides run in one process on the same connection and take turns, round by round; figures are medians of the rounds.
All of it runs on one core, as the other benchmarks of queries do. A missed target is printed and is no error.
"""

import asyncio
import contextlib
import ctypes
import itertools
import os
import platform
import statistics
import sys
import time

import _kyt_host as kyt
import kyt_host as layer
from kyt_host_testing import VirtualController

ROUNDS = 201  # short ones: most of them are then disturbed by nobody
UNKNOWN = 0  # a handle that no connection ever has: the call converts its arguments, and returns at once


def seconds_per_call(times, call, *arguments):
    each = itertools.repeat(None, times)
    before = time.perf_counter()
    for _ in each:
        call(*arguments)
    return (time.perf_counter() - before) / times


def medians(times, python, reference):
    sides = []
    for _ in range(ROUNDS + 1):
        sides.append((python(times), reference(times)))
    return [statistics.median(side) for side in zip(*sides[1:])]


def row(what, python, reference, unit, figure, bound, form):
    met = figure <= bound
    print(f"| {what:<56} | {python:>8.3f} {unit} | {reference:>8.3f} {unit} | {form % figure:>10} | {form % bound:>10} | "
          f"{'met' if met else 'MISSED'} |")
    return met


async def supervised(count, rate, seconds):
    """The share of a core that it takes to ask so many controllers for the state of robot 1."""
    with contextlib.ExitStack() as stack:
        controllers = [stack.enter_context(VirtualController("--state-period", "0")) for _ in range(count)]
        cells = [stack.enter_context(layer.connect(each.host, each.port)) for each in controllers]

        async def supervise(robot):
            for tick in range(1, rate * seconds + 1):
                await layer.in_background(robot.state)
                await asyncio.sleep(max(0.0, began + tick / rate - time.monotonic()))

        began, before = time.monotonic(), time.process_time()
        await asyncio.gather(*(supervise(cell.robot(1)) for cell in cells))
        return (time.process_time() - before) / (time.monotonic() - began)


def main():
    reference = ctypes.CDLL(sys.argv[1])
    for function in (reference.connectionStatus, reference.speed):
        function.restype = ctypes.c_double
    cores = os.sched_getaffinity(0)
    os.sched_setaffinity(0, {min(cores)})
    print(f"CPython {platform.python_version()}, load {os.getloadavg()[0]:.1f} at the start\n")
    print("| what | Python | C++ | difference or ratio | at most | |\n|---|--:|--:|--:|--:|---|")

    met = []
    with VirtualController("--state-period", "0") as controller:
        robot = kyt.connect_robot(controller.host, controller.port)
        same = reference.connectTo(controller.host.encode(), controller.port.encode())
        assert robot > 0 and same > 0
        calls = [
            ("a call with a handle, no output", kyt.get_connection_status, [robot], reference.connectionStatus, same),
            ("a call with one int&", kyt.get_speed, [UNKNOWN, 0], reference.speed, UNKNOWN),
        ]
        for what, call, arguments, other, handle in calls:
            python, cpp = medians(
                1000, lambda times: seconds_per_call(times, call, *arguments), lambda times: other(handle, times)
            )
            met.append(row(what, python * 1e9, cpp * 1e9, "ns", (python - cpp) * 1e9, 150, "+%.0f ns"))
        assert kyt.get_speed(robot, 0) == [0, 50]
        python, cpp = medians(
            100, lambda times: seconds_per_call(times, kyt.get_speed, robot, 0), lambda times: reference.speed(same, times)
        )
        met.append(row("a query", python * 1e6, cpp * 1e6, "us", python / cpp, 1.10, "%.2f"))
        kyt.disconnect_robot(robot)
        with layer.connect(controller.host, controller.port) as cell:
            pose, values = cell.robot(1).pose, []
            python, cpp = medians(
                100,
                lambda times: seconds_per_call(times, pose),
                lambda times: seconds_per_call(times, kyt.get_current_position_robot, cell.handle, 1, 1, values),
            )
            met.append(row("robot.pose(), beside the flat call from Python", python * 1e6, cpp * 1e6, "us",
                           (python - cpp) * 1e6, 3, "+%.1f us"))
    os.sched_setaffinity(0, cores)
    share, most = asyncio.run(supervised(50, 10, 5)), 1.0
    met.append(share <= most)
    print(f"\n50 controllers asked for their whole state 10 times a second each by one asyncio program: "
          f"{share:.2f} of a core (at most {most:.2f})")
    print("\nAll targets met." if all(met) else f"\n{met.count(False)} targets MISSED.")


if __name__ == "__main__":
    main()
