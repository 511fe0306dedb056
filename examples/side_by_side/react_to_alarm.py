"""Moves to and fro until an alarm comes, of whichever robot: react_to_alarm.py LOGFILE [HOST[:PORT]]"""

import itertools
import logging
import sys
import threading

import kyt_host as kyt

LAMP = 3  # an output
logging.basicConfig(filename=sys.argv[1], format="%(asctime)s %(message)s")  # alarms go there by themselves
alarmed, handled = threading.Event(), threading.Event()


def react(alarm):
    """On a thread of the connection, while the robot moves."""
    alarmed.set()
    try:
        robot.stop()
    finally:
        controller.outputs[LAMP] = True
        handled.set()
        print(f"alarm {alarm.code} of robot {alarm.robot}: {alarm.text}")


try:
    with kyt.connect(sys.argv[2] if sys.argv[2:] else "127.0.0.1") as controller:
        robot = controller.robot()
        controller.on_alarm(react)
        robot.power_on()
        try:
            for side in itertools.cycle((30, -30)):
                motion = robot.move_joints([side], speed=10)
                if alarmed.is_set():  # it came between two moves, and there was nothing to stop
                    robot.stop()
                motion.wait()
        except (kyt.MotionFailed, kyt.Refused) as error:
            handled.wait(timeout=5)
            print(f"the robot stands, the lamp is on: {error}")
except kyt.Error as error:
    sys.exit(f"react_to_alarm: {error}")
