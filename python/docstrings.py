#!/usr/bin/env python3
"""Prints for SWIG what it does not read in headers: docstrings.py [PAGE.md] HEADER...

That is the comments, which structs are records, and the order of their fields. The page, if there is one, is what the
module says about itself.
"""

import re
import sys
from pathlib import Path
from typing import Dict, List

sys.path.append(str(Path(__file__).resolve().parent.parent / "cmake"))
import headers  # noqa: E402


def describe(doc: str) -> str:
    """A header's comment as a docstring."""
    text = re.sub(r"\n {2,}", "\n    ", doc)  # the names of parameters get longer
    text = re.sub(r"@param ([\w,]+)\s+", r":param \1: ", text)
    return re.sub(r"@return ", ":return: ", text)


def page_text(path: str) -> str:
    """A page as it reads in a terminal: its headings stand for themselves."""
    with open(path, encoding="utf-8") as file:
        return re.sub(r"^#+ ", "", file.read(), flags=re.MULTILINE)


def module_docstring(text: str) -> str:
    return f"%init %{{\n  PyModule_SetDocString(m, {quoted(text)});\n%}}\n"


def for_swig(declared: List[headers.Header]) -> str:
    functions = [function for header in declared for function in header.functions]
    records = [record for header in declared for record in header.records]
    docs: Dict[str, str] = {}
    for function in functions:
        if function.doc:  # functions of one name have one docstring
            docs[function.name] = "\n\n".join([*filter(None, [docs.get(function.name)]), describe(function.doc)])
    lines = []
    for name in dict.fromkeys(function.name for function in functions):
        # The plain forms share the comment of the `_robot` form.
        doc = docs.get(name) or docs.get(name + "_robot") or docs.get(name + "_rbobt")
        if doc:
            lines.append(f'%feature("docstring") {name} {quoted(doc)};')
    for record in records:
        lines.append(f'%feature("python:tp_init") {record.name} "kyt_py::initRecord< {record.name} >";')
        if record.doc:
            lines.append(f'%feature("docstring") {record.name} {quoted(describe(record.doc))};')
        for name, field in record.fields.items():
            if field.doc:
                lines.append(f'%feature("docstring") {record.name}::{name} {quoted(field.doc)};')
    lines += ["%{", "static const std::map<std::string, std::vector<std::string>> fieldOrder = {"]
    lines += [f'  {{"{record.name}", {{{", ".join(map(quoted, record.fields))}}}}},' for record in records]
    lines += ["};", "%}"]
    return "\n".join(lines) + "\n"


def quoted(text: str) -> str:
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"').replace("\n", "\\n") + '"'


if __name__ == "__main__":
    pages = [path for path in sys.argv[1:] if path.endswith(".md")]
    sys.stdout.writelines(module_docstring(page_text(path)) for path in pages)
    sys.stdout.write(for_swig([headers.read(path) for path in sys.argv[1:] if path not in pages]))
