"""Robots as objects: exceptions instead of status codes, waits that end, values with units.

    import kyt_host as kyt

    with kyt.connect("192.168.1.15") as controller:
        robot = controller.robot(1)
        robot.power_on()
        robot.move_joints([40, -20, 30, 0, 50, 0], speed=40).wait()
        robot.move_linear(robot.pose().shifted(z=-50), speed=200).wait(timeout=10)
        controller.outputs[5] = True
        controller.inputs[7].wait_for(True, timeout=3)

What it is made of, and everything else that a controller does, is in ``_kyt_host``: ``controller.handle`` is for that.
"""

import sys

if "t" in sys.abiflags:
    raise ImportError("kyt_host needs a Python with an interpreter lock, and this one is free-threaded")

from .controller import Controller, connect
from .errors import BadArgument, Error, MotionFailed, NoReply, NotConnected, Refused, TimedOut, Unreachable
from .files import Files
from .ports import Condition, Port
from .program import Program
from .recording import Recording
from .robot import Motion, Robot, Waypoint
from .values import Alarm, CoordinateSystem, MessageKind, OperatingMode, Pose, RunningState, Sample, ServoState, State
from .waiting import Waiting, in_background

__all__ = [
    "Alarm",
    "BadArgument",
    "Condition",
    "Controller",
    "CoordinateSystem",
    "Error",
    "Files",
    "MessageKind",
    "Motion",
    "MotionFailed",
    "NoReply",
    "NotConnected",
    "OperatingMode",
    "Port",
    "Pose",
    "Program",
    "Recording",
    "Refused",
    "Robot",
    "RunningState",
    "Sample",
    "ServoState",
    "State",
    "TimedOut",
    "Unreachable",
    "Waiting",
    "Waypoint",
    "connect",
    "in_background",
]
