"""Programs that are put together here, and become jobs of the controller."""

from __future__ import annotations

import copy
from contextlib import contextmanager
from typing import TYPE_CHECKING, Any, Iterator, List, Sequence

import _kyt_host as flat

from .errors import check
from .files import Path
from .ports import Condition
from .robot import Motion, Robot
from .values import CoordinateSystem

if TYPE_CHECKING:
    from .controller import Controller

_PORTION = 200  # lines that go out before others get their turn, with a stop


class Program:
    """Steps that are collected, and become a job of the controller when they are uploaded.

        program = controller.program("PICK")
        with program.while_(controller.inputs[3] == 0):
            program.move_joints([40, -20, 30, 0, 50, 0], speed=40)
            program.set_output(5)
        print(program)
        program.upload()
        program.run().wait()

    Moves are those of the tool that is selected when the program is made, and of the user frame. What cannot be is
    refused when it is uploaded, and the reason names the step. docs/programs.md tells what becomes of the steps.
    """

    def __init__(self, controller: Controller, name: str, robot: Robot) -> None:
        self.controller, self.name, self.robot = controller, name, robot
        #: a ``_kyt_host.ProgramStep`` for each
        self.steps: List[flat.ProgramStep] = []
        #: what the moves from here on go by: the tool, the user frame for CoordinateSystem.USER, and how far their
        #: corners may be cut, 0..5
        self.tool, self.user_frame, self.smoothing = robot.tool, robot.user_frame, 0

    def __str__(self) -> str:
        """As people read it, indented."""
        return str(flat.program_text(self.steps)).rstrip()

    # --- steps

    def move_joints(self, target: Sequence[float], speed: float = 20.0, acceleration: float = 50.0) -> None:
        """To 6 or 7 joints in degrees.

        :param speed: percent, 1..100, as the acceleration
        """
        self._move(flat.StepKind_MoveJoints, target, CoordinateSystem.JOINT, speed, acceleration)

    def move_to(
        self,
        target: Sequence[float],
        speed: float = 20.0,
        acceleration: float = 50.0,
        coordinates: CoordinateSystem = CoordinateSystem.BASE,
    ) -> None:
        """To where the joints bring the tool to a pose."""
        self._move(flat.StepKind_MoveJoints, target, coordinates, speed, acceleration)

    def move_linear(
        self,
        target: Sequence[float],
        speed: float = 100.0,
        acceleration: float = 50.0,
        coordinates: CoordinateSystem = CoordinateSystem.BASE,
    ) -> None:
        """Moves the tool in a straight line to a pose.

        :param speed: mm/s, 1..5000
        """
        self._move(flat.StepKind_MoveLinear, target, coordinates, speed, acceleration)

    def move_circular(
        self,
        via: Sequence[float],
        target: Sequence[float],
        speed: float = 100.0,
        acceleration: float = 50.0,
        coordinates: CoordinateSystem = CoordinateSystem.BASE,
    ) -> None:
        """Moves the tool along the circle through the place of ``via``."""
        for pose in (via, target):
            self._move(flat.StepKind_MoveCircular, pose, coordinates, speed, acceleration)

    def wait(self, seconds: float) -> None:
        self._add(flat.StepKind_Wait, seconds=seconds)

    def set_output(self, port: int, level: bool = True) -> None:
        self._add(flat.StepKind_SetOutput, port=port, value=int(level))

    def wait_for(self, condition: Condition, timeout: float = 0.0) -> None:
        """Waits for an input or an output.

        :param timeout: s, after which the program goes on all the same; 0: never
        """
        self._add(flat.StepKind_WaitFor, condition=condition.record(), seconds=timeout)

    @contextmanager
    def if_(self, condition: Condition) -> Iterator[None]:
        """What is in the block is done where the condition holds; ``else_`` may follow."""
        self._add(flat.StepKind_If, condition=condition.record())
        yield
        self._add(flat.StepKind_EndIf)

    @contextmanager
    def else_(self) -> Iterator[None]:
        """What is done where the condition of the ``if_`` right before does not hold."""
        if self.steps and self.steps[-1].kind == flat.StepKind_EndIf:
            self.steps.pop()
        self._add(flat.StepKind_Else)
        yield
        self._add(flat.StepKind_EndIf)

    @contextmanager
    def while_(self, condition: Condition) -> Iterator[None]:
        """What is in the block is done again and again, as long as the condition holds before it."""
        self._add(flat.StepKind_While, condition=condition.record())
        yield
        self._add(flat.StepKind_EndWhile)

    @contextmanager
    def loop(self, count: int) -> Iterator[None]:
        """What is in the block is done so many times."""
        self._add(flat.StepKind_Loop, count=count)
        yield
        self._add(flat.StepKind_EndLoop)

    def call(self, other: Program) -> None:
        """All steps of another program, as they are now."""
        self.steps += [copy.copy(step) for step in other.steps]

    # --- on the controller

    def upload(self) -> None:
        """Writes the job, in place of one of that name.

        BadArgument for what cannot be, Refused with the line that the controller refuses.
        """
        lines, attempt, number = self._lines("upload"), self.controller.attempt, self.robot.number
        attempt("upload", number, flat.program_upload_robot, number, self.name, [], 0, "", overcomes=True)
        for begin in range(0, len(lines), _PORTION):
            portion = lines[begin : begin + _PORTION]
            attempt("upload", number, flat.program_append_robot, number, self.name, portion, 0, "")

    def run(self, times: int = 1, wait: bool = False) -> Motion:
        """Runs the job as it is on the controller."""
        return self.robot.run(self.name, times, wait)

    def diff(self) -> List[str]:
        """How the job on the controller differs from this, a text for each line; none when it is the same."""
        lines, differences, number = self._lines("diff"), flat.VectorString(), self.robot.number
        self.controller.command("diff", number, flat.job_open_robot, number, self.name)
        handle = self.controller.handle
        check("diff", flat.program_compare_robot(handle, number, self.name, lines, differences))
        return list(differences)

    def download(self, directory: Path) -> None:
        """Downloads the job, as <name>.JBR into a folder."""
        self.controller.files.get(self.name, directory, self.robot.number)

    # --- how

    def _add(self, kind: int, **fields: Any) -> None:
        self.steps.append(flat.ProgramStep(kind=kind, **fields))

    def _move(
        self, kind: int, target: Sequence[float], coordinates: CoordinateSystem, speed: float, acceleration: float
    ) -> None:
        move = flat.MoveCmd(
            targetPosValue=[float(value) for value in target],
            coord=int(coordinates),
            velocity=speed,
            acc=acceleration,
            dec=acceleration,
            pl=self.smoothing,
            toolNum=self.tool if coordinates != CoordinateSystem.JOINT else 0,
            userNum=self.user_frame if coordinates == CoordinateSystem.USER else 0,
        )
        self._add(kind, move=move)

    def _lines(self, operation: str) -> flat.VectorProgramLine:
        lines = flat.VectorProgramLine()
        status, problem = flat.program_compile(self.steps, lines, "")
        check(operation, status, problem)
        return lines
