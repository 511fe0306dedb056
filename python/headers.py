#!/usr/bin/env python3
"""What the public headers declare and say about it: headers.py [PAGE.md] HEADER... prints it for SWIG.

SWIG reads the declarations itself. This adds what it does not read: the comments, which structs are records, and the
order of their fields. The page, if there is one, is what the module says about itself.
"""

import re
import sys
from typing import Dict, List, NamedTuple


class Parameter(NamedTuple):
    type: str
    name: str
    default: bool


ONLY_OUT = Parameter("std::string&", "reply", False)  # Python gets it without passing anything in its place


class Function(NamedTuple):
    name: str
    result: str
    parameters: List[Parameter]
    doc: str


class Record(NamedTuple):
    name: str
    doc: str
    fields: Dict[str, str]  # name: what the header says


class Header(NamedTuple):
    functions: List[Function]
    records: List[Record]
    enums: List[str]


FUNCTION = re.compile(  # Python has no BackendBase
    r"(?:KYT_HOST_API|inline) (?!constexpr|[^;{]*\bBackendBase\b)([^(=]*)\b(\w+)\((.*?)\)(?:;| \{)", re.DOTALL
)
RECORD = re.compile(r"struct (?:KYT_HOST_API )?(\w+)(?: : .*)? \{(\};)?$")
ENUM = re.compile(r"enum (?:class )?(\w+)")
FIELD = re.compile(r"  [\w:<>, ]*[\w>] (\w+)(?: = [^;]*|\{[^;]*\})?;(?: *///<(?: (.*))?)?$")
FIELD_DOC_CONTINUED = re.compile(r" +///< +(.*)$")


def read(path: str) -> Header:
    with open(path, encoding="utf-8") as file:
        return parse(file.read())


def parse(text: str) -> Header:
    """The functions and records that a header declares at its outermost level, as clang-format lays them out."""
    header = Header([], [], [])
    doc: List[str] = []
    record = None
    lines = text.splitlines()
    for number, line in enumerate(lines):
        if record is not None:
            field, more = FIELD.match(line), FIELD_DOC_CONTINUED.match(line)
            if field:
                record.fields[field[1]] = " ".join([*doc, field[2] or ""]).strip()
            elif more and record.fields:
                record.fields[list(record.fields)[-1]] += " " + more[1]
            elif line == "};":
                record = None
            doc = [line.strip()[4:]] if line.startswith("  /// ") else []
        elif line.startswith("///"):
            doc.append(line[4:])
        else:
            function = FUNCTION.match("\n".join(lines[number : number + 10]))
            struct, enum = RECORD.match(line), ENUM.match(line)
            if function:
                parameters = [parameter(text) for text in split(function[3])]
                header.functions.append(Function(function[2], function[1].strip(), parameters, describe(doc)))
            elif struct:
                record = Record(struct[1], describe(doc), {})
                header.records.append(record)
                record = None if line.endswith("};") else record
            elif enum:
                header.enums.append(enum[1])
            doc = []
    return header


def split(parameters: str) -> List[str]:
    """At the commas that stand in no brackets."""
    parts, depth = [""], 0
    for character in " ".join(parameters.split()):
        depth += (character in "<(") - (character in ">)")
        if character == "," and depth == 0:
            parts.append("")
        else:
            parts[-1] += character
    return [part.strip() for part in parts if part]


def parameter(text: str) -> Parameter:
    text, default, _ = text.partition(" = ")
    name = re.search(r"\(\*(\w+)\)|(\w+)$", text)  # a pointer to a function has its name in the middle
    if name is None:
        raise ValueError(f"a parameter without a name: {text!r}")
    return Parameter((text[: name.start()] + text[name.end() :]).strip(), name[1] or name[2], bool(default))


def describe(doc: List[str]) -> str:
    """A header's comment as a docstring."""
    text = re.sub(r"\n {2,}", "\n    ", "\n".join(doc))  # the names of parameters get longer
    text = re.sub(r"@param ([\w,]+)\s+", r":param \1: ", text)
    return re.sub(r"@return ", ":return: ", text)


def page_text(path: str) -> str:
    """A page as it reads in a terminal: its headings stand for themselves."""
    with open(path, encoding="utf-8") as file:
        return re.sub(r"^#+ ", "", file.read(), flags=re.MULTILINE)


def module_docstring(text: str) -> str:
    return f"%init %{{\n  PyModule_SetDocString(m, {quoted(text)});\n%}}\n"


def for_swig(headers: List[Header]) -> str:
    functions = [function for header in headers for function in header.functions]
    records = [record for header in headers for record in header.records]
    docs: Dict[str, str] = {}
    for function in functions:
        if function.doc:  # functions of one name have one docstring
            docs[function.name] = "\n\n".join([*filter(None, [docs.get(function.name)]), function.doc])
    lines = []
    for name in dict.fromkeys(function.name for function in functions):
        # The plain forms share the comment of the `_robot` form.
        doc = docs.get(name) or docs.get(name + "_robot") or docs.get(name + "_rbobt")
        if doc:
            lines.append(f'%feature("docstring") {name} {quoted(doc)};')
    for record in records:
        lines.append(f'%feature("python:tp_init") {record.name} "kyt_py::initRecord< {record.name} >";')
        if record.doc:
            lines.append(f'%feature("docstring") {record.name} {quoted(record.doc)};')
        for field, doc in record.fields.items():
            if doc:
                lines.append(f'%feature("docstring") {record.name}::{field} {quoted(doc)};')
    lines += ["%{", "static const std::map<std::string, std::vector<std::string>> fieldOrder = {"]
    lines += [f'  {{"{record.name}", {{{", ".join(map(quoted, record.fields))}}}}},' for record in records]
    lines += ["};", "%}"]
    return "\n".join(lines) + "\n"


def quoted(text: str) -> str:
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"').replace("\n", "\\n") + '"'


if __name__ == "__main__":
    pages = [path for path in sys.argv[1:] if path.endswith(".md")]
    sys.stdout.writelines(module_docstring(page_text(path)) for path in pages)
    sys.stdout.write(for_swig([read(path) for path in sys.argv[1:] if path not in pages]))
