"""Recordings of where a robot was."""

from __future__ import annotations

import os
from types import TracebackType
from typing import TYPE_CHECKING, Any, List, Optional, Type, Union

import _kyt_host as flat

from .errors import check
from .values import Pose, Sample

if TYPE_CHECKING:
    import numpy


class Recording:
    """What ``robot.record`` has recorded, and goes on recording until it is stopped, or its block ends."""

    def __init__(self, recording: int) -> None:
        self._recording = recording
        self._records: List[flat.RecordedSample] = []

    def __enter__(self) -> Recording:
        return self

    def __exit__(
        self, kind: Optional[Type[BaseException]], error: Optional[BaseException], trace: Optional[TracebackType]
    ) -> None:
        self.stop()

    def __del__(self) -> None:
        self.stop()

    def stop(self) -> None:
        """Ends it; what has been recorded stays."""
        rest: List[flat.RecordedSample] = []
        recording, self._recording = self._recording, 0
        if recording and flat.stop_recording(recording, rest) == flat.SUCCESS:
            self._records += rest

    @property
    def samples(self) -> List[Sample]:
        """All of them up to now."""
        self._take()
        return [Sample(each.time, each.controllerTime, list(each.joints), Pose.of(each.pose)) for each in self._records]

    @property
    def columns(self) -> List[str]:
        """What the columns of ``to_csv`` and ``to_numpy`` are called."""
        joints = len(self._records[0].joints) if self._records else 7
        return ["time", "controller_time", *(f"joint{i + 1}" for i in range(joints)), *Pose._fields]

    def to_csv(self, path: Union[str, "os.PathLike[str]"]) -> None:
        """Writes them, with a line of names first."""
        self._take()
        check("to_csv", flat.write_recorded(os.fspath(path), self._records), f"{path} cannot be written")

    def to_numpy(self) -> numpy.ndarray[Any, Any]:
        """One row for each sample, with the columns of ``columns``."""
        try:
            import numpy
        except ImportError as error:
            raise ImportError("Recording.to_numpy needs numpy: pip install numpy") from error
        rows = [[each.time, each.controller_time, *each.joints, *each.pose] for each in self.samples]
        return numpy.array(rows, dtype=float).reshape(len(rows), len(self.columns))

    def plot(self) -> Any:
        """Joints and place over the time; returns matplotlib's figure."""
        try:
            from matplotlib.figure import Figure
            import matplotlib.pyplot as pyplot
        except ImportError as error:
            raise ImportError("Recording.plot needs matplotlib: pip install matplotlib") from error
        samples = self.samples
        times = [each.time - samples[0].time for each in samples]
        figure: Figure
        figure, (joints, place) = pyplot.subplots(2, 1, sharex=True, layout="constrained")
        for i in range(len(samples[0].joints) if samples else 0):
            joints.plot(times, [each.joints[i] for each in samples], label=f"joint {i + 1}")
        for i, name in enumerate("xyz"):
            place.plot(times, [each.pose[i] for each in samples], label=name)
        joints.set_ylabel("degrees")
        place.set_ylabel("mm")
        place.set_xlabel("s")
        for axes in (joints, place):
            axes.legend(loc="center left", bbox_to_anchor=(1.01, 0.5))
        return figure

    def _take(self) -> None:
        news: List[flat.RecordedSample] = []
        if self._recording and flat.take_recorded(self._recording, news) == flat.SUCCESS:
            self._records += news
