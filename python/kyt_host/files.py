"""The controller's files, which travel over a connection of their own, to port 5000."""

from __future__ import annotations

import os
import threading
from typing import TYPE_CHECKING, Callable, List, Optional, Union

import _kyt_host as flat

from .errors import check

if TYPE_CHECKING:
    from .controller import Controller

#: What is called while files travel: with the name, the bytes that are through, and all of them.
Progress = Callable[[str, int, int], object]
Path = Union[str, "os.PathLike[str]"]

_transferring = threading.Lock()  # who is told how far it is, is told for the whole process


class Files:
    def __init__(self, controller: Controller) -> None:
        self._controller = controller

    def jobs(self, robot: int = 1) -> List[str]:
        """The names of a robot's jobs, without a suffix."""
        names = flat.VectorVectorString()
        check("jobs", flat.job_get_controller_all_fileNumAndName(self._controller.handle, names))
        if not 1 <= robot <= len(names):
            check("jobs", flat.PARAM_ERR, "there is no such robot")
        return [name.rpartition(".")[0] for name in names[robot - 1]]

    def get(self, job: str, directory: Path, robot: int = 1, progress: Optional[Progress] = None) -> None:
        """Downloads a job, as <name>.JBR into a folder."""
        self._transfer("get", progress, flat.job_download_by_file_robot, robot, job + ".JBR", os.fspath(directory))

    def put(self, path: Path, robot: int = 1, progress: Optional[Progress] = None) -> None:
        """Uploads a job file, which ends in .JBR."""
        self._transfer("put", progress, flat.job_upload_by_file_robot, robot, os.fspath(path))
        check("put", flat.job_sync_job_file(self._controller.handle))

    def backup(self, directory: Path, progress: Optional[Progress] = None) -> None:
        """Downloads the jobs of all robots, the configuration, and the controller's program if it gives that out.

        They go into robotJob/R1 to R4, configFile and robot in the folder.
        """
        self._transfer("backup", progress, flat.backup_systems_to_directory, os.fspath(directory))

    def _transfer(
        self, operation: str, progress: Optional[Progress], function: Callable[..., int], *arguments: Union[int, str]
    ) -> None:
        if progress is None:
            return check(operation, function(self._controller.handle, *arguments))
        with _transferring:
            flat.set_progress_callback(progress)
            try:
                check(operation, function(self._controller.handle, *arguments))
            finally:
                flat.set_progress_callback(None)
