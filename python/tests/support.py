"""What the tests share: a controller, a peer that says what it is told to, and programs of their own."""

import faulthandler
import signal
import socket
import struct
import subprocess
import sys
import zlib
from pathlib import Path

import _kyt_host as kyt

ROOT = Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "python"))  # last, so that what is installed comes first

import docstrings  # noqa: E402
from docstrings import headers  # noqa: E402
from kyt_host_testing import VirtualController  # noqa: E402

signal.signal(signal.SIGINT, signal.default_int_handler)  # what is started in the background inherits that it is ignored
faulthandler.dump_traceback_later(300, exit=True)  # whatever hangs in this process ends it, and is seen
PUBLIC_HEADERS = sorted(
    (
        path
        for path in (ROOT / "kyt_host").rglob("*.h")
        if not {"c", "detail", "codec", "exchange", "robot"} & set(path.parts)
        and path.name not in {"exchanges.h", "names.h", "robot.h"}
    ),
    key=str,
)
HEADERS = [headers.read(str(path)) for path in PUBLIC_HEADERS]


def start_controller(add_cleanup, period="0", *options):
    """A virtual controller, and a connection to it."""
    controller = VirtualController("--state-period", period, *options)
    add_cleanup(controller.stop)
    robot = kyt.connect_robot(controller.host, controller.port)
    add_cleanup(kyt.disconnect_robot, robot)
    return controller, robot


class Peer:
    """Takes connections of the library and sends them frames."""

    def __init__(self, test):
        self.test, self.sockets = test, []
        self.listener = socket.create_server(("127.0.0.1", 0))
        test.addCleanup(self.listener.close)

    def connect(self):
        robot = kyt.connect_robot("127.0.0.1", str(self.listener.getsockname()[1]))
        self.test.assertGreater(robot, 0)
        self.test.addCleanup(kyt.disconnect_robot, robot)
        self.sockets.append(self.listener.accept()[0])
        self.test.addCleanup(self.sockets[-1].close)
        return robot

    def send(self, text, code, connection=0):
        body = struct.pack(">HH", len(text) + 1, code) + text + b"\n"
        self.sockets[connection].sendall(b"Nf" + body + struct.pack(">I", zlib.crc32(body)))


def run(*arguments, timeout=None, **options):
    """Runs this interpreter with other arguments."""
    return subprocess.run([sys.executable, *arguments], capture_output=True, text=True, timeout=timeout, **options)
