#!/usr/bin/env python3
"""Checks that the site's index has every public name: check_names.py INCLUDE STUB PACKAGE INVENTORY"""

import ast
import re
import sys
import zlib
from pathlib import Path
from typing import Dict, Iterator, Set

FUNCTION = re.compile(r"^\s*(?:KYT_HOST_API|inline) [^=;(]*?\b(?!operator)(\w+)\(", re.MULTILINE)
CLASS = re.compile(r"^(?:struct|class|enum class|enum) (?:KYT_HOST_API )?(\w+)[^;]*\{", re.MULTILINE)
TYPEDEF = re.compile(r"^\} (\w+);", re.MULTILINE)
METHODS = re.compile(r"^  (?:[\w:<>,&* ]+ )?(?!bool)(\w+)\([^;{]*\)[^;{]*;", re.MULTILINE)  # declared, not called: of robot/


def indexed(inventory: Path) -> Dict[str, Set[str]]:
    """The last parts of the names, by domain."""
    body = zlib.decompress(inventory.read_bytes().split(b"\n", 4)[4]).decode()
    found: Dict[str, Set[str]] = {}
    for line in body.splitlines():
        name, role = line.split(" ")[:2] if not line.startswith('"') else (line, "")
        found.setdefault(role.partition(":")[0], set()).add(re.split(r"::|\.", name)[-1])
    return found


def declared(include: Path) -> Iterator[str]:
    for header in include.rglob("*.h"):
        text = header.read_text(encoding="utf-8")
        language = "c" if header.name == "kyt_host_c.h" else "cpp"
        patterns = [FUNCTION, CLASS, TYPEDEF] + ([METHODS] if "robot" in header.parent.name else [])
        for pattern in patterns:
            for name in pattern.findall(re.sub(r"//.*|/\*.*?\*/", "", text)):
                yield f"{language} {name}"


def defined(source: Path) -> Iterator[str]:
    def walk(body: list) -> Iterator[str]:  # type: ignore[type-arg]
        for node in body:
            if isinstance(node, (ast.FunctionDef, ast.AsyncFunctionDef, ast.ClassDef)) and not node.name.startswith("_"):
                yield f"py {node.name}"
                if isinstance(node, ast.ClassDef):
                    yield from walk(node.body)

    yield from walk(ast.parse(source.read_text(encoding="utf-8")).body)


def main() -> int:
    include, stub, package, inventory = map(Path, sys.argv[1:])
    wanted = set(declared(include))
    for source in (stub, *package.glob("*.py")):
        wanted |= set(defined(source))
    found = indexed(inventory)
    missing = sorted(each for each in wanted if each.split()[1] not in found.get(each.split()[0], ()))
    for each in missing:
        print(f"the site does not have {each}", file=sys.stderr)
    print(f"{len(wanted)} names looked for in the site's index, {len(missing)} missing")
    return 1 if missing or len(wanted) < 1000 else 0


if __name__ == "__main__":
    sys.exit(main())
