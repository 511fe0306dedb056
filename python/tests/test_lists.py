"""List classes beside Python's own list."""

import copy
import itertools
import pickle
import unittest

import _kyt_host as kyt
from support import LISTS

SAMPLES = {int: [3, 1, 4, 1, 5], float: [0.5, 1, -2, 1e300, 0], str: list("abcab")}

# What is done to a list of ours and to a plain one, `each`.
OPERATIONS = (
    "each.append(value); each.extend(elements); each.extend(iter(elements)); each.extend(each); "
    "each.extend(broken()); each.pop(); each.pop(0); each.pop(-2); each.pop(7); each.insert(1, value); "
    "each.insert(-99, value); each.insert(99, value); each.remove(value); each.index(value); each.count(value); "
    "each.reverse(); list(reversed(each)); each.clear(); each[-1]; each[5]; each['0']; each.__setitem__(-5, "
    "value); each.__setitem__(-6, value); each.__setitem__(slice(1, 2), each); each.__delitem__(4); "
    "each.__delitem__(5); len(each); value in each; each < elements; each == tuple(each)"
)


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
        bounds = (None, -6, -3, -1, 0, 1, 2, 4, 5, 9)
        slices = [slice(*each) for each in itertools.product(bounds, bounds, (None, 1, 2, 3, -1, -2, -7, 0))]
        for class_ in LISTS:
            for size, key in itertools.product(range(6), slices):
                plain = sample(class_)[:size]
                ours = class_(plain)
                got, expected = outcome(lambda: ours[key]), outcome(lambda: plain[key])
                self.assertEqual(got, expected, (class_, size, key))
                self.assertIn(type(got), (class_, type))
                # Deleted, and replaced by as many, by more and by fewer elements.
                replacements = (None, plain[key][::-1] if key.step != 0 else [], sample(class_)[:3], [])
                for elements in replacements:
                    ours, other = class_(plain), list(plain)
                    results = []
                    for each in (ours, other):
                        if elements is None:
                            results.append(outcome(lambda: each.__delitem__(key)))
                        else:
                            results.append(outcome(lambda: each.__setitem__(key, elements)))
                    self.assertEqual(results[0], results[1], (class_, size, key, elements))
                    self.assertEqual(ours, other, (class_, size, key, elements))

    def test_methods_are_those_of_a_list(self):
        def broken():
            yield from ()
            raise KeyError

        for class_ in LISTS:
            elements = sample(class_)
            value = elements[0]
            for operation, start in itertools.product(OPERATIONS.split("; "), (elements, [])):
                ours, plain = class_(start), list(start)
                known = {"elements": elements, "value": value, "broken": broken}
                with self.subTest(class_=class_.__name__, operation=operation, start=start):
                    results = [outcome(lambda: eval(operation, {**known, "each": each})) for each in (ours, plain)]
                    self.assertEqual(*results)
                    self.assertEqual(ours, plain)

    def test_methods_of_their_own(self):
        for class_ in LISTS:
            elements = sample(class_)
            ours = class_(elements)
            self.assertEqual((ours.front(), ours.back(), ours.size()), (elements[0], elements[4], 5))
            self.assertEqual((ours.empty(), bool(ours), class_().empty(), bool(class_())), (False, True, True, False))
            ours.reserve(64)
            self.assertGreaterEqual(ours.capacity(), 64)
            ours.erase(ours.begin())
            ours.erase(ours.begin() + 2, ours.end())
            self.assertEqual(ours, elements[1:3])
            ours.assign(2, elements[4])
            ours.push_back(elements[0])
            ours += elements[1:2]
            self.assertEqual(ours, [elements[4], elements[4], elements[0], elements[1]])
            ours.pop_back()
            ours.resize(1)
            ours.resize(3, elements[0])
            self.assertEqual(ours, class_([elements[4], elements[0], elements[0]]))
            self.assertEqual(class_(2, elements[2]), [elements[2]] * 2)
            ours.assign(elements)
            self.assertEqual([pickle.loads(pickle.dumps(ours)), copy.copy(ours), copy.deepcopy(ours)], [elements] * 3)
            self.assertEqual(repr(ours).split("(")[0], class_.__name__)

    def test_refusals_change_nothing(self):
        for class_ in LISTS:
            elements = sample(class_)
            for error, change in [
                (IndexError, lambda ours: class_().front()),
                (IndexError, lambda ours: class_().back()),
                (IndexError, lambda ours: class_().pop_back()),
                (IndexError, lambda ours: ours.erase(5)),
                (IndexError, lambda ours: ours.erase(3, 2)),
                (TypeError, lambda ours: ours.append(None)),
                (TypeError, lambda ours: ours.extend([elements[0], None])),
                (TypeError, lambda ours: ours.__setitem__(slice(1), [object()])),
                (TypeError, lambda ours: ours.assign(None)),
                (TypeError, lambda ours: class_(None)),
                (TypeError, lambda ours: hash(ours)),
                (ValueError, lambda ours: class_(-1)),
                ((MemoryError, IndexError, OverflowError), lambda ours: ours.reserve(2**62)),
            ]:
                ours = class_(elements)
                with self.assertRaises(error):
                    change(ours)
                self.assertEqual(ours, elements)
        with self.assertRaises(OverflowError):
            kyt.VectorInt([0, 2**31])

    def test_a_list_that_changes_while_it_is_walked_through(self):
        ours = kyt.VectorInt(range(5))
        seen = []
        for value in ours:
            seen.append(value)
            if value == 2:
                ours.clear()
        self.assertEqual(seen, [0, 1, 2])


if __name__ == "__main__":
    unittest.main()
