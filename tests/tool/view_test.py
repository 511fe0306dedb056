"""The web page of kyt against a virtual controller: what its server tells and refuses, and the page in a browser.

The browser is Debian's chromium, driven by Selenium. Where they are missing its tests are skipped, unless the
environment's KYT_PAGE_TEST says that it is "required".
"""

import http.client
import importlib
import json
import os
import re
import shutil
import signal
import socket
import subprocess
import sys
import threading
import time
import unittest
from http.server import BaseHTTPRequestHandler, HTTPServer
from pathlib import Path
from typing import Any, Callable, Dict, Iterator, List, Optional, Tuple

ROOT = Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "python"))

from kyt_host_testing import VirtualController  # type: ignore[import]  # noqa: E402

signal.signal(signal.SIGINT, signal.default_int_handler)  # what is started in the background inherits that it is ignored

KYT = os.environ["KYT"]
LIMIT = 60.0  # seconds for anything to happen


def until(happened: Callable[[], Any], what: str = "") -> Any:
    deadline = time.monotonic() + LIMIT
    while True:
        found = happened()
        if found:
            return found
        assert time.monotonic() < deadline, what
        time.sleep(0.02)


class Page:
    """`kyt view`, or `kyt sim --view`, and what may be asked of it."""

    def __init__(self, test: unittest.TestCase, *arguments: str) -> None:
        self.process = subprocess.Popen(
            [KYT, *arguments], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True
        )
        test.addCleanup(self.end)
        assert self.process.stdout is not None
        for line in self.process.stdout:
            found = re.search(r"the page is at (http://[^/]*:(\d+)/)(?:#token=(\w+))?", line)
            if found:
                break
        assert found, self.process.communicate()[1]
        self.url, port, self.token = found.groups()
        self.port = int(port)

    def end(self) -> int:
        """By Ctrl-C."""
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGINT)
        self.process.communicate(timeout=LIMIT)
        return self.process.returncode

    def ask(self, path: str, method: str = "GET", body: Optional[str] = None, **headers: str) -> Tuple[int, Dict[str, str], str]:
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=LIMIT)
        names = {name.replace("_", "-"): value for name, value in headers.items()}
        connection.request(method, path, body, names)
        answer = connection.getresponse()
        text = "" if path.startswith("/feed") and answer.status == 200 else answer.read().decode()
        connection.close()
        return answer.status, dict(answer.getheaders()), text

    def command(self, controller: Any, command: str, **values: Any) -> Tuple[int, Any]:
        body = {"controller": f"{controller.host}:{controller.port}", "robot": 1, "command": command, **values}
        status, _, text = self.ask("/command", "POST", json.dumps(body), Authorization=f"Bearer {self.token}")
        return status, json.loads(text)

    def feed(self, query: str = "") -> Iterator[Tuple[str, Any]]:
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=LIMIT)
        connection.request("GET", "/feed" + query, headers={"Authorization": f"Bearer {self.token}"})
        answer = connection.getresponse()
        assert answer.status == 200, answer.status
        try:
            while True:
                name, data, _ = (answer.readline().decode() for _ in range(3))
                if not name:
                    return
                yield name.split(": ")[1].strip(), json.loads(data.split(": ", 1)[1])
        finally:
            connection.close()

    def states(self, query: str = "") -> Iterator[Any]:
        return (value for name, value in self.feed(query) if name == "state")


def where(controller: Any) -> str:
    return f"{controller.host}:{controller.port}"


class WithController(unittest.TestCase):
    def controller(self, *arguments: str) -> Any:
        controller = VirtualController(*arguments)
        self.addCleanup(controller.stop)
        return controller

    def kyt(self, controller: Any, *arguments: str) -> None:
        environment = {**os.environ, "KYT_HOST": where(controller)}
        subprocess.run([KYT, *arguments], check=True, timeout=LIMIT, env=environment, stdout=subprocess.DEVNULL)


