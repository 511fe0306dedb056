"""What could hang or crash: registering, disconnecting and ending under a stream of messages.

Each case is a program of its own, which has to end with exit code 0 in half a minute.
"""

import textwrap
import unittest
from concurrent.futures import ThreadPoolExecutor

from support import VirtualController, run

# A connection under a stream of messages of both kinds, and callbacks that count them.
STREAM = """
import atexit, sys, threading, time
import _kyt_host as kyt

robot = kyt.connect_robot("127.0.0.1", sys.argv[1])
assert robot > 0
states, frames, entered = threading.Semaphore(0), threading.Semaphore(0), threading.Event()
def on_state(text): states.release()
def on_frame(code, text): frames.release()
def register(on_frame=on_frame):
    assert kyt.recv_message(robot, on_frame) == 0
    assert kyt.robot_state_callback(robot, on_state) == 0
def enter(action, setter=kyt.recv_message):
    global callback  # kept: nobody else does
    def callback(*message):
        entered.set()
        action()
    assert setter(robot, callback) == 0
    assert entered.wait(10)
def wait(messages=20):
    for counter in (states, frames):
        for _ in range(messages):
            assert counter.acquire(timeout=10), "the stream has stopped"
register()
wait()
"""

CASES = {
    "the script ends": "others = [kyt.connect_robot('127.0.0.1', sys.argv[1]) for _ in range(5)]",
    "three threads register": """
        until = time.monotonic() + 1
        def repeat(callback):
            while time.monotonic() < until: register(callback)
        callbacks = [lambda code, text: frames.release() for _ in range(3)]  # kept: nobody else does
        threads = [threading.Thread(target=repeat, args=[each]) for each in callbacks]
        for thread in threads: thread.start()
        for thread in threads: thread.join()
        wait()
    """,
    "disconnecting": """
        assert kyt.disconnect_robot(robot) == 0
        assert kyt.get_connection_status(robot) == kyt.DISCONNECT
    """,
    "disconnecting from a callback": """
        def disconnect(code, text):
            assert kyt.disconnect_robot(robot) == 0
            entered.set()
        kyt.recv_message(robot, disconnect)  # which may be called before this returns
        assert entered.wait(10)
        assert kyt.get_connection_status(robot) == kyt.DISCONNECT
    """,
    "querying while a callback is in Python": """
        def query(code, text):
            kyt.get_speed(robot, 0)
            sum(range(1000))
        register(query)
        assert [kyt.get_servo_state(robot, 0)[0] for _ in range(50)] == [0] * 50
    """,
    "a callback is in flight at the end": "enter(lambda: time.sleep(0.3))",
    "a callback never ends": "enter(threading.Event().wait)",
    "a callback computes forever": """
        def compute():
            while True: pass
        enter(compute, kyt.robot_state_callback)
    """,
    "daemon threads are in calls": """
        def work(call):
            while True: call()
        calls = [lambda: kyt.get_speed(robot, 0), lambda: kyt.delay(1), register, lambda: kyt.delay(60000),
                 lambda: kyt.connect_robot("127.0.0.1", sys.argv[1]), lambda: kyt.get_connection_status(robot),
                 lambda: kyt.check_servo_state(robot, 1, 12345)]
        for call in calls: threading.Thread(target=work, args=[call], daemon=True).start()
        wait()
    """,
    "a function registered to run at exit still gets its callbacks": """
        def last():
            wait()
            print("served at exit")
        atexit.register(last)
    """,
}


class Endings(unittest.TestCase):
    def test_nothing_hangs_and_nothing_crashes(self):
        def end(case):
            script = STREAM + textwrap.dedent(case)
            return run("-X", "faulthandler", "-c", script, controller.port, timeout=30)

        with VirtualController("--state-period", "1") as controller, ThreadPoolExecutor(4) as several:
            running = {name: several.submit(end, case) for name, case in CASES.items()}
            for name, one in running.items():
                with self.subTest(name):
                    done = one.result()
                    self.assertEqual(done.returncode, 0, done.stderr)
                    self.assertNotIn("Fatal", done.stderr)
                    self.assertNotIn("Traceback", done.stderr)
                    self.assertEqual("served at exit" in done.stdout, "served at exit" in CASES[name])
