"""The program kyt against a virtual controller: what it prints, its JSON, its exit status, and what it says when it fails."""

import fcntl
import json
import os
import pty
import re
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import termios
import time
import unittest
from pathlib import Path
from typing import Any, Callable, Optional

ROOT = Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "python"))

from kyt_host_testing import VirtualController  # type: ignore[import]  # noqa: E402

signal.signal(signal.SIGINT, signal.default_int_handler)  # what is started in the background inherits that it is ignored

KYT = os.environ["KYT"]
HOST = f"127.83.{os.getpid() // 250 % 250}.{os.getpid() % 250 + 1}"  # files go over port 5000: it is nobody else's here
LIMIT = 15.0  # seconds for anything to happen

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
        fcntl.ioctl(there, termios.TIOCSWINSZ, struct.pack("HHHH", 24, 80, 0, 0))
        self.seen = ""
        self.process = subprocess.Popen(
            [KYT, *arguments],
            stdin=there,
            stdout=there,
            stderr=there,
            env=environment(host),
            start_new_session=True,
            preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0),  # its Ctrl-C is the program's
        )
        os.close(there)

    def until(self, text: str) -> None:
        deadline = time.monotonic() + LIMIT
        while text not in self.seen:
            assert self.read() and time.monotonic() < deadline, self.seen[-1000:]

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
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

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
            ("status", "--host", "[::1]6001"): "[::1]6001 is not HOST or HOST:PORT",
            ("move", "linear", "1", "2", "3", "4"): "POSE: 3 or 6 values",
            ("jog", "1", "sideways"): "sideways not in",
            ("io", "list", "--robot", "2"): "--robot",
        }.items():
            self.kyt(*arguments, status=2, error=error)
        self.kyt("status", status=2, error="KYT_HOST", host="")
        self.kyt("status", status=1, error="connect: 127.0.0.1:1: Connection refused", host="127.0.0.1:1")
        self.kyt("status", status=1, error="connect: ::1:1: ", host="[::1]:1")
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
        self.kyt("move", "joints", "-90", "--speed", "1", "--timeout", "0.05", status=1, error="not there in time; the robot goes on")
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

    def test_interruption_without_a_line_says_so(self) -> None:
        cut = VirtualController()
        self.addCleanup(cut.stop)
        host = f"{cut.host}:{cut.port}"
        self.kyt("mode", "run", host=host)
        self.kyt("power", "on", host=host)
        move = [KYT, "move", "joints", "90", "--speed", "1", "--wait"]
        process = subprocess.Popen(move, env=environment(host), stderr=subprocess.PIPE, text=True)
        self.until(lambda: bool(cut.state()["robots"][0]["runningState"] == 2))
        cut.cut()
        process.send_signal(signal.SIGINT)
        self.assertIn("interrupted: robot 1 COULD NOT BE STOPPED: ", process.communicate(timeout=LIMIT)[1])
        self.assertEqual(process.returncode, 1)

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
        for answer, deletions in {"n": 0, "y": 1}.items():
            terminal = Terminal("jobs", "delete", "NONE", host=host)
            terminal.until("delete job NONE of VC-0001 at " + host + "? [y/N]")
            terminal.type(answer + "\n")
            self.assertEqual(terminal.end(), 1, terminal.seen)  # it has no such job
            self.assertEqual(len(elsewhere.requests("0x3111")), deletions)
        here = f"{elsewhere.host}:{elsewhere.port}"
        for terminal in (Terminal("jog", "1", "+", "--for", "0.1", host=here), Terminal("jog", "1", "+", "-y", host=host)):
            self.assertEqual((terminal.end(), "[y/N]" in terminal.seen), (0, False), terminal.seen)
        elsewhere.silence("0x5052", 1)
        terminal = Terminal("jog", "1", "+", host=here)
        terminal.until("of a controller that does not say what it is")
        terminal.type("\n")
        self.assertEqual(terminal.end(), 1)

    def test_following_points(self) -> None:
        self.ready()
        self.kyt("move", "joints", "0", "0", "0", "--speed", "100", "--wait")
        points = self.folder / "points.csv"
        points.write_text("10, 5\n20, 10\n")
        self.assertEqual([round(joint) for joint in self.json("follow", str(points), "--speed", "100")["joints"][:2]], [20, 10])
        where = self.json("status")["robots"][0]["pose"]
        points.write_text("a,b,c,x,y,z,note\n" + ",".join(map(str, where[3:] + where[:2] + [where[2] - 20])) + ",low\n")
        self.kyt("follow", str(points))
        self.assertAlmostEqual(self.json("status")["robots"][0]["pose"][2], where[2] - 20, delta=0.6)
        for text, error in {"1,2\n3,x\n": "csv:2: value 2 is no number", "u,v\n1,2\n": "names neither", "": "has no points"}.items():
            points.write_text(text)
            self.kyt("follow", str(points), status=1, error=error)

        # More points than the controller gets ahead: none of them goes out after the stop.
        points.write_text("".join(f"{number / 2}\n" for number in range(160)))
        terminal = Terminal("follow", str(points), "--speed", "1", "--robot", "2")
        terminal.until("points")
        self.until(lambda: bool(self.robot(2)["position"][0] > 0.5))
        terminal.type("\x03")
        self.assertEqual(terminal.end(), 1)
        self.assertIn("interrupted: robot 2 has been stopped", terminal.seen)
        self.until(lambda: bool(self.robot(2)["runningState"] == 0))
        stopped = self.robot(2)["position"][0]
        time.sleep(0.2)  # in which it would go on
        self.assertEqual(self.robot(2)["position"][0], stopped)
        self.assertLess(stopped, 40)

    def test_recording(self) -> None:
        csv, svg = self.folder / "run.csv", self.folder / "run.svg"
        told = self.json("record", "--for", "0.3", "--rate", "50", "-o", str(csv), "--plot", str(svg))
        lines = csv.read_text().splitlines()
        self.assertEqual((lines[0].split(",")[2], len(lines) - 1, told["samples"] > 3), ("joint1", told["samples"], True))
        self.assertIn("joint 6</text>", svg.read_text())
        self.kyt("record", "--for", "0.1", "-o", "/nowhere/run.csv", status=1, error="/nowhere/run.csv cannot be written")

        process = subprocess.Popen([KYT, "record", "-o", str(csv)], env=environment(), stdout=subprocess.PIPE, text=True)
        sent = len(controller.requests("0x2f07"))
        self.until(lambda: len(controller.requests("0x2f07")) > sent + 4)
        process.send_signal(signal.SIGINT)
        self.assertIn("samples", process.communicate(timeout=LIMIT)[0])
        self.assertEqual(process.returncode, 0)

    def test_watching(self) -> None:
        lines = [json.loads(line) for line in self.kyt("watch", "--json", "--count", "3", "--rate", "50").splitlines()]
        self.assertEqual(([len(line["robots"]) for line in lines], lines[0]["time"] < lines[2]["time"]), ([2, 2, 2], True))
        self.assertEqual(len(self.kyt("watch", "--count", "2", "--rate", "50").splitlines()), 2)

        watched = VirtualController("--robots", "1")
        self.addCleanup(watched.stop)
        terminal = Terminal("watch", f"{watched.host}:{watched.port}", "--rate", "50")
        terminal.until("\x1b[16A")  # back to the first of the lines, which the next state is drawn over
        self.assertLessEqual(max(len(line) for line in re.sub(r"\x1b\[\d*[AJK]", "", terminal.seen).splitlines()), 80)
        watched.set_input(2, 1)
        terminal.until("0 1 0 0")
        watched.cut()
        terminal.until("lost")
        watched.restore()
        terminal.seen = ""
        terminal.until("servo")
        terminal.type("\x03")
        self.assertEqual(terminal.end(), 0)

    def test_io(self) -> None:
        self.assertEqual(self.json("io", "set", "out", "5", "1"), {"kind": "out", "port": 5, "value": 1})
        self.kyt("io", "set", "aout", "2", "3.5")
        self.kyt("io", "force", "in", "3", "1")
        ports = self.json("io", "list")
        self.assertEqual((ports["outputs"][4], ports["analog_outputs"][1], ports["inputs"][2]), (1, 3.5, 1))
        self.assertEqual(ports["forced"], [{"port": 3, "level": 1}])
        self.assertEqual(self.json("io", "force", "in", "3", "off")["value"], 0)
        process = subprocess.Popen([KYT, "io", "wait", "in", "7", "1"], env=environment(), stdout=subprocess.PIPE, text=True)
        controller.set_input(7, 1)
        self.assertEqual((process.communicate(timeout=LIMIT)[0].split()[-1], process.returncode), ("1", 0))
        self.kyt("io", "wait", "in", "8", "1", "--timeout", "0.1", status=1, error="inputs[8] == 1: not within 0.1 s")
        self.kyt("io", "set", "out", "99", "1", status=1, error="there is no digital output 99")
        self.kyt("io", "set", "out", "1", "0.5", status=2, error="a level is 0 or 1")
        self.kyt("io", "set", "in", "1", "1", status=2, error="in not in")

    def test_jobs_and_backups(self) -> None:
        self.ready()
        job, line = self.folder / "SHORT.JBR", '{"paraTime":{"data":0.1,"value":0},"type":7}'
        job.write_text(line + "\n")
        self.assertEqual(self.json("jobs", "put", str(job)), {"jobs": ["SHORT"]})
        job.rename(self.folder / "LONG.JBR").write_text(line.replace("0.1", "600") + "\n")
        self.kyt("jobs", "put", str(self.folder / "LONG.JBR"))
        self.assertEqual(self.kyt("jobs", "list"), "jobs  LONG\n      SHORT\n")
        self.assertEqual(self.json("jobs", "show", "SHORT"), {"name": "SHORT", "lines": [line]})
        copy = self.folder / "copy.txt"
        self.kyt("jobs", "get", "SHORT", str(copy))
        self.assertEqual(copy.read_text(), line + "\n")
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ["LONG.JBR", "copy.txt"])

        self.assertEqual(self.json("jobs", "run", "SHORT", "--times", "2", "--wait")["running"], "stopped")
        self.kyt("jobs", "run", "LONG")
        self.assertEqual(self.json("status")["robots"][0]["job"], {"name": "LONG", "line": 1})
        self.kyt("jobs", "stop")
        self.until(lambda: bool(self.robot()["runningState"] == 0))
        self.kyt("jobs", "run", "NONE", status=1, error="there is no job NONE")
        self.kyt("jobs", "delete", "NONE", status=1, error="there is no job NONE")
        self.kyt("jobs", "show", "NONE", status=1, error="get: ")

        terminal = Terminal("backup", str(self.folder))
        self.assertEqual((terminal.end(), "#] job/R1/SHORT.JBR" in terminal.seen), (0, True), terminal.seen)
        for name in ("SHORT", "LONG"):
            self.kyt("jobs", "delete", name)
        self.assertEqual(self.json("jobs", "list"), {"jobs": []})
        self.assertEqual(len(self.json("restore", str(self.folder))["restored"]), 2)
        self.assertEqual(self.json("jobs", "list"), {"jobs": ["LONG", "SHORT"]})
        self.kyt("restore", str(self.folder / "robotJob"), status=1, error="no jobs stand in")

    def test_the_line(self) -> None:
        controller.clear_script()
        asked = ("raw", "0x2602", '{"robot":2}', "--reply", "0x2603")
        self.assertEqual(self.json(*asked)["content"]["robot"], 2)
        self.assertEqual(self.json("raw", "GetSpeed", "--reply", "SpeedReply")["content"]["robot"], 1)
        self.kyt("raw", "SetSpeed", '{"robot":1,"speed":12}')
        self.assertEqual(self.json("speed"), {"speed": 12})
        self.kyt("raw", "0x7777", status=1, error="there is no such request")
        self.kyt("raw", "GetSpeed", '{"robot":3}', "--reply", "SpeedReply", "--timeout", "0.1", status=1, error="there is no robot 3")
        self.kyt("raw", "GetWell", status=2, error="GetWell is no code")
        frames = [json.loads(line) for line in self.kyt("listen", "--for", "0.5", "--json").splitlines()]
        self.assertEqual({frame["frame"] for frame in frames}, {"RobotState"})
        self.assertEqual({frame["content"]["robot"] for frame in frames}, {1, 2})

        network = HOST.rsplit(".", 1)[0] + ".0/24"
        found = self.json("scan", network, "--port", controller.port)
        self.assertEqual((found["asked"], found["controllers"]), (254, [{"host": HOST, "id": "VC-0001"}]))
        self.kyt("scan", "10.0.0.0/8", status=2, error="more than 1024 addresses")
        self.kyt("scan", "10.0.0/24", status=2, error="is no network")

    def test_the_virtual_controller_and_the_help(self) -> None:
        virtual = os.environ["VIRTUAL_CONTROLLER"]
        theirs = subprocess.run([virtual, "--help"], capture_output=True, text=True)
        self.assertEqual(*(text.split("Options:")[1] for text in (self.kyt("sim", "--help"), theirs.stdout)))
        self.kyt("sim", "--data", "jobs", "--robots", "9", status=2, error="not in range 1 to 4")
        process = subprocess.Popen(
            [KYT, "sim", "--port", "0", "--file-port", "0", "--servo-port", "0"], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True
        )
        assert process.stdout is not None
        self.assertRegex(process.stdout.readline(), "listening on 127.0.0.1:[0-9]+, 4 robots")
        process.terminate()
        process.communicate(timeout=LIMIT)
        self.assertEqual(process.returncode, 0)

        for typed, offered in {"kyt mov": "move", "kyt move jo": "joints", "kyt --host 1 power o": "on off", "kyt io set --j": "--json"}.items():
            script = 'source <("$0" completion bash); COMP_WORDS=($1); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _kyt; echo "${COMPREPLY[@]}"'
            ran = subprocess.run(["bash", "-c", script, KYT, typed], capture_output=True, text=True)
            self.assertEqual((ran.stdout, ran.stderr), (offered + "\n", ""))
        if shutil.which("zsh"):
            subprocess.run(["zsh", "-n"], input=self.kyt("completion", "zsh"), text=True, check=True)
        manual = self.kyt("manual")
        for expected in (".TH KYT 1", ".SS kyt move joints JOINTS", ".B \\-\\-timeout", ".B KYT_HOST"):
            self.assertIn(expected, manual)
        self.assertRegex(self.kyt("sim", "--manual"), r"\.TH VIRTUAL_CONTROLLER 1[^\0]*\.B \\-\\-port\n[^\n]*\(6001\)\n")


if __name__ == "__main__":
    unittest.main()
