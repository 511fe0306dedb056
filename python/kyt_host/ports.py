"""Inputs and outputs: ``controller.inputs[7]``, ``controller.outputs[5] = True``."""

from __future__ import annotations

import operator
from typing import TYPE_CHECKING, Callable, Generic, List, Optional, Type, TypeVar, Union

import _kyt_host as flat

from .errors import BadArgument, Error, check
from .waiting import Waiting

if TYPE_CHECKING:
    from .controller import Controller

_COMPARISONS = {
    flat.EQUAL_TO: operator.eq,
    flat.NOT_EQUAL_TO: operator.ne,
    flat.LESS: operator.lt,
    flat.GREATER: operator.gt,
    flat.LESS_EQUAL: operator.le,
    flat.GREATER_EQUAL: operator.ge,
}


class Condition:
    """A port compared with a value: ``controller.inputs[3] == 1``.

    Asked for its truth it looks now; a program carries it to the controller, which looks when it gets there.
    """

    def __init__(self, port: Port, comparison: int, value: float) -> None:
        self._port, self._comparison, self._value = port, comparison, value

    def __bool__(self) -> bool:
        return bool(_COMPARISONS[self._comparison](self._port.value, self._value))

    def record(self) -> flat.Condition:
        """As program lines have it."""
        whole = float(self._value).is_integer()
        return flat.Condition(
            key=self._port.key,
            logicType=self._comparison,
            paraGroupOne=flat.ParaGroup(data=self._port.number),
            desValue=str(int(self._value)) if whole else "",
            paraGroupTwo=flat.ParaGroup(data=self._value),
        )


class Port:
    """What inputs and outputs have in common. A port is a name for it: nothing is asked until its value is."""

    kind: str
    key: str
    read: Callable[[int, List[float]], int]

    def __init__(self, controller: Controller, number: int) -> None:
        self._controller, self.number = controller, number

    def __repr__(self) -> str:
        return f"{self.kind}[{self.number}]"

    @property
    def value(self) -> float:
        """Its level, 0 or 1, or its analog value, now. BadArgument where the controller has no such port."""
        values: List[float] = []
        check(repr(self), type(self).read(self._controller.handle, values))
        if not 1 <= self.number <= len(values):
            check(repr(self), flat.PARAM_ERR, "the controller has no such port")
        return values[self.number - 1]

    def __bool__(self) -> bool:
        return self.value != 0

    def __float__(self) -> float:
        return float(self.value)

    def becomes(self, value: float) -> Waiting:
        """What waits until it has this value."""
        silent = self._controller.patience(f"{self} == {value:g}")

        def arrived() -> bool:
            try:
                has = self.value == value
            except BadArgument:
                raise
            except Error as error:
                return silent(error.status)
            return silent(flat.SUCCESS) and has

        return Waiting(f"{self} == {value:g}", arrived, lambda: self._controller.poll_interval)

    def wait_for(self, value: float, timeout: Optional[float] = None) -> None:
        """Waits until it has this value. TimedOut after so many seconds."""
        self.becomes(value).wait(timeout)

    async def wait_for_async(self, value: float, timeout: Optional[float] = None) -> None:
        """The same for asyncio."""
        await self.becomes(value).wait_async(timeout)

    __hash__ = None  # type: ignore[assignment]

    def __eq__(self, value: float) -> Condition:  # type: ignore[override]
        return Condition(self, flat.EQUAL_TO, value)

    def __ne__(self, value: float) -> Condition:  # type: ignore[override]
        return Condition(self, flat.NOT_EQUAL_TO, value)

    def __lt__(self, value: float) -> Condition:
        return Condition(self, flat.LESS, value)

    def __gt__(self, value: float) -> Condition:
        return Condition(self, flat.GREATER, value)

    def __le__(self, value: float) -> Condition:
        return Condition(self, flat.LESS_EQUAL, value)

    def __ge__(self, value: float) -> Condition:
        return Condition(self, flat.GREATER_EQUAL, value)


class DigitalInput(Port):
    kind, key = "inputs", "DIN"
    read = staticmethod(flat.get_digital_input)

    def force(self, level: bool) -> None:
        """Has it at a level, whatever is wired to it."""
        self._controller.command("force", 0, flat.set_force_digital_input, self.number, 1, int(level))

    def release(self) -> None:
        """Lets go of it again."""
        self._controller.command("release", 0, flat.set_force_digital_input, self.number, 0, 0)


class AnalogInput(Port):
    kind, key = "analog_inputs", "AIN"
    read = staticmethod(flat.get_analog_input)


class DigitalOutput(Port):
    kind, key = "outputs", "DOUT"
    read = staticmethod(flat.get_digital_output)

    def set(self, value: float) -> None:
        self._controller.command(repr(self), 0, flat.set_digital_output, self.number, int(bool(value)))


class AnalogOutput(Port):
    kind, key = "analog_outputs", "AOUT"
    read = staticmethod(flat.get_analog_output)

    def set(self, value: float) -> None:
        self._controller.command(repr(self), 0, flat.set_analog_output, self.number, float(value))


_Input = TypeVar("_Input", bound=Port)
_Output = TypeVar("_Output", bound=Union[DigitalOutput, AnalogOutput])


class Inputs(Generic[_Input]):
    """The ports of a kind, counted from 1."""

    def __init__(self, controller: Controller, kind: Type[_Input]) -> None:
        self._controller, self._kind = controller, kind

    def __getitem__(self, number: int) -> _Input:
        return self._kind(self._controller, number)

    def values(self) -> List[float]:
        """Of all of them, with one query; that of port 1 first."""
        values: List[float] = []
        check(self._kind.kind, self._kind.read(self._controller.handle, values))
        return values


class Outputs(Inputs[_Output]):
    def __setitem__(self, number: int, value: float) -> None:
        self[number].set(value)
