"""Callbacks: what arrives, in which order, and what a callback may do."""

import gc
import json
import os
import socket
import sys
import tempfile
import threading
import time
import unittest
import unittest.mock
import weakref

import _kyt_host as kyt
from support import ROOT, Peer, run, start_controller

WAIT = 10  # seconds for what is expected to happen
MESSAGE = b'{"kind":1,"data":"%s","code":2}'
KINDS = [
    (kyt.recv_message, 0x1234),
    (kyt.set_receive_error_or_warnning_message_callback, kyt.Strategy_ErrorMessage),
    (kyt.robot_state_callback, kyt.Strategy_RobotState),
]


def ignore(*message):
    """Takes the place of a callback that is to go: only disconnecting unregisters one."""


class Recorder:
    """A callback that notes its calls, after its name if it has one, and may raise."""

    def __init__(self, *name, calls=None, raises=None):
        self.name, self.calls, self.raises = name, [] if calls is None else calls, raises
        self.called = threading.Semaphore(0)

    def __call__(self, *message):
        self.calls.append(self.name + message)
        self.called.release()
        if self.raises:
            raise self.raises

    def wait(self, times=1):
        for _ in range(times):
            if not self.called.acquire(timeout=WAIT):
                raise AssertionError(f"the callback has not been called; so far: {self.calls}")


class Held(Recorder):
    """One that does not return until it may leave."""

    def __init__(self):
        super().__init__()
        self.leave = threading.Event()

    def __call__(self, *message):
        super().__call__(*message)
        self.leave.wait(WAIT)


