"""What goes wrong, by kind. Each error has the operation that failed, its status code and the reason in words."""

from __future__ import annotations

from typing import Dict, Type

import _kyt_host as flat


class Error(Exception):
    """Something that was asked for has failed."""

    def __init__(self, operation: str, status: int, reason: str) -> None:
        super().__init__(f"{operation}: {reason}")
        self.operation = operation
        self.status = status
        self.reason = reason


class Unreachable(Error):
    """The line has failed, or who is at its end: NotConnected or NoReply. The robot may well go on."""


class NotConnected(Unreachable):
    """There is no connection now."""


class NoReply(Unreachable):
    """The controller does not answer."""


class Refused(Error):
    """The controller, or the state that the robot is in, does not allow it."""


class BadArgument(Error, ValueError):
    """An argument cannot be; nothing was sent."""


class MotionFailed(Error):
    """A motion or a program has ended otherwise than it was to: by an error, elsewhere, or without having begun."""

    def __init__(self, operation: str, reason: str, distance: float = 0.0) -> None:
        super().__init__(operation, flat.OPERATION_NOT_ALLOWED, reason)
        #: how far from its target the robot stands: degrees of the joint that is farthest off, or mm; 0 without a target
        self.distance = distance


class TimedOut(Error, TimeoutError):
    """It has not come within the time that was given."""


KINDS: Dict[int, Type[Error]] = {
    flat.DISCONNECT: NotConnected,
    flat.RECEIVE_FAILED: NoReply,
    flat.OPERATION_NOT_ALLOWED: Refused,
    flat.PARAM_ERR: BadArgument,
    flat.TIMEOUT: TimedOut,
}


def check(operation: str, status: int, reason: str = "") -> None:
    """Raises what a status other than 0 means."""
    if status != flat.SUCCESS:
        raise KINDS.get(status, Error)(operation, status, reason or flat.status_text(status))
