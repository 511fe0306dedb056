"""One robot of a controller."""

from __future__ import annotations

import asyncio
import itertools
import math
import time
from typing import TYPE_CHECKING, Any, Callable, Iterable, Iterator, List, Optional, Sequence, Union

import _kyt_host as flat

from .errors import BadArgument, MotionFailed, check
from .recording import Recording
from .values import CoordinateSystem, OperatingMode, Pose, RunningState, ServoState, State
from .waiting import Waiting, in_background

if TYPE_CHECKING:
    from .controller import Controller

#: A point of a trajectory: joints in degrees, or a pose in the base.
Waypoint = Union[Pose, Sequence[float]]


class Motion(Waiting):
    """A motion that has been commanded, or a job."""

    def __init__(self, controller: Controller, robot: int, operation: str, watch: flat.MotionWatch, number: int) -> None:
        super().__init__(operation, self._look_anew, lambda: controller.poll_interval)
        self._controller, self._robot, self._watch, self._number = controller, robot, watch, number
        self._good = controller.patience(operation)

    @property
    def distance(self) -> float:
        """How far the target is: degrees of the joint that is farthest off, or mm; as of the last look."""
        return float(self._watch.distance) if self._watch.target else 0.0

    def _look_anew(self) -> bool:
        watch = self._watch
        if watch.state < flat.MotionState_Done:
            if self._controller._motions.get(self._robot) != self._number:
                watch.state, watch.reason = flat.MotionState_Failed, "another motion has taken its place"
            elif self._good(flat.look_at_motion_robot(self._controller.handle, self._robot, watch)):
                self.progress = watch.progress
        if watch.state == flat.MotionState_Failed:
            raise MotionFailed(self._operation, watch.reason, self.distance)
        return bool(watch.state == flat.MotionState_Done)


