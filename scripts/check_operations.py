#!/usr/bin/env python3
"""Checks that docs/operations.md has every operation of the public headers, with the codes that the sources send, and the
units that stand above its declaration and in the records that it takes.

    check_operations.py [--fix]

--fix writes the tables anew; what stands around them is written by hand.
"""

import re
import sys
from pathlib import Path
from typing import Dict, Iterator, List, NamedTuple

ROOT = Path(__file__).resolve().parent.parent
PAGE = ROOT / "docs/operations.md"
BEGIN, END = "<!-- begin: written by scripts/check_operations.py --fix -->\n", "<!-- end -->\n"

HEADERS = ["communication/connection_api", "interface/*", "craft/*", "file/*", "tasks/*", "records/*", "types", "names"]
DECLARED = re.compile(r"^KYT_HOST_API [^(;{]*?\b(\w+)\(", re.MULTILINE)
PLAIN = re.compile(r"^inline [^(;{]*?\b(\w+)\(", re.MULTILINE)
SUFFIX = re.compile(r"_(?:robot|rbobt)$")
DEFINED = re.compile(r"^(?!namespace|using|struct|class|enum|#|//)[A-Za-z][^;={]*?\b(\w+)\(")
USED = re.compile(r"Strategy::(\w+)|\b(\w+)(?=[<(])")
MISSING = re.compile(r"^\| `(\w+)`", re.MULTILINE)
CODE = re.compile(r"\b(\w+) = (0x[0-9A-Fa-f]{4}|\w+)\s*,")
EXCHANGES = ROOT / "kyt_host/communication/exchanges.h"
RECEIVED = re.compile(r"Strategy::(\w+)\),")
ROW = re.compile(r"row<\w+>\(Strategy::(\w+), Strategy::(\w+)\)")
UNIT = re.compile(r"(?<![\w`/])(mm/s|mm|degrees/s|degrees|radians|percent|ms|seconds|Nm|kg)(?![\w`/])")
TIMES = ("ms", "seconds")  # which a comment may also speak of in passing
RECORD = re.compile(r"^struct (\w+) \{(.*?)^\};", re.MULTILINE | re.DOTALL)
COMMENTED = re.compile(r"((?:^///.*\n)*)^KYT_HOST_API ([^;{]*)", re.MULTILINE)


class Operation(NamedTuple):
    name: str  # of the plain form, if there is one
    suffix: str  # of the form with a robot's number
    codes: List[str]
    units: str


def read(path: Path) -> str:
    return path.read_text(encoding="utf-8") if path.exists() else ""


def codes() -> Dict[str, str]:
    """The codes by name; some have two names."""
    found = dict(CODE.findall(read(ROOT / "kyt_host/communication/strategy.h")))
    return {name: found.get(code, code) for name, code in found.items()}


def definitions(text: str) -> Dict[str, str]:
    """The bodies of the functions that a source defines at its outermost level, as clang-format lays them out; of
    overloads all."""
    bodies: Dict[str, str] = {}
    name, opened = "", False
    for line in text.splitlines():
        begins = None if name else DEFINED.match(line)
        name = begins[1] if begins else name
        if not name:
            continue
        bodies[name] = bodies.get(name, "") + line + "\n"
        ends = line.startswith("}") if opened else line.endswith(("}", ";"))
        opened = not ends and (opened or line.endswith("{"))
        name = "" if ends else name
    return bodies


def sent(name: str, bodies: Dict[str, str], public: List[str]) -> Iterator[str]:
    """The names of the codes in a function, and in those of the same source that it calls."""
    others = {other: body for other, body in bodies.items() if other != name}
    for code, called in USED.findall(bodies.get(name, "")):
        if code:
            yield code
        elif called in others and called not in public:
            yield from sent(called, others, public)


