"""The program kyt against a virtual controller: what it prints, its JSON, its exit status, and what it says when it fails."""

import json
import os
import pty
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path
from typing import Any, Callable, Optional

ROOT = Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "python"))

from kyt_host_testing import VirtualController  # type: ignore[import]  # noqa: E402

KYT = os.environ["KYT"]
HOST = f"127.83.{os.getpid() // 250 % 250}.{os.getpid() % 250 + 1}"  # files go over port 5000: it is nobody else's here
LIMIT = 20.0  # seconds for anything to happen

controller: Any = None


def setUpModule() -> None:
    global controller
    controller = VirtualController("--host", HOST, "--file-port", "5000", "--robots", "2", "--time-scale", "3")


def tearDownModule() -> None:
    controller.stop()


def environment(host: Optional[str] = None) -> "dict[str, str]":
    return {**os.environ, "KYT_HOST": f"{HOST}:{controller.port}" if host is None else host}


class Terminal:
    """The program with a terminal of its own, which a person looks at and types into."""

    def __init__(self, *arguments: str, host: Optional[str] = None) -> None:
        self.screen, there = pty.openpty()
        self.seen = ""
        self.process = subprocess.Popen(
            [KYT, *arguments], stdin=there, stdout=there, stderr=there, env=environment(host), start_new_session=True
        )
        os.close(there)

    def until(self, text: str) -> None:
        deadline = time.monotonic() + LIMIT
        while text not in self.seen:
            assert self.read() and time.monotonic() < deadline, self.seen

    def read(self) -> bool:
        try:
            more = os.read(self.screen, 65536).decode()
        except OSError:  # the program has ended
            more = ""
        self.seen += more
        return more != ""

    def type(self, text: str) -> None:
        os.write(self.screen, text.encode())

    def end(self) -> int:
        while self.read():
            pass
        os.close(self.screen)
        return self.process.wait(LIMIT)


