#!/usr/bin/env python3
"""Checks that the folders of the library depend one way, and that private things stay private.

A folder includes itself and the folders below it; another's detail/ it never includes. What is not installed lives in
the namespace kyt_host::detail, where no two headers declare a class of one name (linkers would take one for the other),
and no installed header includes it.
"""

import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent / "kyt_host"

# Each folder, and those whose headers it may include. kyt_host.h itself includes everything public.
MAY_INCLUDE: "dict[str, set[str]]" = {
    "": {"communication", "command", "craft", "file", "interface", "records", "robot", "tasks"},
    "detail": set(),
    "records": {"detail"},
    "codec": {"records", "detail"},
    "command": {"codec", "records", "detail"},
    "communication": {"command", "codec", "records", "detail"},
    "exchange": {"communication", "codec", "records", "detail"},
    "file": {"communication", "detail"},
    "interface": {"exchange", "file", "communication", "command", "codec", "records", "detail"},
    "craft": {"exchange", "communication", "codec", "records", "detail"},
    "tasks": {"interface", "file", "communication", "command", "codec", "records", "detail"},
    "robot": {"tasks", "interface", "file", "communication", "records", "detail"},
    "c": {"communication", "detail"},
}
PRIVATE_ROOMS = {"c", "detail", "codec", "exchange"}
PRIVATE_HEADERS = {"communication/exchanges.h"}
CLASS = re.compile(r"^(?:class|struct) (\w+)(?: final)?(?: : [^{;]*)? \{", re.MULTILINE)
INCLUDE = re.compile(r'^#include "kyt_host/([^"]+)"', re.MULTILINE)


def room(path: str) -> str:
    return path.split("/")[0] if "/" in path else ""


def is_private(path: str) -> bool:
    return path in PRIVATE_HEADERS or bool(PRIVATE_ROOMS & set(path.split("/")[:-1]))


def faults(path: str, text: str) -> "list[str]":
    found = []
    for included in INCLUDE.findall(text):
        if room(included) and room(included) != room(path) and room(included) not in MAY_INCLUDE[room(path)]:
            found.append(f"includes {included}: {room(path) or 'kyt_host.h'} is not above {room(included)}")
        if "/detail/" in included and room(included) != room(path):
            found.append(f"includes {included}, which is private to {room(included)}")
        if path.endswith(".h") and not is_private(path) and is_private(included):
            found.append(f"is installed, and includes {included}, which is not")
    if is_private(path) and "namespace kyt_host::detail {" not in text:
        found.append("is private, and not in namespace kyt_host::detail")
    return found


def main() -> int:
    count = 0
    declared: "dict[str, str]" = {}
    for file in sorted(ROOT.rglob("*")):
        if file.suffix not in {".h", ".cpp"}:
            continue
        path = file.relative_to(ROOT).as_posix()
        text = file.read_text(encoding="utf-8")
        found = faults(path, text)
        if path.endswith(".h") and is_private(path):
            found += [f"declares {name}, as {declared[name]} does" for name in CLASS.findall(text) if name in declared]
            declared.update({name: path for name in CLASS.findall(text)})
        for fault in found:
            print(f"kyt_host/{path} {fault}", file=sys.stderr)
            count += 1
    return 1 if count else 0


if __name__ == "__main__":
    sys.exit(main())
