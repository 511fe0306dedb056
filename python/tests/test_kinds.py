"""Every kind of argument, field and overload that a header may declare, on the stand-ins of surface.h."""

import copy
import pickle
import unittest

try:
    import _surface as surface
except ImportError:  # no part of the wheel
    raise unittest.SkipTest("the module of stand-ins is not built here")


def port(number=0, label=""):
    return surface.Port(number=number, label=label)


class Kinds(unittest.TestCase):
    def test_values_go_in_and_come_back(self):
        level = surface.DoubleRef(value=1.25)
        boxes = surface.IntRef(), surface.BoolRef(), surface.StringRef()
        boxes[0].value, boxes[1].value, boxes[2].value = 4, True, "\udcff"
        self.assertEqual(surface.readAll(1, False, "a", level), [7, 2, True, "a!"])
        self.assertEqual(surface.readAll(*boxes, level), [7, 5, False, "\udcff!"])
        self.assertEqual([box.value for box in (*boxes, level)], [5, False, "\udcff!", 5.0])
        for wrong in (1.0, 1, None, surface.IntRef()):
            with self.assertRaisesRegex(TypeError, "argument 4 of type 'double &'"):
                surface.readAll(1, False, "", wrong)
        text = surface.StringRef()
        self.assertEqual((surface.describe(port(label="x"), 3, text), text.value), ([0, "xxx"], "xxx"))

    def test_records_and_lists_by_value_reference_and_overload(self):
        board, ports = surface.Board(), surface.VectorPort([port(8)])
        board.first.number = 5
        self.assertEqual((surface.readBoard(board), board.first, board.ports), (0, port(6), [port(5)]))
        self.assertEqual((surface.readPorts(ports), ports), (0, [port(8)] * 100))
        self.assertEqual(surface.countPorts([ports, (port(), port()), []]), 102)
        self.assertEqual([surface.total(each) for each in ([1, 2], (0.5,), surface.VectorDouble([4]))], [3, 0.5, 4])
        characters = surface.VectorChar()
        self.assertEqual((surface.copyText("aé", characters), characters), (2, surface.VectorChar("aé")))
        self.assertEqual(surface.copyText("é" * 200000, ""), [1, "é" * 200000])
        for wrong in ([[None]], "ab", None, [1], [[surface.Board()]]):
            with self.assertRaisesRegex(TypeError, "'std::vector< std::vector< Port > >'"):
                surface.countPorts(wrong)
        for kind, how in [(ValueError, "argument"), (MemoryError, "memory"), (RuntimeError, "")]:
            self.assertRaises(kind, surface.fail, how)

    def test_lists_of_python_are_filled_in_place(self):
        ports, characters, rows, names = [port(8)], ["x"], [(1, 2), surface.VectorInt([3])], []
        results = [surface.readPorts(ports), surface.copyText("ab", characters), surface.readRows(rows, names)]
        self.assertEqual((results, ports, characters), ([0, 2, 0], [port(8)] * 100, ["a", "b"]))
        self.assertEqual((repr(rows), names), ("[[1, 2], [3], [2, 7]]", ["first"]))
        mixed = surface.VectorVectorInt([[4]]), surface.VectorString(["last"])
        self.assertEqual((surface.readRows(*mixed), mixed), (0, ([[4], [1, 7]], ["first", "last"])))
        for wrong in ([[1.5]], [None], ([1],), "ab", [[2**31]]):
            kept = copy.copy(wrong)
            with self.assertRaisesRegex((TypeError, OverflowError), r"argument 1 of type 'std::vector< .* > &'"):
                surface.readRows(wrong, names)
            self.assertEqual((wrong, names), (kept, ["first"]))

    def test_records_take_their_fields_by_name_and_know_no_others(self):
        first, ports = port(1, "é"), [port(2)]
        board = surface.Board(first=first, ports=ports, groups=[ports, ()], codes=(4,))
        self.assertEqual([board.first, board.ports, board.groups, board.codes], [first, ports, [ports, []], [4]])
        board.__init__(codes=[5])
        self.assertEqual(board, surface.Board(codes=[5]))
        for arguments in ({"colour": 1}, {"this": 1}, {"__class__": 1}, {"codes": 1}, {"first": None}):
            with self.assertRaisesRegex(TypeError, next(iter(arguments))):
                surface.Board(**arguments)
        self.assertRaisesRegex(TypeError, r"Port\(\) takes its fields by name", surface.Port, 1)
        for wrong in (first, board, board.first, board.ports, ports[0], surface.IntRef()):
            for name in ("numbr", "colour", "_owner", "__dict__", "append"):
                self.assertRaises(AttributeError, setattr, wrong, name, 1)
                self.assertRaises(AttributeError, delattr, wrong, name)

        class Noted(surface.Port):
            def __init__(self, note="", **fields):
                super().__init__(**fields)
                self.note = note

        noted = Noted("mine", number=3)
        self.assertEqual((noted, copy.copy(noted).note, port(3)), (port(3), "mine", noted))

    def test_records_are_values(self):
        board = surface.Board(first=port(1), ports=[port(2)], groups=[[port(3)], ()], codes=(4,))
        again = [copy.copy(board), copy.deepcopy(board), pickle.loads(pickle.dumps(board))]
        self.assertEqual(again, [board] * 3)
        again[0].groups[0][0].label = "other"
        self.assertNotEqual(again[0], board)
        self.assertNotEqual(board, board.first)
        self.assertEqual(repr(port(1, "é")), "Port(number=1, open=False, volts=0.0, label='é')")
        self.assertEqual([surface.Board.__hash__, surface.VectorPort.__hash__], [None, None])
        for field, wrong in [("first", None), ("first", board), ("ports", None), ("ports", "a"), ("codes", ["a"])]:
            self.assertRaises(TypeError, setattr, board, field, wrong)
        with self.assertRaises(OverflowError):
            board.codes = [2**31]
        self.assertEqual(again[1], board)

    def test_parts_find_their_way_whatever_happens_to_the_whole(self):
        board = surface.Board()
        board.groups = [[port(1), port(2)]]
        group, element = board.groups[0], board.groups[0][1]
        group.extend([port()] * 1000)
        board.groups.extend([[]] * 1000)
        element.number += 40  # all of it has moved by now
        self.assertEqual(board.groups[0][1].number, 42)
        del board
        self.assertEqual(group[1], element)
        for shrink in (lambda: group.__delitem__(slice(1, None)), group.clear):
            shrink()
            for use, *arguments in (getattr, "number"), (setattr, "label", "gone"), (repr,), (surface.describe, 1, ""):
                self.assertRaises(IndexError, use, element, *arguments)
        ports = surface.VectorPort([port(1)])
        first = ports.front()
        surface.readPorts(ports)
        first.number = 9
        self.assertEqual(ports[0].number, 9)

    def test_objects_without_init_are_of_no_use_and_no_danger(self):
        forgetful = {"__init__": lambda self: None}
        board, ports = (type("Forgetful", (base,), forgetful)() for base in (surface.Board, surface.VectorPort))
        for use, *arguments in [
            (getattr, board, "first"),
            (setattr, board, "codes", []),
            (surface.readBoard, board),
            (repr, board),
            (lambda: board == board,),
            *((use, ports) for use in (len, list, surface.readPorts)),
            (lambda: ports[0],),
            (lambda: ports.append(port()),),
            (bool, surface.VectorInt.__new__(surface.VectorInt)),
            (getattr, surface.Port.__new__(surface.Port), "label"),
        ]:
            self.assertRaises(TypeError, use, *arguments)