class Callbacks(unittest.TestCase):
    def register(self, setter, robot, callback):
        self.assertEqual(setter(robot, callback), 0)
        self.addCleanup(lambda kept: setter(robot, ignore), callback)  # nobody else keeps it so long

    def test_every_callable_gets_every_message_in_the_order_of_handles_even_if_one_raises(self):
        peer = Peer(self)
        robots = peer.connect(), peer.connect()
        for setter, code, start in [
            (kyt.recv_message, 0x1234, (0x1234,)),
            (kyt.robot_state_callback, kyt.Strategy_RobotState, ()),
        ]:
            calls = []
            second = Recorder("second", calls=calls)
            self.register(setter, robots[1], second)
            self.register(setter, robots[0], Recorder("replaced", calls=calls))
            self.register(setter, robots[0], Recorder("first", calls=calls, raises=ValueError("in a callback")))
            self.assertRaises(ValueError, setter, robots[0], "no callable")
            for connection, text in enumerate([b'{"a":1}', b"\xff\xc3\xa9"]):
                peer.send(text, code, connection)
                second.wait()
            texts = ['{"a":1}', "\udcff\u00e9"]
            self.assertEqual(calls, [(name, *start, text) for text in texts for name in ("first", "second")])

    def test_callables_that_are_told_the_handle_hear_it_alone_and_are_kept(self):
        peer, calls = Peer(self), []
        robots = [peer.connect(), peer.connect()]
        kept = [Recorder(name, calls=calls) for name in ("first", "second")]
        gone = [weakref.ref(recorder) for recorder in kept]
        for robot, recorder in zip(robots, kept):
            for setter in (kyt.set_frame_callback, kyt.set_message_callback, kyt.set_state_callback):
                self.assertEqual(setter(robot, recorder), 0)
            self.assertEqual(kyt.set_connection_lost_callback(robot, lambda fd, call=recorder: call(fd, "lost")), 0)
        del recorder
        for connection, code in enumerate((kyt.Strategy_ErrorMessage, kyt.Strategy_RobotState)):
            peer.send(MESSAGE % b"hot", code, connection)
            kept[connection].wait(2)
        self.assertEqual(
            calls,
            [
                ("first", robots[0], 1, "hot", 2),
                ("first", robots[0], kyt.Strategy_ErrorMessage, (MESSAGE % b"hot").decode()),
                ("second", robots[1], (MESSAGE % b"hot").decode()),
                ("second", robots[1], kyt.Strategy_RobotState, (MESSAGE % b"hot").decode()),
            ],
        )
        with unittest.mock.patch.object(sys, "unraisablehook") as hook:
            self.assertEqual(kyt.set_message_callback(robots[0], Recorder(calls=calls, raises=ValueError("mine"))), 0)
            peer.send(MESSAGE % b"again", kyt.Strategy_ErrorMessage)
            kept[0].wait()
            self.assertEqual([str(call.args[0].exc_value) for call in hook.call_args_list], ["mine"])
            hook.reset_mock()
        self.assertRaises(TypeError, kyt.set_state_callback, robots[0], 3)
        peer.sockets[1].close()
        kept[1].wait()
        self.assertEqual(calls[-1], ("second", robots[1], "lost"))

        for setter in (kyt.set_frame_callback, kyt.set_state_callback, kyt.set_connection_lost_callback):
            self.assertEqual(setter(robots[0], None), 0)
        kyt.disconnect_robot(robots[1])
        kept.clear()
        gc.collect()
        self.assertEqual([reference() for reference in gone], [None, None])

    def test_the_frame_log_goes_to_a_file_and_to_a_callable(self):
        peer, recorder = Peer(self), Recorder()
        robot = peer.connect()
        self.addCleanup(kyt.set_frame_log_callback, None)
        self.addCleanup(kyt.set_frame_log, "")
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "log.txt")
            self.assertEqual((kyt.set_frame_log(path), kyt.set_frame_log_callback(recorder)), (0, 0))
            kyt.send_message(robot, 0x1234, "{}")
            recorder.wait()
            [(handle, when, sent, *frame)] = recorder.calls
            self.assertEqual((handle, sent, frame), (robot, True, [0x1234, "{}"]))
            self.assertLess(abs(when - time.time()), 60)
            self.assertEqual(kyt.set_frame_log(""), 0)
            with open(path, encoding="utf-8") as log:
                self.assertRegex(log.read(), rf"^\S+Z {robot} 127.0.0.1:\d+ -> 0x1234 unknown \{{\}}\n$")
        self.assertRaises(TypeError, kyt.set_frame_log_callback, 3)

    def test_disconnecting_drops_the_callables_of_the_handle(self):
        peer = Peer(self)
        stays = peer.connect()
        for setter, code in KINDS:
            kept, dropped, goes = Recorder(), Recorder(), peer.connect()
            self.register(setter, stays, kept)
            self.assertEqual(setter(goes, dropped), 0)
            for times in (1, 2, 3):
                peer.send(MESSAGE % b"any", code)
                kept.wait()  # called before the other, which stands behind it
                if times == 1:
                    dropped.wait()
                    self.assertEqual(kyt.disconnect_robot(goes), 0)
            self.assertEqual((len(kept.calls), len(dropped.calls)), (3, 1), setter)

    def test_nothing_comes_from_a_connection_that_has_been_disconnected(self):
        peer = Peer(self)
        robot = peer.connect()
        for setter, code in KINDS:
            gone, slow, other = peer.connect(), Held(), Recorder()
            self.addCleanup(slow.leave.set)
            self.register(setter, robot, slow)
            self.assertEqual(setter(gone, other), 0)
            peer.send(MESSAGE % b"first", code)
            slow.wait()
            peer.send(MESSAGE % b"late", code, -1)
            time.sleep(0.1)  # it arrives, and waits until the first is through
            self.assertEqual(kyt.disconnect_robot(gone), 0)
            slow.leave.set()
            peer.send(MESSAGE % b"last", code)
            slow.wait()
            self.assertEqual((len(slow.calls), "late" in str(slow.calls), other.calls), (2, False, []), setter)
            self.assertEqual(setter(robot, ignore), 0)

    def test_each_kind_gets_its_own(self):
        errors, states, restored = Recorder(), Recorder(), Recorder()
        controller, robot = start_controller(self.addCleanup, "20")
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
        controller, robot = start_controller(self.addCleanup)
        other = kyt.connect_robot(controller.host, controller.port)

        def busy(kind, text, code):
            results(
                kyt.get_servo_state(robot, 0),
                kyt.clear_error(robot),
                kyt.get_servo_state(other, 0),
                kyt.set_receive_error_or_warnning_message_callback(robot, results),  # replaces itself
                kyt.recv_message(robot, ignore),
                kyt.disconnect_robot(other),
            )

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
        _, robot = start_controller(self.addCleanup, "5")
        slow = Held()
        self.register(kyt.recv_message, robot, slow)
        self.addCleanup(slow.leave.set)
        slow.wait()
        replies = [kyt.get_speed(robot, 0) for _ in range(20)]
        self.assertEqual((replies, len(slow.calls)), ([[0, 50]] * 20, 1))

    def test_the_progress_of_a_file_and_what_its_callback_raises(self):
        host = f"127.6.{os.getpid() // 200 % 200}.{1 + os.getpid() % 200}"  # the port is not ours to choose
        _, robot = start_controller(self.addCleanup, "0", "--host", host, "--file-port", "5000")
        progress = Recorder()
        kyt.set_progress_callback(progress)
        with tempfile.NamedTemporaryFile(prefix="A", suffix=".JBR") as job:
            os.write(job.fileno(), b"0123")
            self.assertEqual(kyt.job_upload_by_file(robot, job.name), 0)
            progress.raises = KeyError("in a callback")
            self.assertRaises(KeyError, kyt.job_upload_by_file, robot, job.name)
            kyt.set_progress_callback(None)
            self.assertEqual(kyt.job_upload_by_file(robot, job.name), 0)
        expected = [("job/R1/" + os.path.basename(job.name), done, 4) for done in (0, 4, 0)]
        self.assertEqual(progress.calls, expected)

    def test_diagnostics_go_to_the_handler_from_whatever_thread(self):
        self.addCleanup(kyt.set_diagnostics_handler, None)
        peer, refused = Peer(self), socket.create_server(("127.0.0.1", 0))
        port = str(refused.getsockname()[1])
        refused.close()
        peer.connect()

        def fail():
            self.assertEqual(kyt.connect_robot("127.0.0.1", port), -1)

        lines = Recorder()
        kyt.set_diagnostics_handler(lambda level, line: lines(threading.get_ident(), level, line))  # it is kept
        fail()
        lines.wait()
        here, level, line = lines.calls.pop()
        self.assertEqual((here, level), (threading.get_ident(), kyt.DIAGNOSTICS_ERROR))
        self.assertRegex(line, r"^Connect error: .*[^\n]$")
        peer.sockets[0].close()
        lines.wait()
        thread, _, line = lines.calls.pop()
        self.assertEqual((thread == here, line), (False, "Service IP = 127.0.0.1. Connect break."))

        unraisable, raises = Recorder(), Recorder(raises=KeyError("in a handler"))
        self.addCleanup(setattr, sys, "unraisablehook", sys.unraisablehook)
        sys.unraisablehook = lambda problem: unraisable(problem.exc_type, problem.object)
        for handler in (raises, lambda level, line: (fail(), raises(line))):  # what that says goes to the streams
            kyt.set_diagnostics_handler(handler)
            fail()
            self.assertEqual(unraisable.calls.pop(), (KeyError, handler))
        kyt.set_diagnostics_handler(None)
        fail()
        self.assertEqual((len(raises.calls), unraisable.calls), (2, []))
        example = run(str(ROOT / "examples/diagnostics_to_logging.py"), "127.0.0.1", port)
        self.assertRegex(example.stderr, r"ERROR kyt_host \[MainThread\] Connect error: .*\nnot connected")
