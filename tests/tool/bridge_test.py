"""kyt bridge and kyt fleet against a real broker, as a host application sees them that decodes payloads by a library of others."""

import json
import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import urllib.request
from pathlib import Path
from typing import Any, Callable, Dict, List, Optional

ROOT = Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "python"))

from kyt_host_testing import VirtualController  # type: ignore[import]  # noqa: E402

KYT = os.environ["KYT"]
WORK = Path(os.environ["WORK"])  # a folder of the build's, for what npm installs
HOST_PROGRAM = ROOT / "tests" / "tool" / "sparkplug"
PAYLOAD = ["payload_mass", "payload_inertia", "payload_mass_center_X", "payload_mass_center_Y", "payload_mass_center_Z"]
LIMIT = 40.0  # seconds for anything to happen


def setUpModule() -> None:
    """Installs the decoder as its lock file says, once for each build."""
    for program in ("node", "npm", "mosquitto"):
        if shutil.which(program) is None and not Path("/usr/sbin", program).exists():
            raise unittest.SkipTest(f"{program} is not installed: scripts/setup.sh fleet")
    WORK.mkdir(parents=True, exist_ok=True)
    for name in ("package.json", "package-lock.json", "host.js"):
        shutil.copy(HOST_PROGRAM / name, WORK)
    if not (WORK / "node_modules" / ".package-lock.json").exists():
        install = ["npm", "ci", "--no-audit", "--no-fund", "--ignore-scripts"]
        ran = subprocess.run(install, cwd=WORK, capture_output=True, text=True)
        if ran.returncode != 0:
            raise unittest.SkipTest("npm cannot install the decoder: " + ran.stderr.strip()[-500:])


def until(happened: Callable[[], Any], what: Callable[[], Any] = lambda: "") -> Any:
    """What it returns, once that is something."""
    deadline = time.monotonic() + LIMIT
    while True:
        result = happened()
        if result:
            return result
        if time.monotonic() > deadline:
            raise AssertionError(f"not within {LIMIT} s: {what()}")
        time.sleep(0.02)


def free_port() -> int:
    with socket.socket() as one:
        one.bind(("127.0.0.1", 0))
        return int(one.getsockname()[1])


