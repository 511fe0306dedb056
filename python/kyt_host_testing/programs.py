"""The programs that a wheel brings along, as commands: what is typed is carried out by the program itself."""

import os
import sys
from pathlib import Path

__all__ = ["kyt", "virtual_controller"]


def kyt() -> None:
    """Robots from the command line."""
    _become("kyt")


def virtual_controller() -> None:
    """A controller that runs on this PC."""
    _become("virtual_controller")


def _become(name: str) -> None:
    program = str(Path(__file__).with_name(name))
    if not os.path.exists(program):
        sys.exit(f"{name}: this kyt_host was built without it")
    os.execv(program, [name, *sys.argv[1:]])
