"""A robot that is told what to do from Python: what it does, and what it keeps."""

import json
import re
import unittest

import _kyt_host as kyt
from support import HEADERS, VirtualController, start_controller


def filled(record):
    """Gives every field a value of its own."""
    for number, field in enumerate(record.__match_args__, 1):
        setattr(record, field, type(getattr(record, field))(number))
    return record


LENGTH = re.compile(r"@param (\w+) +(?:receives|is set to) (\d+) (?:values|times)")


class Robot(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        _, cls.robot = start_controller(cls.addClassCleanup, "0", "--time-scale", "10", "--servo-delay", "0")
        cls.move = kyt.MoveCmd(targetPosValue=[10, -10, 20, 0, 30, 0, 0], velocity=50, acc=50, dec=50)

    def test_it_moves(self):
        where = kyt.VectorDouble()
        self.assertEqual((kyt.set_servo_poweron(self.robot), kyt.robot_movej(self.robot, self.move)), (0, 0))
        while kyt.get_robot_running_state(self.robot, 0) != [0, 0]:
            self.assertEqual(kyt.get_current_position(self.robot, 0, where), 0)
        self.assertEqual(kyt.get_current_position(self.robot, 0, where), 0)
        self.assertEqual([round(each, 6) for each in where], self.move.targetPosValue)

    def test_the_outside_world_is_at_hand(self):
        inputs, analog, state = kyt.VectorInt(), kyt.VectorDouble(), kyt.IntRef()
        with VirtualController("--state-period", "0") as controller:
            robot = kyt.connect_robot(controller.host, controller.port)
            controller.set_input(3, 1)
            controller.set_analog_input(2, 4.5)
            self.assertEqual((kyt.get_digital_input(robot, inputs), inputs[:4]), (0, [0, 0, 1, 0]))
            self.assertEqual((kyt.get_analog_input(robot, analog), analog[:2]), (0, [0, 4.5]))
            controller.emergency_stop()
            self.assertEqual(kyt.get_servo_state(robot, state), [0, 2])
            self.assertEqual(controller.state()["robots"][0]["error"], "emergency stop pressed")
            for fault in (controller.refuse, controller.silence):
                fault(0x2602)
                self.assertEqual(kyt.get_speed(robot, 0)[0], kyt.RECEIVE_FAILED)
            controller.delay(1)
            self.assertEqual(kyt.get_speed(robot, 0), [0, 50])
            self.assertEqual([each["text"] for each in controller.requests(0x2602)], ['{"robot":1}'] * 3)
            controller.silence("all", -1)
            self.assertEqual(kyt.get_servo_state(robot, state)[0], kyt.RECEIVE_FAILED)
            controller.lag_state(100)
            controller.start_late(100)
            controller.stop_short(0.5, robot=2)
            controller.wrap_angles()
            controller.clear_script()
            self.assertEqual(kyt.get_servo_state(robot, state), [0, 2])
            for wrong, order in (
                ("there is no digital input 99", lambda: controller.set_input(99, 1)),
                ("a fraction of the way is 0 to 1", lambda: controller.stop_short(1.5)),
                ("there is no robot 9", lambda: controller.stop_short(0.5, robot=9)),
                ("ms is 0 or more", lambda: controller.lag_state(-1)),
            ):
                with self.assertRaisesRegex(ValueError, wrong):
                    order()
            controller.cut()
            self.assertLess(kyt.connect_robot(controller.host, controller.port), 0)
            controller.restore()
            self.assertGreater(kyt.connect_robot(controller.host, controller.port), 0)

    def test_what_is_set_can_be_read_back(self):
        robot, alarm = self.robot, kyt.AlarmdIO(msg="Tür offen", enable=1)
        program = kyt.RemoteProgramSetting(job="PART", times=3)
        number, outputs, position = kyt.DoubleRef(), kyt.VectorInt(), kyt.VectorDouble([1, 0, 2, 3, 4, 0, 0, *range(7)])
        for to_set, to_get, key, value in [
            (kyt.set_tool_hand_param, kyt.get_tool_hand_param, [2], filled(kyt.ToolParam())),
            (kyt.weld_set_config, kyt.weld_get_config, [1], filled(kyt.ArcParam())),
            (kyt.set_global_position, kyt.get_global_position, ["GP0001"], position),
            (kyt.set_error_msg_of_digital_input, kyt.get_error_msg_of_digital_input, [], kyt.VectorAlarmdIO([alarm])),
        ]:
            box = type(value)()
            with self.subTest(function=to_set.__name__):
                self.assertEqual((to_set(robot, *key, value), to_get(robot, *key, box), box), (0, 0, value))
        self.assertEqual(kyt.set_global_variant(robot, "GD001", 2.5), 0)
        self.assertEqual((kyt.get_global_variant(robot, "GD001", number), number.value), (0, 2.5))
        self.assertEqual((kyt.set_digital_output(robot, 3, 1), kyt.get_digital_output(robot, outputs)), (0, 0))
        self.assertEqual(outputs[:4], [0, 0, 1, 0])
        programs = kyt.VectorRemoteProgramSetting()
        self.assertEqual(kyt.set_remote_program(robot, 1, [program] * 10), 0)
        self.assertEqual((kyt.get_remote_program(robot, 1, 0, programs), programs), ([0, 10], [program] * 10))

    def test_lists_are_as_long_as_the_headers_say(self):
        functions = [each for header in HEADERS for each in header.functions if LENGTH.search(each.doc)]
        self.assertGreater(len(functions), 8)
        kinds = {"SOCKETFD": lambda: self.robot, "int": lambda: 1, "double&": kyt.DoubleRef}
        for set_it, key in [  # what has never been set is refused
            (kyt.set_global_position, "GP0001"),
            (kyt.set_global_sync_position, "GP0001"),
            (kyt.set_user_coordinate_data, 1),
        ]:
            self.assertEqual(set_it(self.robot, key, [0] * 14), 0)
        matrix = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0]  # which is a position, too
        for function in functions:
            arguments = {
                parameter.name: matrix * (parameter.type[:5] == "const") if "vector" in parameter.type else kinds.get(parameter.type, lambda: "GP0001")()
                for parameter in function.parameters
            }
            with self.subTest(function=function.name):
                self.assertEqual(getattr(kyt, function.name)(*arguments.values()), kyt.SUCCESS)
                lengths = {name: int(length) for name, length in LENGTH.findall(function.doc)}
                self.assertEqual({name: len(arguments[name]) for name in lengths}, lengths)

    def test_positions_are_the_14_values_of_global_positions(self):
        position, values, read = filled(kyt.Position()), [], kyt.Position()
        position.angleUnit = 1
        self.assertEqual(kyt.position_to_values(position), [1, 1, 3, 4, 5, 6, 7, *[0] * 7])
        position.pos = range(1, 8)
        self.assertEqual(kyt.position_to_values(position), [1, 1, 3, 4, 5, 6, 7, *range(1, 8)])
        self.assertEqual(kyt.set_global_position(self.robot, "GP0002", kyt.position_to_values(position)), 0)
        self.assertEqual(kyt.get_global_position(self.robot, "GP0002", values), 0)
        self.assertEqual((kyt.position_from_values([*values, 9.5], read), read), (0, position))
        for pos, padded in [([1], [1, *[0] * 6]), (range(9), list(range(7)))]:
            self.assertEqual(kyt.position_to_values(kyt.Position(coord=2, pos=pos)), [2, *[0] * 6, *padded])
        unread = [-(2.0**31)] * 14
        for wrong in (values[:13], unread, [0.5, *values[1:]], [*values[:4], 2.0**31, *values[5:]], [float("nan"), *values[1:]]):
            self.assertEqual((kyt.position_from_values(wrong, read), read), (kyt.PARAM_ERR, position))

    def test_io_records_can_be_read_back(self):
        robot, safe, control, point = self.robot, filled(kyt.SafeIO()), kyt.RemoteControl(), kyt.RemoteProgram()
        safe.quickStopTime, point.port, point.value = 99.5, 3, 1
        for port, field in enumerate(each for each in control.__match_args__ if each.endswith("Port")):
            setattr(control, field, port + 4)
        control.startValue = 1
        points, read, boards = [point] * 10, kyt.VectorRemoteProgram(), kyt.IOtype()
        safe_read, control_read, enable, value = kyt.SafeIO(), kyt.RemoteControl(), kyt.VectorInt(), kyt.VectorInt()
        self.assertEqual(kyt.set_safe_IO_function(robot, 2, safe), 0)
        self.assertEqual((kyt.get_safe_IO_function(robot, 2, safe_read), safe_read), (0, safe))
        self.assertEqual(kyt.set_remote_function(robot, 2, control, points, 10), 0)
        self.assertEqual(kyt.get_remote_function(robot, 2, 0, 0, control_read, read)[:2], [0, 10])
        control_read.program = []
        self.assertEqual((control_read, read), (control, points))
        self.assertEqual(kyt.set_remote_status_tips(robot, 2, 5, 1, points), 0)
        self.assertEqual((kyt.get_remote_status_tips(robot, 2, 0, 0, 0, read), read), ([0, 10, 5, 1], points))
        self.assertEqual(kyt.set_remote_param(robot, 2, 40, True, 9, 3, 10), 0)
        self.assertEqual(kyt.get_remote_param(robot, 2, 0, False, 0, 0, 0), [0, 40, True, 9, 3, 10])
        self.assertEqual(kyt.set_hard_enable_port(robot, 1, 5, 6), 0)
        self.assertEqual(kyt.get_hard_enable_port(robot, 0, 0, 0), [0, 1, 5, 6])
        self.assertEqual(kyt.set_hard_enable_port(robot, 0, 5, 6), 0)  # nobody holds the switch for the other tests
        self.assertEqual(kyt.set_IO_reset_function(robot, 1, 2, [1, 0, 1], [0, 0, 1]), 0)
        self.assertEqual(kyt.get_IO_reset_function(robot, 1, 2, enable, value), 0)
        self.assertEqual((enable[:4], value[:4]), ([1, 0, 1, 0], [0, 0, 1, 0]))
        self.assertEqual((kyt.get_io_type(robot, boards), len(boards.type)), (0, boards.num))

    def test_jobs_and_queues_take_lines_and_decoders_fill_what_they_are_given(self):
        self.assertEqual((kyt.job_create(self.robot, "PART"), kyt.job_open(self.robot, "PART")), (0, 0))
        self.assertEqual(kyt.job_insert_moveJ(self.robot, 1, self.move), 0)
        self.assertEqual(kyt.job_get_current_file(self.robot, ""), [0, "PART"])
        status, kind, content = kyt.job_get_command_content_by_line(self.robot, 1, 0, "")
        self.assertEqual((status, kind, json.loads(content)["velocity"]), (0, kyt.CmdType_MoveJ, 50))
        conditions = [[kyt.Condition()], (kyt.Condition(), kyt.Condition())]
        self.assertEqual(kyt.queue_motion_push_back_if(self.robot, conditions, [1], [[], (1,)]), 0)
        self.assertEqual(kyt.queue_motion_push_back_TOFFSETOFF(self.robot), 0)
        self.assertEqual(kyt.queue_motion_size(self.robot, 0), [0, 2])
        seen, position = kyt.VisionCalibrationData(), kyt.VectorDouble()
        text = '{"visionNum": 4, "calibration": {"point_num": 1, "point": [{"pixel_pos": [1, 2]}]}}'
        self.assertEqual((kyt.parse_get_vision_calibrate_data(text, seen), seen.visionNum), (0, 4))
        self.assertEqual(seen.calibration.point[0].pixelPos, [1, 2])
        text = '{"position": [6, 5, 4, 3, 2, 1], "location_type": 8, "mech_id": 9}'
        self.assertEqual((kyt.parse_get_user_coordPara(text, position, 0, 0), position[0]), ([0, 8, 9], 6))

    def test_a_job_runs_is_paused_goes_on_is_stopped_and_stepped(self):
        def reaches(state):
            while kyt.get_robot_running_state(self.robot, 0) != [0, state]:
                self.assertEqual(kyt.get_connection_status(self.robot), 0)

        slow = kyt.MoveCmd(targetPosValue=[-90, 0, 0, 0, 0, 0, 0], velocity=1, acc=50, dec=50)
        self.assertEqual((kyt.set_servo_poweron(self.robot), kyt.job_create(self.robot, "RUN")), (0, 0))
        self.assertEqual((kyt.job_open(self.robot, "RUN"), kyt.job_insert_moveJ(self.robot, 1, slow)), (0, 0))
        for call, state in [(kyt.job_run, 2), (kyt.job_pause, 1), (kyt.job_continue, 2), (kyt.job_stop, 0)]:
            self.assertEqual(call(self.robot, *(["RUN"] if call is kyt.job_run else [])), 0)
            reaches(state)
        self.assertEqual(kyt.job_step(self.robot, "RUN", 1), 0)
        reaches(2)
        self.assertEqual(kyt.job_stop(self.robot), 0)
        reaches(0)
