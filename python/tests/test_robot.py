"""A robot that is told what to do from Python: what it does, and what it keeps."""

import os
import tempfile
import unittest
from pathlib import Path

import _kyt_host as kyt
from support import start_controller

HOST = f"127.6.{os.getpid() // 200 % 200}.{1 + os.getpid() % 200}"  # files go over a port that is not ours to choose


def filled(record):
    """Gives every field a value of its own."""
    for number, field in enumerate(record.__match_args__, 1):
        setattr(record, field, type(getattr(record, field))(number))
    return record


class Robot(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        options = "--time-scale", "10", "--servo-delay", "0", "--host", HOST, "--file-port", "5000"
        _, cls.robot = start_controller(cls.addClassCleanup, "0", *options)
        cls.move = kyt.MoveCmd()
        cls.move.targetPosValue, cls.move.velocity, cls.move.acc, cls.move.dec = [10, -10, 20, 0, 30, 0, 0], 50, 50, 50

    def test_it_moves(self):
        where = kyt.VectorDouble()
        self.assertEqual((kyt.set_servo_poweron(self.robot), kyt.robot_movej(self.robot, self.move)), (0, 0))
        while kyt.get_robot_running_state(self.robot, 0) != [0, 0]:
            self.assertEqual(kyt.get_current_position(self.robot, 0, where), 0)
        self.assertEqual(kyt.get_current_position(self.robot, 0, where), 0)
        self.assertEqual([round(each, 6) for each in where], self.move.targetPosValue)

    def test_what_is_set_can_be_read_back(self):
        alarm, program, position = kyt.AlarmdIO(), kyt.RemoteProgramSetting(), (1, 0, 2, 3, 4, 0, 0, *range(7))
        alarm.msg, alarm.enable, program.job, program.times = "Tür offen", 1, "PART", 3
        for to_set, to_get, key, value, box in [
            (kyt.set_tool_hand_param, kyt.get_tool_hand_param, [2], filled(kyt.ToolParam()), kyt.ToolParam()),
            (kyt.weld_set_config, kyt.weld_get_config, [1], filled(kyt.ArcParam()), kyt.ArcParam()),
            (kyt.set_global_position, kyt.get_global_position, ["GP0001"], position, kyt.VectorDouble()),
            (kyt.set_error_msg_of_digital_output, kyt.get_error_msg_of_digital_output, [], [alarm], kyt.VectorAlarmdIO()),
            (kyt.set_IO_reset_function, kyt.get_IO_reset_function, [1, 2, [1, 1]], [0, 1], kyt.VectorInt()),
        ]:
            with self.subTest(function=to_set.__name__):
                self.assertEqual(to_set(self.robot, *key, value), 0)
                boxes = [kyt.VectorInt() if isinstance(each, list) else each for each in key]
                self.assertEqual(to_get(self.robot, *boxes, box), 0)
                self.assertEqual(list(box)[: len(value)] if hasattr(box, "size") else box, value)
        number, outputs, programs = kyt.DoubleRef(), kyt.VectorInt(), kyt.VectorRemoteProgramSetting()
        self.assertEqual(kyt.set_global_variant(self.robot, "GD001", 2.5), 0)
        self.assertEqual((kyt.get_global_variant(self.robot, "GD001", number), number.value), (0, 2.5))
        self.assertEqual((kyt.set_digital_output(self.robot, 3, 1), kyt.get_digital_output(self.robot, outputs)), (0, 0))
        self.assertEqual(outputs[:4], [0, 0, 1, 0])
        self.assertEqual(kyt.set_remote_program(self.robot, 1, [program] * 10), 0)
        self.assertEqual((kyt.get_remote_program(self.robot, 1, 0, programs), programs), ([0, 10], [program] * 10))

    def test_jobs_and_queues_take_lines_and_decoders_fill_what_they_are_given(self):
        self.assertEqual((kyt.job_create(self.robot, "PART"), kyt.job_open(self.robot, "PART")), (0, 0))
        self.assertEqual(kyt.job_get_current_file(self.robot, ""), [0, "PART"])
        self.assertEqual(kyt.job_insert_moveJ(self.robot, 1, self.move), 0)
        self.assertEqual(kyt.job_get_command_total_lines(self.robot, 0), [0, 1])
        status, kind, content = kyt.job_get_command_content_by_line(self.robot, 1, 0, "")
        self.assertEqual((status, kind, content[:4]), (0, kyt.CmdType_MoveJ, "MOVJ"))
        conditions = [[kyt.Condition()], (kyt.Condition(), kyt.Condition())]
        self.assertEqual(kyt.queue_motion_push_back_moveJ(self.robot, self.move), 0)
        self.assertEqual(kyt.queue_motion_push_back_if(self.robot, conditions, [1], [[], (1,)]), 0)
        self.assertEqual(kyt.queue_motion_push_back_TOFFSETOFF(self.robot), 0)
        self.assertEqual(kyt.queue_motion_size(self.robot, 0), [0, 3])
        seen, position = kyt.VisionCalibrationData(), kyt.VectorDouble()
        text = '{"visionNum": 4, "calibration": {"calibrated": true, "pointNum": 1, "point": [{"pixelPos": [1, 2]}]}}'
        self.assertEqual((kyt.parse_get_vision_calibrate_data(text, seen), seen.visionNum), (0, 4))
        self.assertEqual((seen.calibration.calibrated, seen.calibration.point[0].pixelPos), (True, [1, 2]))
        text = '{"pos": [1, 2, 3, 4, 5, 6], "position": [6, 5, 4, 3, 2, 1], "location_type": 8, "mech_id": 9}'
        self.assertEqual((kyt.parse_get_user_coordPara(text, position), position[0]), (0, 1))
        self.assertEqual((kyt.parse_get_user_coordPara(text, position, 0, 0), position[0]), ([0, 8, 9], 6))

    def test_the_progress_of_files_and_what_its_callback_raises(self):
        def progress(name, done, total):
            calls.append((name, done, total))
            if len(calls) > 2:
                raise KeyError(name)

        calls = []
        with tempfile.TemporaryDirectory() as folder:
            Path(folder, "A.JBR").write_bytes(b"0123")
            kyt.set_progress_callback(progress)
            self.assertEqual(kyt.job_upload_by_directory(self.robot, folder), 0)
            self.assertRaises(KeyError, kyt.job_upload_by_directory, self.robot, folder)
            kyt.set_progress_callback(None)
            self.assertEqual(kyt.job_download_by_directory(self.robot, folder), 0)
            self.assertEqual(Path(folder, "R1/A.JBR").read_bytes(), b"0123")
        self.assertEqual(calls[:2], [("job/R1/A.JBR", 0, 4), ("job/R1/A.JBR", 4, 4)])
        self.assertEqual(len(calls), 3)
