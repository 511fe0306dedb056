#!/usr/bin/env python3
"""Writes the reference's pages, one for each header and one for each Python module: scripts/docs.sh runs it.

    reference.py PREFIX STUB PACKAGE FOLDER

PREFIX has the headers, STUB is the stub of `_kyt_host`, PACKAGE the folder of the package for people.
"""

import ast
import re
import sys
import textwrap
from pathlib import Path
from typing import Iterator, List, Sequence, Union

Function = Union[ast.FunctionDef, ast.AsyncFunctionDef]


def heading(text: str, line: str = "=") -> List[str]:
    return [text, line * len(text), ""]


def directive(kind: str, argument: str, *content: str, options: Sequence[str] = ()) -> List[str]:
    body = [*(f":{option}" if ": " in option else f":{option}:" for option in options), "", *content]
    return [f".. {kind}:: {argument}", *(textwrap.indent(line, "   ") for line in body), ""]


def contents(pages: Sequence[str]) -> List[str]:
    return directive("toctree", "", *pages, options=["maxdepth: 1"])


def write(page: Path, lines: Sequence[str]) -> None:
    page.parent.mkdir(parents=True, exist_ok=True)
    page.write_text("\n".join(lines) + "\n", encoding="utf-8")


# --- headers ---


def header_page(prefix: Path, header: Path, page: Path) -> None:
    name = header.relative_to(prefix).as_posix()
    write(page, [*heading(name), *directive("code-block", "cpp", f"#include <{name}>"), *directive("doxygenfile", name)])


# --- Python ---


def docstring(node: Union[Function, ast.ClassDef, ast.Module]) -> List[str]:
    return blocks(ast.get_docstring(node) or "")


def blocks(text: str) -> List[str]:
    """Paragraphs, list items and fields, each in one line and with an empty one between; code as it is."""
    found: List[str] = []
    for paragraph in re.split(r"\n\s*\n", text):
        if found and re.match(r"    \S", paragraph) and not found[-2].startswith(":"):
            found += [*directive("code-block", "python", *textwrap.dedent(paragraph).splitlines())]
            continue
        for number, line in enumerate(paragraph.splitlines()):
            if number == 0 or re.match(r"\s*(:\w|- )", line):
                found += [line.strip(), ""]
            else:
                found[-2] += " " + line.strip()
    return found


def signature(function: Function, method: bool) -> str:
    arguments = function.args
    if method and arguments.args:
        arguments.args = arguments.args[1:]
    returned = f" -> {ast.unparse(function.returns)}" if function.returns else ""
    return f"{function.name}({ast.unparse(arguments)}){returned}"


def is_shown(name: str) -> bool:
    return not name.startswith("_") or name in {"__init__", "__getitem__", "__matmul__", "__eq__", "__await__"}


def members(body: Sequence[ast.stmt], module: bool) -> Iterator[str]:
    overloads = {""}
    for index, node in enumerate(body):
        if isinstance(node, (ast.FunctionDef, ast.AsyncFunctionDef)):
            if not is_shown(node.name) or (node.name == "__init__" and not node.args.args[1:]):
                continue
            decorators = {ast.unparse(each).rpartition(".")[2] for each in node.decorator_list}
            if "setter" in decorators:
                continue
            options = [*decorators & {"staticmethod", "classmethod"}]
            options += ["noindex"] if node.name in overloads else []
            options += ["async"] if isinstance(node, ast.AsyncFunctionDef) else []
            overloads.add(node.name)
            if "property" in decorators:
                typed = [f"type: {ast.unparse(node.returns)}"] if node.returns else []
                yield from directive("py:property", node.name, *docstring(node), options=typed)
            else:
                kind = "py:function" if module else "py:method"
                yield from directive(kind, signature(node, not module), *docstring(node), options=options)
        elif isinstance(node, ast.ClassDef) and is_shown(node.name):
            bases = ", ".join(ast.unparse(base) for base in node.bases if not ast.unparse(base).startswith("_Object"))
            name = f"{node.name}({bases})" if bases else node.name
            yield from directive("py:class", name, *docstring(node), "", *members(node.body, module=False))
        elif isinstance(node, (ast.AnnAssign, ast.Assign)):
            target = node.target if isinstance(node, ast.AnnAssign) else node.targets[0]
            name = ast.unparse(target)
            if not name.isidentifier() or not is_shown(name) or len(name) == 1:
                continue
            after = body[index + 1] if index + 1 < len(body) else None
            told: List[str] = []
            if isinstance(after, ast.Expr) and isinstance(after.value, ast.Constant) and isinstance(after.value.value, str):
                told = blocks(textwrap.dedent(after.value.value))
            typed = [f"type: {ast.unparse(node.annotation)}"] if isinstance(node, ast.AnnAssign) else []
            kind = "py:data" if module else "py:attribute"
            yield from directive(kind, name, *told, options=typed)


def module_page(name: str, sources: Sequence[Path], page: Path) -> None:
    lines = [*heading(name), *directive("py:module", name)]
    for source in sources:
        tree = ast.parse(source.read_text(encoding="utf-8"))
        if source.name == "__init__.py":
            lines += [*docstring(tree), ""]
        lines += members(tree.body, module=True)
    write(page, lines)


def main() -> None:
    prefix, stub, package, folder = map(Path, sys.argv[1:])
    reference = folder / "reference"
    headers = sorted(path for path in prefix.rglob("*.h") if path.name not in {"export.h", "kyt_host.h", "kyt_interface.h"})
    pages = {"cpp": [], "c": []}  # type: ignore[var-annotated]
    for header in headers:
        language = "c" if header.name == "kyt_host_c.h" else "cpp"
        name = header.relative_to(prefix).with_suffix("").as_posix().replace("/", ".")
        header_page(prefix, header, reference / language / f"{name}.rst")
        pages[language].append(name)
    write(reference / "cpp/index.rst", [*heading("C++"), *contents(pages["cpp"])])
    write(reference / "c/index.rst", [*heading("C"), *contents(pages["c"])])

    module_page("kyt_host", [package / "__init__.py", *sorted(package.glob("[a-z]*.py"))], reference / "python/kyt_host.rst")
    testing = package.parent / "kyt_host_testing/__init__.py"
    module_page("kyt_host_testing", [testing], reference / "python/kyt_host_testing.rst")
    module_page("_kyt_host", [stub], reference / "python/_kyt_host.rst")
    names = ["kyt_host", "kyt_host_testing", "_kyt_host"]
    write(reference / "python/index.rst", [*heading("Python"), *contents(names)])


if __name__ == "__main__":
    main()
