#!/usr/bin/env python3
"""Checks that the dissector for Wireshark knows the codes, and which reply answers which request, as the sources do.

    check_dissector.py [--fix]

--fix writes the tables anew; what stands around them is written by hand.
"""

import sys

from check_operations import CODE, EXCHANGES, ROOT, ROW, codes, read

DISSECTOR = ROOT / "tools/wireshark/kyt.lua"
BEGIN, END = "-- begin: written by scripts/check_dissector.py --fix\n", "-- end\n"


def tables() -> str:
    declared = CODE.findall(read(ROOT / "kyt_host/communication/strategy.h"))
    names = {code: name for name, code in declared if code.startswith("0x")}
    number = codes()
    replies = {number[request]: number[reply] for request, reply in ROW.findall(read(EXCHANGES))}
    lines = ["local names = {", *(f'  [{code}] = "{names[code]}",' for code in sorted(names)), "}"]
    lines += ["local reply_to = {", *(f"  [{request}] = {replies[request]}," for request in sorted(replies)), "}"]
    return "\n".join(lines) + "\n"


def main() -> int:
    page = DISSECTOR.read_text(encoding="utf-8")
    before, _, rest = page.partition(BEGIN)
    now = before + BEGIN + tables() + END + rest.partition(END)[2]
    if page == now:
        return 0
    if "--fix" in sys.argv[1:]:
        DISSECTOR.write_text(now, encoding="utf-8")
        return 0
    print(f"{DISSECTOR.relative_to(ROOT)}: its tables differ from the sources: check_dissector.py --fix", file=sys.stderr)
    return 1


if __name__ == "__main__":
    sys.exit(main())
