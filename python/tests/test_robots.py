"""The package kyt_host: the cases that the C++ layer goes through, too, and what is Python's alone."""

import asyncio
import gc
import importlib.util
import json
import logging
import os
import signal
import tempfile
import threading
import time
import unittest
import weakref
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from support import ROOT, VirtualController  # which also tells where the package is

import _kyt_host as flat
import kyt_host as kyt

CASES = json.loads((ROOT / "tests/robot/cases.json").read_text(encoding="utf-8"))
HOME = [0.0, 0, 0, 0, 0, 0]
IS_IT_RUNNING, STOP = 0x3D02, 0x50BA  # request codes


class Own(Exception):
    """What a generator of the application's raises."""


class Case:
    """One case: what is done, by name."""

    def __init__(self, outside, cell):
        self.outside_world, self.cell, self.robot, self.motion = outside, cell, cell.robot(1), None

    def alarms(self):
        return [alarm.text for alarm in self.cell.alarms]

    def checked(self, checked):
        self.cell.checked = checked

    def clear(self):
        self.robot.clear()

    def diff(self):
        return self.built.diff()

    def connect(self, address):
        kyt.connect(address)

    def done(self):
        return self.motion.done

    def follow(self, line, speed):
        def points():
            for i in range(line["points"]):
                if i == line["points"] // 2 and "fails" in line:
                    raise Own("no more points")
                yield [line["from"] + (line["to"] - line["from"]) * (i + 1) / line["points"], 0, 0, 0, 0, 0]

        reached = []
        self.robot.follow(points(), speed=speed, acceleration=100, smoothing=3, progress=reached.append)
        return reached[-1]

    def joints(self):
        return self.robot.joints()

    def make_job(self, name, moves):
        flat.job_create(self.cell.handle, name)
        for line, (joint, speed) in enumerate(moves, 1):
            move = flat.MoveCmd(targetPosValue=[joint, *[0] * 6], velocity=speed, acc=100, dec=100)
            flat.job_insert_moveJ(self.cell.handle, line, move)

    def move_joints(self, target, speed, beside=False):
        motion = self.robot.move_joints(target, speed, 100)
        self.motion = self.motion if beside else motion

    def move_linear_by(self, shift, speed):
        self.motion = self.robot.move_linear(self.robot.pose().shifted(*shift), speed)

    def move_to_here(self, speed):
        self.motion = self.robot.move_to(self.robot.pose(), speed)

    def outside(self, command):
        arguments = {key: value for key, value in command.items() if key != "command"}
        self.outside_world.perform(command["command"], **arguments)

    def output_is(self, port, value):
        return bool(self.cell.outputs[port] == value)

    def pause(self):
        self.robot.pause()

    def power_off(self):
        self.robot.power_off()

    def power_on(self):
        self.robot.power_on()

    def program(self, name, steps):
        self.built = self.cell.program(name)
        self.add_steps(steps)
        return str(self.built)

    def progress(self):
        return self.motion.progress

    def queue_length(self):
        return flat.queue_motion_get_queuelen(self.cell.handle, -1)[1]

    def resume(self):
        self.robot.resume()

    def run(self, job, times=1):
        self.motion = self.robot.run(job, times)

    def run_program(self):
        self.motion = self.built.run()

    def set_output(self, port, value):
        self.cell.outputs[port] = value

    def sleep(self, seconds):
        time.sleep(seconds)

    def stop(self):
        self.robot.stop()

    def until_alarms(self, count):
        self.cell.until(lambda: len(self.cell.alarms) == count).wait(5)

    def upload(self):
        self.built.upload()

    def wait(self, seconds):
        self.motion.wait(seconds)

    def wait_input(self, port, value, seconds):
        self.cell.inputs[port].wait_for(value, seconds)

    def add_steps(self, steps):
        """Steps of a program as the table has them: ["if", ["inputs", 3, 1], [steps], [steps]]."""
        program = self.built
        for kind, *with_ in steps:
            if kind == "call":
                program.call(program)
            elif kind == "if_else":
                self.block(program.if_, *with_[:2])
                self.block(lambda _: program.else_(), None, with_[2])
            elif kind in ("if", "while", "loop"):
                self.block(getattr(program, kind if kind == "loop" else kind + "_"), *with_)
            elif kind in ("smoothing", "tool", "user_frame"):
                setattr(program, kind, with_[0])
            elif kind == "move_to":
                program.move_to(*with_, 100, kyt.CoordinateSystem.USER)
            elif kind.startswith("move_"):
                getattr(program, kind)(*with_, 100)
            elif kind == "wait_for":
                program.wait_for(self.condition(*with_[0]), with_[1])
            else:
                getattr(program, kind)(*with_)

    def block(self, opened, told, steps):
        with opened(self.condition(*told) if isinstance(told, list) else told):
            self.add_steps(steps)

    def condition(self, ports, number, value):
        port = getattr(self.cell, ports)[number]
        return {"inputs": port.__eq__, "outputs": port.__ne__, "analog_inputs": port.__ge__}[ports](value)


