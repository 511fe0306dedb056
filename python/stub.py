#!/usr/bin/env python3
"""Writes the type stub of the built module: stub.py HEADER... prints it.

Functions are typed as the headers declare them; classes and constants are what the module (to be found on PYTHONPATH)
says they are.
"""

import keyword
import re
import sys
import textwrap
from types import ModuleType
from typing import List, Optional

from docstrings import describe  # which also tells where the reader of headers is

import headers

PREAMBLE = '''\
"""Client library for industrial robot controllers."""

from typing import Any, Callable, ClassVar, Final, Generic, Iterable, Iterator, List, Optional, Sequence, TypeVar, Union
from typing import overload

_T = TypeVar("_T")
_L = TypeVar("_L")

class _Class(type): ...
class _Object(metaclass=_Class):
    __hash__: ClassVar[None]  # type: ignore[assignment]

class _List(_Object, Generic[_T]):
    @overload
    def __init__(self) -> None: ...
    @overload
    def __init__(self, elements: Union[int, Iterable[_T]]) -> None: ...
    @overload
    def __init__(self, size: int, value: _T) -> None: ...
    def __len__(self) -> int: ...
    def __bool__(self) -> bool: ...
    def __iter__(self) -> Iterator[_T]: ...
    @overload
    def __getitem__(self, index: int) -> _T: ...
    @overload
    def __getitem__(self: _L, index: slice) -> _L: ...
    @overload
    def __setitem__(self, index: int, value: _T) -> None: ...
    @overload
    def __setitem__(self, index: slice, value: Iterable[_T]) -> None: ...
    def __delitem__(self, index: Union[int, slice]) -> None: ...
    def __iadd__(self: _L, elements: Iterable[_T]) -> _L: ...
    def __lt__(self, other: object) -> bool: ...
    def __le__(self, other: object) -> bool: ...
    def __gt__(self, other: object) -> bool: ...
    def __ge__(self, other: object) -> bool: ...
    def append(self, value: _T) -> None: ...
    def push_back(self, value: _T) -> None: ...
    def extend(self, elements: Iterable[_T]) -> None: ...
    def insert(self, index: int, value: _T) -> None: ...
    def pop(self, index: int = ...) -> _T: ...
    def pop_back(self) -> None: ...
    def remove(self, value: _T) -> None: ...
    def index(self, value: _T) -> int: ...
    def count(self, value: _T) -> int: ...
    def reverse(self) -> None: ...
    def clear(self) -> None: ...
    def size(self) -> int: ...
    def empty(self) -> bool: ...
    def front(self) -> _T: ...
    def back(self) -> _T: ...
    def capacity(self) -> int: ...
    def reserve(self, capacity: int) -> None: ...
    @overload
    def resize(self, size: int) -> None: ...
    @overload
    def resize(self, size: int, value: _T) -> None: ...
    @overload
    def assign(self, elements: Iterable[_T]) -> None: ...
    @overload
    def assign(self, size: int, value: _T) -> None: ...
    def begin(self) -> int: ...
    def end(self) -> int: ...
    @overload
    def erase(self, position: int) -> None: ...
    @overload
    def erase(self, first: int, last: int) -> None: ...

class _ListField(Generic[_L, _T]):
    def __get__(self, record: object, owner: Any = ...) -> _L: ...
    def __set__(self, record: object, value: Union[_L, Sequence[_T]]) -> None: ...

class _Variables:
    @property
    def const_robotNum(self) -> int: ...

cvar: _Variables
'''

VALUES = {
    "void": "None",
    "bool": "bool",
    "double": "float",
    "char": "str",
    "std::string": "str",
    "const char*": "str",
}
INTEGERS = ["int", "unsigned int", "long long", "SOCKETFD", "RobotType", "std::size_t", "std::uint32_t"]
IN_AND_OUT = {
    "int&": "Union[int, IntRef]",
    "bool&": "Union[bool, BoolRef]",
    "std::string&": "Union[str, StringRef]",
    "char*": "Union[str, StringRef]",
}
LIST = re.compile(r"std::vector<(.*)>$")
CALLBACK = re.compile(r"(?:void |std::function<void)\((.*)\)>?$")
OPTIONAL = ["const char* name, long long done, long long total", "int level, const char* line"]  # None switches it off


def list_class(element: str) -> str:
    """The class of the lists of a C++ type."""
    inner = LIST.match(element)
    if inner:
        return "Vector" + list_class(inner[1])
    name = element.split("::")[-1]
    return "Vector" + name[0].upper() + name[1:]


def is_list(class_: object) -> bool:
    return hasattr(class_, "push_back")


def documented(name: str, doc: Optional[str]) -> List[str]:
    """A docstring in the stub: what stands in the module's after the signatures."""
    lines = [line for line in (doc or "").strip().splitlines() if not line.startswith((name + "(", name + " : ", "::"))]
    if not lines:
        return []
    text = textwrap.indent("\n".join(lines), "    ").lstrip().replace("\\", "\\\\")
    fits = len(lines) == 1 and not text.endswith('"')
    return [f'    """{text}"""' if fits else f'    """{text}\n    """']


