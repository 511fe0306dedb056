"""Carries parts to their place for as long as parts come: pick_and_place.py [HOST[:PORT]]"""

import sys

import kyt_host as kyt

PICK, PLACE = kyt.Pose(500, 200, 300, 180), kyt.Pose(500, -200, 300, 180)  # mm and degrees: the tool points down
PART, GRIPPER = 1, 1  # an input, an output


def visit(place, grip):
    robot.move_to(place.shifted(z=100), speed=40).wait()
    robot.move_linear(place, speed=150).wait()
    controller.outputs[GRIPPER] = grip
    robot.move_linear(place.shifted(z=100), speed=150).wait()


def recover(trouble):
    """A cut line does not stop the robot, and it may go on. After anything else somebody has to have looked."""
    controller.wait_connected(timeout=60)
    if not isinstance(trouble, kyt.Unreachable) or robot.servo_state != kyt.ServoState.RUNNING:
        if input(f"stopped: {trouble}\nis the cell clear? y goes on, anything else ends\n") != "y":
            raise trouble
        robot.clear()
        robot.power_on()
    robot.move_linear(robot.pose().shifted(z=100), speed=50).wait()


try:
    with kyt.connect(sys.argv[1] if sys.argv[1:] else "127.0.0.1", heartbeat=1) as controller:
        controller.on_lost(lambda: print("the line is cut"))
        controller.on_restored(lambda: print("the line is back"))
        robot = controller.robot()
        robot.power_on()
        while True:
            try:
                if not controller.outputs[GRIPPER]:  # it may hold a part still
                    controller.inputs[PART].wait_for(True, timeout=5)
                    visit(PICK, grip=True)
                visit(PLACE, grip=False)
                print("a part is in its place")
            except (kyt.Unreachable, kyt.Refused, kyt.MotionFailed) as error:
                recover(error)
except kyt.Error as error:
    sys.exit(f"ended: {error}")
