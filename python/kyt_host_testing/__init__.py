"""A robot controller for tests: the program `virtual_controller`, on ports of its own, for as long as it is needed.

    with VirtualController() as controller:
        robot = _kyt_host.connect_robot(controller.host, controller.port)
        controller.set_input(3, 1)
"""

import json
import os
import re
import shutil
import socket
import subprocess
import tempfile
import time
from pathlib import Path
from types import TracebackType
from typing import Any, Dict, List, Optional, Type, Union

__all__ = ["VirtualController"]

_DEFAULTS = {"--host": "127.0.0.1", "--servo-port": "0", "--file-port": "0", "--control-port": "0"}
_READY = re.compile(r"taking commands on (\S+):(\d+)\n.*listening on (\S+):(\d+),", re.DOTALL)


class VirtualController:
    """Starts the program and waits until it can be connected to.

    :param arguments: more of the program's options, such as "--robots", "2", "--state-period", "0"
    :param program: its path; otherwise what the environment's VIRTUAL_CONTROLLER names, the program that was installed
        with this module, or the first on PATH
    :param timeout: how many seconds it may take to start or stop
    """

    host: str
    port: str

    def __init__(self, *arguments: str, program: Optional[str] = None, timeout: float = 10) -> None:
        self._timeout = timeout
        self._command = [program or _find_program(), *arguments]
        for option, value in _DEFAULTS.items():
            self._command += [] if option in arguments else [option, value]
        self._process: Optional["subprocess.Popen[bytes]"] = None
        self._control: Optional[socket.socket] = None
        self.host, self.port = "127.0.0.1", "0"
        self.start()

    def start(self) -> None:
        """Starts it again after `stop`, on the same port and with new robots."""
        if self._process is not None:
            raise RuntimeError("the virtual controller runs already")
        with tempfile.TemporaryFile() as output:  # not a pipe: nobody has to read what a long life prints
            command = [*self._command, "--port", self.port]
            self._process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=output, stderr=output)
            deadline = time.monotonic() + self._timeout
            while True:
                # What it writes goes where it left off: reading must not move that place.
                text = os.pread(output.fileno(), 1 << 16, 0).decode(errors="replace")
                ready = _READY.search(text)
                if ready:
                    break
                if self._process.poll() is not None or time.monotonic() > deadline:
                    self.stop()
                    raise RuntimeError("the virtual controller has not started: " + text.strip())
                time.sleep(0.01)
        control_host, control_port, self.host, self.port = ready.groups()
        self._control = socket.create_connection((control_host, int(control_port)), self._timeout)

    def stop(self) -> None:
        """Stops it, whatever it is doing. Connections to it break."""
        if self._control is not None:
            self._control.close()
            self._control = None
        if self._process is None:
            return
        self._process.terminate()
        try:
            self._process.wait(self._timeout)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()
        self._process = None

    # The outside world. What the controller does not take, is raised as a ValueError with its reason.

    def set_input(self, port: int, level: int) -> None:
        """Changes what is wired to a digital input, 1..32, to level 0 or 1."""
        self.perform("set_input", port=port, level=level)

    def set_analog_input(self, port: int, value: float) -> None:
        """Changes what is wired to an analog input, 1..16."""
        self.perform("set_analog_input", port=port, value=value)

    def emergency_stop(self, robot: int = 1) -> None:
        """Presses the emergency stop of a robot: its servo state becomes 2, and the controller sends an error."""
        self.perform("emergency_stop", robot=robot)

    def raise_error(self, code: Optional[int] = None, text: str = "", robot: int = 1) -> None:
        """Lets a robot have an error; without a code it is the emergency stop's."""
        if code is None:
            self.emergency_stop(robot)
        else:
            self.perform("raise_error", robot=robot, code=code, text=text)

    # A request code is a number, a text such as "0x2602", or "all" for every request.

    def refuse(self, code: Union[int, str], times: int = 1) -> None:
        """Answers the next requests of this code with an error frame; all of them, if `times` is negative."""
        self.perform("refuse", code=code, times=times)

    def silence(self, code: Union[int, str], times: int = 1) -> None:
        """Lets the next requests of this code go without an answer; all of them, if `times` is negative."""
        self.perform("silence", code=code, times=times)

    def unsilence(self, code: Union[int, str]) -> None:
        """Takes back the silences of a request code."""
        self.perform("unsilence", code=code)

    def delay(self, ms: int) -> None:
        """Lets replies leave this much later, in order."""
        self.perform("delay", ms=ms)

    # Robots that behave badly, until `clear_script`. Times are the controller's.

    def lag_state(self, ms: int) -> None:
        """Lets the running state be told as it was so long ago, and all else as it is; 0: as it is."""
        self.perform("lag_state", ms=ms)

    def start_late(self, ms: int) -> None:
        """Lets arms stand for so long before each motion; 0: not at all."""
        self.perform("start_late", ms=ms)

    def stop_short(self, fraction: float, robot: int = 1) -> None:
        """Lets the robot's next motion end after this fraction of its way, 0..1, without a word."""
        self.perform("stop_short", fraction=fraction, robot=robot)

    def wrap_angles(self, on: bool = True) -> None:
        """Lets poses be told with other angles A, B, C for the same turn."""
        self.perform("wrap_angles", on=on)

    def clear_script(self) -> None:
        """Takes back refusals, silences, the delay, and how robots behave badly."""
        self.perform("clear_script")

    def cut(self) -> None:
        """Cuts the line: connections break, and new ones are refused until `restore`. The robots live on."""
        self.perform("cut")

    def restore(self) -> None:
        """Takes connections again, on the same port."""
        self.perform("restore")

    def requests(self, code: Union[int, str, None] = None) -> List[Dict[str, Any]]:
        """The latest requests, of one code or of all: "code", "text" as it came, and number of the "connection"."""
        found: List[Dict[str, Any]] = self.perform("requests", **({} if code is None else {"code": code}))
        return found

    def state(self) -> Dict[str, Any]:
        """What inputs, outputs, variables and robots are like now."""
        found: Dict[str, Any] = self.perform("state")
        return found

    def perform(self, command: str, **values: Any) -> Any:
        """Any command of the control port, with its values; returns its result."""
        if self._control is None:
            raise RuntimeError("the virtual controller does not run")
        self._control.sendall(json.dumps({"command": command, **values}).encode() + b"\n")
        line = b""
        while not line.endswith(b"\n"):
            more = self._control.recv(65536)
            if not more:
                raise RuntimeError("the virtual controller has ended")
            line += more
        answer = json.loads(line)
        if not answer["ok"]:
            raise ValueError(answer["error"])
        return answer.get("result")

    def __enter__(self) -> "VirtualController":
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        exception: Optional[BaseException],
        traceback: Optional[TracebackType],
    ) -> None:
        self.stop()


def _find_program() -> str:
    beside = Path(__file__).with_name("virtual_controller")
    program = os.environ.get("VIRTUAL_CONTROLLER") or (str(beside) if beside.exists() else None)
    program = program or shutil.which("virtual_controller")
    if program is None:
        raise RuntimeError("there is no program virtual_controller: name it in the environment as VIRTUAL_CONTROLLER")
    return program
