#!/usr/bin/env python3
"""Writes how c_fuzz.cpp calls the interface for C: c_calls.py FILE HEADER...; a row for each function.

What its arguments are, kyt_host/c/generate.py knows, which makes the functions.
"""

import re
import sys
from pathlib import Path
from typing import Any

sys.path.append(str(Path(__file__).resolve().parents[2] / "kyt_host/c"))
import generate  # type: ignore[import]  # noqa: E402

# Left out: what connects elsewhere, or not any more; what goes on for as long as it is told, or until the robot does
# something; what is for the whole process; and whatever writes files, or fetches them over a connection of its own.
NAMES = """connect_robot connect_robot_within disconnect_robot set_heartbeat wait_for_callbacks exchange_message
exchange_message_many delay set_servo_state set_servo_poweron set_servo_poweroff check_servo_state start_recording
set_diagnostics_handler set_descriptor_limit_raising set_progress_callback backup_get_all_file_list
job_get_controller_all_fileNumAndName""".split()
PATHS = {"path", "localPath", "directory"}
KINDS = {  # by what generate.py makes of it
    "in": "Number",
    "out": "Out",
    "textIn": "Text",
    "textOut": "TextOut",
    "charsOut": "TextOut",
    "textsOut": "TextsOut",
    "listIn": "List",
    "listsIn": "Lists",
    "listOut": "ListOut",
    "recordIn": "Record",
    "recordOut": "Record",
}


def kind(argument: Any) -> str:
    declared = argument.declared[0]
    if "(*" in declared:
        function = re.sub(r"\(\*\w+\)", "(*)", declared)
        return f"Callback<{function}, {'Nothing' if len(argument.declared) == 1 else 'void*'}>"
    made, type_ = re.match(r"detail::(\w+)", argument.made), re.match(r"(?:const )?(.*?)\*? \w+$", declared)
    assert made and type_, declared
    if argument.made == "detail::in<SOCKETFD>(socketFd)":
        return "Handle"
    name = KINDS["in" if made[1] == "In" else made[1]]
    return name if name.startswith("Text") else f"{name}<{type_[1]}>"


def main() -> None:
    generator = generate.Generator([generate.headers.read(path) for path in sys.argv[2:]])
    lines = []
    for record in generator.records.values():
        members = [generator.member(field.type, name)[1] for name, field in record.fields.items()]
        whole = " && ".join(f"whole({each})" for each in members)
        lines.append(f"inline void initialize({record.name}_c& c) {{ {record.name}_c_init(&c); }}")
        lines.append(f"inline bool whole(const {record.name}_c& c) {{ return {whole}; }}")
    lines.append("\nconstexpr Call calls[] = {")
    left_out = {name + ending for name in NAMES for ending in ("_c", "_robot_c")}
    for function in generator.all():
        names = {each.declared[0].split()[-1] for each in function.arguments}
        if function.name not in left_out and not names & PATHS:
            kinds = ", ".join(kind(each) for each in function.arguments)
            lines.append(f'    {{"{function.name}", [](Bytes& in) {{ call<{kinds}>(in, {function.name}); }}}},')
    Path(sys.argv[1]).write_text("\n".join(lines) + "\n};\n", encoding="utf-8")


if __name__ == "__main__":
    main()
