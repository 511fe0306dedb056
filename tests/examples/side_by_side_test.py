"""Runs each task in its three versions against virtual controllers, and looks at what they say and do."""

import os
import queue
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path
from typing import Any, Callable, Dict, List, Sequence

from kyt_host_testing import VirtualController  # type: ignore[import]

signal.signal(signal.SIGINT, signal.default_int_handler)  # what is started in the background inherits that it is ignored

FOLDER = Path(__file__).resolve().parents[2] / "examples/side_by_side"
PATIENCE = 30.0  # s, for anything


class Program:
    """A running version of a task, and what it says."""

    def __init__(self, file: str, arguments: Sequence[str], controllers: Sequence[VirtualController]) -> None:
        name, _, language = file.partition(".")
        self.file, self.said, self._heard = file, "", 0
        addresses = [f"{each.host}:{each.port}" for each in controllers]
        if name.endswith("_flat") and not name.startswith("supervise"):
            addresses = [controllers[0].host, controllers[0].port]
        program = [f"{os.environ['PROGRAMS']}/{name}"]
        command = [sys.executable, "-Bu", str(FOLDER / file)] if language == "py" else program
        pipe = subprocess.PIPE
        self.process = subprocess.Popen(
            [*command, *arguments, *addresses], stdin=pipe, stdout=pipe, stderr=subprocess.STDOUT, text=True
        )
        self._lines: "queue.Queue[str]" = queue.Queue()
        self._reader = threading.Thread(target=self._read)
        self._reader.start()

    def _read(self) -> None:
        assert self.process.stdout
        for line in self.process.stdout:
            self._lines.put(line)
        self._lines.put("")

    def says(self, text: str) -> None:
        """Waits for a text, after those that were waited for before."""
        end = time.monotonic() + PATIENCE
        while text not in self.said[self._heard :]:
            try:
                line = self._lines.get(timeout=max(0.0, end - time.monotonic()))
            except queue.Empty:
                line = ""
            self.said += line
            if not line:
                raise AssertionError(f"{self.file} has not said {text!r}, but:\n{self.said}")
        self._heard = self.said.index(text, self._heard) + len(text)

    def answers(self, line: str) -> None:
        assert self.process.stdin
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()

    def ends(self, status: int) -> None:
        ended = self.process.wait(PATIENCE)
        if ended != status:
            raise AssertionError(f"{self.file} ended with {ended}, after:\n{self.said}")

    def close(self) -> None:
        self.process.kill()
        self.process.wait()
        self._reader.join()
        for stream in (self.process.stdin, self.process.stdout):
            if stream:
                stream.close()


def until(happened: Callable[[], bool]) -> None:
    end = time.monotonic() + PATIENCE
    while not happened():
        if time.monotonic() > end:
            raise AssertionError("it does not happen")
        time.sleep(0.01)


def robots(controller: VirtualController) -> List[Dict[str, Any]]:
    return [*controller.state()["robots"]]


