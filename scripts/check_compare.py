#!/usr/bin/env python3
"""Checks that docs/compare.md shows the programs of examples/side_by_side as they are, all of them, and their lengths.

    check_compare.py [--fix]

--fix writes them anew; what stands around them is written by hand.
"""

import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
PAGE = ROOT / "docs/compare.md"
PROGRAMS = ROOT / "examples/side_by_side"
LANGUAGES = {".py": "Python", ".cpp": "C++"}
PART = re.compile(r"(<!-- (\S+): written by scripts/check_compare\.py --fix -->\n).*?(<!-- end -->\n)", re.DOTALL)


def length(path: Path) -> int:
    """In lines, blank ones and comments included."""
    return len(path.read_text(encoding="utf-8").splitlines())


def lengths() -> str:
    rows = ["| lines of the whole program | flat | Python | C++ |", "| --- | --- | --- | --- |"]
    for flat in sorted(PROGRAMS.glob("*_flat.*")):
        task = flat.stem[: -len("_flat")]
        of_objects = " | ".join(str(length(PROGRAMS / f"{task}{ending}")) for ending in LANGUAGES)
        rows.append(f"| {task} | {length(flat)} ({LANGUAGES[flat.suffix]}) | {of_objects} |")
    return "\n".join(rows) + "\n"


def shown(part: str) -> str:
    if part == "lengths":
        return lengths()
    language = "python" if part.endswith(".py") else "cpp"
    return f"\n```{language}\n{(PROGRAMS / part).read_text(encoding='utf-8')}```\n\n"


def main() -> int:
    page = PAGE.read_text(encoding="utf-8")
    now = PART.sub(lambda part: part[1] + shown(part[2]) + part[3], page)
    if "--fix" in sys.argv[1:]:
        PAGE.write_text(now, encoding="utf-8")
        page = now
    missing = {path.name for path in PROGRAMS.iterdir() if path.is_file()} - {part[2] for part in PART.finditer(page)}
    for name in sorted(missing):
        print(f"docs/compare.md does not show {name}", file=sys.stderr)
    if page != now:
        print("docs/compare.md is not as the programs are: scripts/check_compare.py --fix", file=sys.stderr)
    return 1 if missing or page != now else 0


if __name__ == "__main__":
    sys.exit(main())
