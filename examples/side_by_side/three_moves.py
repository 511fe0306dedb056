"""Three moves, each when the one before has arrived: three_moves.py [HOST[:PORT]]"""

import sys

import kyt_host as kyt

address = sys.argv[1] if sys.argv[1:] else "127.0.0.1"
try:
    with kyt.connect(address) as controller:
        robot = controller.robot()
        robot.power_on()
        robot.move_joints([0, -10, 30, 0, 30, 0], speed=50).wait()
        above = robot.pose()
        robot.move_linear(above.shifted(z=-100), speed=200).wait()
        robot.move_linear(above, speed=200).wait(timeout=10)
        print(f"down and up again, to Z = {robot.pose().z:.1f} mm")
        robot.power_off()
except kyt.Error as error:
    sys.exit(f"three_moves: {error}")