class Stub:
    def __init__(self, module: ModuleType, declared: List[headers.Header]) -> None:
        self.module = module
        self.functions = [function for header in declared for function in header.functions]
        self.enums = [enum.name for header in declared for enum in header.enums]

    def text(self) -> str:
        public = {name: getattr(self.module, name) for name in dir(self.module) if not name.startswith("_")}
        classes = [each for each in public.values() if isinstance(each, type)]
        parts = [PREAMBLE.rstrip()]
        parts += ["\n".join(f"{name}: Final = {value}" for name, value in public.items() if type(value) is int)]
        parts += ["\n".join(f"class {each.__name__}(_List[{self.element(each).__name__}]): ..." for each in classes if is_list(each))]
        parts += [self.record(each) for each in classes if not is_list(each)]
        parts += [self.function(each) for each in self.functions]
        return "\n\n".join(parts) + "\n"

    def record(self, class_: type) -> str:
        lines = [f"class {class_.__name__}(_Object):", *documented(class_.__name__, class_.__doc__)]
        empty = class_()
        kinds = {field: type(getattr(empty, field)) for field in getattr(class_, "__match_args__")}
        fields = [f"{field}: {self.loosely(kind)} = ..." for field, kind in kinds.items()]
        lines.append(f"    def __init__({', '.join(['self', *(['*'] if fields else []), *fields])}) -> None: ...")
        for field, kind in kinds.items():
            type_ = f"_ListField[{kind.__name__}, {self.loosely(self.element(kind))}]" if is_list(kind) else kind.__name__
            lines += [f"    {field}: {type_}", *documented(field, getattr(class_, field).__doc__)]
        return "\n".join(lines)

    def function(self, function: headers.Function) -> str:
        parameters = []
        for each in function.parameters:
            if each == headers.ONLY_OUT:
                continue
            name = each.name + "_" if keyword.iskeyword(each.name) else each.name
            parameters.append(f"{name}: {self.argument(each.type)}{' = ...' if each.default else ''}")
        outputs = {each.type for each in function.parameters}.intersection(IN_AND_OUT)
        elements = LIST.match(function.result)
        result = self.list_of(elements[1]) if elements else self.value(function.result)
        if outputs:
            result = "List[int]" if outputs <= {"int&", "bool&"} else "List[Any]"
        overloaded = [other.name for other in self.functions].count(function.name) > 1
        lines = ["@overload"] if overloaded else []
        lines.append(f"def {function.name}({', '.join(parameters)}) -> {result}:")
        own = describe(function.doc) if overloaded else ""
        doc = documented(function.name, own or getattr(self.module, function.name).__doc__)
        if not doc:
            lines[-1] += " ..."
        return "\n".join(lines + doc)

    def argument(self, type_: str) -> str:
        """What Python passes for a C++ parameter."""
        if type_ in IN_AND_OUT:
            return IN_AND_OUT[type_]
        if type_ == "double&":
            return "DoubleRef"
        if type_.endswith("&") and not type_.startswith("const "):  # filled in place
            elements = LIST.match(type_[:-1])
            return f"Union[{self.list_of(elements[1])}, {self.plain(type_[:-1])}]" if elements else type_[:-1]
        return self.value(type_)

    def plain(self, type_: str) -> str:
        """What fills a Python list that takes the place of a list of ours."""
        elements = LIST.match(type_)
        return f"List[{self.plain(elements[1])}]" if elements else self.value(type_)

    def value(self, type_: str) -> str:
        """What a C++ value is in Python."""
        function = type_ = re.sub(r"^const (.*)&$", r"\1", type_)
        elements, callback = LIST.match(type_), CALLBACK.match(type_)
        if elements:
            return f"Union[{self.list_of(elements[1])}, Sequence[{self.value(elements[1])}]]"
        if callback:
            parameters = [headers.parameter(text) for text in headers.split(callback[1])]
            type_ = f"Callable[[{', '.join(self.value(each.type) for each in parameters)}], object]"
            optional = callback[1] in OPTIONAL or "std::function" in function
            return f"Optional[{type_}]" if optional else type_
        if type_ in INTEGERS or type_ in self.enums:
            return "int"
        if type_ not in VALUES and not isinstance(getattr(self.module, type_, None), type):
            raise SystemExit(f"stub.py: what is a {type_!r} in Python?")
        return VALUES.get(type_, type_)

    def list_of(self, element: str) -> str:
        name = list_class(element)
        if not hasattr(self.module, name):
            raise SystemExit(f"stub.py: there is no {name}, for std::vector<{element}>")
        return name

    def element(self, list_: type) -> type:
        """The class of a list's elements."""
        return type(list_(1)[0])

    def loosely(self, class_: type) -> str:
        """What may be assigned where an object of the class is."""
        name = class_.__name__
        return f"Union[{name}, Sequence[{self.loosely(self.element(class_))}]]" if is_list(class_) else name


if __name__ == "__main__":
    import _kyt_host

    sys.stdout.write(Stub(_kyt_host, [headers.read(path) for path in sorted(sys.argv[1:])]).text())
