#!/usr/bin/env python3
"""Checks that a program which links the library statically meets no name of ours that it was not told of.

    check_symbols.py INCLUDE_DIR OBJECT...

A global symbol of the objects is in namespace kyt_host::detail, or belongs to a class or function that a header below
INCLUDE_DIR declares. Weak ones that another library's templates leave behind are not ours.
"""

import re
import subprocess
import sys
from pathlib import Path
from typing import Iterator, List, Set

OTHERS = {"std", "__gnu_cxx", "asio", "asio_detail_posix_thread_function", "Json", "nlohmann", "operator new"}
NO_CODE = re.compile(r"//[^\n]*|/\*.*?\*/|^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", re.DOTALL | re.MULTILINE)
NAMESPACE = re.compile(r"\bnamespace\s+(\w+)\s*\{")
BODY = re.compile(r"\{[^{}]*\}")
DECLARED = re.compile(r"^.*?\b(?:(?:class|struct|enum|namespace)\s+(?:class\s+)?(?:KYT_HOST_API\s+)?(\w+)|(\w+)\s*\()", re.DOTALL)
# What compilers say of a name: "vtable for Command", "guard variable for ...".
ABOUT = re.compile(r"^(?:[a-z-]+ )+(?:for|to) ")
NOT_OF_THE_NAME = re.compile(r"<[^<>]*>|\[abi:\w+\]")


def without(pattern: "re.Pattern[str]", text: str, replacement: str = "") -> str:
    """Also where one stands inside another."""
    while pattern.search(text):
        text = pattern.sub(replacement, text)
    return text


def declared(include_dir: Path) -> Set[str]:
    """The classes, enumerations, functions and namespaces of the public headers."""
    names: Set[str] = set()
    for header in include_dir.rglob("*.h"):
        text = NAMESPACE.sub(r"namespace \1;", NO_CODE.sub("", header.read_text(encoding="utf-8")))
        for statement in without(BODY, text, ";").split(";"):
            if found := DECLARED.match(statement):
                names.add(found[1] or found[2])
    return names


def global_symbols(objects: List[str]) -> Iterator[str]:
    """The names alone, without parameters and template arguments."""
    listed = subprocess.run(
        ["nm", "--defined-only", "--extern-only", "--format=just-symbols", *objects],
        check=True,
        stdout=subprocess.PIPE,
        text=True,
    ).stdout
    # Headings of files, and what the linker makes of references to type information, are no symbols.
    mangled = [line for line in listed.splitlines() if line and not line.endswith(":") and not line.startswith("DW.ref.")]
    names = subprocess.run(
        ["c++filt", "--no-params"], input="\n".join(mangled), check=True, stdout=subprocess.PIPE, text=True
    ).stdout.splitlines()
    for name in sorted({ABOUT.sub("", name) for name in names}):
        yield without(NOT_OF_THE_NAME, name)


def is_known(name: str, public: Set[str]) -> bool:
    parts = name.split("::")
    if parts[:2] == ["kyt_host", "detail"] or parts[0] in OTHERS:
        return True
    if parts[0] in ("fileoperation", "kyt_host"):
        return len(parts) > 1 and parts[1] in public
    return parts[0] in public


def main() -> int:
    public = declared(Path(sys.argv[1]))
    names = list(global_symbols(sys.argv[2:]))
    if "connect_robot" not in names or "connect_robot" not in public:
        print("these are not the objects and headers of the library", file=sys.stderr)
        return 1
    strangers = [name for name in names if not is_known(name, public)]
    for name in strangers:
        print(f"{name} is global, and no public header declares it", file=sys.stderr)
    print(f"{len(names)} global names, {len(strangers)} of them undeclared")
    return 1 if strangers else 0


if __name__ == "__main__":
    sys.exit(main())
