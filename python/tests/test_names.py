"""The public headers, the module and its stub: nothing missing, nothing different."""

import ast
import importlib.util
import os
import re
import tempfile
import unittest
from pathlib import Path

import _kyt_host as kyt
from support import HEADERS, PUBLIC_HEADERS, ROOT, docstrings, run

import kyt_host
import kyt_host_testing
from stub import Stub

STUB = Path(kyt.__file__).with_name("_kyt_host.pyi")
FUNCTION = re.compile(r"^(?:KYT_HOST_API|inline) (?!constexpr|[^;{]*\bBackendBase\b)[^=;]*?\b(\w+)\(", re.MULTILINE)
RECORD = re.compile(r"^struct (?:KYT_HOST_API )?(?!MotionLine)(\w+) ", re.MULTILINE)  # it is for program lines


def declared(pattern):
    """What matches in the headers, read in another way than by the generators."""
    return {name for path in PUBLIC_HEADERS for name in pattern.findall(path.read_text(encoding="utf-8"))}


def public(names):
    return {name for name in names if name[0] != "_"}


def defined(body):
    """What a module or class in the stub defines."""
    names = {node.name for node in body if isinstance(node, (ast.FunctionDef, ast.ClassDef))}
    return names | {node.target.id for node in body if isinstance(node, ast.AnnAssign)}


class Names(unittest.TestCase):
    def test_whatever_the_headers_declare_is_there_with_its_documentation(self):
        functions, records = declared(FUNCTION), declared(RECORD)
        self.assertGreater(len(functions), 60)
        for name in functions | records:
            thing = getattr(kyt, name, None)
            self.assertIs(callable(thing), True, name)
            if name in functions:
                self.assertGreater(len((thing.__doc__ or "").strip().splitlines()), 1, name)

    def test_headers_and_help_tell_the_conventions(self):
        page = ROOT / "docs/conventions.md"
        self.assertEqual(kyt.__doc__, docstrings.page_text(str(page)))
        for path in PUBLIC_HEADERS:
            if path.name != "export.h":
                self.assertEqual(path.read_text(encoding="utf-8").count(str(page.relative_to(ROOT))), 1, path)

    def test_every_operation_that_the_page_names_exists(self):
        names = re.findall(r"`([a-z]\w+_\w+)`", (ROOT / "docs/conventions.md").read_text(encoding="utf-8"))
        self.assertGreater(len(names), 10)
        self.assertEqual([name for name in names if not hasattr(kyt, name)], [])

    def test_the_stub_has_the_names_of_the_module(self):
        tree = ast.parse(STUB.read_text(encoding="utf-8"))
        classes = {node.name: node for node in tree.body if isinstance(node, ast.ClassDef)}
        self.assertEqual(public(defined(tree.body)), public(dir(kyt)))
        every_object = set(dir(kyt.IntRef())) - {"value"}
        for name in public(classes):
            is_list = hasattr(getattr(kyt, name), "push_back")
            members = defined(classes["_List" if is_list else name].body)
            self.assertEqual(public(members), public(dir(getattr(kyt, name))) - (every_object - members), name)

    def test_the_stub_is_what_would_be_generated_now(self):
        self.assertEqual(STUB.read_text(encoding="utf-8"), Stub(kyt, HEADERS).text())

    @unittest.skipUnless(importlib.util.find_spec("mypy"), "mypy is not installed")
    def test_mypy_finds_nothing_wrong(self):
        allowed = ["--allowlist", str(ROOT / "python/tests/stubtest_allowed.txt")]
        program = (
            "from typing import Hashable, List\n"
            "import _kyt_host as kyt\n"
            "fd: int = kyt.connect_robot('127.0.0.1', '6001')\n"
            "status, state = kyt.get_servo_state(fd, 0)\n"
            "para = kyt.CollisionPara(axisum=6, collisionDetection_run=[1.0])\n"
            "para.collisionDetection_run.append(2)\n"
            "kyt.recv_message(fd, lambda code, text: print(code + 1, text.upper()))\n"
            "alarms: List[kyt.AlarmdIO] = []\n"
            "kyt.get_error_msg_of_digital_input(fd, alarms) or kyt.get_current_position(fd, 0, [0.0])\n"
            "values: kyt.VectorDouble = kyt.position_to_values(kyt.Position(coord=1, pos=range(7)))\n"
        )
        wrong = [
            "kyt.get_servo_state('1', 0)",
            "para.axissum = 6",
            "kyt.CollisionPara(axissum=6)",
            "kyt.CollisionPara(axisum='6')",
            "kyt.get_current_position(fd, 0, (0.0,))",
            "kyt.get_error_msg_of_digital_input(fd, [1])",
            "key: Hashable = para",
        ]
        with tempfile.TemporaryDirectory() as folder:
            environment = {**os.environ, "MYPYPATH": str(STUB.parent), "MYPY_CACHE_DIR": folder}
            Path(folder, "right.py").write_text(program)
            Path(folder, "wrong.py").write_text(program + "\n".join(wrong))
            results = [
                run("-m", *command, env=environment, cwd=folder)
                for command in (
                    ["mypy.stubtest", *allowed, "_kyt_host"],
                    ["mypy", "--strict", "right.py"],
                    ["mypy", "--strict", "--ignore-missing-imports", str(Path(kyt_host.__file__).parent)],
                    ["mypy", "--strict", "wrong.py"],
                )
            ]
        self.assertEqual([each.returncode for each in results], [0, 0, 0, 1], results)
        lines, first = re.findall(r"wrong\.py:(\d+): error", results[3].stdout), len(program.splitlines()) + 1
        self.assertEqual(lines, [str(first + each) for each in range(len(wrong))], results[3].stdout)

    @unittest.skipUnless("site-packages" in str(STUB), "not installed from a wheel")
    def test_the_wheel_is_complete(self):
        site = STUB.parent
        self.assertEqual((site / "_kyt_host-stubs/__init__.pyi").read_bytes(), STUB.read_bytes())
        for marker in ("_kyt_host-stubs/py.typed", "kyt_host/py.typed", "kyt_host_testing/py.typed"):
            self.assertTrue((site / marker).is_file(), marker)
        for package in (kyt_host, kyt_host_testing):
            self.assertEqual(Path(package.__file__).parent, site / package.__name__)
        version = next(site.glob("kyt_host-*.dist-info")).name.split("-")[1].replace(".dist", "")
        self.assertTrue(kyt.get_library_version().startswith(version), version)
