#!/usr/bin/env python3
"""Python's list classes against Python's own list: lists_fuzz.py [--seed N] [--steps N | --seconds N]

What is done next, to which list and with what, a seed decides. Whatever a plain list returns or raises, ours has to,
and has to hold the same afterwards. Sometimes an argument changes the list while it is read; then ours has to stay
whole, whatever it makes of that. What fails, and what crashes, is named with its seed, which does the same again.
"""

import argparse
import copy
import faulthandler
import pickle
import random
import sys
import time
from typing import Any, Callable, Dict, List, Tuple

import _kyt_host as kyt  # type: ignore[import]

Change = Callable[[], object]
Operation = Callable[[Any, Any], Any]
LISTS = [each for each in vars(kyt).values() if hasattr(each, "push_back")]
STEPS = 400  # with one seed
LONGEST = 40
WRONG = (None, object(), 1.5, 2**40, "two", b"b", [None], [[object()]], {"key": 1}, range(3), "", -(2**31) - 1)


def is_list(value: Any) -> bool:
    return hasattr(value, "push_back")


def plain(value: Any) -> Any:
    """As plain lists, each with elements of its own, and records that are no part of anything."""
    if isinstance(value, list) or is_list(value):
        return [plain(each) for each in value]
    return copy.copy(value)


class Changing:
    """An argument that changes the list that it is given to while it is read."""

    def __init__(self, change: Change, value: Any) -> None:
        self.change, self.value = change, value

    def read(self) -> Any:
        change, self.change = self.change, lambda: None
        change()
        return self.value

    def __index__(self) -> int:
        value = self.read()
        return value if isinstance(value, int) else 1

    def __float__(self) -> float:
        return float(self.__index__())

    def __eq__(self, other: object) -> bool:
        self.read()
        return True

    def __len__(self) -> int:
        return 2

    def __getitem__(self, place: int) -> Any:
        if place >= 2:
            raise IndexError
        return self.read()


# What is done to `each`, a list of ours or a plain one, with arguments `a`.
OPERATIONS: Dict[str, Operation] = {
    "append": lambda each, a: each.append(a.value),
    "extend": lambda each, a: each.extend(a.values),
    "extend by an iterator": lambda each, a: each.extend(iter(a.values)),
    "extend by itself": lambda each, a: each.extend(each),
    "insert": lambda each, a: each.insert(a.i, a.value),
    "pop": lambda each, a: each.pop(),
    "pop at": lambda each, a: each.pop(a.i),
    "remove": lambda each, a: each.remove(a.value),
    "index": lambda each, a: each.index(a.value),
    "count": lambda each, a: each.count(a.value),
    "reverse": lambda each, a: each.reverse(),
    "clear": lambda each, a: each.clear(),
    "get": lambda each, a: each[a.i],
    "get a slice": lambda each, a: each[a.i : a.j : a.step],
    "set": lambda each, a: each.__setitem__(a.i, a.value),
    "set a slice": lambda each, a: each.__setitem__(slice(a.i, a.j, a.step), a.values),
    "set a slice to itself": lambda each, a: each.__setitem__(slice(a.i, a.j, a.step), each),
    "delete": lambda each, a: each.__delitem__(a.i),
    "delete a slice": lambda each, a: each.__delitem__(slice(a.i, a.j, a.step)),
    "+=": lambda each, a: each.__iadd__(a.values),
    "in": lambda each, a: a.value in each,
    "==": lambda each, a: each == a.values,
    "<": lambda each, a: each < a.values,
    "len, bool": lambda each, a: (len(each), bool(each)),
    "iterate": lambda each, a: list(each),
    "iterate backwards": lambda each, a: list(reversed(each)),
    "copies": lambda each, a: [copy.copy(each), copy.deepcopy(each), pickle.loads(pickle.dumps(each))],
    "repr": lambda each, a: repr(each)[-1] in ")]",
}


def resized(each: List[Any], size: int, value: Any) -> None:
    each[size:] = [plain(value) for _ in range(size - len(each))]


# The same of their own methods, and what a plain list makes of them.
OWN: Dict[str, Tuple[Operation, Operation]] = {
    "resize": (lambda each, a: each.resize(a.size), lambda each, a: resized(each, a.size, a.new)),
    "resize with": (lambda each, a: each.resize(a.size, a.value), lambda each, a: resized(each, a.size, a.value)),
    "assign": (lambda each, a: each.assign(a.values), lambda each, a: each.__setitem__(slice(None), a.values)),
    "assign many": (
        lambda each, a: each.assign(a.size, a.value),
        lambda each, a: each.__setitem__(slice(None), [a.value] * a.size),
    ),
    "erase": (lambda each, a: each.erase(a.size), lambda each, a: each.__delitem__(a.size)),
    "front, back": (lambda each, a: (each.front(), each.back()), lambda each, a: (each[0], each[-1])),
    "pop_back": (lambda each, a: each.pop_back(), lambda each, a: (each.pop(), None)[1]),
}


