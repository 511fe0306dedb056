"""A connection to a controller, and everything that is not about one of its robots."""

from __future__ import annotations

import logging
import threading
import weakref
from types import TracebackType
from typing import Any, Callable, Dict, List, Optional, Sequence, Set, Type

import _kyt_host as flat

from .errors import NotConnected, check
from .files import Files
from .ports import AnalogInput, AnalogOutput, DigitalInput, DigitalOutput, Inputs, Outputs
from .program import Program
from .robot import Robot
from .values import Alarm, MessageKind
from .waiting import Waiting

log = logging.getLogger("kyt_host")

_LEVELS = {
    flat.DIAGNOSTICS_INFORMATION: logging.INFO,
    flat.DIAGNOSTICS_WARNING: logging.WARNING,
    flat.DIAGNOSTICS_ERROR: logging.ERROR,
}
_RECONNECT_INTERVAL_MS = 1000
_HEARTBEATS_MISSED = 3
_MOST_ALARMS = 256


class _Connecting(threading.local):
    """What the library says while a thread connects: the reason why it cannot."""

    lines: Optional[List[str]] = None


_connecting = _Connecting()


def _on_diagnostics(level: int, line: str) -> None:
    if _connecting.lines is None:
        log.log(_LEVELS.get(level, logging.ERROR), line)
    else:
        _connecting.lines.append(line)


flat.set_diagnostics_handler(_on_diagnostics)


def connect(
    host: str,
    port: str = "6001",
    *,
    timeout: float = 10.0,
    reconnect: bool = True,
    heartbeat: float = 0.0,
) -> Controller:
    """Connects to a controller. NotConnected tells why it cannot.

    :param host: address or name; "host:port" as well
    :param timeout: s
    :param reconnect: restore a connection that breaks, trying every second; waits go on meanwhile
    :param heartbeat: s of silence after which the controller is asked whether it is there: three times, and then the
        connection counts as broken. 0: never
    """
    if host.count(":") == 1:  # an address of IPv6 has several
        host, _, port = host.rpartition(":")
    _connecting.lines = []
    try:
        handle = flat.connect_robot_within(host, str(port), max(1, int(timeout * 1000)))
        reason = _connecting.lines[-1].partition(": ")[2] if _connecting.lines else ""
    finally:
        _connecting.lines = None
    if handle < 0:
        raise NotConnected("connect", flat.DISCONNECT, f"{host}:{port}: {reason or 'cannot be reached'}")
    return Controller(handle, f"{host}:{port}", reconnect, heartbeat)


