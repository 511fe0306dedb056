#!/usr/bin/env python3
"""Writes the interface for C: generate.py FOLDER VERSION HEADER... makes kyt_host_c.h and kyt_host_c.cpp there.

The headers are the only place where an operation is declared. What the functions are made of: arguments.h.
"""

import re
import sys
import textwrap
from pathlib import Path
from typing import Dict, List, NamedTuple, Tuple

sys.path.append(str(Path(__file__).resolve().parents[2] / "cmake"))
import headers  # noqa: E402

SCALARS = {
    "int": "int",
    "SOCKETFD": "int",
    "RobotType": "int",
    "bool": "int",
    "double": "double",
    "char": "char",
    "unsigned int": "unsigned int",
    "std::uint32_t": "unsigned int",
    "long long": "long long",
}
SIZES = {"KYT_TEXT_SIZE": 256, "KYT_LIST_CAPACITY": 64}  # what fits into a record
TEXT, LIST = SIZES
VECTOR = re.compile(r"std::vector<(.*)>$")
LISTENER = re.compile(r"std::function<void\((.*)\)>$")
FUNCTION = re.compile(r"void \((.*)\)$")

PREAMBLE = f"""\
#ifndef KYT_HOST_C_H
#define KYT_HOST_C_H

/* The library for C, and for languages that call C: one function NAME_c for every operation NAME. Generated from the
 * C++ headers, whose comments these are.
 *
 * - Every function returns what its operation does (KYT_SUCCESS, KYT_RECEIVE_FAILED, ...); none of them throws.
 * - A bool is an int, 0 or 1. Texts are UTF-8 and end with a zero.
 * - Outputs go where pointers say. A number that the reply lacks stays as it was.
 * - An output text `name` is a buffer of `name_size` bytes; `*name_needed` becomes the bytes that it takes, with its
 *   zero. An output list has room for `name_capacity` elements; `*name_count` becomes how many there are. Where there
 *   is too little room for one of them, the function returns KYT_PARAM_ERR and writes nothing but these, so that one
 *   asks again. A buffer may be null when its size is 0.
 * - Several texts stand one after the other in one buffer, each with its zero; `*name_count` becomes how many there are.
 *   Where they are in several lists, `name_counts` is the output list of how many each of these has.
 * - An input list has `name_count` elements. Of lists in a list, list i has the elements from name_offsets[i] to before
 *   name_offsets[i + 1], and `name_offsets` one number more than there are lists.
 * - Records are structs of fixed size: a text has up to KYT_TEXT_SIZE - 1 bytes in them, a list up to KYT_LIST_CAPACITY
 *   elements. What does not fit is refused as above. NAME_c_init sets one to what it is when it is constructed; do so
 *   before any use, also as an output, since what a reply lacks stays as it was.
 * - Callbacks get `user_data` as it was passed. They run on threads of the library's.
 * - A null pointer where none may be is KYT_PARAM_ERR, and so is a negative size.
 *
 * The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md. */

#include "kyt_host/export.h"

#ifdef __cplusplus
extern "C" {{
#endif

/** The library's version, as in "2.0.4". */
KYT_HOST_API const char* kyt_host_c_version(void);
"""
END = """
#ifdef __cplusplus
}
#endif

#endif
"""


class Argument(NamedTuple):
    """A parameter: what it is in C, and the object between."""

    declared: List[str]
    made: str


class Function(NamedTuple):
    name: str
    result: str
    arguments: List[Argument]
    body: str
    doc: str

    def prototype(self) -> str:
        parameters = [each for argument in self.arguments for each in argument.declared]
        return f"{self.result} {self.name}({', '.join(parameters) or 'void'})"