class Server(WithController):
    def test_who_looks_is_told_and_changes_nothing(self) -> None:
        controller, other = self.controller("--robots", "2"), self.controller("--robots", "1")
        page = Page(self, "view", where(controller), where(other), "--listen", "127.0.0.1:0")
        self.assertIsNone(page.token)
        status, headers, text = page.ask("/")
        self.assertEqual((status, "<title>kyt</title>" in text), (200, True))
        self.assertIn("script-src 'self'; style-src 'self'", headers["Content-Security-Policy"])
        self.assertEqual((headers["X-Content-Type-Options"], headers["Referrer-Policy"]), ("nosniff", "no-referrer"))
        for name in re.findall(r'(?:href|src)="(\w+\.\w+)"', text) + ["three/build/three.module.js"]:
            self.assertEqual(page.ask("/" + name)[0], 200, name)
        for path in ("/../page_files.cpp", "/%2e%2e/kyt", "/three", "/etc/passwd", "/command", "/feed/x"):
            self.assertEqual(page.ask(path)[0], 404, path)
        stranger = "http://evil.example"
        attempts: List[Tuple[int, Dict[str, str]]] = [
            (421, {"Host": "evil.example"}),
            (421, {"Host": f"localhost.evil.example:{page.port}"}),
            (403, {"Origin": stranger}),
            (403, {"Origin": "null"}),
            (403, {"Origin": f"http://127.0.0.1:{page.port + 1}"}),
            (403, {"Sec_Fetch_Site": "cross-site", "Sec_Fetch_Mode": "cors"}),
            (200, {"Host": "localhost"}),
            (200, {"Sec_Fetch_Site": "cross-site", "Sec_Fetch_Mode": "navigate"}),
        ]
        for refused, sent in attempts:
            self.assertEqual(page.ask("/", **sent)[0], refused, sent)
            self.assertEqual(page.ask("/feed", **sent)[0], refused, sent)
        stop = json.dumps({"controller": where(controller), "robot": 1, "command": "stop"})
        for method, status in {"POST": 404, "PUT": 405, "DELETE": 405}.items():
            self.assertEqual(page.ask("/command", method, stop)[0], status)

        feed = page.feed()
        name, hello = next(feed)
        self.assertEqual((name, hello), ("hello", {"control": False, "controllers": [where(controller), where(other)]}))
        seen: Dict[Tuple[str, str], Any] = {}
        while len(seen) < 4:
            name, value = next(feed)
            seen[name, value["name"]] = value
        state = seen["state", where(controller)]
        self.assertEqual(([robot["robot"] for robot in state["robots"]], len(state["inputs"])), ([1, 2], 32))
        self.assertEqual([len(robot["links"]) for robot in seen["details", where(controller)]["robots"]], [6, 6])

    def test_control(self) -> None:
        controller = self.controller("--robots", "2")
        page = Page(self, "view", where(controller), "--listen", "127.0.0.1:0", "--control")
        next(page.states())  # it is connected
        power = json.dumps({"controller": where(controller), "robot": 1, "command": "power", "on": True})
        right = f"Bearer {page.token}"
        attempts: List[Tuple[int, Dict[str, str]]] = [
            (401, {}),
            (401, {"Authorization": "Bearer "}),
            (401, {"Authorization": right[:-1]}),
            (401, {"Authorization": right + "a"}),
            (403, {"Authorization": right, "Origin": "http://evil.example"}),
            (421, {"Authorization": right, "Host": "evil.example"}),
        ]
        for refused, sent in attempts:
            self.assertEqual(page.ask("/command", "POST", power, **sent)[0], refused, sent)
        self.assertEqual(page.ask("/command", "POST", "x" * 5000, Authorization=right)[0], 413)
        for body in ("", "[]", "{", "{}", '{"controller":7}', "[" * 4000):
            self.assertEqual(page.ask("/command", "POST", body, Authorization=right)[0], 400, body)
        self.assertEqual([robot["servoState"] for robot in controller.state()["robots"]], [0, 0])

        def robot() -> Any:
            return controller.state()["robots"][0]

        self.assertIn("servo is not running", page.command(controller, "jog", axis=1, positive=True)[1]["error"])
        self.assertEqual(page.command(controller, "mode", mode="run"), (200, {}))
        self.assertEqual(page.command(controller, "power", on=True), (200, {}))
        self.assertEqual(page.command(controller, "speed", percent=42), (200, {}))
        states = page.states()
        until(lambda: next(states)["robots"][0]["speed"] == 42)
        self.assertEqual(robot()["servoState"], 3)
        page.command(controller, "output", port=5, on=True)
        until(lambda: next(states)["outputs"][4] == 1)
        status, told = page.command(controller, "run", job="NONE")
        self.assertEqual((status, "there is no job NONE" in told["error"]), (409, True))
        for command, number in (("dance", 1), ("speed", 1), ("clear", 9)):
            self.assertEqual(page.command(controller, command, robot=number)[0], 400, command)

        # Jogging ends by itself when the page falls silent.
        self.assertEqual(page.command(controller, "jog", axis=1, positive=True), (200, {}))
        until(lambda: robot()["position"][0] > 0.5)
        until(lambda: robot()["runningState"] == 0)
        self.assertLess(robot()["position"][0], 170)  # its limit
        # A command that hangs keeps no stop waiting.
        self.kyt(controller, "move", "joints", "-160", "--speed", "1")
        controller.silence("0x2601", -1)
        slow = threading.Thread(target=page.command, args=(controller, "speed"), kwargs={"percent": 7})
        slow.start()
        self.assertEqual(page.command(controller, "stop"), (200, {"stopped": [1, 2]}))
        slow.join()
        until(lambda: robot()["runningState"] == 0)
        # The end of the program is the end of jogging.
        page.command(controller, "jog", axis=2, positive=True)
        self.assertEqual(page.end(), 0)
        until(lambda: robot()["runningState"] == 0)

    def test_beyond_this_pc_the_token_is_needed(self) -> None:
        controller = self.controller("--robots", "1")
        page = Page(self, "view", where(controller), "--listen", "0.0.0.0:0")
        self.assertEqual((page.ask("/")[0], page.ask("/feed")[0]), (200, 401))
        self.assertEqual(page.ask("/feed", Authorization=f"Bearer {page.token}")[0], 200)
        self.assertEqual(page.ask("/command", "POST", "{}", Authorization=f"Bearer {page.token}")[0], 404)
        for arguments, error in {
            ("view", "--listen", "127.0.0.1:0"): "KYT_HOST",
            ("view", "h", "--listen", "127.0.0.1:x"): "127.0.0.1:x is not HOST",
            ("view", "h", "--listen", f"127.0.0.1:{page.port}"): "Address already in use",
        }.items():
            ran = subprocess.run([KYT, *arguments], capture_output=True, text=True, timeout=LIMIT, env={**os.environ, "KYT_HOST": ""})
            self.assertIn(error, ran.stderr)

    def test_many_pages_are_one_poller_and_none_is_nobody(self) -> None:
        controller = self.controller("--robots", "1")
        page = Page(self, "view", where(controller), "--listen", "127.0.0.1:0")
        self.assertEqual(controller.state()["connections"], 0)
        feeds = [page.states() for _ in range(50)]
        for feed in feeds:
            next(feed)
        self.assertEqual(controller.state()["connections"], 1)
        asked = len(controller.requests("0x2002"))
        times = {next(feeds[0])["time"] for _ in range(20)}
        # Each state has asked once for the servo state of one robot, however many pages got it.
        self.assertLessEqual(len(controller.requests("0x2002")) - asked, 20 * len(times))
        for feed in feeds:
            feed.close()  # type: ignore[attr-defined]

        def quiet() -> bool:
            count = len(controller.requests())
            time.sleep(0.3)
            return len(controller.requests()) == count

        until(quiet, "it goes on asking")

    def test_a_lost_line_is_told_and_comes_back(self) -> None:
        controller = self.controller("--robots", "1")
        page = Page(self, "view", where(controller), "127.0.0.1:1", "--listen", "127.0.0.1:0")
        states = page.states()
        until(lambda: "Connection refused" in next(states).get("lost", {}).get("reason", ""))
        states = page.states("?controller=" + where(controller))
        self.assertNotIn("lost", next(states))
        controller.stop()
        lost: Any = until(lambda: (lambda state: state if "lost" in state else None)(next(states)))
        self.assertEqual((lost["robots"][0]["robot"], lost["name"]), (1, where(controller)))  # the last that was known
        controller.start()
        until(lambda: "lost" not in next(states))

    def test_hostile_clients_hold_nobody_up(self) -> None:
        controller = self.controller("--robots", "1")
        page = Page(self, "view", where(controller), "--listen", "127.0.0.1:0", "--control")
        next(page.states())
        sockets: List[socket.socket] = []
        for text in ("GET /feed HTTP/1.1\r\nHost: localhost\r\n\r\n", "GET / HTTP/1.1\r\nHost: ", "", "\x16\x03\x01\x02\x00", "POST /command HTTP/1.1\r\nHost: localhost\r\nContent-Length: 99999999999\r\n\r\n"):
            for _ in range(20):
                connection = socket.socket()
                connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)  # and nobody reads
                connection.connect(("127.0.0.1", page.port))
                self.addCleanup(connection.close)
                connection.sendall(text.encode("latin-1"))
                sockets.append(connection)
        states = page.states("?controller=" + where(controller))
        for _ in range(30):
            next(states)
        self.assertEqual(page.command(controller, "stop")[0], 200)
        self.assertNotEqual(page.ask("/" + "x" * 40000)[0], 200)
        self.assertNotEqual(page.ask("/", Cookie="x" * 40000)[0], 200)
        # More than there is room for are turned away, and nobody else is.
        for _ in range(150):
            try:
                sockets.append(socket.create_connection(("127.0.0.1", page.port), LIMIT))
            except OSError:
                break
            self.addCleanup(sockets[-1].close)
        next(states)
        for connection in sockets:
            connection.close()
        until(lambda: self.answers(page))
        self.assertEqual(page.end(), 0)

    def answers(self, page: Page) -> bool:
        try:
            return page.ask("/")[0] == 200
        except (OSError, http.client.HTTPException):  # turned away still
            return False

    def test_the_virtual_controller_with_its_page(self) -> None:
        ports = ("--port", "0", "--file-port", "0", "--servo-port", "0")
        page = Page(self, "sim", "--view", "--listen=127.0.0.1:0", *ports, "--robots", "3")
        state = next(page.states())
        self.assertEqual((state["controller"], len(state["robots"]), len(page.token or "")), ("VC-0001", 3, 24))
        self.assertEqual(page.end(), 0)
        with self.assertRaises(OSError):
            host, port = state["name"].split(":")
            socket.create_connection((host, int(port)), LIMIT)
        ran = subprocess.run([KYT, "sim", "--view", "--robots", "9"], capture_output=True, text=True, timeout=LIMIT)
        self.assertEqual((ran.returncode, "has not started" in ran.stderr), (1, True))


