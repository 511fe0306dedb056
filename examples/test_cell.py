"""An application and its tests, which need no robot: python3 -m unittest examples/test_cell.py"""

import tempfile
import unittest
from pathlib import Path

from kyt_host_testing import VirtualController

import kyt_host as kyt

PART = 7  # an input


def store_program(controller, folder):
    """Writes the job SORT, runs it once, and keeps a copy of it on this PC."""
    program = controller.program("SORT")
    program.move_joints([20, -10, 30, 0, 30, 0], speed=80)
    with program.if_(controller.inputs[PART] == 1):
        program.set_output(5)
    program.upload()
    controller.robot().run("SORT").wait(timeout=30)
    controller.files.get("SORT", folder)


class Cell(unittest.TestCase):
    def setUp(self):
        # Files travel over port 5000 always: on an address of its own nobody else has it.
        self.virtual = VirtualController("--host", "127.0.60.1", "--file-port", "5000", "--time-scale", "10")
        self.addCleanup(self.virtual.stop)
        self.controller = kyt.connect(self.virtual.host, self.virtual.port)
        self.addCleanup(self.controller.disconnect)
        self.robot = self.controller.robot()
        self.robot.power_on()

    def test_a_part_that_is_there_is_told(self):
        self.virtual.set_input(PART, 1)
        with tempfile.TemporaryDirectory() as folder:
            store_program(self.controller, folder)
            self.assertTrue(Path(folder, "SORT.JBR").exists())
        self.assertIn("SORT", self.controller.files.jobs())
        self.assertTrue(self.controller.outputs[5])

    def test_an_emergency_stop_ends_the_wait(self):
        motion = self.robot.move_joints([90], speed=1)
        self.virtual.emergency_stop()
        with self.assertRaises(kyt.MotionFailed):
            motion.wait(timeout=30)
        self.assertNotEqual(self.controller.alarms, [])

    def test_a_cut_line_is_mended(self):
        self.virtual.cut()
        with self.assertRaises(kyt.Unreachable):
            while True:
                self.robot.joints()
        self.virtual.restore()
        self.controller.wait_connected(timeout=30)
        self.assertEqual(len(self.robot.joints()), 7)


if __name__ == "__main__":
    unittest.main()