class Controller:
    """A connection, which closes with its block, by ``disconnect()``, or when nobody uses it any more.

    Everything raises ``kyt_host.Error`` and what derives from it. Any method may be called from any thread, and from
    callbacks.
    """

    def __init__(self, handle: int, address: str, reconnect: bool = True, heartbeat: float = 0.0) -> None:
        #: for the functions of ``_kyt_host``
        self.handle = handle
        #: "host:port"
        self.address = address
        #: whether each command asks one thing more, and raises Refused when the controller has refused it; otherwise
        #: refusals are alarms
        self.checked = True
        #: s between two looks at what is awaited
        self.poll_interval = 0.02
        self.inputs = Inputs(self, DigitalInput)
        self.outputs = Outputs(self, DigitalOutput)
        self.analog_inputs = Inputs(self, AnalogInput)
        self.analog_outputs = Outputs(self, AnalogOutput)
        self.files = Files(self)

        self._reconnect = reconnect
        self._close = weakref.finalize(self, flat.disconnect_robot, handle)
        self._turn = threading.RLock()  # one command after the other, so that a refusal belongs to somebody
        self._alarms: List[Alarm] = []
        self._refused: Set[int] = set()  # numbers of messages that have been raised
        self._untold: List[Alarm] = []
        self._gathered: int = self._latest_message()
        self._motions: Dict[int, int] = {}  # of each robot, counted, so that an earlier one knows that it is over
        self._on_alarm: Optional[Callable[[Alarm], object]] = None
        flat.set_reconnect(handle, reconnect)
        flat.set_reconnect_interval(handle, _RECONNECT_INTERVAL_MS)
        flat.set_fresh_replies(handle, True)
        check("connect", flat.set_heartbeat(handle, int(heartbeat * 1000), _HEARTBEATS_MISSED))
        tell = weakref.WeakMethod(self._tell_alarms)

        def on_message(_handle: int, _kind: int, _text: str, _code: int) -> None:
            method = tell()
            if method is not None:
                method()

        flat.set_message_callback(handle, on_message)

    def __repr__(self) -> str:
        return f"<Controller {self.address}{'' if self.connected else ', not connected'}>"

    def __enter__(self) -> Controller:
        return self

    def __exit__(
        self, kind: Optional[Type[BaseException]], error: Optional[BaseException], trace: Optional[TracebackType]
    ) -> None:
        self.disconnect()

    def disconnect(self) -> None:
        self._close()
        self.handle = 0

    @property
    def connected(self) -> bool:
        return bool(flat.get_connection_status(self.handle) == flat.SUCCESS)

    def wait_connected(self, timeout: Optional[float] = None) -> None:
        """Waits until a broken connection is restored. TimedOut after so many seconds."""
        self._awaited_connection().wait(timeout)

    async def wait_connected_async(self, timeout: Optional[float] = None) -> None:
        """The same for asyncio."""
        await self._awaited_connection().wait_async(timeout)

    def _awaited_connection(self) -> Waiting:
        return Waiting("wait_connected", lambda: self.connected, lambda: self.poll_interval)

    def robot(self, number: int = 1) -> Robot:
        """One of its robots, 1 to 4."""
        return Robot(self, number)

    def program(self, name: str, robot: int = 1) -> Program:
        """An empty program for a robot.

        :param name: of its job: ASCII letters and digits, not beginning with a digit
        """
        return Program(self, name, self.robot(robot))

    @property
    def id(self) -> str:
        """What the controller says that it is."""
        status, text = flat.get_controller_id(self.handle, "")
        check("id", status)
        return str(text)

    def until(self, arrived: Callable[[], bool]) -> Waiting:
        """What waits for whatever there is to ask for: ``controller.until(lambda: robot.speed > 3).wait(2)``."""
        return Waiting("until", lambda: bool(arrived()), lambda: self.poll_interval)

    # --- alarms, and the connection

    @property
    def alarms(self) -> List[Alarm]:
        """The errors that the controller has raised since it was connected, but for those cleared by ``robot.clear``."""
        with self._turn:
            self._gather_alarms()  # a wait may have failed by one that is not told yet
            return list(self._alarms)

    def on_alarm(self, callback: Optional[Callable[[Alarm], object]]) -> None:
        """Installs what is called for each alarm, warnings included; None takes it away.

        On a thread of the connection. Alarms go to ``logging.getLogger("kyt_host")`` as well, and so does what the
        callback raises.
        """
        self._on_alarm = callback

    def on_lost(self, callback: Optional[Callable[[], object]]) -> None:
        """Installs what is called when the connection has broken."""
        check("on_lost", flat.set_connection_lost_callback(self.handle, _without_handle(callback)))

    def on_restored(self, callback: Optional[Callable[[], object]]) -> None:
        """Installs what is called when the connection has been restored."""
        check("on_restored", flat.set_connection_restored_callback(self.handle, _without_handle(callback)))

    def _gather_alarms(self) -> None:
        """With the turn: adds what has been raised since the last time, and was no refusal."""
        messages: List[flat.SystemMessage] = []
        status, number = flat.get_messages(self.handle, self._gathered, messages)
        if status != flat.SUCCESS:
            return
        self._gathered = number
        for each in messages:
            if each.number in self._refused:
                self._refused.remove(each.number)
                continue
            alarm = Alarm(each.kind, each.code, each.robot, each.text, each.time)
            self._untold.append(alarm)
            if alarm.kind == MessageKind.ERROR:
                self._alarms.append(alarm)
        del self._alarms[:-_MOST_ALARMS]

    def _tell_alarms(self) -> None:
        with self._turn:  # a command that has been refused says so itself
            self._gather_alarms()
            news, self._untold = self._untold, []
        for alarm in news:
            log.warning("%s, robot %d: %s (%d)", self.address, alarm.robot, alarm.text, alarm.code)
            if self._on_alarm is not None:
                _call_user(self._on_alarm, alarm)

    # --- what robots and ports are made of

    def command(self, operation: str, robot: int, function: Callable[..., int], *arguments: Any) -> None:
        """Calls one of the functions of ``_kyt_host`` that send something: with the handle, and the arguments.

        Raises Refused with the controller's own words when it has refused it.

        :param operation: its name in errors
        :param robot: which robot it is about; 0: any
        """
        with self._turn:
            number = self._latest_message()
            self.check_command(operation, robot, function(self.handle, *arguments), number)

    def urgent_command(self, operation: str, robot: int, function: Callable[..., int], *arguments: Any) -> None:
        """The same for what must not wait behind another command that gets no answer."""
        number = self._latest_message()
        status = function(self.handle, *arguments)
        with self._turn:
            self.check_command(operation, robot, status, number)

    def _latest_message(self) -> int:
        """The number of the last message that has arrived."""
        return int(flat.get_messages(self.handle, -1, [])[1])

    def check_command(self, operation: str, robot: int, status: int, number: int) -> int:
        """The same for who has the turn, and has sent it already. Returns the number of the last message.

        :param number: that of the last message before it
        """
        if status in (flat.DISCONNECT, flat.PARAM_ERR) or (status == flat.SUCCESS and not self.checked):
            check(operation, status)
            return number
        refusals: List[flat.SystemMessage] = []
        answered, number = flat.find_refusals_robot(self.handle, robot, number, refusals)
        if refusals:
            self._refused.update(each.number for each in refusals)
            check(operation, flat.OPERATION_NOT_ALLOWED, "; ".join(each.text for each in refusals))
        check(operation, status)
        check(operation, answered)
        return int(number)

    def attempt(
        self,
        operation: str,
        robot: int,
        function: Callable[..., Sequence[Any]],
        *arguments: Any,
        overcomes: bool = False,
    ) -> None:
        """Calls one that finds out by itself whether it is refused, and returns its status first and the reason last.

        :param overcomes: whether it goes on after refusals: they are no alarms then, either
        """
        with self._turn:
            number = self._latest_message()
            status, *_, reason = function(self.handle, *arguments)
            if status == flat.OPERATION_NOT_ALLOWED or (status == flat.SUCCESS and overcomes):
                refusals: List[flat.SystemMessage] = []
                flat.find_refusals_robot(self.handle, robot, number, refusals)
                self._refused.update(each.number for each in refusals)
        check(operation, status, reason)

    def patience(self, operation: str) -> Callable[[int], bool]:
        """What decides whether a look, by its status, was a good one: a wait goes on while a connection is restored.

        One reply may get lost; it raises when there is nothing to hope for.
        """
        silent = 0

        def good(status: int) -> bool:
            nonlocal silent
            hopes = self._reconnect and self._close.alive
            if status == flat.RECEIVE_FAILED:
                silent += 1
                if silent < 2 or (hopes and not self.connected):
                    return False
            if status == flat.DISCONNECT and hopes:
                return False
            check(operation, status)
            silent = 0
            return True

        return good


def _without_handle(callback: Optional[Callable[[], object]]) -> Optional[Callable[[int], object]]:
    if callback is None:
        return None
    call = callback
    return lambda _handle: _call_user(call)


def _call_user(callback: Callable[..., object], *arguments: Any) -> None:
    """What belongs to the application may raise: that is told, and what comes after it is not lost."""
    try:
        callback(*arguments)
    except Exception:
        log.exception("in a callback")
