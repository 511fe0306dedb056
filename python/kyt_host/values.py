"""What robots are told and tell: poses, states, and what their numbers mean."""

from __future__ import annotations

from enum import IntEnum
from typing import Iterable, List, NamedTuple, Sequence, Tuple

import _kyt_host as flat

from .errors import check


class ServoState(IntEnum):
    STOP = flat.ServoState_Stop
    READY = flat.ServoState_Ready
    ERROR = flat.ServoState_Error
    RUNNING = flat.ServoState_Running


class RunningState(IntEnum):
    STOPPED = flat.RunningState_Stopped
    PAUSED = flat.RunningState_Paused
    RUNNING = flat.RunningState_Running


class OperatingMode(IntEnum):
    TEACH = flat.OperatingMode_Teach
    RUN = flat.OperatingMode_Run
    REMOTE = flat.OperatingMode_Remote


class MessageKind(IntEnum):
    WARNING = flat.MessageKind_Warning
    ERROR = flat.MessageKind_Error


class CoordinateSystem(IntEnum):
    JOINT = flat.CoordinateSystem_Joint
    BASE = flat.CoordinateSystem_Base
    TOOL = flat.CoordinateSystem_Tool
    USER = flat.CoordinateSystem_User
    WORLD = flat.CoordinateSystem_World


class Pose(NamedTuple):
    """A place and an orientation: a turn about the fixed axis X by ``a``, then about Y by ``b``, then about Z by ``c``.

    X, Y and Z in mm, A, B and C in degrees. A tuple, too: ``x, y, z, *angles = pose``.
    """

    x: float
    y: float
    z: float
    a: float = 0.0
    b: float = 0.0
    c: float = 0.0

    def __str__(self) -> str:
        return "({:.3f}, {:.3f}, {:.3f}) mm, ({:.3f}, {:.3f}, {:.3f}) degrees".format(*self)

    @classmethod
    def of(cls, values: Iterable[float]) -> Pose:
        """Of 6 values; of more the first 6 count."""
        return cls(*[float(value) for value in values][:6])

    def shifted(self, x: float = 0.0, y: float = 0.0, z: float = 0.0) -> Pose:
        """Moved along the axes that it is told in, turned as it was."""
        return self._replace(x=self.x + x, y=self.y + y, z=self.z + z)

    def matrix(self) -> List[List[float]]:
        """4 rows of 4: the rotation, the place in the last column, and 0 0 0 1."""
        values: List[float] = []
        check("Pose.matrix", flat.pose_to_matrix(self, values))
        return [values[row : row + 4] for row in range(0, 16, 4)]

    @classmethod
    def from_matrix(cls, matrix: Sequence[Sequence[float]]) -> Pose:
        """Of such rows, of which the first 3 count. BadArgument where they are no rotation and place."""
        values: List[float] = []
        flat_rows = [float(value) for row in matrix for value in row]
        check("Pose.from_matrix", flat.pose_from_matrix(flat_rows, values), "this is no rotation and place")
        return cls(*values)

    def quaternion(self) -> Tuple[float, float, float, float]:
        """The orientation as w, x, y, z."""
        values: List[float] = []
        check("Pose.quaternion", flat.pose_to_quaternion(self, values))
        w, x, y, z = values
        return w, x, y, z

    @classmethod
    def from_quaternion(cls, x: float, y: float, z: float, quaternion: Sequence[float]) -> Pose:
        """A place in mm, and an orientation as w, x, y, z."""
        angles: List[float] = []
        check("Pose.from_quaternion", flat.angles_from_quaternion([float(value) for value in quaternion], angles))
        return cls(x, y, z, *angles)

    def __matmul__(self, inside: Pose) -> Pose:
        """A pose that is told in this one, as seen from where this one is told.

        ``pose @ Pose(0, 0, 50)`` is 50 mm farther along the tool.
        """
        one, two = self.matrix(), inside.matrix()
        return Pose.from_matrix([[sum(one[i][k] * two[k][j] for k in range(4)) for j in range(4)] for i in range(4)])

    def inverse(self) -> Pose:
        """What brings it back: ``pose @ pose.inverse()`` is no shift and no turn."""
        rows = self.matrix()
        turned = [[rows[j][i] for j in range(3)] for i in range(3)]
        return Pose.from_matrix([[*turn, -sum(turn[k] * rows[k][3] for k in range(3))] for turn in turned])

    def distance_to(self, other: Pose) -> float:
        """mm between the places."""
        return self._difference(other)[0]

    def angle_to(self, other: Pose) -> float:
        """Degrees, 0..180, between the orientations."""
        return self._difference(other)[1]

    def _difference(self, other: Pose) -> List[float]:
        difference: List[float] = []
        check("Pose", flat.pose_difference(self, other, difference))
        return difference


class State(NamedTuple):
    """A robot at one moment."""

    time: float  #: s since 1970, in the middle of asking
    servo: ServoState
    running: RunningState
    mode: OperatingMode
    speed: int  #: percent
    joints: List[float]  #: degrees
    pose: Pose  #: of the selected tool in the base


class Alarm(NamedTuple):
    """An error or a warning that the controller has raised of its own accord; refusals of commands are exceptions."""

    kind: int  #: a MessageKind, as a rule
    code: int  #: the controller's number for it
    robot: int  #: the robot that it is about; 0 where the controller does not say
    text: str
    time: float  #: s since 1970, of this computer's clock, when it arrived


class Sample(NamedTuple):
    """Where a robot was at one moment."""

    time: float  #: s since 1970, of this computer's clock: in the middle of asking, or when it came
    controller_time: float  #: s, of the controller's clock, where it tells it with the position; otherwise -1
    joints: List[float]  #: degrees
    pose: Pose  #: of the selected tool in the base