class Robot:
    """A name for a robot: nothing is asked until something of it is used.

    Moves return at once; what they return is waited for, awaited, or left alone; ``wait=True`` waits at once. A new
    move takes the place of the one that is under way. Joint values may be fewer than the controller has: the others
    stay as they are. Lists may be of any kind, arrays included.
    """

    def __init__(self, controller: Controller, number: int) -> None:
        if not 1 <= number <= 4:
            raise BadArgument("robot", flat.PARAM_ERR, "a controller has robots 1 to 4")
        self.controller, self.number = controller, number

    def __repr__(self) -> str:
        return f"robot({self.number})"

    # --- power and errors

    def power_on(self) -> None:
        """Switches servo power on, and waits until the robot is ready to move; of all robots as a rule."""
        self._command("power_on", flat.set_servo_poweron_robot)

    def power_off(self) -> None:
        self.controller.urgent_command("power_off", self.number, flat.set_servo_poweroff_robot, self.number)

    def clear(self) -> None:
        """Clears its errors, and its alarms."""
        if self.servo_state != ServoState.RUNNING:  # with power on there is none, and the request is refused
            self._command("clear", flat.clear_error_robot)
        with self.controller._turn:
            self.controller._gather_alarms()
            self.controller._alarms = [each for each in self.controller._alarms if each.robot not in (0, self.number)]

    # --- what it is doing

    @property
    def servo_state(self) -> ServoState:
        return ServoState(self._ask("servo_state", flat.get_servo_state_robot))

    @property
    def running_state(self) -> RunningState:
        return RunningState(self._ask("running_state", flat.get_robot_running_state_robot))

    @property
    def mode(self) -> OperatingMode:
        return OperatingMode(self._ask("mode", flat.get_current_mode_robot))

    @mode.setter
    def mode(self, mode: OperatingMode) -> None:
        self._command("mode", flat.set_current_mode_robot, int(mode))

    @property
    def speed(self) -> int:
        """Percent of what is commanded, 0..100; it holds for what is under way, too."""
        return self._ask("speed", flat.get_speed_robot)

    @speed.setter
    def speed(self, percent: int) -> None:
        self._command("speed", flat.set_speed_robot, int(percent))

    def joints(self) -> List[float]:
        """Degrees."""
        return self._position("joints", CoordinateSystem.JOINT)

    def pose(self, coordinates: CoordinateSystem = CoordinateSystem.BASE) -> Pose:
        """Where the selected tool is."""
        return Pose(*self._position("pose", coordinates)[:6])

    def state(self) -> State:
        """All of that at once."""
        began = time.time()
        values = self.servo_state, self.running_state, self.mode, self.speed, self.joints(), self.pose()
        return State((began + time.time()) / 2, *values)

    def states(self, rate: float) -> Iterator[State]:
        """Its state so many times a second, or as often as the controller answers: ``for state in robot.states(50)``."""
        due = time.monotonic()
        while True:
            yield self.state()
            due = max(due + 1 / rate, time.monotonic())
            time.sleep(max(0.0, due - time.monotonic()))

    @property
    def tool(self) -> int:
        """The selected tool, 0..999; 0 is the flange."""
        return self._ask("tool", flat.get_tool_hand_number_robot)

    @tool.setter
    def tool(self, number: int) -> None:
        self._command("tool", flat.set_tool_hand_number_robot, number)

    @property
    def user_frame(self) -> int:
        """The selected user coordinate system, 1..999."""
        return self._ask("user_frame", flat.get_user_coord_number_robot)

    @user_frame.setter
    def user_frame(self, number: int) -> None:
        self._command("user_frame", flat.set_user_coord_number_robot, number)

    def variable(self, name: str) -> float:
        """A global variable of programs, such as "GD001"."""
        value = flat.DoubleRef()
        check("variable", flat.get_global_variant_robot(self.controller.handle, self.number, name, value))
        return float(value.value)

    def set_variable(self, name: str, value: float) -> None:
        self._command("set_variable", flat.set_global_variant_robot, name, value)

    # --- moving

    def move_joints(
        self, target: Sequence[float], speed: float = 20.0, acceleration: float = 50.0, wait: bool = False
    ) -> Motion:
        """Moves the joints to where they are to be, each on its own way.

        :param target: degrees
        :param speed: percent of the joints' top speed, above 0, up to 100
        :param acceleration: percent, likewise, and for slowing down, too
        """
        move = flat.robot_movej_robot
        return self._move("move_joints", move, target, CoordinateSystem.JOINT, speed, acceleration, wait)

    def move_to(
        self,
        target: Sequence[float],
        speed: float = 20.0,
        acceleration: float = 50.0,
        coordinates: CoordinateSystem = CoordinateSystem.BASE,
        wait: bool = False,
    ) -> Motion:
        """The same to where the joints bring the tool to a pose.

        :param coordinates: the axes of the target: BASE, USER or WORLD
        """
        return self._move("move_to", flat.robot_movej_robot, target, coordinates, speed, acceleration, wait)

    def move_linear(
        self,
        target: Sequence[float],
        speed: float = 100.0,
        acceleration: float = 50.0,
        coordinates: CoordinateSystem = CoordinateSystem.BASE,
        wait: bool = False,
    ) -> Motion:
        """Moves the tool in a straight line.

        :param target: a pose, in mm and degrees
        :param speed: mm/s, above 0
        :param coordinates: the axes of the target: BASE, USER or WORLD
        """
        return self._move("move_linear", flat.robot_movel_robot, target, coordinates, speed, acceleration, wait)

    def go_home(self, wait: bool = False) -> Motion:
        """Moves to the home position, at ``speed`` percent."""
        return self._watched("go_home", lambda _: flat.robot_go_home_robot(self.controller.handle, self.number), wait)

    def go_to_reset_position(self, wait: bool = False) -> Motion:
        """Moves to the reset position, at ``speed`` percent."""
        send = flat.robot_go_to_reset_position_robot
        return self._watched("go_to_reset_position", lambda _: send(self.controller.handle, self.number), wait)

    def run(self, job: str, times: int = 1, wait: bool = False) -> Motion:
        """Runs a job that the controller has."""

        def send(_: object) -> int:
            handle, status = self.controller.handle, flat.SUCCESS
            for function, argument in ((flat.job_open_robot, job), (flat.job_run_times_robot, times), (flat.job_run_robot, job)):
                status = status or function(handle, self.number, argument)  # type: ignore[operator]
            return status

        return self._watched("run", send, wait, job=True)

    def jog(self, axis: int, positive: bool = True) -> None:
        """Lets an axis move until ``stop_jog``: of the selected coordinate system, from 1."""
        self.controller.command("jog", 0, flat.set_robot_switch, self.number)
        self._command("jog", flat.robot_start_jogging_robot, axis, positive)

    def stop_jog(self, axis: int) -> None:
        self._command("stop_jog", flat.robot_stop_jogging_robot, axis)

    def stop(self) -> None:
        """Stops whatever moves it, with the servo on, and waits for no other command."""

        def send(handle: int, number: int) -> int:  # controllers stop a job and the queue by requests of their own
            flat.job_stop_robot(handle, number)
            return flat.queue_motion_stop_not_power_off_robot(handle, number)

        self.controller.urgent_command("stop", self.number, send, self.number)

    def pause(self) -> None:
        """Holds it where it is, until ``resume``."""
        queued = self._queue_is_on("pause")
        self._command("pause", flat.queue_motion_suspend_robot if queued else flat.job_pause_robot)

    def resume(self) -> None:
        """Goes on after a pause."""
        queued = self._queue_is_on("resume")
        self._command("resume", flat.queue_motion_restart_robot if queued else flat.job_continue_robot)

    def follow(
        self,
        points: Iterable[Waypoint],
        speed: float = 20.0,
        acceleration: float = 50.0,
        smoothing: int = 1,
        ahead: int = 60,
        progress: Union[bool, Callable[[int], object]] = False,
    ) -> None:
        """Drives along points, as many as come, and returns when the robot stands at the last one.

        Keeps the controller's motion queue filled. Whatever ends it earlier, an alarm, Ctrl-C, or what the points'
        generator raises, stops the robot and empties the queue.

        :param points: each a Pose, or joints in degrees
        :param speed: percent of the joints' top speed; or mm/s between poses
        :param smoothing: 0..5: how far corners may be cut
        :param ahead: how many points the controller has ahead
        :param progress: is told how many points have been reached; True: a bar, if tqdm is installed
        """
        steps = self._feed(points, speed, acceleration, smoothing, ahead, progress)
        try:
            for _ in steps:
                time.sleep(self.controller.poll_interval)
        finally:
            steps.close()  # type: ignore[attr-defined]

    async def follow_async(self, points: Iterable[Waypoint], **how: Any) -> None:
        """The same for asyncio. The points' generator runs on another thread."""
        steps = self._feed(points, **how)
        try:
            while await in_background(next, steps, "over") != "over":
                await asyncio.sleep(self.controller.poll_interval)
        finally:
            await in_background(steps.close)  # type: ignore[attr-defined]

    # --- recording

    def record(self, rate: float = 100.0) -> Recording:
        """Records where it is: ``with robot.record() as recording:``.

        :param rate: times a second; 0: whenever the controller pushes its state, with the controller's time
        """
        status, recording = flat.start_recording_robot(self.controller.handle, self.number, rate, 0)
        check("record", status)
        return Recording(recording)

    # --- how

    def _command(self, operation: str, function: Callable[..., int], *arguments: Any) -> None:
        self.controller.command(operation, self.number, function, self.number, *arguments)

    def _ask(self, operation: str, query: Callable[[int, int, int], List[int]]) -> int:
        status, value = query(self.controller.handle, self.number, 0)
        if status:
            check(operation, status)
        return value

    def _position(self, operation: str, coordinates: int) -> List[float]:
        values: List[float] = []
        status = flat.get_current_position_robot(self.controller.handle, self.number, coordinates, values)
        if status or len(values) < 7:
            check(operation, status or flat.EXCEPTION, "" if status else "the controller sends no position")
        return values

    def _queue_is_on(self, operation: str) -> bool:
        status, on = flat.queue_motion_get_status_robot(self.controller.handle, self.number, False)
        check(operation, status)
        return bool(on)

    def _move(
        self,
        operation: str,
        send: Callable[[int, int, flat.MoveCmd], int],
        target: Sequence[float],
        coordinates: int,
        speed: float,
        acceleration: float,
        wait: bool,
    ) -> Motion:
        if coordinates == CoordinateSystem.TOOL:
            reason = "the tool's axes move along: say robot.pose() @ Pose(...) instead"
            raise BadArgument(operation, flat.PARAM_ERR, reason)
        asked = [float(value) for value in target]
        if not asked or (coordinates != CoordinateSystem.JOINT and len(asked) < 6):
            raise BadArgument(operation, flat.PARAM_ERR, f"{len(asked)} values are no target")

        def command(now: Sequence[float]) -> int:
            move = _move_command(asked, now, coordinates, speed, acceleration)
            return send(self.controller.handle, self.number, move)

        return self._watched(operation, command, wait, asked, coordinates)

    def _watched(
        self,
        operation: str,
        send: Callable[[Sequence[float]], int],
        wait: bool,
        target: Sequence[float] = (),
        coordinates: int = CoordinateSystem.JOINT,
        job: bool = False,
    ) -> Motion:
        controller, watch = self.controller, flat.MotionWatch(coord=coordinates, target=target, job=job)
        with controller._turn:  # from before the command, so that nothing of the motion is missed
            check(operation, flat.begin_motion_watch_robot(controller.handle, self.number, watch))
            number = controller._motions[self.number] = controller._motions.get(self.number, 0) + 1
            sent = send(list(watch.last))
            watch.lastMessage = controller.check_command(operation, self.number, sent, watch.lastMessage)
        motion = Motion(controller, self.number, operation, watch, number)
        if wait:
            motion.wait()
        return motion

    def _feed(
        self,
        points: Iterable[Waypoint],
        speed: float = 20.0,
        acceleration: float = 50.0,
        smoothing: int = 1,
        ahead: int = 60,
        progress: Union[bool, Callable[[int], object]] = False,
    ) -> Iterator[None]:
        """The steps of following: a pause belongs after each."""
        controller, left = self.controller, iter(points)
        now, tool = self.joints(), self.tool
        feed = flat.QueueFeed(ahead=ahead)
        tell = _bar(points) if progress is True else progress or (lambda _: None)
        self.controller.command("follow", self.number, flat.begin_queue_feed_robot, self.number, feed)
        controller._motions[self.number] = controller._motions.get(self.number, 0) + 1
        silent, told = 0, -1
        try:
            while True:
                batch = list(itertools.islice(left, feed.room))
                feed.last = feed.last or len(batch) < feed.room
                for point in batch:
                    linear = isinstance(point, Pose)
                    line = _line(point, now, speed, acceleration)
                    line.pl, line.toolNum = smoothing, tool
                    push = flat.queue_motion_push_back_moveL_robot if linear else flat.queue_motion_push_back_moveJ_robot
                    check("follow", push(controller.handle, self.number, line))
                status = flat.feed_queue_robot(controller.handle, self.number, feed)
                silent = silent + 1 if status == flat.RECEIVE_FAILED else 0
                if status != flat.RECEIVE_FAILED or silent > 1:
                    check("follow", status)
                if feed.reason:
                    raise MotionFailed("follow", feed.reason)
                if feed.done != told:
                    tell(feed.done)
                told = feed.done
                if feed.over:
                    return
                yield
        finally:
            flat.end_queue_feed_robot(controller.handle, self.number, feed)


def _move_command(
    target: Sequence[float], now: Sequence[float], coordinates: int, speed: float, acceleration: float
) -> flat.MoveCmd:
    values = [*target, *now[len(target) :]]
    return flat.MoveCmd(targetPosValue=values, coord=int(coordinates), velocity=speed, acc=acceleration, dec=acceleration)


def _line(point: Waypoint, now: Sequence[float], speed: float, acceleration: float) -> flat.MoveCmd:
    """As a line of the queue, whose angles are radians wherever they are none of joints."""
    values = [float(value) for value in point]
    if isinstance(point, Pose):
        values = [*values[:3], *map(math.radians, values[3:6])]
    coordinates = CoordinateSystem.BASE if isinstance(point, Pose) else CoordinateSystem.JOINT
    return _move_command(values, now, coordinates, speed, acceleration)


def _bar(points: Any) -> Callable[[int], object]:
    try:
        from tqdm.auto import tqdm
    except ImportError:
        return lambda _: None
    bar = tqdm(total=len(points) if hasattr(points, "__len__") else None, unit="points")

    def tell(done: int) -> None:
        bar.update(done - bar.n)

    return tell
