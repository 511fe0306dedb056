"""Callbacks: what arrives, in which order, and what a callback may do."""

import json
import threading
import unittest

import _kyt_host as kyt
from support import Peer

from kyt_host_testing import VirtualController

WAIT = 10  # seconds for what is expected to happen


def ignore(*message):
    """Takes the place of a callback that is to go: nothing unregisters one."""


class Recorder:
    """A callback that notes its calls."""

    def __init__(self, name="", calls=None):
        self.name = name
        self.calls = [] if calls is None else calls
        self.called = threading.Semaphore(0)

    def __call__(self, *message):
        self.calls.append((self.name, *message) if self.name else message)
        self.called.release()

    def wait(self, times=1):
        for _ in range(times):
            if not self.called.acquire(timeout=WAIT):
                raise AssertionError(f"the callback has not been called; so far: {self.calls}")


class Callbacks(unittest.TestCase):
    def register(self, setter, robot, callback):
        self.assertEqual(setter(robot, callback), 0)
        self.addCleanup(lambda kept: setter(robot, ignore), callback)  # nobody else keeps it so long

    def test_every_callable_gets_every_message_in_the_order_of_handles(self):
        peer, calls = Peer(self), []
        robots = peer.connect(), peer.connect()
        first, replaced, second = Recorder("first", calls), Recorder("replaced", calls), Recorder("second", calls)
        self.register(kyt.recv_message, robots[1], second)
        self.register(kyt.recv_message, robots[0], replaced)
        self.register(kyt.recv_message, robots[0], first)
        self.assertRaises(ValueError, kyt.recv_message, robots[0], "no callable")
        peer.send(b'{"a":1}')
        second.wait()
        peer.send(b"\xff\xc3\xa9", connection=1)
        second.wait()
        self.assertEqual(
            calls,
            [
                ("first", 0x1234, '{"a":1}'),
                ("second", 0x1234, '{"a":1}'),
                ("first", 0x1234, "\udcff\u00e9"),
                ("second", 0x1234, "\udcff\u00e9"),
            ],
        )

    def test_a_callable_that_raises_stops_nothing(self):
        peer, calls = Peer(self), Recorder()

        def broken(*message):
            calls.calls.append("broken")
            raise ValueError("in a callback")

        robots = peer.connect(), peer.connect()
        self.register(kyt.robot_state_callback, robots[0], broken)
        self.register(kyt.robot_state_callback, robots[1], calls)
        for text in (b"1", b"2"):
            peer.send(text, kyt.Strategy_RobotState)
        calls.wait(2)
        self.assertEqual(calls.calls, ["broken", ("1",), "broken", ("2",)])

    def test_each_kind_gets_its_own(self):
        errors, states, restored = Recorder(), Recorder(), Recorder()
        with VirtualController("--state-period", "20") as controller:
            robot = kyt.connect_robot(controller.host, controller.port)
            self.addCleanup(kyt.disconnect_robot, robot)
            self.register(kyt.set_receive_error_or_warnning_message_callback, robot, errors)
            self.register(kyt.robot_state_callback, robot, states)
            self.register(kyt.set_reconnect_callback, robot, restored)
            kyt.get_speed(robot, 0)  # the controller knows the connection now
            controller.raise_error()
            errors.wait()
            states.wait(2)
            kind, text, code = errors.calls[0]
            self.assertEqual((type(kind), type(text), code), (int, str, 1001))
            self.assertIsInstance(json.loads(states.calls[0][0]), dict)
            self.assertEqual(kyt.set_reconnect(robot, True), 0)
            controller.stop()
            controller.start()
            restored.wait()
            self.assertEqual(restored.calls, [()])

    def test_a_callback_may_call_any_operation(self):
        results = Recorder()
        with VirtualController("--state-period", "0") as controller:
            robot, other = (kyt.connect_robot(controller.host, controller.port) for _ in range(2))
            self.addCleanup(kyt.disconnect_robot, robot)

            def busy(kind, text, code):
                steps = [
                    kyt.get_servo_state(robot, 0),
                    kyt.clear_error(robot),
                    kyt.get_servo_state(other, 0),
                    kyt.set_receive_error_or_warnning_message_callback(robot, results),  # replaces itself
                    kyt.recv_message(robot, ignore),
                    kyt.disconnect_robot(other),
                ]
                results(*steps)

            self.register(kyt.set_receive_error_or_warnning_message_callback, robot, busy)
            kyt.get_speed(robot, 0)  # the controller knows the connection now
            controller.raise_error()
            results.wait()
            self.assertEqual(results.calls[0][:2], ([0, 2], 0))
            self.assertEqual(results.calls[0][3:], (0, 0, 0))
            controller.raise_error()
            results.wait()
            self.assertEqual(results.calls[-1][2], 1001)

    def test_a_callback_that_takes_its_time_delays_no_reply(self):
        entered, leave = threading.Event(), threading.Event()

        def slow(code, text):
            entered.set()
            leave.wait(WAIT)

        with VirtualController("--state-period", "5") as controller:
            robot = kyt.connect_robot(controller.host, controller.port)
            self.addCleanup(kyt.disconnect_robot, robot)
            self.register(kyt.recv_message, robot, slow)
            self.addCleanup(leave.set)
            self.assertTrue(entered.wait(WAIT))
            replies = [kyt.get_speed(robot, 0) for _ in range(20)]
            self.assertFalse(leave.is_set())
            self.assertEqual(replies, [[0, 50]] * 20)


if __name__ == "__main__":
    unittest.main()
