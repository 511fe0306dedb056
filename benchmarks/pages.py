#!/usr/bin/env python3
"""What a page costs that looks at a robot: the CPU of kyt view with one page open and with fifty, in one run.

    benchmarks/pages.py PROGRAM_KYT PROGRAM_VIRTUAL_CONTROLLER

Each page reads the states of one controller, 20 a second. The share is that of one core; requests are those that the
controller gets.
"""

import os
import re
import subprocess
import sys
import threading
import time
from http.client import HTTPConnection
from pathlib import Path
from typing import List

sys.path.append(str(Path(__file__).resolve().parents[1] / "python"))

from kyt_host_testing import VirtualController  # type: ignore[import]  # noqa: E402

SECONDS = 10.0


def cpu(process: "subprocess.Popen[str]") -> float:
    fields = Path(f"/proc/{process.pid}/stat").read_text(encoding="ascii").rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class Page(threading.Thread):
    def __init__(self, port: int, controller: str) -> None:
        super().__init__(daemon=True)
        self.states = 0
        self.connection = HTTPConnection("127.0.0.1", port)
        self.connection.request("GET", "/feed?controller=" + controller)
        self.start()

    def run(self) -> None:
        answer = self.connection.getresponse()
        while True:
            self.states += answer.readline() == b"event: state\n"


def main() -> None:
    kyt, virtual = sys.argv[1:]
    with VirtualController("--robots", "1", program=virtual) as controller:
        where = f"{controller.host}:{controller.port}"
        server = subprocess.Popen([kyt, "view", where, "--listen", "127.0.0.1:0"], stdout=subprocess.PIPE, text=True)
        assert server.stdout is not None
        found = re.search(r":(\d+)/", server.stdout.readline())
        assert found is not None
        pages: List[Page] = []
        for count in (1, 50):
            while len(pages) < count:
                pages.append(Page(int(found[1]), where))
            time.sleep(2)
            spent, states, asked = cpu(server), sum(page.states for page in pages), len(controller.requests("0x5052"))
            began = time.monotonic()
            time.sleep(SECONDS)
            took = time.monotonic() - began
            share = (cpu(server) - spent) / took
            each = (sum(page.states for page in pages) - states) / count / took
            polls = (len(controller.requests("0x5052")) - asked) / took
            print(
                f"{count:3} pages: {100 * share:5.1f} % of a core, {each:4.1f} states/s each, {polls:4.1f} polls/s, "
                f"{controller.state()['connections']} connection"
            )
        server.terminate()
        server.wait()


if __name__ == "__main__":
    main()
