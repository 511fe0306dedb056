"""What the tests share: a controller that says what it is told to, and programs of their own."""

import faulthandler
import socket
import struct
import subprocess
import sys
import unittest
import zlib
from pathlib import Path
from typing import List

import _kyt_host as kyt

ROOT = Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "python"))  # last, so that what is installed comes first

import headers  # noqa: E402

faulthandler.dump_traceback_later(300, exit=True)  # whatever hangs in this process ends it, and is seen
PUBLIC_HEADERS = sorted((path for path in (ROOT / "kyt_host").rglob("*.h") if "detail" not in path.parts), key=str)
LISTS = [each for each in vars(kyt).values() if hasattr(each, "push_back")]
UNKNOWN = 0  # a handle that no connection ever has


class Peer:
    """Takes connections of the library and sends them frames."""

    def __init__(self, test: unittest.TestCase) -> None:
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = str(self.listener.getsockname()[1])
        self.sockets: List[socket.socket] = []
        self.test = test
        test.addCleanup(self.listener.close)

    def connect(self) -> int:
        robot = kyt.connect_robot("127.0.0.1", self.port)
        self.test.assertGreater(robot, 0)
        self.test.addCleanup(kyt.disconnect_robot, robot)
        self.accept()
        return robot

    def accept(self) -> None:
        self.sockets.append(self.listener.accept()[0])
        self.test.addCleanup(self.sockets[-1].close)

    def send(self, text: bytes, code: int = 0x1234, connection: int = 0) -> None:
        body = struct.pack(">HH", len(text) + 1, code) + text + b"\n"
        self.sockets[connection].sendall(b"Nf" + body + struct.pack(">I", zlib.crc32(body)))


def run(script: str, *arguments: str) -> "subprocess.CompletedProcess[str]":
    """Runs a script in an interpreter of its own, which gets half a minute."""
    return subprocess.run(
        [sys.executable, "-X", "faulthandler", "-c", script, *arguments],
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        universal_newlines=True,
        timeout=30,
    )
