"""A robot controller for tests: the program `virtual_controller`, on ports of its own, for as long as it is needed.

    with VirtualController() as controller:
        robot = _kyt_host.connect_robot(controller.host, controller.port)
"""

import os
import re
import shutil
import signal
import subprocess
import tempfile
import time
from pathlib import Path
from types import TracebackType
from typing import Optional, Type

__all__ = ["VirtualController"]

_DEFAULTS = {"--host": "127.0.0.1", "--servo-port": "0", "--file-port": "0"}
_READY = re.compile(r"virtual controller: listening on (\S+):(\d+),")


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
                output.seek(0)
                text = output.read().decode(errors="replace")
                ready = _READY.search(text)
                if ready:
                    break
                if self._process.poll() is not None or time.monotonic() > deadline:
                    self.stop()
                    raise RuntimeError("the virtual controller has not started: " + text.strip())
                time.sleep(0.01)
        self.host, self.port = ready.groups()

    def stop(self) -> None:
        """Stops it, whatever it is doing. Connections to it break."""
        if self._process is None:
            return
        self._process.terminate()
        try:
            self._process.wait(self._timeout)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()
        self._process = None

    def raise_error(self) -> None:
        """Presses the emergency stop of robot 1: its servo state becomes 2, and the controller sends an error."""
        if self._process is None:
            raise RuntimeError("the virtual controller does not run")
        self._process.send_signal(signal.SIGUSR1)

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
