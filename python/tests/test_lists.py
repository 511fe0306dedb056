"""List classes beside Python's own list."""

import copy
import itertools
import pickle
import unittest

import _kyt_host as kyt

LISTS = [each for each in vars(kyt).values() if hasattr(each, "push_back")]
SAMPLES = {int: [3, 1, 4, 1, 5], float: [0.5, 1, -2, 1e300, 0], str: list("abcab")}

# What is done to a list of ours and to a plain one, `each`.
OPERATIONS = (
    "each.append(value); each.extend(elements); each.extend(iter(elements)); each.extend(each); "
    "each.extend(broken()); each.pop(); each.pop(0); each.pop(-2); each.pop(7); each.insert(1, value); "
    "each.insert(-99, value); each.insert(99, value); each.remove(value); each.index(value); each.count(value); "
    "each.reverse(); list(reversed(each)); each.clear(); each[-1]; each[5]; each['0']; each.__setitem__(-5, "
    "value); each.__setitem__(-6, value); each.__setitem__(slice(1, 2), each); each.__delitem__(4); "
    "each.__delitem__(5); len(each); value in each; each < elements; each == tuple(each); "
    "[each.clear() if place == 2 else place for place, _ in enumerate(each)]"
)

REFUSED = {
    IndexError: "class_().front(); class_().back(); class_().pop_back(); ours.erase(5); ours.erase(3, 2)",
    TypeError: "ours.append(None); ours.extend([elements[0], None]); ours.__setitem__(slice(1), [object()]); "
    "ours.assign(None); class_(None); hash(ours)",
    ValueError: "class_(-1)",
    (MemoryError, IndexError, OverflowError): "ours.reserve(2**62)",
}


def sample(class_):
    """Five elements for a list class, with plain lists for its lists."""
    element = class_(1)[0]
    if hasattr(element, "push_back"):
        return [sample(type(element))[:size] for size in (2, 0, 5, 1, 3)]
    return SAMPLES[type(element)] if type(element) in SAMPLES else [element] * 5


def outcome(function):
    try:
        return function()
    except Exception as exception:
        return type(exception)


class Lists(unittest.TestCase):
    def test_every_slice_is_that_of_a_list(self):
        bounds, steps = (None, -6, -3, -1, 0, 1, 2, 4, 5, 9), (None, 1, 2, 3, -1, -2, -7, 0)
        every = [slice(*each) for each in itertools.product(bounds, bounds, steps)]
        some = [slice(*each) for each in itertools.product(bounds[::3], bounds[::3], (None, 2, -1, 0))]
        for class_ in LISTS:  # all are made by one template: one goes through everything
            slices = every if class_ is kyt.VectorInt else some
            for size, key in itertools.product(range(6), slices):
                plain = sample(class_)[:size]
                ours = class_(plain)
                got = outcome(lambda: ours[key])
                self.assertEqual(got, outcome(lambda: plain[key]), (class_, size, key))
                self.assertIn(type(got), (class_, type))
                # Deleted, and replaced by as many, by more and by fewer elements.
                as_many = plain[key][::-1] if key.step != 0 else []
                for change in (["__delitem__"], *(["__setitem__", new] for new in (as_many, sample(class_)[:3], []))):
                    ours, other = class_(plain), list(plain)
                    results = [outcome(lambda: getattr(each, change[0])(key, *change[1:])) for each in (ours, other)]
                    self.assertEqual((results[0], ours), (results[1], other), (class_, size, key, change))

    def test_methods_are_those_of_a_list(self):
        def broken():
            yield from ()
            raise KeyError

        for class_ in LISTS:
            elements = sample(class_)
            known = {"elements": elements, "value": elements[0], "broken": broken}
            for operation, start in itertools.product(OPERATIONS.split("; "), (elements, [])):
                ours, plain = class_(start), list(start)
                with self.subTest(class_=class_.__name__, operation=operation, start=start):
                    results = [outcome(lambda: eval(operation, {**known, "each": each})) for each in (ours, plain)]
                    self.assertEqual((results[0], ours), (results[1], plain))

    def test_methods_of_their_own(self):
        for class_ in LISTS:
            elements = sample(class_)
            ours, (first, second, third, _, last) = class_(elements), elements
            self.assertEqual((ours.front(), ours.back(), ours.size()), (first, last, 5))
            self.assertEqual((ours.empty(), bool(ours), class_().empty(), bool(class_())), (False, True, True, False))
            ours.reserve(64)
            self.assertGreaterEqual(ours.capacity(), 64)
            ours.erase(ours.begin())
            ours.erase(ours.begin() + 2, ours.end())
            self.assertEqual(ours, [second, third])
            ours.assign(2, last)
            ours.push_back(first)
            ours += [second]
            self.assertEqual(ours, [last, last, first, second])
            ours.pop_back()
            ours.resize(1)
            ours.resize(3, first)
            self.assertEqual(ours, class_([last, first, first]))
            self.assertEqual(class_(2, third), [third, third])
            ours.assign(elements)
            self.assertEqual([pickle.loads(pickle.dumps(ours)), copy.copy(ours), copy.deepcopy(ours)], [elements] * 3)
            self.assertEqual(repr(ours).split("(")[0], class_.__name__)

    def test_refusals_change_nothing(self):
        for class_ in LISTS:
            elements = sample(class_)
            for error, change in ((error, each) for error, changes in REFUSED.items() for each in changes.split("; ")):
                ours = class_(elements)
                with self.subTest(class_=class_.__name__, change=change), self.assertRaises(error):
                    eval(change, {"class_": class_, "elements": elements, "ours": ours})
                self.assertEqual(ours, elements)
        with self.assertRaises(OverflowError):
            kyt.VectorInt([0, 2**31])

    def test_arguments_that_take_away_what_they_are_for(self):
        class Clearing:
            def __index__(self):
                whole.clear()
                return 1

            def __eq__(self, other):
                return self.__index__() == 1

        operations = (
            "part[it]; part[it:]; part.__setitem__(it, 1); part.__setitem__(0, it); part.__setitem__(slice(it), [1]); "
            "part.__delitem__(it); part.__delitem__(slice(it)); part.append(it); part.extend([it]); part.insert(0, it); "
            "part.insert(it, 1); part.pop(it); part.remove(it); part.assign([it]); part += [it]"
        )
        for operation in operations.split("; "):
            whole = kyt.VectorVectorInt([[1] * 100] * 9)
            with self.subTest(operation), self.assertRaises(IndexError):
                exec(operation, {"part": whole[5], "it": Clearing()})
            self.assertEqual(whole, [])
        whole = kyt.VectorInt([1])
        whole.remove(Clearing())
        whole = kyt.VectorVisionCalibrationPoint(1)
        for change in (lambda: points.append(Clearing()), lambda: setattr(whole[0], "pixelPos", [Clearing()])):
            whole.resize(1)
            points = whole[0].pixelPos
            self.assertRaises(IndexError, change)