class Elsewhere(BaseHTTPRequestHandler):
    """Another site, whose page the same browser shows."""

    def do_GET(self) -> None:
        self.send_response(200)
        self.end_headers()

    def log_message(self, *_: Any) -> None:
        pass


class Browser(WithController):
    @classmethod
    def setUpClass(cls) -> None:
        chromium, driver = shutil.which("chromium"), shutil.which("chromedriver")
        try:
            webdriver: Any = importlib.import_module("selenium.webdriver")
            service: Any = importlib.import_module("selenium.webdriver.chrome.service")
        except ImportError:
            driver = None
        if not chromium or not driver:
            if os.environ.get("KYT_PAGE_TEST") == "required":
                raise RuntimeError("no browser: scripts/setup.sh page installs it")
            raise unittest.SkipTest("no browser: scripts/setup.sh page installs it")
        options = webdriver.ChromeOptions()
        options.binary_location = chromium
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        for argument in ("headless=new", "no-sandbox", "use-gl=angle", "use-angle=swiftshader", "enable-unsafe-swiftshader", "disable-dev-shm-usage", "window-size=1100,800"):
            options.add_argument("--" + argument)
        cls.browser = webdriver.Chrome(service=service.Service(driver), options=options)
        cls.addClassCleanup(cls.browser.quit)
        cls.browser.set_script_timeout(LIMIT)
        cls.browser.set_page_load_timeout(LIMIT)

    browser: Any

    def setUp(self) -> None:
        self.complaints()  # those of the test before, whose page has lost its server at the end, are none of this one

    def run_there(self, script: str, *arguments: Any) -> Any:
        return self.browser.execute_script(script, *arguments)

    def text(self, selector: str) -> str:
        return str(self.run_there("return document.querySelector(arguments[0])?.textContent ?? ''", selector))

    def joints(self) -> List[float]:
        return [float(value) for value in self.run_there("return [...document.querySelectorAll('[data-joint]')].map((cell) => cell.dataset.joint)")]

    def press(self, selector: str) -> None:
        self.browser.find_element("css selector", selector).click()

    def opened(self, url: str) -> None:
        self.browser.get("about:blank")  # so that it begins anew
        self.browser.get(url)
        until(self.joints, "no joints are shown")

    def complaints(self) -> "List[str]":
        """What the browser found fault with: scripts that fail, or that the policy forbids."""
        return [entry["message"] for entry in self.browser.get_log("browser") if entry["level"] == "SEVERE"]

    def test_it_shows_what_the_robot_does(self) -> None:
        controller = self.controller("--robots", "2")
        page = Page(self, "view", where(controller), "--listen", "127.0.0.1:0")
        self.opened(page.url)
        until(lambda: self.run_there("return document.querySelector('#scene canvas')?.width > 100"))
        self.assertTrue(self.run_there("return document.querySelector('#control').hidden && document.querySelector('#unlock').hidden"))
        self.assertEqual(self.joints(), [0] * 6)
        self.kyt(controller, "mode", "run")
        self.kyt(controller, "power", "on")
        self.kyt(controller, "move", "joints", "25", "-10", "20", "5", "30", "-15", "--speed", "100", "--wait")
        until(lambda: self.text("#state-motion") == "stopped" and abs(self.joints()[0] - 25) < 0.01)
        there = controller.state()["robots"][0]["position"]
        for shown, expected in zip(self.joints(), there):
            self.assertAlmostEqual(shown, expected, delta=0.001)
        self.assertGreater(self.drawn("#plots canvas"), 50)

        controller.set_input(7, 1)
        until(lambda: self.run_there("return document.querySelectorAll('#io-inputs .on').length") == 1)
        controller.raise_error(4711, "the gripper is jammed")
        until(lambda: self.text("#banner") == "Error 4711: the gripper is jammed")
        until(lambda: re.fullmatch(r"\d+:\d\d:\d\d.*4711the gripper is jammed.*", self.text("#messages .active")))
        self.assertEqual(self.text("#state-servo")[:5], "error")
        self.kyt(controller, "clear")
        until(lambda: self.text("#messages .active") == "" and self.run_there("return document.querySelector('#banner').hidden"))

        controller.stop()
        until(lambda: self.run_there("return document.body.classList.contains('lost')"))
        self.assertIn("lost since", self.text("#banner"))
        self.assertAlmostEqual(self.joints()[0], 25, delta=0.01)  # greyed out, and still there
        self.assertLess(float(self.run_there("return getComputedStyle(document.querySelector('.state')).filter.match(/grayscale/) ? 0 : 1")), 1)
        controller.start()
        until(lambda: not self.run_there("return document.body.classList.contains('lost')"))
        until(lambda: self.joints()[0] == 0)  # it has new robots
        self.assertEqual(self.complaints(), [])
        page.end()
        until(lambda: "kyt view" in self.text("#banner"))

    def drawn(self, selector: str) -> int:
        """How many pixels of a plot are not empty."""
        script = """const c = document.querySelector(arguments[0]);
            return c.getContext('2d').getImageData(0, 0, c.width, c.height).data.filter((v, i) => i % 4 === 3 && v > 0).length"""
        return int(self.run_there(script, selector))

    def test_its_buttons(self) -> None:
        controller = self.controller("--robots", "2")
        page = Page(self, "view", where(controller), "--listen", "127.0.0.1:0", "--control")

        def robot() -> Any:
            return controller.state()["robots"][0]

        self.opened(page.url)
        until(lambda: self.browser.find_element("css selector", "#unlock").is_displayed())
        self.assertFalse(self.browser.find_element("css selector", "#control").is_displayed())
        self.opened(f"{page.url}#token={page.token}")
        until(lambda: self.browser.find_element("css selector", "#stop").is_displayed())
        self.assertNotIn(page.token, self.browser.current_url)
        largest = """const area = (each) => each.offsetWidth * each.offsetHeight;
            return [...document.querySelectorAll('button')].sort((one, other) => area(other) - area(one))[0].id"""
        self.assertEqual(self.run_there(largest), "stop")
        self.press("#jog button:last-child")
        until(lambda: "servo is not running" in self.text("#told"))  # in the controller's words
        self.press("[data-command=on]")
        until(lambda: robot()["servoState"] == 3)
        self.press("#io-outputs button:nth-child(5)")
        until(lambda: self.run_there("return document.querySelector('#io-outputs button:nth-child(5)').classList.contains('on')"))

        # It moves while the button is held, and no longer.
        event = "document.querySelector('#jog button:last-child').dispatchEvent(new PointerEvent(arguments[0], {button: 0}))"
        self.run_there(event, "pointerdown")
        until(lambda: robot()["position"][0] > 1)
        self.run_there(event, "pointerup")
        until(lambda: robot()["runningState"] == 0)
        self.assertLess(robot()["position"][0], 170)
        self.kyt(controller, "mode", "run")
        self.kyt(controller, "power", "on")
        self.kyt(controller, "move", "joints", "-150", "--speed", "1")
        until(lambda: self.text("#state-motion") == "running")
        self.press("#stop")
        until(lambda: robot()["runningState"] == 0)
        until(lambda: self.text("#told") == "stopped")
        self.assertEqual([line for line in self.complaints() if "409" not in line], [])
        self.kyt(controller, "move", "joints", "150", "--speed", "1")
        until(lambda: self.text("#state-motion") == "running")
        self.press(".home")  # where all robots are
        until(lambda: self.run_there("return !document.querySelector('#halt').hidden"))
        self.press("#halt .stop")
        until(lambda: robot()["runningState"] == 0)
        until(lambda: self.text("#halt .told") == "stopped")

        # A page from elsewhere reaches nothing, even with the token.
        elsewhere = HTTPServer(("127.0.0.1", 0), Elsewhere)
        threading.Thread(target=elsewhere.serve_forever, daemon=True).start()
        self.addCleanup(elsewhere.server_close)
        self.addCleanup(elsewhere.shutdown)
        self.browser.get(f"http://localhost:{elsewhere.server_port}/")
        script = """const [url, body, headers, done] = arguments;
            const attempt = (options) => fetch(url, {method: 'POST', body, ...options}).then((answer) => answer.type + answer.status, (error) => error.name);
            Promise.all([attempt({headers}), attempt({mode: 'no-cors'})]).then(done)"""
        off = json.dumps({"controller": where(controller), "robot": 1, "command": "power", "on": False})
        told = self.browser.execute_async_script(script, page.url + "command", off, {"Authorization": f"Bearer {page.token}"})
        self.assertEqual(told, ["TypeError", "TypeError"])
        self.assertEqual(robot()["servoState"], 3)


if __name__ == "__main__":
    unittest.main()
