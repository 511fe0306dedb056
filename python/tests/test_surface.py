"""Functions: arguments, results and errors."""

import re
import unittest

import _kyt_host as kyt
from support import HEADERS, Peer, headers, start_controller

UNKNOWN = 0  # a handle that no connection ever has
CALLBACK_SETTERS = [
    kyt.recv_message,
    kyt.set_receive_error_or_warnning_message_callback,
    kyt.robot_state_callback,
    kyt.set_reconnect_callback,
]
IN_AND_OUT = {"int&": 7, "bool&": True, "std::string&": "text", "char*": "text"}
BY_VALUE = {"bool": True, "double": 1.5, "std::string": "", "char*": ""}


def argument(type_):
    """Some value for a C++ parameter."""
    if type_ in IN_AND_OUT:
        return IN_AND_OUT[type_]
    if type_ == "double&":
        return kyt.DoubleRef()
    type_ = re.sub(r"^const |&$", "", type_)
    if type_.startswith("std::vector"):
        words = re.findall(r"\w+", type_.replace("std::", ""))
        return getattr(kyt, "".join(word[0].upper() + word[1:] for word in words))()
    if type_.startswith(("void", "std::function")):
        return print
    record = getattr(kyt, type_, None)
    return record() if isinstance(record, type) else BY_VALUE.get(type_, 1)


class Surface(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        _, cls.robot = start_controller(cls.addClassCleanup)

    def test_results(self):
        robot, six = self.robot, {"collisionDetection_run": [100.0] * 6, "collisionDetection_teach": tuple(range(1, 7))}
        para = kyt.CollisionPara(position_delay_time_ms_value=5, axisum=6, **six)
        number, flag, text = kyt.IntRef(), kyt.BoolRef(), kyt.StringRef()
        plain, position, identity = [1], kyt.VectorDouble([1, 2]), kyt.VectorChar("long ago")
        for expected, function, *arguments in [
            (0, kyt.get_connection_status, robot),
            (0, kyt.set_speed, robot, 30),
            ([0, 30], kyt.get_speed_robot, robot, True, number),
            ([-2, 30], kyt.get_speed, UNKNOWN, number),
            ([0, False], kyt.get_teachbox_connection_status, robot, flag),
            ([-2, True], kyt.get_teachbox_connection_status, UNKNOWN, 1),
            ([0, "VC-0001"], kyt.get_controller_id, robot, ""),
            ([0, "VC-0001"], kyt.get_controller_id_robot, robot, 1, text),
            (0, kyt.get_controller_id_csharp, robot, identity),
            (0, kyt.get_current_position, robot, 0, position),
            (0, kyt.get_current_position, robot, 0, plain),
            (0, kyt.set_collision_para, robot, para),
            (kyt.PARAM_ERR, kyt.set_collision_para, robot, kyt.CollisionPara()),
            (0, kyt.set_axis_sdo, robot, 1, 2**32 - 1, 0, -(2**31), 4),
            (0, kyt.verifyReceiveMessage, ["a", "b"], ("c",), 0),
            (None, kyt.delay, 0),
            ([0, '{"robot":1,"speed":30}'], kyt.exchange_message, robot, 0x2602, '{"robot":1}', 0x2603, 1000),
        ]:
            with self.subTest(function=function.__name__, arguments=arguments):
                self.assertEqual(repr(function(*arguments)), repr(expected))  # True is not 1 here
        self.assertEqual((number.value, flag.value, text.value), (30, False, "VC-0001"))
        self.assertEqual(("".join(identity), list(position), plain), ("VC-0001", [0.0] * 7, [0.0] * 7))

    def test_errors(self):
        robot = self.robot
        for kind, position, type_, function, *arguments in [
            (TypeError, 1, "SOCKETFD", kyt.recv_message, "1", print),
            (TypeError, 1, "SOCKETFD", kyt.get_servo_state, 1.0, 0),
            (TypeError, 2, "int &", kyt.get_servo_state, robot, "0"),
            (TypeError, 2, "bool", kyt.set_reconnect, robot, "yes"),
            (TypeError, 3, "std::vector< double > &", kyt.get_current_position, robot, 0, (0.0,)),
            (TypeError, 3, "std::vector< double > &", kyt.get_current_position, robot, 0, ["0"]),
            (TypeError, 2, "CollisionPara", kyt.set_collision_para, robot, {}),
            (TypeError, 1, "std::string const &", kyt.connect_robot, b"127.0.0.1", "1"),
            (TypeError, 1, "std::vector< char > const &", kyt.verifyReceiveMessage, ["ab"], [], 0),
            (TypeError, 2, "std::function< void (SOCKETFD) >", kyt.set_connection_lost_callback, robot, 5),
            (OverflowError, 1, "SOCKETFD", kyt.get_servo_state, 2**31, 0),
            (OverflowError, 2, "int &", kyt.get_servo_state, robot, 2**70),
            (OverflowError, 3, "unsigned int", kyt.set_axis_sdo, robot, 1, -1, 0, 0, 0),
            (OverflowError, 1, "Strategy", kyt.assemblySendMessage, 2**32, ""),
        ]:
            with self.subTest(function=function.__name__, arguments=arguments):
                with self.assertRaises(kind) as raised:
                    function(*arguments)
                text = f"in method '{function.__name__}', argument {position} of type '{type_}'"
                self.assertEqual(str(raised.exception), text)
        for setter, *key in [*((setter, robot) for setter in CALLBACK_SETTERS), (kyt.set_diagnostics_handler,)]:
            with self.assertRaisesRegex(ValueError, "^Provided callback is not callable!$"):
                setter(*key, 5)
        with self.assertRaisesRegex(AttributeError, r"^Variable const_robotNum is read-only\.$"):
            kyt.cvar.const_robotNum = 2
        self.assertEqual(kyt.cvar.const_robotNum, 1)

    def test_every_operation_refuses_none_and_returns_its_status_and_what_goes_in_and_out(self):
        for declared in (function for header in HEADERS for function in header.functions):
            if declared.name in ("set_progress_callback", "set_diagnostics_handler"):  # None switches them off
                continue
            function, parameters = getattr(kyt, declared.name), list(declared.parameters)
            only_out = [parameters.remove(each) or "" for each in declared.parameters if each == headers.ONLY_OUT]
            types = [each.type for each in parameters]
            arguments = [argument(each) for each in types]
            for place in range(len(arguments)):
                if types[place].startswith("std::function"):  # None takes it away
                    continue
                with self.subTest(function=declared.name, place=place), self.assertRaises(TypeError):
                    function(*arguments[:place], None, *arguments[place + 1 :])
            if types[:1] != ["SOCKETFD"]:
                continue
            with self.subTest(function=declared.name):
                result = function(UNKNOWN, *arguments[1:])
                outputs = [IN_AND_OUT[each] for each in types if each in IN_AND_OUT] + only_out
                status = result[0] if outputs else result
                self.assertIs(type(status), int)
                self.assertEqual(result, [status, *outputs] if outputs else status)

    def test_texts_that_are_not_utf8_come_and_go_as_surrogates(self):
        peer = Peer(self)
        robot = peer.connect()
        kyt.send_message(robot, 0x1234, "\udcff\u00e9\0z")
        frame = peer.sockets[0].recv(100)
        self.assertEqual(frame[6:-4].rstrip(b"\n"), b"\xff\xc3\xa9\0z")
        assembled = kyt.assemblySendMessage(0x1234, "\udcff\u00e9\0z").encode("utf-8", "surrogateescape")
        self.assertEqual(assembled[6:11], frame[6:11])
