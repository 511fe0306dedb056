"""The dissector for Wireshark, by tshark, on the frame log of a whole session with the virtual controller."""

import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest
from collections import Counter
from pathlib import Path
from typing import Dict, Iterator, List

ROOT = Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "python"))

from kyt_host_testing import VirtualController  # type: ignore[import]  # noqa: E402

HOST = f"127.84.{os.getpid() // 250 % 250}.{os.getpid() % 250 + 1}"  # files go over port 5000: it is nobody else's here
FIELDS = ["tcp.stream", "tcp.len", "kyt.code", "kyt.request_in", "kyt.reply_in", "kyt.file", "kyt.file.offset", "json.key"]
Row = Dict[str, List[str]]


def tshark(capture: Path, *arguments: str) -> str:
    command = ["tshark", "-X", f"lua_script:{ROOT / 'tools/wireshark/kyt.lua'}", "-2", "-r", str(capture), *arguments]
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, timeout=300, check=True)
    if "Lua" in done.stderr + done.stdout:
        raise AssertionError(f"the dissector has failed: {done.stderr}{done.stdout}")
    return done.stdout


def dissected(capture: Path, *arguments: str) -> List[Row]:
    """The packets with something in them; of each field what it has there."""
    wanted = [option for field in FIELDS for option in ("-e", field)]
    lines = tshark(capture, "-Y", "tcp.len > 0", "-T", "fields", *wanted, "-E", "aggregator=|", *arguments).splitlines()
    return [dict(zip(FIELDS, ([v for v in each.split("|") if v] for each in line.split("\t")))) for line in lines]


def experts(capture: Path) -> "Counter[str]":
    messages = tshark(capture, "-Y", "tcp", "-T", "fields", "-e", "_ws.expert.message", "-E", "aggregator=|")
    return Counter(each for line in messages.splitlines() for each in line.split("|") if each)


def codes_in(stream: bytes) -> Iterator[str]:
    while stream:
        length, code = struct.unpack(">HH", stream[2:6])
        yield f"0x{code:04x}"
        stream = stream[6 + length + 4 :]


def packet(source: int, target: int, sequence: int, payload: bytes) -> bytes:
    """A record of pcap."""
    tcp = struct.pack(">HHIIHHHH", source, target, sequence, 1, 5 << 12 | 0x18, 65535, 0, 0) + payload
    ends = bytes([127, 0, 0, 1, 127, 0, 0, 2] if source > target else [127, 0, 0, 2, 127, 0, 0, 1])
    ip = struct.pack(">BBHHHBBH", 0x45, 0, 20 + len(tcp), 0, 0, 64, 6, 0) + ends + tcp
    return struct.pack("<IIII", 0, 0, len(ip), len(ip)) + ip


@unittest.skipUnless(shutil.which("tshark"), "tshark is not installed: scripts/setup.sh wireshark")
class Dissector(unittest.TestCase):
    capture: Path

    @classmethod
    def setUpClass(cls) -> None:
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.capture = Path(folder.name) / "session.pcapng"
        with VirtualController("--host", HOST, "--file-port", "5000", "--time-scale", "20") as controller:
            environment = {**os.environ, "KYT_HOST_FRAMES": str(cls.capture)}
            command = [os.environ["SESSION"], HOST, str(controller.port)]
            for attempts_left in (2, 1, 0):  # on a busy machine a reply may come too late for the session
                ran = subprocess.run(command, cwd=folder.name, env=environment, stdout=subprocess.DEVNULL, timeout=120)
                if ran.returncode == 0 or attempts_left == 0:
                    break
                cls.capture.unlink()
            ran.check_returncode()

    def test_every_frame_is_dissected_and_followed(self) -> None:
        rows = dissected(self.capture)
        self.assertGreater(len(rows), 100)
        cut = [row for row in rows if not row["kyt.code"]]  # the beginnings of frames that take more than one packet
        self.assertEqual({row["tcp.len"][0] for row in cut} - {"32768"}, set())
        found = experts(self.capture)
        for flaw in ("CRC", "magic", "unknown", "Malformed", "does not list", "No reply", "ends before"):
            self.assertEqual([each for each in found if flaw.lower() in each.lower()], [])
        self.assertTrue(any("deadman" in row["json.key"] or "robot" in row["json.key"] for row in rows))
        self.assertEqual(set(tshark(self.capture, "-Y", "json.member && !kyt", "-T", "fields", "-e", "frame.number")), set())

        replies = [row for row in rows if row["kyt.request_in"]]
        requests = [row for row in rows if row["kyt.reply_in"]]
        self.assertGreater(len(replies), 50)
        self.assertEqual(len(replies), len(requests))
        pieces = [(row["tcp.stream"][0], row["kyt.file"][0], int(row["kyt.file.offset"][0])) for row in rows if row["kyt.file.offset"]]
        self.assertIn(0, [offset for _, _, offset in pieces])
        ends = tshark(self.capture, "-Y", "kyt.code == 0x5512 || kyt.code == 0x5522", "-T", "fields", "-e", "_ws.col.Info")
        sizes = re.findall(r"(job/R1/\w+\.JBR), (\d+) bytes", ends)
        self.assertGreater(len({name for name, _ in sizes}), 1, ends)  # one went down, and up under another name
        self.assertGreater(int(sizes[0][1]), 0)
        self.assertEqual({size for _, size in sizes}, {sizes[0][1]})

    def test_a_damaged_frame_is_told(self) -> None:
        whole = self.capture.read_bytes()
        reply = whole.index(b'"robot":1', whole.index(b"\x4e\x66"))
        damaged = self.capture.with_name("damaged.pcapng")
        damaged.write_bytes(whole[:reply] + b"\x22Robot" + whole[reply + 6 :])
        found = experts(damaged)
        self.assertEqual({each: count for each, count in found.items() if "CRC" in each}, {"The CRC is wrong: the library drops this frame": 1})
        self.assertEqual([each for each in found if "Malformed" in each], [])

    def test_frames_are_put_together_on_any_port(self) -> None:
        fields = [each for field in ("tcp.srcport", "tcp.dstport", "tcp.payload") for each in ("-e", field)]
        lines = tshark(self.capture, "-Y", "tcp.stream == 0 && tcp.len > 0", "-T", "fields", *fields)
        streams = {True: b"", False: b""}
        for source, target, payload in (line.split("\t") for line in lines.splitlines()):
            streams[int(source) > int(target)] += bytes.fromhex(payload)
        expected = Counter(code for stream in streams.values() for code in codes_in(stream))
        for size in (700, 100):  # of packets, which end anywhere
            capture = self.capture.with_name("cut.pcap")
            with open(capture, "wb") as file:
                file.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 101))
                for outbound, stream in streams.items():
                    for begin in range(0, len(stream), size):
                        ends = (40000, 7777) if outbound else (7777, 40000)
                        file.write(packet(*ends, begin + 1, stream[begin : begin + size]))
            with self.subTest(size=size):
                codes = Counter(code for row in dissected(capture) for code in row["kyt.code"])
                self.assertEqual(codes, expected)
                self.assertFalse(any("CRC" in each or "Malformed" in each for each in experts(capture)))


if __name__ == "__main__":
    unittest.main()