def near(one, other):
    if isinstance(one, (list, tuple)):
        return len(one) == len(other) and all(map(near, one, other))
    return abs(one - other) < 0.15 if isinstance(other, (int, float)) else one == other


class Robots(unittest.TestCase):
    def setUp(self):
        self.outside = VirtualController("--state-period", "0")
        self.addCleanup(self.outside.stop)
        self.cell = kyt.connect(self.outside.host, self.outside.port)
        self.addCleanup(self.cell.disconnect)
        self.robot = self.cell.robot(1)
        self.robot.power_on()
        self.robot.speed = 100
        logging.getLogger("kyt_host").setLevel(logging.CRITICAL)

    def test_what_is_not_connected_says_so(self):
        robot = self.robot
        self.cell.disconnect()
        for call in (robot.pose, robot.power_on, robot.stop, lambda: robot.follow([HOME]), robot.record):
            self.assertRaises(kyt.NotConnected, call)
        with self.assertRaises(ValueError):
            self.cell.robot(5)

    def test_the_connection_goes_with_its_controller(self):
        handle, gone = self.cell.handle, weakref.ref(self.cell)
        self.doCleanups()
        del self.cell, self.robot
        gc.collect()
        self.assertIsNone(gone())
        self.assertEqual(flat.get_connection_status(handle), flat.DISCONNECT)

    def test_asyncio_waits_beside_other_things(self):
        async def ticks(until):
            count = 0
            while not until.is_set():
                await asyncio.sleep(0.01)
                count += 1
            return count

        async def work():
            over = asyncio.Event()
            ticking = asyncio.ensure_future(ticks(over))
            await self.robot.move_joints([20, -10], speed=50)
            with self.assertRaises(kyt.TimedOut):
                await self.cell.inputs[3].wait_for_async(True, timeout=0.1)
            self.outside.set_input(3, 1)
            await self.cell.inputs[3].becomes(True)
            await self.robot.follow_async([[20 - i] for i in range(20)], speed=100)
            moving = asyncio.ensure_future(self.robot.move_joints([90], speed=5).wait_async())
            await asyncio.sleep(0.1)
            moving.cancel()
            with self.assertRaises(asyncio.CancelledError):
                await moving
            self.outside.silence("all", -1)
            with self.assertRaises(kyt.NoReply):
                await kyt.in_background(self.robot.pose)
            over.set()
            return await ticking

        began = time.monotonic()
        count = asyncio.run(work())
        self.assertGreater(count, (time.monotonic() - began) * 30)  # of up to a hundred a second

    def test_ctrl_c_ends_a_wait_and_stops_what_is_followed(self):
        def press(call):
            pressed = threading.Timer(0.3, os.kill, [os.getpid(), signal.SIGINT])
            pressed.start()
            began = time.monotonic()
            self.assertRaises(KeyboardInterrupt, call)
            pressed.join()
            self.assertLess(time.monotonic() - began, 0.8)

        press(self.robot.move_joints([90], speed=2).wait)
        press(lambda: self.cell.inputs[3].wait_for(True))
        self.robot.stop()
        press(lambda: self.robot.follow([[0.1 * i] for i in range(900)], speed=5))
        self.assertEqual(flat.queue_motion_get_queuelen(self.cell.handle, -1)[1], 0)
        self.cell.until(lambda: self.robot.running_state == kyt.RunningState.STOPPED).wait(2)

    def test_alarms_are_told_and_logged_but_refusals_raised(self):
        told, lost, restored = [], threading.Event(), threading.Event()

        def tell(alarm):
            told.append(alarm)
            raise RuntimeError("not told in vain")

        self.cell.on_alarm(tell)
        self.cell.on_lost(lost.set)
        self.cell.on_restored(restored.set)
        log = logging.getLogger("kyt_host")
        with self.assertLogs(log, logging.WARNING) as logged:
            with self.assertRaises(kyt.Refused) as refused:
                self.cell.outputs[99] = True
            self.assertEqual((refused.exception.operation, refused.exception.status), ("outputs[99]", flat.OPERATION_NOT_ALLOWED))
            self.outside.perform("raise_warning", code=5, text="oil is low")
            self.outside.perform("raise_error", code=6, text="door open")
            self.cell.until(lambda: len(told) == 2).wait(5)
        self.assertEqual([alarm.kind for alarm in told], [kyt.MessageKind.WARNING, kyt.MessageKind.ERROR])
        self.assertEqual([alarm.text for alarm in self.cell.alarms], ["door open"])
        said = [record.getMessage() for record in logged.records][:3]
        where = self.cell.address + ", robot 1: "
        self.assertEqual(said, [where + "oil is low (5)", "in a callback", where + "door open (6)"])
        log.setLevel(logging.CRITICAL)
        self.outside.cut()
        self.assertTrue(lost.wait(5))
        self.outside.restore()
        self.assertTrue(restored.wait(5))
        self.cell.wait_connected(1)

    def test_a_stop_does_not_wait_behind_a_command_that_hangs(self):
        self.outside.silence(IS_IT_RUNNING, 2)  # what commands are checked with
        hangs = threading.Thread(target=self.assertRaises, args=[kyt.NoReply, self.cell.outputs.__setitem__, 5, True])
        hangs.start()
        self.cell.until(lambda: self.outside.requests(IS_IT_RUNNING)).wait(5)
        stops = threading.Thread(target=self.assertRaises, args=[kyt.NoReply, self.robot.stop])
        stops.start()
        self.cell.until(lambda: self.outside.requests(STOP)).wait(5)
        self.assertTrue(hangs.is_alive())
        hangs.join()
        stops.join()

    def test_recordings_and_states(self):
        with self.robot.record(rate=200) as recording:
            self.robot.move_joints([30], speed=60, wait=True)
        samples = recording.samples
        self.assertGreater(len(samples), 10)
        times = [sample.time for sample in samples]
        self.assertEqual(times, sorted(times))
        self.assertLess(samples[0].joints[0], 1)
        self.assertAlmostEqual(samples[-1].joints[0], 30, delta=1)
        self.assertEqual(len(recording.samples), len(samples))
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder, "run.csv")
            recording.to_csv(path)
            header, *rows = path.read_text().splitlines()
            self.assertEqual((header.split(","), len(rows)), (recording.columns, len(samples)))
            self.assertAlmostEqual(float(rows[-1].split(",")[2]), samples[-1].joints[0], places=5)
            self.assertRaises(kyt.Error, recording.to_csv, folder)
        if importlib.util.find_spec("numpy"):
            self.assertEqual(recording.to_numpy().shape, (len(samples), len(recording.columns)))
        else:
            with self.assertRaisesRegex(ImportError, "pip install numpy"):
                recording.to_numpy()
        states = []
        for state in self.robot.states(rate=100):
            states.append(state)
            if len(states) == 5:
                break
        self.assertEqual(states[-1].servo, kyt.ServoState.RUNNING)
        self.assertTrue(near(states[-1].pose, self.robot.pose()))
        self.assertTrue(near(kyt.Pose.from_matrix(states[-1].pose.matrix()), states[-1].pose))
        self.assertAlmostEqual((states[-1].pose @ kyt.Pose(3, 4, 0)).distance_to(states[-1].pose), 5)

    def test_a_recording_of_what_is_pushed_has_the_controllers_time(self):
        with VirtualController("--state-period", "10", "--host", "127.0.0.2", "--file-port", "5000") as outside:
            with kyt.connect(outside.host, outside.port) as cell:
                with cell.robot(2).record(rate=0) as recording:
                    cell.until(lambda: len(recording.samples) > 5).wait(5)
                times = [sample.controller_time for sample in recording.samples]
                self.assertTrue(all(0 < later - earlier < 1 for earlier, later in zip(times, times[1:])), times)
                with tempfile.TemporaryDirectory() as folder:
                    Path(folder, "PICK.JBR").write_text("")
                    flat.job_create(cell.handle, "PICK")
                    flat.job_insert_timer_command(cell.handle, 1, 2)
                    cell.until(lambda: cell.files.jobs() == ["PICK"]).wait(5)
                    told = []
                    cell.files.get("PICK", folder, progress=lambda *progress: told.append(progress))
                    self.assertEqual(told[-1][1], Path(folder, "PICK.JBR").stat().st_size)
                    cell.files.put(Path(folder, "PICK.JBR"), robot=2)
                    self.assertEqual(cell.files.jobs(robot=2), ["PICK"])
                    cell.files.backup(folder)
                    self.assertTrue(Path(folder, "robotJob/R2/PICK.JBR").is_file())