class Broker:
    """mosquitto with a configuration of its own."""

    def __init__(self, folder: Path, *lines: str) -> None:
        self.port = free_port()
        self.file = folder / "mosquitto.conf"
        account = ["user root"] if os.getuid() == 0 else []  # otherwise it would give up reading our files
        self.file.write_text("\n".join([f"listener {self.port} 127.0.0.1", *account, *lines]) + "\n")
        self.start()

    def start(self) -> None:
        program = shutil.which("mosquitto") or "/usr/sbin/mosquitto"
        self.process = subprocess.Popen([program, "-c", str(self.file)], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

        def listens() -> bool:
            assert self.process.poll() is None, "mosquitto has ended"
            with socket.socket() as one:
                return one.connect_ex(("127.0.0.1", self.port)) == 0

        until(listens)

    def kill(self) -> None:
        self.process.kill()
        self.process.wait()


class Program:
    """A program whose lines are collected while it runs."""

    def __init__(self, command: List[str], error: bool = False) -> None:
        pipe = subprocess.PIPE
        self.process = subprocess.Popen(
            command, stdin=pipe, stdout=None if error else pipe, stderr=pipe if error else None, text=True
        )
        self.lines: List[str] = []
        self.reader = threading.Thread(target=self.read, args=[self.process.stderr if error else self.process.stdout])
        self.reader.start()

    def read(self, stream: Any) -> None:
        for line in stream:
            self.lines.append(line)

    def said(self, text: str) -> bool:
        return any(text in line for line in list(self.lines))

    def end(self, how: int = signal.SIGTERM) -> int:
        if self.process.poll() is None:
            self.process.send_signal(how)
        status = self.process.wait(LIMIT)
        self.reader.join()
        for stream in (self.process.stdin, self.process.stdout, self.process.stderr):
            if stream is not None:
                stream.close()
        return status


class Host(Program):
    """What a host application sees: messages as the decoder has them, in the order of their arrival."""

    def __init__(self, broker: str, options: "Optional[Dict[str, str]]" = None) -> None:
        self.read_so_far: "List[Any]" = []
        super().__init__(["node", str(WORK / "host.js"), broker, json.dumps(options or {})])
        until(lambda: self.said('"connected"'), lambda: self.lines)

    def messages(self, kind: str = "", node: str = "", device: str = "") -> "List[Any]":
        every = self.read_so_far
        every += [json.loads(line) for line in self.lines[len(every) :]]
        wanted = {"kind": kind, "node": node, "device": device}
        return [each for each in every if all(not value or each.get(key) == value for key, value in wanted.items())]

    def publish(self, topic: str, **what: Any) -> None:
        assert self.process.stdin is not None
        self.process.stdin.write(json.dumps({"topic": topic, **what}) + "\n")
        self.process.stdin.flush()

    def values(self, device: str, metric: str) -> "List[Any]":
        """What has been told of a metric, in births and in data: its entries, by the aliases that births have told."""
        alias = None
        found = []
        for message in self.messages():
            for entry in message.get("payload", {}).get("metrics", []) if message.get("device") == device else []:
                if message["kind"].endswith("BIRTH") and entry["name"] == metric:
                    alias = entry["alias"]
                if entry.get("alias") == alias and alias is not None:
                    found.append(entry)
        return found

    def last(self, device: str, metric: str) -> Any:
        values = self.values(device, metric)
        return values[-1].get("value") if values else None


class Listener:
    """Checks that what a host sees is as the convention has it, from the first message to the last."""

    def __init__(self, test: unittest.TestCase) -> None:
        self.test = test
        self.kinds: "Dict[str, int]" = {}

    def check(self, messages: "List[Any]") -> "Dict[str, int]":
        nodes: "Dict[str, Any]" = {}
        for message in messages:
            kind = message["kind"]
            self.kinds[kind] = self.kinds.get(kind, 0) + 1
            if kind == "closed":  # what was sent meanwhile nobody has seen
                nodes = {}
            if "node" not in message or kind.endswith("CMD"):
                continue
            self.test.assertNotIn("problem", message)
            self.test.assertFalse(message["retained"])
            self.one(nodes, message["node"], kind, message["device"], message["payload"])
        return self.kinds

    def one(self, nodes: "Dict[str, Any]", name: str, kind: str, device: str, payload: Any) -> None:
        metrics = payload.get("metrics", [])
        numbers = [entry["value"] for entry in metrics if entry.get("name") == "bdSeq"]
        if kind == "NDEATH":
            self.test.assertNotIn("seq", payload)
            if nodes.pop(name, None):
                self.test.assertEqual(len(numbers), 1)
            return
        if kind == "NBIRTH":
            self.test.assertEqual((payload["seq"], len(numbers)), (0, 1))
            nodes[name] = {"seq": 0, "bdSeq": numbers[0], "names": {}, "devices": {}}
        if name not in nodes:
            return  # since before this host was there, or before it was back
        node = nodes[name]
        if kind != "NBIRTH":
            node["seq"] = (node["seq"] + 1) % 256
            self.test.assertEqual(payload["seq"], node["seq"], (kind, device))
        if kind.endswith("BIRTH"):
            node["devices"][device] = {}
            for entry in metrics:
                self.test.assertTrue(entry["name"])
                if "alias" in entry:
                    owner = node["names"].setdefault(entry["alias"], (device, entry["name"]))
                    self.test.assertEqual(owner, (device, entry["name"]), "an alias of two metrics")
                    node["devices"][device][entry["alias"]] = entry["type"]
        self.test.assertIn(device, node["devices"], f"{kind} of a device that is not born")
        if kind.endswith("DATA"):
            for entry in metrics:
                self.test.assertEqual(node["devices"][device].get(entry["alias"]), entry["type"])
        if kind == "DDEATH":
            del node["devices"][device]


class Bridge(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def broker(self, *lines: str) -> Broker:
        broker = Broker(self.folder, *(lines or ["allow_anonymous true"]))
        self.addCleanup(broker.kill)
        return broker

    def controller(self, *arguments: str) -> Any:
        controller = VirtualController("--robots", "1", *arguments)
        self.addCleanup(controller.stop)
        return controller

    def host(self, broker: Broker, **options: str) -> Host:
        scheme = "mqtts" if "ca" in options else "mqtt"
        host = Host(f"{scheme}://127.0.0.1:{broker.port}", options)
        self.addCleanup(host.end)
        return host

    def configuration(self, broker: Broker, controllers: "Dict[str, Any]", *lines: str, node: str = "hall") -> Path:
        file = self.folder / f"{node}.toml"
        text = [f'group = "plant"\nnode = "{node}"']
        if not any(line.startswith("broker") for line in lines):
            text.append(f'broker = "mqtt://127.0.0.1:{broker.port}"')
        text += lines
        for name, controller in controllers.items():
            text.append(f'[controllers.{name}]\nhost = "{controller.host}"\nport = {controller.port}')
        file.write_text("\n".join(text) + "\n")
        return file

    def bridge(self, file: Path) -> Program:
        bridge = Program([KYT, "bridge", str(file)], error=True)
        self.addCleanup(bridge.end)
        return bridge

    def send(self, controller: Any, code: str, text: str, *more: str) -> str:
        """What it answers, or nothing."""
        command = [KYT, "raw", code, text, *more, "--host", f"{controller.host}:{controller.port}"]
        return subprocess.run(command, capture_output=True, text=True, timeout=LIMIT, check=True).stdout

    def check(self, host: Host) -> "Dict[str, int]":
        return Listener(self).check(host.messages())

    def test_check(self) -> None:
        file = self.folder / "plant.toml"
        file.write_text('broker = "http://x"\ngroup = "a/b"\n[controllers.one]\nport = 99999\nrobots = [1,\n 9]\n[odd]\nx = 1\n')
        ran = subprocess.run([KYT, "bridge", "check", str(file)], capture_output=True, text=True)
        lines = {int(line.split(":")[1]) for line in ran.stderr.splitlines() if line.startswith(str(file))}
        self.assertEqual((ran.returncode, lines), (1, {1, 2, 4, 5, 8}), ran.stderr)
        file.write_text('broker = ["mqtt://a", "mqtts://b:1"]\ngroup = "g"\nnode = "n"\n[controllers."Press 1"]\nhost = "h"\n')
        ran = subprocess.run([KYT, "bridge", "check", str(file)], capture_output=True, text=True)
        self.assertEqual((ran.returncode, ran.stdout), (0, f"{file}: 1 controllers, no faults\n"))

        printed = subprocess.run([KYT, "bridge", "--metrics"], capture_output=True, text=True).stdout
        self.assertIn(printed, (ROOT / "docs" / "fleets.md").read_text())

    def test_a_day_of_a_plant(self) -> None:
        """A controller, the bridge and the broker are killed, one after the other; over TLS, as each may by its name."""
        self.certificates()
        (self.folder / "acl").write_text(
            "user hall\ntopic write spBv1.0/plant/+/hall/#\ntopic write spBv1.0/plant/+/hall\n"
            "topic read spBv1.0/plant/NCMD/hall\ntopic read spBv1.0/plant/DCMD/hall/+\nuser scada\ntopic spBv1.0/#\n"
        )
        files = {name: str(self.folder / f"{name}.pem") for name in ("ca", "hall", "hall-key", "scada", "scada-key", "broker-key")}
        broker = self.broker(
            "allow_anonymous false",
            f"cafile {files['ca']}\ncertfile {self.folder}/broker.pem\nkeyfile {files['broker-key']}",
            f"require_certificate true\nuse_identity_as_username true\nacl_file {self.folder}/acl",
        )
        host = self.host(broker, ca=files["ca"], cert=files["scada"], key=files["scada-key"])
        press, saw = self.controller(), self.controller("--state-period", "0")  # one that has to be asked
        file = self.configuration(
            broker,
            {"press": press, "saw": saw},
            f'broker = ["mqtts://127.0.0.1:{free_port()}", "mqtts://127.0.0.1:{broker.port}"]  # the first is not there',
            f'ca = "{files["ca"]}"\ncertificate = "{files["hall"]}"\nkey = "{files["hall-key"]}"',
            "[defaults]\nstale_after = 2",
        )
        bridge = self.bridge(file)

        def shows(device: str, value: float) -> None:
            until(lambda: host.last(device, "Analog Inputs/1") == value, lambda: (host.lines[-5:], bridge.lines))

        for name, controller in {"press": press, "saw": saw}.items():
            controller.set_analog_input(1, 1)
            shows(name, 1)
        (birth,) = host.messages("DBIRTH", device="press")
        by_name = {entry["name"]: entry for entry in birth["payload"]["metrics"]}
        joint = by_name["Robot 1/Joints/J1"]
        self.assertEqual((joint["type"], joint["properties"]["engUnit"]["value"]), ("Double", "deg"))
        self.assertEqual(by_name["Robot 1/Speed"]["properties"]["engHigh"]["value"], 100)
        self.assertEqual((by_name["Robot 1/Servo"]["value"], by_name["Identity"]["value"]), ("stop", "VC-0001"))
        self.assertIsNone(host.values("saw", "Robot 1/Torque/J1")[:1] or None)  # nobody can be asked for these

        press.raise_error(4711, "the gripper is jammed")
        until(lambda: host.last("press", "Robot 1/Alarm/Text") == "the gripper is jammed")
        self.assertEqual((host.last("press", "Robot 1/Alarm/Active"), host.last("saw", "Robot 1/Alarm/Active")), (True, False))

        def quality() -> Any:
            return host.values("saw", "Analog Inputs/1")[-1].get("properties", {}).get("Quality", {}).get("value")

        saw.silence("all", -1)  # its connection stands
        until(lambda: quality() == 500)
        saw.clear_script()
        until(lambda: quality() == 192)

        press.stop()
        until(lambda: host.messages("DDEATH", device="press"))
        press.start()
        until(lambda: len(host.messages("DBIRTH", device="press")) == 2)
        until(lambda: host.last("press", "Robot 1/Alarm/Active") is False)

        host.publish("spBv1.0/plant/NCMD/hall", metrics=[{"name": "Node Control/Rebirth", "type": "Boolean", "value": True}])
        until(lambda: len(host.messages("NBIRTH")) == 2)

        bridge.end(signal.SIGKILL)
        until(lambda: host.messages("NDEATH"))  # as the broker tells
        bridge = self.bridge(file)
        until(lambda: len(host.messages("DBIRTH", device="saw")) == 3, lambda: bridge.lines)

        broker.kill()
        until(lambda: bridge.said("no broker") and host.messages("closed"))
        for value in range(2, 8):
            press.set_analog_input(1, value)
            time.sleep(0.5)  # the time that passes while nobody looks
        broker.start()
        shows("press", 7)
        until(lambda: [entry for entry in host.values("press", "Analog Inputs/1") if entry.get("isHistorical")])
        press.set_analog_input(1, 8)
        shows("press", 8)
        told = host.values("press", "Analog Inputs/1")
        history = [entry["value"] for entry in told if entry.get("isHistorical")]
        self.assertEqual(history, sorted(history))
        self.assertGreaterEqual(len(set(history) & {3, 4, 5, 6}), 2, told)  # a busy machine may push some of them only
        self.assertLessEqual(set(history), {2, 3, 4, 5, 6, 7}, told)
        times = [entry["timestamp"] for entry in told if entry.get("isHistorical")]
        self.assertEqual(times, sorted(times))

        self.assertEqual(bridge.end(), 0)
        until(lambda: len(host.messages("NDEATH")) == 2)  # as it tells itself
        kinds = self.check(host)
        self.assertEqual(kinds["NDEATH"], 2, kinds)
        self.assertEqual(sum("the broker is there" in line for line in bridge.lines), 2, bridge.lines)
        self.assertIn(kinds["NBIRTH"], (3, 4), kinds)  # the bridge may be back at the broker before the host is

    def test_commands(self) -> None:
        broker, press = self.broker(), self.controller()
        host = self.host(broker)
        press.perform("refuse", code="0x2301", times=-1)  # servo power
        lines = ['[defaults]\nallow_commands = ["speed", "outputs", "run", "stop", "power_off"]\ncommand_max_age = 30']
        file = self.configuration(broker, {"press": press}, *lines)
        topic = "spBv1.0/plant/DCMD/hall/press"
        speed = {"name": "Robot 1/Command/Speed", "type": "Int32", "value": 99}
        host.publish(topic, metrics=[speed], timestamp=time.time() * 1000, retain=True)
        until(lambda: host.messages("DCMD"))  # the broker has it
        bridge = self.bridge(file)
        until(lambda: host.last("press", "Command/Count") == 1, lambda: (host.lines, bridge.lines))  # and refused, see below

        def command(name: str, kind: str, value: Any, age: Optional[float] = 0, **more: Any) -> "tuple[bool, str]":
            """What is acknowledged."""
            count = host.last("press", "Command/Count")
            metric = {"name": name, "type": kind, "value": value, **more}
            stamp = {} if age is None else {"timestamp": (time.time() - age) * 1000}
            host.publish(topic, metrics=[metric], **stamp)
            until(lambda: host.last("press", "Command/Count") == count + 1, lambda: (name, bridge.lines))
            return host.last("press", "Command/Accepted"), host.last("press", "Command/Reason")

        done = (True, "")
        until(lambda: host.messages("DBIRTH"))
        self.assertFalse(host.last("press", "Command/Accepted"))
        self.assertEqual(command("Robot 1/Command/Speed", "Int32", 37), done)
        until(lambda: host.last("press", "Robot 1/Speed") == 37)
        self.assertEqual(command("Outputs/3", "Boolean", True), done)
        self.assertEqual(press.state()["outputs"][2], 1)
        (birth,) = host.messages("DBIRTH")
        (alias,) = [entry["alias"] for entry in birth["payload"]["metrics"] if entry["name"] == "Outputs/3"]
        self.assertEqual(command("", "Boolean", False, alias=alias), done)
        self.assertEqual(press.state()["outputs"][2], 0)
        self.assertEqual(command("Robot 1/Command/Stop", "Boolean", True), done)
        for name, kind, value, age, reason in [
            ("Robot 1/Command/Speed", "Int32", 55, 3600, "older than command_max_age"),
            ("Robot 1/Command/Speed", "Int32", 55, -3600, "of another clock"),
            ("Robot 1/Command/Speed", "Int32", 101, 0, "from 0 to 100"),
            ("Robot 1/Command/Speed", "String", "55", 0, "from 0 to 100"),
            ("Robot 1/Command/Stop", "Boolean", False, 0, "it takes true"),
            ("Robot 1/Command/Run", "String", "NOBODY", 0, "NOBODY"),  # in the controller's words
            ("Robot 1/Command/Power Off", "Boolean", True, 0, "refuse"),
            ("Robot 1/Command/Clear", "Boolean", True, 0, "allow_commands"),
            ("Robot 1/Command/Power On", "Boolean", True, 0, "allow_commands"),
            ("Robot 1/Joints/J1", "Double", 1.0, 0, "cannot be written"),
        ]:
            accepted, why = command(name, kind, value, age)
            self.assertFalse(accepted, name)
            self.assertIn(reason, why)
        speeds = {entry["value"] for entry in host.values("press", "Robot 1/Speed")}
        self.assertFalse(speeds & {99, 55, 101}, speeds)
        self.assertTrue(bridge.said("Robot 1/Command/Run: refused"))

        for noise in ["ff", "00", "0a", "12ffffffff0f", os.urandom(5000).hex(), ("12021a00" * 5000), "1a" * 100]:
            for where in (topic, "spBv1.0/plant/NCMD/hall", "spBv1.0/plant/DCMD/hall/nobody"):
                host.publish(where, hex=noise)
        until(lambda: bridge.said("cannot be used, 8 so far"))
        self.assertEqual(command("Robot 1/Command/Speed", "Int32", 38), done)

        def overtakes() -> bool:
            """Whether a stop is sent while another command waits for the controller's answer, which does not come."""
            count = host.last("press", "Command/Count")
            press.silence("0x3D02", 1)
            began = time.monotonic()
            for name, kind, value, code in [("Speed", "Int32", 38, "0x2601"), ("Stop", "Boolean", True, "0x2503")]:
                seen = len(press.requests(code))
                metric = {"name": "Robot 1/Command/" + name, "type": kind, "value": value}
                host.publish(topic, metrics=[metric], timestamp=time.time() * 1000)
                until(lambda: len(press.requests(code)) > seen)
            sent = time.monotonic() - began
            until(lambda: host.last("press", "Command/Count") == count + 2)
            return sent < (time.monotonic() - began) / 2

        self.assertTrue(any(overtakes() for _ in range(5)))  # a machine may be that slow

        bridge.end()  # what comes meanwhile is for nobody
        commands = len(host.messages("DCMD"))
        host.publish(topic, metrics=[{**speed, "value": 66}], timestamp=time.time() * 1000)
        host.publish(topic, hex="", retain=True)
        until(lambda: len(host.messages("DCMD")) == commands + 2)
        births = len(host.messages("DBIRTH"))
        bridge = self.bridge(file)
        until(lambda: len(host.messages("DBIRTH")) > births)
        self.assertEqual(command("Robot 1/Command/Speed", "Int32", 39), done)
        self.assertFalse(bridge.said("refused"))
        self.assertNotIn(66, [entry["value"] for entry in host.values("press", "Robot 1/Speed")])
        self.check(host)

    def test_the_primary_host(self) -> None:
        """While it is away nothing is sent; of what the buffer has no room for alarms are the last to go."""
        broker, press = self.broker(), self.controller("--state-period", "20")
        host = self.host(broker)
        lines = ['primary_host = "scada"\nbuffer = 0.02\n[defaults]\nrate = 50']
        bridge = self.bridge(self.configuration(broker, {"press": press}, *lines))

        def is_there(online: bool) -> None:
            state = json.dumps({"online": online, "timestamp": int(time.time() * 1000)})
            host.publish("spBv1.0/STATE/scada", text=state, retain=True)

        until(lambda: bridge.said("press: connected") and bridge.said("the broker is there"))
        is_there(True)
        until(lambda: host.messages("DBIRTH"), lambda: bridge.lines)
        is_there(False)
        until(lambda: host.messages("NDEATH"))
        sent = len(host.messages(node="hall"))
        press.raise_error(4711, "the gripper is jammed")
        deadline = time.monotonic() + 3
        value = 0
        while time.monotonic() < deadline:
            value += 1
            for port in range(1, 17):
                press.set_analog_input(port, value)
            time.sleep(0.02)
        self.assertEqual(len(host.messages(node="hall")), sent)
        is_there(True)
        until(lambda: host.last("press", "Analog Inputs/16") == value)
        until(lambda: host.last("", "Bridge/Dropped Values"))
        sent = len(host.messages(node="hall"))
        while len(host.messages(node="hall")) < sent + 300:  # beyond the last sequence number, and on from the first
            press.set_analog_input(1, time.monotonic())
            time.sleep(0.02)
        history = [entry for entry in host.values("press", "Analog Inputs/16") if entry.get("isHistorical")]
        values = [entry["value"] for entry in history]
        self.assertEqual(values, sorted(values))
        alarms = [entry["value"] for entry in host.values("press", "Robot 1/Alarm/Text") if entry.get("isHistorical")]
        self.assertIn("the gripper is jammed", alarms)
        self.assertEqual(self.check(host)["NDEATH"], 1)

    def test_two_bridges_share_a_list(self) -> None:
        broker = self.broker()
        host = self.host(broker)
        controllers = {name: self.controller() for name in ("press", "saw", "lathe")}
        for controller in controllers.values():
            tool = {"x": 1, "y": 2, "z": 120, "A": 0, "B": 30, "C": 90, **dict.fromkeys(PAYLOAD, 0)}
            self.send(controller, "SetToolHandParam", json.dumps({"robot": 1, "toolNum": 2, "tool": tool}))
            self.send(controller, "SetToolHandNumber", json.dumps({"robot": 1, "curToolNum": 2}))
        files = [
            self.configuration(broker, controllers, f'shard = "{shard}/2"\nstandby = true', node=f"hall{shard}")
            for shard in (1, 2)
        ]
        bridges = [self.bridge(file) for file in files]

        def owners() -> "Dict[str, List[str]]":
            """Which nodes each device lives at now."""
            alive: "Dict[str, List[str]]" = {}
            for message in host.messages():
                node, device = message.get("node", ""), message.get("device", "")
                nodes = alive.setdefault(device, []) if device else []
                if message["kind"] == "DBIRTH" and node not in nodes:
                    nodes.append(node)
                if message["kind"] == "DDEATH" and node in nodes:
                    nodes.remove(node)
                if message["kind"] in ("NDEATH", "NBIRTH"):
                    for each in alive.values():
                        each[:] = [one for one in each if one != node]
            return alive

        def what() -> Any:
            return owners(), [bridge.lines for bridge in bridges]

        until(lambda: len(owners()) == 3 and all(len(nodes) == 1 for nodes in owners().values()), what)
        before = owners()
        self.assertEqual({node for nodes in before.values() for node in nodes}, {"hall1", "hall2"}, before)

        bridges[0].end(signal.SIGKILL)
        until(lambda: all(nodes == ["hall2"] for nodes in owners().values()), what)
        bridges[0] = self.bridge(files[0])
        until(lambda: owners() == before, what)

        command = [KYT, "fleet", f"mqtt://127.0.0.1:{broker.port}", "--count", "1", "--json"]
        seen = json.loads(subprocess.run(command, capture_output=True, text=True, timeout=LIMIT, check=True).stdout)
        robots = {robot["controller"]: robot for robot in seen["robots"]}
        self.assertEqual({name: [robot["node"][len("plant/") :]] for name, robot in robots.items()}, before)
        state = [robots["press"][key] for key in ("robot", "line", "servo", "mode", "speed", "alarm")]
        self.assertEqual(state, [1, "alive", "stop", "teach", 50, ""])
        shown = subprocess.run(command[:-1], capture_output=True, text=True, timeout=LIMIT).stdout
        for robot in robots.values():  # a line each, for people
            self.assertRegex(shown, rf"{robot['node']} +{robot['controller']} +1 +alive +stop")
        self.look_at_page(broker, {f"{robot['node']}/{name}": controllers[name] for name, robot in robots.items()})

        # A controller is added and another one is taken out: nobody else notices.
        births = {name: len(host.messages("DBIRTH", device=name)) for name in controllers}
        more = {**controllers, "drill": self.controller()}
        gone = next(name for name, nodes in before.items() if nodes == ["hall1"])
        del more[gone]
        for shard in (1, 2):
            self.configuration(broker, more, f'shard = "{shard}/2"\nstandby = true', node=f"hall{shard}")
            bridges[shard - 1].process.send_signal(signal.SIGHUP)
        until(lambda: owners()[gone] == [] and len(owners().get("drill", [])) == 1, what)
        self.assertEqual(births, {name: len(host.messages("DBIRTH", device=name)) for name in controllers})
        files[0].write_text("group = ")
        bridges[0].process.send_signal(signal.SIGHUP)
        until(lambda: bridges[0].said("the configuration stays as it was"))
        for bridge in bridges:
            self.assertEqual(bridge.end(), 0)
        self.check(host)

    def look_at_page(self, broker: Broker, expected: Dict[str, Any]) -> None:
        """The same plant on a web page, where that was built."""
        if "--broker" not in subprocess.run([KYT, "view", "--help"], capture_output=True, text=True).stdout:
            return
        command = [KYT, "view", "--broker", f"mqtt://127.0.0.1:{broker.port}", "--listen", "127.0.0.1:0"]
        page = Program(command)
        self.addCleanup(page.end)
        until(lambda: page.said("the page is at "))
        address = page.lines[0].split()[-1]
        robots: Dict[str, Any] = {}
        arms: Dict[str, Any] = {}
        with urllib.request.urlopen(address + "feed", timeout=LIMIT) as feed:
            deadline = time.monotonic() + LIMIT
            while not (set(robots) == set(arms) == set(expected)) and time.monotonic() < deadline:
                line = feed.readline().decode()
                state = json.loads(line[len("data: ") :]) if line.startswith("data: ") else {}
                if state.get("robots") and "servo" in state["robots"][0]:
                    robots[state["name"]] = (state["robots"][0]["mode"], len(state["robots"][0]["joints"]), "lost" in state)
                elif state.get("robots"):
                    arms[state["name"]] = state["robots"][0]
        self.assertEqual(robots, dict.fromkeys(expected, ("teach", 7, False)))
        for name, controller in expected.items():
            told = json.loads(self.send(controller, "GetRobotDhParam", '{"robot":1}', "--reply", "RobotDhParamReply", "--json"))
            self.assertEqual(arms[name]["links"], told["content"]["Link"])
            self.assertEqual(arms[name]["tool"], {"number": 2, "pose": [1, 2, 120, 0, 30, 90]})
        self.assertEqual(page.end(signal.SIGINT), 0)

    def certificates(self) -> None:
        """An authority, and what it says of the broker, the bridge and the host."""

        def openssl(*arguments: str) -> None:
            subprocess.run(["openssl", *arguments], cwd=self.folder, check=True, capture_output=True)

        new = ["-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes"]
        openssl("req", "-x509", *new, "-keyout", "ca-key.pem", "-out", "ca.pem", "-subj", "/CN=authority", "-days", "1")
        (self.folder / "names").write_text("subjectAltName=IP:127.0.0.1")
        for name in ("broker", "hall", "scada"):
            openssl("req", *new, "-keyout", f"{name}-key.pem", "-out", f"{name}.csr", "-subj", f"/CN={name}")
            authority = ["-CA", "ca.pem", "-CAkey", "ca-key.pem", "-CAcreateserial", "-extfile", "names", "-days", "1"]
            openssl("x509", "-req", "-in", f"{name}.csr", "-out", f"{name}.pem", *authority)


if __name__ == "__main__":
    unittest.main()
