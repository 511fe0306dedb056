"""What the public headers declare, and what they say about it: whatever is made of them goes by this."""

import re
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


class Field(NamedTuple):
    type: str
    doc: str


class Record(NamedTuple):
    name: str
    doc: str
    fields: Dict[str, Field]


class Enum(NamedTuple):
    name: str
    scoped: bool
    values: Dict[str, str]


class Header(NamedTuple):
    functions: List[Function]
    records: List[Record]
    enums: List[Enum]


FUNCTION = re.compile(  # Python has no BackendBase
    r"(?:KYT_HOST_API|inline) (?!constexpr|[^;{]*\bBackendBase\b)([^(=]*)\b(\w+)\((.*?)\)(?:;| \{)", re.DOTALL
)
RECORD = re.compile(r"struct (?:KYT_HOST_API )?(\w+)(?: : .*)? \{(\};)?$")
ENUM = re.compile(r"enum (class )?(\w+)[^{]*\{(.*?)\};", re.DOTALL)
ENUMERATOR = re.compile(r"^ *(\w+) = (-?\w+),?", re.MULTILINE)
FIELD = re.compile(r"  ([\w:<>, ]*[\w>]) (\w+)(?: = [^;]*|\{[^;]*\})?;(?: *///<(?: (.*))?)?$")
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
                record.fields[field[2]] = Field(field[1], " ".join([*doc, field[3] or ""]).strip())
            elif more and record.fields:
                name, (type_, text) = list(record.fields.items())[-1]
                record.fields[name] = Field(type_, f"{text} {more[1]}")
            elif line == "};":
                record = None
            doc = [line.strip()[4:]] if line.startswith("  /// ") else []
        elif line.startswith("///"):
            doc.append(line[4:])
        else:
            function = FUNCTION.match("\n".join(lines[number : number + 10]))
            struct = RECORD.match(line)
            enum = ENUM.match("\n".join(lines[number:])) if line.startswith("enum ") else None
            if function:
                parameters = [parameter(text) for text in split(function[3])]
                header.functions.append(Function(function[2], function[1].strip(), parameters, "\n".join(doc)))
            elif struct:
                record = Record(struct[1], "\n".join(doc), {})
                header.records.append(record)
                record = None if line.endswith("};") else record
            elif enum:
                values = dict(ENUMERATOR.findall(enum[3].replace(", ", ",\n")))
                header.enums.append(Enum(enum[2], bool(enum[1]), values))
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