class Generator:
    def __init__(self, declared: List[headers.Header]) -> None:
        self.functions = [function for header in declared for function in header.functions]
        self.enums = {enum.name: enum for header in declared for enum in header.enums}
        self.records = self.sorted({record.name: record for header in declared for record in header.records})
        self.docs = {function.name: function.doc for function in self.functions if function.doc}

    def sorted(self, records: Dict[str, headers.Record]) -> Dict[str, headers.Record]:
        """Those first that others are made of."""
        result: Dict[str, headers.Record] = {}

        def add(record: headers.Record) -> None:
            for field in record.fields.values():
                for word in re.findall(r"\w+", field.type):
                    if word in records and word not in result:
                        add(records[word])
            result[record.name] = record

        for record in records.values():
            if record.name not in result:
                add(record)
        return result

    # --- types ---

    def c(self, type_: str) -> str:
        """What a number or a record is in C."""
        if type_ in self.records:
            return f"{type_}_c"
        if type_ in self.enums:
            return "int"
        if type_ not in SCALARS:
            raise SystemExit(f"generate.py: what is a {type_!r} in C?")
        return SCALARS[type_]

    def member(self, type_: str, name: str) -> Tuple[List[str], str]:
        """A field of a record: its declarations, and how the pair of it is told."""
        elements = VECTOR.match(type_)
        inner = elements and VECTOR.match(elements[1])
        if type_ == "std::string":
            return [f"char {name}[{TEXT}]"], f"c.{name}"
        if inner:
            declared = [f"{self.c(inner[1])} {name}[{LIST}][{LIST}]", f"int {name}_counts[{LIST}]", f"int {name}_count"]
            return declared, f"c.{name}, c.{name}_counts, c.{name}_count"
        if elements:
            one = f"char {name}[{LIST}][{TEXT}]" if elements[1] == "std::string" else f"{self.c(elements[1])} {name}[{LIST}]"
            return [one, f"int {name}_count"], f"c.{name}, c.{name}_count"
        return [f"{self.c(type_)} {name}"], f"c.{name}"

    def argument(self, type_: str, name: str) -> Argument:
        constant = re.match(r"const (.*)&$", type_)
        type_ = constant[1] if constant else type_
        if type_.endswith("&") or type_ == "char*":
            return self.output(type_.rstrip("&"), name)
        elements, listener, function = VECTOR.match(type_), LISTENER.match(type_), FUNCTION.match(type_)
        inner = elements and VECTOR.match(elements[1])
        if type_ in ("std::string", "const char*"):
            return Argument([f"const char* {name}"], f"detail::textIn<{type_}>({name})")
        if listener or function:
            taken = (listener or function)[1]  # type: ignore[index]
            parameters = [headers.parameter(each) for each in headers.split(taken)]
            declared = [", ".join(self.argument(each.type, each.name).declared) for each in parameters]
            if listener:
                declared.append("void* user_data")
                made = f"detail::ListenerIn<{type_}>({name}, user_data)"
            else:
                made = f"detail::In<void (*)({', '.join(each.type for each in parameters)})>{{{name}}}"
            pointer = f"void (*{name})({', '.join(declared) or 'void'})"
            return Argument([pointer, "void* user_data"] if listener else [pointer], made)
        if inner:
            c = self.c(inner[1])
            declared = [f"const {c}* {name}", f"const int* {name}_offsets", f"int {name}_count"]
            return Argument(declared, f"detail::listsIn<{inner[1]}>({name}, {name}_offsets, {name}_count)")
        if elements:
            declared = [f"const {self.c(elements[1])}* {name}", f"int {name}_count"]
            return Argument(declared, f"detail::listIn<{elements[1]}>({name}, {name}_count)")
        if type_ in self.records:
            return Argument([f"const {type_}_c* {name}"], f"detail::recordIn<{type_}>({name})")
        if type_ in self.enums:
            return Argument([f"int {name}"], f"detail::In<{type_}>{{static_cast<{type_}>({name})}}")
        return Argument([f"{self.c(type_)} {name}"], f"detail::in<{type_}>({name})")

    def output(self, type_: str, name: str) -> Argument:
        buffer = [f"char* {name}", f"int {name}_size", f"int* {name}_needed"]
        passed = f"({name}, {name}_size, {name}_needed"
        if type_ in ("std::string", "std::vector<char>"):
            return Argument(buffer, f"detail::textOut<{type_}>{passed})")
        if type_ == "char*":
            return Argument(buffer, f"detail::charsOut{passed})")
        if type_ == "std::vector<std::string>":
            return Argument([*buffer, f"int* {name}_count"], f"detail::textsOut{passed}, {name}_count)")
        if type_ == "std::vector<std::vector<std::string>>":
            lists = [f"int* {name}_count", f"int* {name}_counts", f"int {name}_counts_capacity", f"int* {name}_counts_count"]
            made = f"{passed}, {name}_count, {name}_counts, {name}_counts_capacity, {name}_counts_count)"
            return Argument([*buffer, *lists], f"detail::TextListsOut::make{made}")
        elements = VECTOR.match(type_)
        if elements:
            declared = [f"{self.c(elements[1])}* {name}", f"int {name}_capacity", f"int* {name}_count"]
            return Argument(declared, f"detail::listOut<{elements[1]}>({name}, {name}_capacity, {name}_count)")
        if type_ in self.records:
            return Argument([f"{type_}_c* {name}"], f"detail::recordOut<{type_}>({name})")
        return Argument([f"{self.c(type_)}* {name}"], f"detail::out<{type_}>({name})")

    # --- functions ---

    def function(self, function: headers.Function) -> Function:
        arguments = [self.argument(each.type, each.name) for each in function.parameters]
        names = [each.name for each in function.parameters]
        operation = f"{function.name}({', '.join(names)})"
        result, body = "int", f"return {operation};"
        if function.result == "void":
            result, body = "void", f"{operation}; return 0;"
        elif function.result == "bool":
            body = f"return {operation} ? 1 : 0;"
        elif function.result == "const char*":
            only = [each.declared[0] for each in arguments]
            if any(len(each.declared) != 1 or "*" in each.declared[0] for each in arguments):
                raise SystemExit(f"generate.py: {function.name} returns a text of its own, and takes {only}")
            return Function(function.name + "_c", "const char*", arguments, f"return {operation};", self.doc(function))
        elif function.result not in ("int", "SOCKETFD"):
            arguments.append(self.argument(function.result + "&", "result"))
            names.append("result")
            body = f"result = {operation}; return 0;"
        lambda_ = f"[]({', '.join(f'auto& {name}' for name in names)}) {{ {body} }}"
        made = "".join(f", {each.made}" for each in arguments)
        returned = "" if result == "void" else "return "
        return Function(function.name + "_c", result, arguments, f"{returned}detail::call({lambda_}{made});", self.doc(function))

    def doc(self, function: headers.Function) -> str:
        form = re.search(r"_r[ob]{2}ot$|_rbobt$", function.name)
        for suffix in () if form or function.doc else ("_robot", "_rbobt"):
            if function.name + suffix in self.docs:
                return f"As `{function.name}{suffix}_c`, for robot 1."
        return function.doc

    def all(self) -> List[Function]:
        """Operations that differ only in what C does not know are one; of others with one name, the next is _2_c."""
        result: Dict[str, Function] = {}
        for each in self.functions:
            function = self.function(each)
            while function.name in result and result[function.name].prototype() != function.prototype():
                number = re.search(r"_(\d)_c$", function.name)
                name = re.sub(r"(_\d)?_c$", f"_{int(number[1]) + 1 if number else 2}_c", function.name)
                function = function._replace(name=name)
            result.setdefault(function.name, function)
        return list(result.values())

    # --- files ---

    def header(self) -> str:
        parts = [PREAMBLE, "enum {\n" + ",\n".join(f"  {name} = {size}" for name, size in SIZES.items()) + "\n};\n"]
        for enum in self.enums.values():
            prefix = f"KYT_{enum.name}_" if enum.scoped else "KYT_"
            values = [(name, prefix + value if value in enum.values else value) for name, value in enum.values.items()]
            parts.append("enum {\n" + ",\n".join(f"  {prefix}{name} = {value}" for name, value in values) + "\n};\n")
        for record in self.records.values():
            lines = [*comment(record.doc), f"typedef struct {record.name}_c {{"]
            for name, field in record.fields.items():
                lines += [f"  {line}" for line in comment("\n".join(textwrap.wrap(field.doc, 110)))]
                lines += [f"  {each};" for each in self.member(field.type, name)[0]]
            lines += [f"}} {record.name}_c;", f"KYT_HOST_API void {record.name}_c_init({record.name}_c* record);\n"]
            parts.append("\n".join(lines))
        for function in self.all():
            whole = re.sub("(?<!,) ", "\0", f"KYT_HOST_API {function.prototype()};")  # to be broken after commas alone
            wrapped = "\n".join(textwrap.wrap(whole, 120, subsequent_indent="    ")).replace("\0", " ")
            parts.append("\n".join([*comment(function.doc), wrapped, ""]))
        return "\n".join(parts) + END

    def source(self, version: str) -> str:
        parts = ['#include "kyt_host/kyt_host_c.h"\n\n#include "kyt_host/c/arguments.h"\n#include "kyt_host/kyt_host.h"\n']
        parts.append("using namespace fileoperation;\n\nnamespace kyt_host::detail {\n")
        for record in self.records.values():
            pairs = [f"way(record.{name}, {self.member(field.type, name)[1]})" for name, field in record.fields.items()]
            parts.append(
                f"template <>\nstruct InC<{record.name}> {{\n  using type = {record.name}_c;\n"
                "  template <class Way, class Record, class C>\n"
                "  static bool members(const Way& way, Record& record, C& c) {\n"
                f"    return {' && '.join(pairs)};\n  }}\n}};\n"
            )
        parts.append('}  // namespace kyt_host::detail\n\nnamespace detail = kyt_host::detail;\n\nextern "C" {\n')
        parts.append(f'const char* kyt_host_c_version(void) {{ return "{version}"; }}')
        for record in self.records.values():
            name = record.name
            parts.append(f"void {name}_c_init({name}_c* record) {{ detail::initialize<{name}>(record); }}")
        parts += [f"{function.prototype()} {{\n  {function.body}\n}}" for function in self.all()]
        return "\n".join(parts) + "\n}\n"


def comment(doc: str) -> List[str]:
    if not doc:
        return []
    first, *others = doc.replace("*/", "* /").splitlines()
    return [f"/** {first}", *(f" *  {line}".rstrip() for line in others), " */"] if others else [f"/** {first} */"]


if __name__ == "__main__":
    folder, version, *paths = sys.argv[1:]
    generator = Generator([headers.read(path) for path in paths])
    Path(folder, "kyt_host_c.h").write_text(generator.header(), encoding="utf-8")
    Path(folder, "kyt_host_c.cpp").write_text(generator.source(version), encoding="utf-8")
