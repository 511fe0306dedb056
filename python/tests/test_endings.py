"""What could hang or crash: registering, disconnecting and ending under a stream of messages.

Each case is a program of its own, which has to end with exit code 0 in half a minute.
"""

import textwrap
import unittest
from concurrent.futures import ThreadPoolExecutor

from support import run

from kyt_host_testing import VirtualController

# A connection under a stream of messages of both kinds, and callbacks that count them.
STREAM = """
import sys, threading, time
import _kyt_host as kyt

robot = kyt.connect_robot("127.0.0.1", sys.argv[1])
assert robot > 0
states, frames = threading.Semaphore(0), threading.Semaphore(0)
def on_state(text): states.release()
def on_frame(code, text): frames.release()
assert kyt.robot_state_callback(robot, on_state) == 0
assert kyt.recv_message(robot, on_frame) == 0
def wait(messages=20):
    for counter in (states, frames):
        for _ in range(messages):
            assert counter.acquire(timeout=10), "the stream has stopped"
wait()
"""

CASES = {
    "the script ends": "others = [kyt.connect_robot('127.0.0.1', sys.argv[1]) for _ in range(5)]",
    "three threads register": """
        until = time.monotonic() + 1
        callbacks = [lambda code, text: frames.release() for _ in range(3)]  # kept: nobody else does
        def register(callback):
            while time.monotonic() < until:
                assert kyt.recv_message(robot, callback) == 0
                assert kyt.robot_state_callback(robot, on_state) == 0
        threads = [threading.Thread(target=register, args=[each]) for each in callbacks]
        for thread in threads: thread.start()
        for thread in threads: thread.join()
        wait()
    """,
    "disconnecting": """
        assert kyt.disconnect_robot(robot) == 0
        assert kyt.get_connection_status(robot) == kyt.DISCONNECT
    """,
    "disconnecting from a callback": """
        done = threading.Event()
        def disconnect(code, text):
            assert kyt.disconnect_robot(robot) == 0
            done.set()
        assert kyt.recv_message(robot, disconnect) == 0
        assert done.wait(10)
        assert kyt.get_connection_status(robot) == kyt.DISCONNECT
    """,
    "querying while a callback is in Python": """
        def query(code, text):
            kyt.get_speed(robot, 0)
            sum(range(1000))
        assert kyt.recv_message(robot, query) == 0
        assert [kyt.get_servo_state(robot, 0)[0] for _ in range(50)] == [0] * 50
    """,
    "a callback is in flight at the end": """
        entered = threading.Event()
        def sleep(code, text):
            entered.set()
            time.sleep(0.3)
        assert kyt.recv_message(robot, sleep) == 0
        assert entered.wait(10)
    """,
    "a callback never ends": """
        entered = threading.Event()
        def stay(code, text):
            entered.set()
            threading.Event().wait()
        assert kyt.recv_message(robot, stay) == 0
        assert entered.wait(10)
    """,
    "a callback computes forever": """
        entered = threading.Event()
        def compute(text):
            entered.set()
            while True: pass
        assert kyt.robot_state_callback(robot, compute) == 0
        assert entered.wait(10)
    """,
    "daemon threads are in calls": """
        def work(call):
            while True: call()
        calls = [lambda: kyt.get_speed(robot, 0), lambda: kyt.delay(1), lambda: kyt.recv_message(robot, on_frame),
                 lambda: kyt.connect_robot("127.0.0.1", sys.argv[1]), lambda: kyt.get_connection_status(robot),
                 lambda: kyt.delay(60000), lambda: kyt.check_servo_state(robot, 1, 12345)]
        for call in calls: threading.Thread(target=work, args=[call], daemon=True).start()
        wait()
    """,
    "a function registered to run at exit still gets its callbacks": """
        import atexit
        def last():
            wait()
            print("served at exit")
        atexit.register(last)
    """,
}


def program(case):
    return STREAM + textwrap.dedent(case)


class Endings(unittest.TestCase):
    def test_nothing_hangs_and_nothing_crashes(self):
        with VirtualController("--state-period", "1") as controller, ThreadPoolExecutor(4) as several:
            running = {name: several.submit(run, program(case), controller.port) for name, case in CASES.items()}
            for name, one in running.items():
                with self.subTest(name):
                    done = one.result()
                    self.assertEqual(done.returncode, 0, done.stderr)
                    self.assertNotIn("Fatal", done.stderr)
                    self.assertNotIn("Traceback", done.stderr)
                    self.assertEqual("served at exit" in done.stdout, "served at exit" in CASES[name])


if __name__ == "__main__":
    unittest.main()