class Tool(unittest.TestCase):
    def kyt(self, *arguments: str, status: int = 0, error: str = "", host: Optional[str] = None) -> str:
        """What it prints. Where an error is expected there, standard error has it, and otherwise nothing."""
        ran = subprocess.run(
            [KYT, *arguments], capture_output=True, text=True, timeout=LIMIT, env=environment(host), stdin=subprocess.DEVNULL
        )
        self.assertEqual(ran.returncode, status, (arguments, ran.stdout, ran.stderr))
        if error:
            self.assertIn(error, ran.stderr)
        else:
            self.assertEqual(ran.stderr, "")
        return ran.stdout

    def json(self, *arguments: str) -> Any:
        """What it tells scripts: one line."""
        (line,) = self.kyt(*arguments, "--json").splitlines()
        return json.loads(line)

    def until(self, happened: Callable[[], bool]) -> None:
        deadline = time.monotonic() + LIMIT
        while not happened():
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.01)

    def robot(self, number: int = 1) -> Any:
        return controller.state()["robots"][number - 1]

    def ready(self) -> None:
        """Robots that may be moved, and stand."""
        self.kyt("mode", "run")
        self.kyt("power", "on")

    def test_state(self) -> None:
        state = self.json("status")
        self.assertEqual((state["controller"], [robot["robot"] for robot in state["robots"]]), ("VC-0001", [1, 2]))
        self.assertEqual((len(state["robots"][0]["joints"]), len(state["inputs"]), state["alarms"]), (7, 32, []))
        self.assertEqual([robot["robot"] for robot in self.json("status", "--robot", "2")["robots"]], [2])
        self.assertIn("  servo    ", self.kyt("status", f"{HOST}:{controller.port}", host=""))

        self.assertEqual(self.json("mode", "run"), {"mode": "run"})
        self.assertEqual(self.kyt("power", "on"), "servo  running\n")
        self.assertEqual(self.kyt("power", "off"), "servo  ready\n")
        self.kyt("speed", "42", "--robot", "2")
        self.assertEqual((self.json("speed", "--robot", "2"), self.json("speed") == {"speed": 42}), ({"speed": 42}, False))

        controller.raise_error(4711, "the gripper is jammed")
        (first, second) = self.json("status")["robots"]
        self.assertEqual((first["servo"], first["error"], second["servo"]), ("error", 4711, "ready"))
        self.assertEqual(self.json("clear"), {"servo": "ready"})

    def test_what_cannot_be_is_said(self) -> None:
        help = self.kyt("--help", host="")
        self.assertLessEqual((len(help.splitlines()), max(map(len, help.splitlines()))), (24, 80))
        self.assertRegex(self.kyt("--version"), r"^\d+\.\d+\.\d+")
        for arguments, error in {
            (): "which command?",
            ("move",): "move: which command?",
            ("dance",): "dance",
            ("speed", "130"): "PERCENT: Value 130 not in range 0 to 100",
            ("mode", "sleep"): "sleep not in",
            ("power",): "STATE is required",
            ("status", "--host", "somewhere:x"): "somewhere:x is not HOST or HOST:PORT",
            ("move", "linear", "1", "2", "3", "4"): "POSE: 3 or 6 values",
            ("jog", "1", "sideways"): "sideways not in",
        }.items():
            self.kyt(*arguments, status=2, error=error)
        self.kyt("status", status=2, error="KYT_HOST", host="")
        self.kyt("status", status=1, error="connect: 127.0.0.1:1 cannot be reached", host="127.0.0.1:1")
        self.kyt("speed", "10", "--robot", "3", status=1, error="there is no robot 3")
        controller.silence("0x2602")
        self.kyt("speed", status=1, error="kyt: speed: no reply")

    def test_moving(self) -> None:
        self.ready()
        moved = self.json("move", "joints", "20", "-10", "30", "--speed", "100", "--wait")
        self.assertEqual((moved["running"], [round(joint, 1) for joint in moved["joints"][:3]]), ("stopped", [20, -10, 30]))
        before = moved["pose"]
        after = self.json("move", "linear", "--relative", "--wait", "0", "5", "-20")["pose"]
        for value, expected in zip(after[:3], (before[0], before[1] + 5, before[2] - 20)):
            self.assertAlmostEqual(value, expected, delta=0.6)
        self.kyt("move", "linear", *(str(round(value, 3)) for value in before), "--wait")
        self.kyt("jog", "1", "-", "--for", "0.2")
        self.assertLess(self.json("jog", "1", "-", "--for", "0.1")["joints"][0], 20)
        self.kyt("move", "joints", "500", status=1, error="beyond a limit of joint 1")
        self.kyt("move", "joints", "-90", "--speed", "1", "--timeout", "0.05", status=1, error="not within 0.05 s")
        self.assertEqual(self.json("stop"), {"stopped": [1, 2]})
        self.until(lambda: bool(self.robot()["runningState"] == 0))
        controller.refuse("0x50ba")
        self.kyt("stop", "--robot", "1", status=1, error="NOT STOPPED: robot 1")

    def test_interruption_stops_the_robot(self) -> None:
        self.ready()
        self.kyt("move", "joints", "0", "0", "0", "--speed", "100", "--wait")
        for what in (("move", "joints", "90", "--speed", "2", "--wait"), ("jog", "2", "+", "--for", "60")):
            process = subprocess.Popen([KYT, *what], env=environment(), stderr=subprocess.PIPE, text=True)
            self.until(lambda: bool(self.robot()["runningState"] == 2))
            process.send_signal(signal.SIGINT)
            self.assertEqual((process.communicate(timeout=LIMIT)[1], process.returncode), ("kyt: interrupted: robot 1 has been stopped\n", 1))
            self.until(lambda: bool(self.robot()["runningState"] == 0))
            where = self.json("status")["robots"][0]["joints"]
            self.assertLess(max(where), 45)

    def test_confirmation(self) -> None:
        """The virtual controller on this PC moves without a question; what may be elsewhere does not, whatever its name."""
        elsewhere = VirtualController()
        self.addCleanup(elsewhere.stop)
        host = f"0.0.0.0:{elsewhere.port}"
        self.kyt("mode", "run", host=host)
        self.kyt("power", "on", host=host)
        for answer, status in {"n": 1, "yes please": 1, "y": 0}.items():
            terminal = Terminal("move", "joints", "2", "--wait", host=host)
            terminal.until("move the joints of robot 1 of VC-0001 at " + host + "? [y/N]")
            terminal.type(answer + "\n")
            self.assertEqual((terminal.end(), "not confirmed" in terminal.seen), (status, status == 1), terminal.seen)
            self.assertAlmostEqual(elsewhere.state()["robots"][0]["position"][0], 0 if status else 2, delta=0.2)
        here = f"{elsewhere.host}:{elsewhere.port}"
        for terminal in (Terminal("jog", "1", "+", "--for", "0.1", host=here), Terminal("jog", "1", "+", "-y", host=host)):
            self.assertEqual((terminal.end(), "[y/N]" in terminal.seen), (0, False), terminal.seen)
        elsewhere.silence("0x5052", 1)
        terminal = Terminal("jog", "1", "+", host=here)
        terminal.until("of a controller that does not say what it is")
        terminal.type("\n")
        self.assertEqual(terminal.end(), 1)


if __name__ == "__main__":
    unittest.main()