def go_through(case):
    """What came of each step: what it gave, and what it raised."""
    outcomes = []
    with VirtualController("--state-period", "0") as outside, kyt.connect(outside.host, outside.port) as cell:
        does = Case(outside, cell)
        does.power_on()
        does.robot.speed = 100
        for step in case["steps"]:
            raised, given = None, None
            try:
                given = getattr(does, step["do"])(*step.get("with", []), **{key: True for key in step if key == "beside"})
            except (kyt.Error, Own) as error:
                raised = error
            outcomes.append((step, given, raised))
    return outcomes


class Cases(unittest.TestCase):
    def test_the_table(self):
        flat.set_diagnostics_handler(kyt.controller._on_diagnostics)  # which another test may have taken away
        logging.getLogger("kyt_host").setLevel(logging.CRITICAL)
        with ThreadPoolExecutor(4) as several:
            for case, outcomes in zip(CASES, several.map(go_through, CASES)):
                for step, given, raised in outcomes:
                    with self.subTest(case=case["name"], step=step, raised=raised):
                        self.assertEqual(type(raised).__name__ if raised else None, step.get("raises"))
                        self.assertIn(step.get("says", ""), str(raised))
                        self.assertTrue("gives" not in step or near(given, step["gives"]), given)


if __name__ == "__main__":
    unittest.main()