class SideBySide(unittest.TestCase):
    def each(self, task: str, more: Sequence[str], go_through: Callable[..., None], *arguments: str) -> None:
        """Goes through all versions of a task, each with a controller of its own."""

        def one(file: str) -> None:
            options = ["--state-period", "0", *more]
            with tempfile.TemporaryDirectory() as folder, VirtualController(*options) as controller:
                program = Program(file, [each.format(folder=folder) for each in arguments], [controller])
                try:
                    go_through(program, controller, Path(folder))
                finally:
                    program.close()

        files = sorted(file.name for file in FOLDER.glob(f"{task}*"))
        self.assertEqual(len(files), 3)
        with ThreadPoolExecutor(3) as several:
            for going in [several.submit(one, file) for file in files]:
                going.result()

    def test_three_moves(self) -> None:
        def go_through(program: Program, controller: VirtualController, _: Path) -> None:
            program.says("down and up again, to Z = 870.5 mm")
            program.ends(0)
            self.assertAlmostEqual(robots(controller)[0]["position"][2], 30)

        self.each("three_moves", ["--time-scale", "5"], go_through)

    def test_pick_and_place_with_a_cut_line_an_alarm_and_without_a_part(self) -> None:
        def go_through(program: Program, controller: VirtualController, _: Path) -> None:
            def gripper() -> int:
                return int(controller.state()["outputs"][0])

            controller.set_input(1, 1)
            program.says("a part is in its place")
            controller.cut()
            program.says("the line is cut")
            controller.restore()
            program.says("the line is back")
            program.says("a part is in its place")
            until(lambda: gripper() == 1)  # the next part
            controller.emergency_stop()
            program.says("stopped: ")
            program.says("is the cell clear?")
            self.assertEqual((robots(controller)[0]["servoState"], gripper()), (2, 1))
            program.answers("y")
            program.says("a part is in its place")
            controller.set_input(1, 0)
            program.says("ended: ")
            self.assertRegex(program.said, r"(inputs\[1\] == 1|no part): not within 5 s\n$")
            program.ends(1)
            self.assertEqual((robots(controller)[0]["runningState"], gripper()), (0, 0))

        self.each("pick_and_place", ["--time-scale", "5"], go_through)

    def test_pick_and_place_ends_unless_somebody_has_looked(self) -> None:
        def go_through(program: Program, controller: VirtualController, _: Path) -> None:
            controller.set_input(1, 1)
            until(lambda: bool(robots(controller)[0]["runningState"] == 2))
            controller.raise_error(77, "the gripper has lost its air")
            program.says("is the cell clear?")
            program.answers("n")
            program.says("ended: ")
            self.assertIn("the gripper has lost its air", program.said)
            program.ends(1)
            self.assertEqual(robots(controller)[0]["servoState"], 2)

        self.each("pick_and_place", [], go_through)

    def test_follow_a_rose(self) -> None:
        def go_through(program: Program, controller: VirtualController, _: Path) -> None:
            program.says("1000 of 1000 points")
            program.says("the robot stands 0.0 mm from the centre")
            program.ends(0)

        self.each("follow_a_rose", ["--time-scale", "10"], go_through)

    def test_react_to_alarm(self) -> None:
        def go_through(program: Program, controller: VirtualController, folder: Path) -> None:
            until(lambda: bool(robots(controller)[0]["runningState"] == 2))
            controller.raise_error(77, "the guard door is open", robot=2)
            program.says("alarm 77 of robot 2: the guard door is open")
            program.says("the robot stands, the lamp is on: ")
            program.ends(0)
            self.assertRegex((folder / "log").read_text(encoding="utf-8"), r"robot 2: the guard door is open \(77\)\n")
            self.assertEqual(controller.state()["outputs"][:4], [0, 0, 1, 0])
            robot = robots(controller)[0]
            self.assertEqual((robot["servoState"], robot["runningState"]), (3, 0))

        self.each("react_to_alarm", ["--robots", "2"], go_through, "{folder}/log")

    def test_supervise(self) -> None:
        with ThreadPoolExecutor(20) as several:
            starting = [several.submit(VirtualController, "--robots", "1", "--state-period", "200") for _ in range(20)]
            controllers = [each.result() for each in starting]
        for controller in controllers:
            self.addCleanup(controller.stop)
        faulty, cut = controllers[6], controllers[12]
        programs = []
        for file in ("supervise.py", "supervise.cpp", "supervise_flat.py"):
            programs.append(Program(file, [], controllers))
            self.addCleanup(programs[-1].close)
        for program in programs:
            for _ in controllers:
                program.says("servo stop, stopped\n")
        faulty.raise_error(77, "oil is low")
        for program in programs:
            program.says(f"{faulty.host}:{faulty.port}: servo error, stopped")
            if "oil is low" not in program.said:
                program.says("oil is low")
        cut.cut()
        for program in programs:
            program.says(f"{cut.host}:{cut.port}: not connected")
        cut.restore()
        for program in programs:
            program.says(f"{cut.host}:{cut.port}: servo stop, stopped")
            program.process.send_signal(signal.SIGINT)
            program.process.wait(PATIENCE)


if __name__ == "__main__":
    unittest.main()