class Run:
    """One list of ours, and the plain one that it has to be like."""

    def __init__(self, seed: int) -> None:
        self.random = random.Random(seed)
        self.class_ = self.random.choice(LISTS)
        self.ours: Any = self.class_()
        self.plain: List[Any] = []
        self.did = "nothing"

    def value(self, class_: Any) -> Any:
        new = class_(1)[0]
        if is_list(new):
            return [self.value(type(new)) for _ in range(self.random.randrange(4))]
        if isinstance(new, (int, float)):
            return type(new)(self.random.randrange(-3, 4))
        if isinstance(new, str):
            return self.random.choice("ab" if class_ is kyt.VectorChar else ("", "a", "b", "long enough for the heap " * 2))
        record = plain(new)
        for name in type(new).__match_args__:
            if isinstance(getattr(new, name), int):
                setattr(record, name, self.random.randrange(3))
        return record

    def arguments(self, class_: Any) -> Any:
        draw = self.random

        def place() -> Any:
            return draw.choice((draw.randrange(-9, 10), draw.randrange(-9, 10), 2**70, -(2**70), "1"))

        return argparse.Namespace(
            i=draw.choice((place(), draw.randrange(-3, 4))),
            j=draw.choice((None, draw.randrange(-9, 10), place())),
            step=draw.choice((None, None, 1, -1, 2, -3, 0, 2**70)),
            size=draw.randrange(9),
            value=self.value(class_),
            values=[self.value(class_) for _ in range(draw.choice((0, 1, 2, 3, 5)))],
            new=plain(class_(1)[0]),
        )

    def target(self) -> Tuple[Any, Any, str]:
        """The list, or a part of it that is one."""
        ours, mine, name = self.ours, self.plain, ""
        while len(ours) > 0 and self.random.random() < 0.6:
            place = self.random.randrange(len(ours))
            element, of_mine, name = ours[place], mine[place], f"{name}[{place}]"
            fields = [each for each in getattr(type(element), "__match_args__", ()) if is_list(getattr(element, each))]
            if fields:
                field = self.random.choice(fields)
                return getattr(element, field), Field(of_mine, field), f"{name}.{field}"
            if not is_list(element):
                break
            ours, mine = element, of_mine
        return ours, mine, name

    def step(self) -> None:
        ours, mine, where = self.target()
        a = self.arguments(type(ours))
        name = self.random.choice((*OPERATIONS, *OWN))
        self.did = f"{type(ours).__name__}{where}: {name}, {vars(a)}"
        to_ours, to_plain = OWN[name] if name in OWN else (OPERATIONS[name], OPERATIONS[name])
        if self.random.random() < 0.2:
            self.disturb(ours, to_ours, a)
        else:
            with_ours = copy.copy(a)
            if self.random.random() < 0.5:
                with_ours.values = type(ours)(a.values)
            got = outcome(lambda: to_ours(ours, with_ours))
            if isinstance(mine, Field):
                mine.use(lambda each: self.compare(got, outcome(lambda: to_plain(each, a))))
            else:
                self.compare(got, outcome(lambda: to_plain(mine, a)))
        self.check()

    def compare(self, got: Any, expected: Any) -> None:
        if got is not NotImplemented and got != expected:
            raise AssertionError(f"{got!r} and not {expected!r}")

    def disturb(self, ours: Any, operation: Operation, a: Any) -> None:
        """With arguments that are wrong, or change the whole while they are read: what comes of it is not told."""
        changes = (
            self.ours.clear,
            lambda: self.ours.resize(LONGEST),
            lambda: self.ours.resize(1),
            lambda: self.ours.extend(list(self.ours) * 2),
        )
        change = self.random.choice(changes)
        values, names = a.values, self.random.sample(("i", "j", "step", "value", "values"), 2)
        for name in names:
            before = getattr(a, name)
            wrong = self.random.choice(WRONG)
            after = self.random.choice((wrong, [*values, wrong], Changing(change, before), [Changing(change, before)]))
            setattr(a, name, after)
        self.did += f", {names} disturbed"
        outcome(lambda: operation(ours, a))
        self.plain = plain(self.ours)

    def check(self) -> None:
        if len(self.ours) > LONGEST:
            del self.ours[3:]
            del self.plain[3:]
        self.plain = plain(self.plain)  # no element is another's twin
        if list(self.ours) != self.plain or len(self.ours) != len(self.plain):
            raise AssertionError(f"{self.ours!r} and not {self.plain!r}")


class Field:
    """A list in a record, which plain lists have no other word for."""

    def __init__(self, record: Any, name: str) -> None:
        self.record, self.name = record, name

    def use(self, function: Callable[[List[Any]], None]) -> None:
        values = plain(getattr(self.record, self.name))
        function(values)
        setattr(self.record, self.name, values)


def outcome(function: Callable[[], Any]) -> Any:
    try:
        return plain_result(function())
    except Exception as exception:
        return type(exception)


def plain_result(value: Any) -> Any:
    return tuple(map(plain, value)) if isinstance(value, tuple) else plain(value)


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--steps", type=int, default=STEPS)
    parser.add_argument("--seconds", type=float)
    options = parser.parse_args()
    faulthandler.enable()
    end = time.monotonic() + (options.seconds or 0)
    seed, done = options.seed, 0
    while done < options.steps or (options.seconds and time.monotonic() < end):
        print(f"seed {seed}", file=sys.stderr, flush=True)  # the last one named is the one that failed
        run = Run(seed)
        for _ in range(STEPS):
            try:
                run.step()
            except AssertionError as error:
                raise SystemExit(f"{run.did}: {error}") from error
        seed, done = seed + 1, done + STEPS
    print(f"{done} operations with the seeds {options.seed} to {seed - 1}")


if __name__ == "__main__":
    main()
