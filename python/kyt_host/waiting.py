"""Waiting for the end of a motion, for an input, for whatever is asked for: blocking, or with asyncio."""

from __future__ import annotations

import asyncio
import functools
import time
from concurrent.futures import ThreadPoolExecutor
from typing import Any, Callable, Generator, Optional, TypeVar

import _kyt_host as flat

from .errors import check

_Result = TypeVar("_Result")

# Queries take a second where a controller hangs: so many may hang at once without others having to wait.
_pool = ThreadPoolExecutor(max_workers=64, thread_name_prefix="kyt_host")


async def in_background(function: Callable[..., _Result], *arguments: Any, **named: Any) -> _Result:
    """Calls what may take its time without blocking the event loop: ``await kyt.in_background(robot.pose)``."""
    call = functools.partial(function, *arguments, **named)
    return await asyncio.get_running_loop().run_in_executor(_pool, call)


class Waiting:
    """Something that is awaited.

    ``wait()`` blocks; ``await`` does not. It looks when it is asked to, no more often than the controller's poll
    interval, and goes on while a broken connection is being restored.
    """

    def __init__(self, operation: str, look: Callable[[], bool], interval: Callable[[], float]) -> None:
        self._operation, self._look, self._interval = operation, look, interval
        #: how far it is, 0..1, as far as there is a measure; as of the last look
        self.progress = 0.0

    def wait(self, timeout: Optional[float] = None) -> None:
        """Waits until it is there, or for so many seconds: TimedOut after that, and one may wait again then.

        Raises what makes it impossible: MotionFailed, NoReply, NotConnected.
        """
        until = _end(timeout)
        while not self._look():
            time.sleep(self._pause(timeout, until))

    async def wait_async(self, timeout: Optional[float] = None) -> None:
        """The same for asyncio. ``await`` on the object itself waits without limit."""
        until = _end(timeout)
        while not await in_background(self._look):
            await asyncio.sleep(self._pause(timeout, until))

    def __await__(self) -> Generator[Any, None, None]:
        return self.wait_async().__await__()

    @property
    def done(self) -> bool:
        """Looks whether it is there; raises as ``wait`` does."""
        return self._look()

    def _pause(self, timeout: Optional[float], until: float) -> float:
        left = until - time.monotonic()
        if timeout is not None and left <= 0:
            check(self._operation, flat.TIMEOUT, f"not within {timeout:g} s")
        return min(left, self._interval())


def _end(timeout: Optional[float]) -> float:
    return float("inf") if timeout is None else time.monotonic() + timeout
