"""The library from other languages: a session in C and one in C#, and every function with arguments that cannot be."""

import ctypes
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from typing import Any, Callable, Iterator, List, Tuple

ROOT = Path(__file__).resolve().parents[2]
sys.path += [str(ROOT / "python"), str(ROOT / "kyt_host/c")]

import generate  # type: ignore[import]  # noqa: E402
from kyt_host_testing import VirtualController  # type: ignore[import]  # noqa: E402

LIBRARY = os.environ["LIBRARY"]
STATUSES = range(-6, 2)
SCALARS: "dict[str, Any]" = {"int": ctypes.c_int, "unsigned int": ctypes.c_uint, "double": ctypes.c_double, "char": ctypes.c_char}
LONG = {"delay_c", "backup_systems_c", "disconnect_robot_c", "connect_robot_c"}  # they wait, or end what others need


def functions() -> Iterator[Tuple[str, List[Tuple[str, str]]]]:
    """Each with its parameters as (type, name); a pointer to a function is "callback"."""
    declared = [generate.headers.read(path) for path in os.environ["HEADERS"].split(":")]
    for function in generate.Generator(declared).all():
        parameters = [each for argument in function.arguments for each in argument.declared]
        matches = [re.findall(r"^(?:(void \(\*)(\w+)\).*|(.*?) ?(\w+))$", each)[0] for each in parameters]
        yield function.name, [("callback", each[1]) if each[0] else (each[2], each[3]) for each in matches]


def passed(parameter: Tuple[str, str], pointer: Callable[[str], Any]) -> Any:
    """Nothing, or what `pointer` says, for pointers; small numbers else, which are the handle of no connection."""
    type_, name = parameter
    if "*" in type_ or type_ == "callback":
        return pointer(type_) if type_ != "callback" and not type_.startswith("void") else None
    return SCALARS[type_](1 if name.endswith(("robotNum", "_size", "_capacity", "_count")) else 0)


def roomy(type_: str) -> Any:
    return b"{}" if type_ == "const char*" else ctypes.create_string_buffer(1 << 20)


class Languages(unittest.TestCase):
    def session(self, *program: str, **options: Any) -> None:
        controller = VirtualController("--state-period", "0")
        self.addCleanup(controller.stop)
        ran = subprocess.run([*program, controller.host, controller.port], capture_output=True, text=True, timeout=60, **options)
        self.assertEqual((ran.returncode, ran.stderr), (0, ""), ran.stdout)
        self.assertIn("arrived at 20", ran.stdout)
        self.assertEqual(ran.stdout.splitlines()[-1].split(";")[0], "disconnected")

    def test_a_session_in_c(self) -> None:
        self.session(os.environ["SESSION_IN_C"])

    @unittest.skipUnless(shutil.which("mcs") and shutil.which("mono"), "Mono is not installed: scripts/setup.sh mono")
    def test_a_session_in_csharp(self) -> None:
        with tempfile.TemporaryDirectory() as folder:
            program = os.path.join(folder, "FirstSession.exe")
            subprocess.run(["mcs", "-warnaserror", f"-out:{program}", ROOT / "examples/FirstSession.cs"], check=True)
            self.session("mono", program, env={**os.environ, "LD_LIBRARY_PATH": os.path.dirname(LIBRARY)})

    def test_no_function_takes_what_cannot_be(self) -> None:
        library, wrong = ctypes.CDLL(LIBRARY), list[Any]()
        self.addCleanup(os.chdir, os.getcwd())
        with tempfile.TemporaryDirectory() as folder:
            os.chdir(folder)
            for name, parameters in functions():
                if name in LONG or name == "status_text_c":
                    continue
                function = getattr(library, name)
                with_nulls = function(*(passed(each, lambda _: None) for each in parameters))
                without = function(*(passed(each, roomy) for each in parameters))
                nullable = not any("*" in type_ and type_ != "void*" for type_, _ in parameters)
                if (not nullable and with_nulls != -3) or without not in STATUSES:
                    wrong.append((name, with_nulls, without))
        self.assertEqual(wrong, [])

    def test_every_function_of_a_connection_bears_too_little_room(self) -> None:
        controller = VirtualController("--state-period", "0")
        self.addCleanup(controller.stop)
        library, wrong, short = ctypes.CDLL(LIBRARY), list[Any](), 0
        robot = library.connect_robot_c(controller.host.encode(), str(controller.port).encode())
        self.assertGreater(robot, 0)
        for name, parameters in functions():
            outputs = [each for _, each in parameters if each.endswith(("_size", "_capacity"))]
            if not outputs or parameters[0][1] != "socketFd" or "file" in name:
                continue
            arguments = [passed(each, roomy) for each in parameters]
            for place, (_, each) in enumerate(parameters):
                if each in outputs:
                    arguments[place] = 0
            arguments[0] = robot
            result = getattr(library, name)(*arguments)
            short += result == -3
            if result not in STATUSES:
                wrong.append((name, result))
        self.assertEqual(wrong, [])
        self.assertGreater(short, 20)
        library.disconnect_robot_c(robot)


if __name__ == "__main__":
    unittest.main()
