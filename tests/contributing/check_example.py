#!/usr/bin/env python3
"""Checks that the worked example of CONTRIBUTING.md is what the sources say, and runs the test that it ends with.

    check_example.py SOURCE_DIR BUILD_DIR

A block of C++ stands line for line in the file that was named last before it. The last command is a test program's.
"""

import re
import shlex
import subprocess
import sys
import textwrap
from pathlib import Path
from typing import List

BLOCK = re.compile(r"^( *)```(\w+)\n(.*?)^ *```$", re.DOTALL | re.MULTILINE)
FILE = re.compile(r"`([\w/]+\.(?:h|cpp))`")


def lines(code: str) -> List[str]:
    return [line.strip() for line in code.splitlines() if line.strip()]


def stands_in(block: List[str], source: List[str]) -> bool:
    return any(source[at : at + len(block)] == block for at in range(len(source)))


def main() -> int:
    root, build = Path(sys.argv[1]), Path(sys.argv[2])
    text = (root / "CONTRIBUTING.md").read_text(encoding="utf-8").split("\n## ")[1]
    commands: List[str] = []
    compared = 0
    for block in BLOCK.finditer(text):
        if block[2] == "sh":
            commands = lines(block[3])
            continue
        file = FILE.findall(text[: block.start()])[-1]
        if not stands_in(lines(block[3]), lines((root / file).read_text(encoding="utf-8"))):
            print(f"{file} does not have what CONTRIBUTING.md shows of it:\n{textwrap.dedent(block[3])}", file=sys.stderr)
            return 1
        compared += 1
    program, *arguments = shlex.split(commands[-1])
    ran = subprocess.run(
        [build / Path(program).relative_to("build/release"), *arguments],
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
    )
    passed = re.search(r"\[  PASSED  \] [1-9]\d* tests", ran.stdout)
    if ran.returncode != 0 or not passed or f"--target {Path(program).name}" not in commands[-2]:
        print(ran.stdout[-5000:], f"CONTRIBUTING.md's test: {shlex.join([program, *arguments])}", file=sys.stderr)
        return 1
    print(f"{compared} pieces of code are as they are shown;", passed[0])
    return 0


if __name__ == "__main__":
    sys.exit(main())