def exchanged(name: str, bodies: Dict[str, str], public: List[str]) -> List[str]:
    """What goes out, and which reply is awaited."""
    number, rows = codes(), read(EXCHANGES)
    replies, received = dict(ROW.findall(rows)), set(RECEIVED.findall(rows))
    requests = [code for code in dict.fromkeys(sent(name, bodies, public)) if code not in received]
    found = [number[code] + (f" → {number[replies[code]]}" if code in replies else "") for code in requests]
    return [*found, f"→ {number['RobotState']}"] if "awaitState(" in bodies.get(name, "") else found


def units(text: str) -> List[str]:
    parameters = text[text.find("@param") :] if "@param" in text else ""
    return [unit for unit in dict.fromkeys(UNIT.findall(text)) if unit not in TIMES or unit in UNIT.findall(parameters)]


def records() -> Dict[str, str]:
    """The units in each record's comments."""
    found = {}
    for header in sorted((ROOT / "kyt_host/records").glob("*.h")):
        for name, body in RECORD.findall(read(header)):
            found[name] = ", ".join(dict.fromkeys(UNIT.findall(body)))
    return found


def units_of(text: str) -> Dict[str, str]:
    """What each operation of a header takes and gives, where its comments say so."""
    of_records = records()
    found: Dict[str, str] = {}
    for comment, declaration in COMMENTED.findall(text):
        name = DECLARED.match("KYT_HOST_API " + declaration)
        told = [", ".join(units(comment))]
        told += [f"`{record}`: {of_records[record]}" for record in re.findall(r"\w+", declaration) if of_records.get(record)]
        if name:
            found.setdefault(name[1], "; ".join(filter(None, told)))
    return found


def operations(header: Path) -> List[Operation]:
    text = read(header)
    declared = list(dict.fromkeys(DECLARED.findall(text)))
    plain = PLAIN.findall(text)
    bodies = definitions(read(header.with_suffix(".cpp")))
    of_all = units_of(text)
    found = []
    for name in declared:
        suffix = SUFFIX.search(name)
        short = SUFFIX.sub("", name)
        both = suffix is not None and short in plain
        codes_of_it = exchanged(name, bodies, declared)
        found.append(Operation(short if both else name, suffix[0] if suffix and both else "", codes_of_it, of_all[name]))
    return found


def row(operation: Operation) -> str:
    suffix = f" `{operation.suffix}`" if operation.suffix else ""
    return f"| `{operation.name}`{suffix} | {', '.join(operation.codes)} | {operation.units} |".replace("|  ", "| ")


def tables() -> Dict[str, List[Operation]]:
    """The operations by header."""
    root = ROOT / "kyt_host"
    headers = [header for pattern in HEADERS for header in sorted(root.glob(pattern + ".h"))]
    found = {header.relative_to(ROOT).as_posix(): operations(header) for header in headers}
    return {header: all_ for header, all_ in found.items() if all_}


def main() -> int:
    page = read(PAGE)
    before, _, rest = page.partition(BEGIN)
    after = rest.partition(END)[2]
    offered = tables()
    parts = []
    for header, all_ in offered.items():
        parts += [f"\n### {header}\n\n| operation | codes | units |\n| --- | --- | --- |", *map(row, all_)]
    now = before + BEGIN + "\n".join(parts) + "\n\n" + END + after
    if "--fix" in sys.argv[1:]:
        PAGE.write_text(now, encoding="utf-8")
        page = now

    written, wanted = page.splitlines(), now.splitlines()
    faults = [f"lacks: {line}" for line in wanted if line not in written]
    faults += [f"has, and should not: {line}" for line in written if line not in wanted]
    names = {each.name for all_ in offered.values() for each in all_}
    faults += [f"says that it is not offered: {name}" for name in MISSING.findall(after) if name in names]
    for fault in faults:
        print(f"docs/operations.md {fault}", file=sys.stderr)
    if page != now:
        print("check_operations: scripts/check_operations.py --fix writes the tables anew", file=sys.stderr)
    return 1 if faults or page != now else 0


if __name__ == "__main__":
    sys.exit(main())
