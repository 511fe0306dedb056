"""Carries parts to their place for as long as parts come: pick_and_place_flat.py [HOST PORT]"""

import sys
import time

import _kyt_host as kyt

PICK, PLACE = [500, 200, 300, 180, 0, 0, 0], [500, -200, 300, 180, 0, 0, 0]  # mm and degrees: the tool points down
PART, GRIPPER = 1, 1  # an input, an output
BASE = kyt.CoordinateSystem_Base


class Trouble(Exception):
    def __init__(self, step, status, reason=""):
        super().__init__(f"{step}: {reason or kyt.status_text(status)}")
        self.status = status


def check(step, status, reason=""):
    if status != kyt.SUCCESS:
        raise Trouble(step, status, reason)


def command(step, send, *arguments):
    """Its status only says that it was sent: the controller is asked whether it has got it, and not refused it."""
    _, number = kyt.get_messages(robot, -1, [])
    refusals = []
    check(step, send(robot, *arguments))
    check(step, kyt.find_refusals(robot, number, refusals)[0])
    if refusals:
        raise Trouble(step, kyt.OPERATION_NOT_ALLOWED, refusals[0].text)


def again_while_cut(step, ask):
    """Asks what changes nothing, and goes on doing so while the line is being restored."""
    silent = 0
    while True:
        status = ask()
        silent = silent + 1 if status == kyt.RECEIVE_FAILED else 0
        if status == kyt.DISCONNECT or (status == kyt.RECEIVE_FAILED and silent < 2):
            time.sleep(0.02)
            continue
        check(step, status)
        return


def travel(step, send, target, speed):
    """Moves, and waits until the robot stands there."""
    watch = kyt.MotionWatch(coord=BASE, target=target)
    check(step, kyt.begin_motion_watch(robot, watch))
    command(step, send, kyt.MoveCmd(targetPosValue=target, coord=BASE, velocity=speed, acc=50, dec=50))
    while watch.state < kyt.MotionState_Done:
        time.sleep(0.02)
        again_while_cut(step, lambda: kyt.look_at_motion(robot, watch))
    if watch.state == kyt.MotionState_Failed:  # an alarm has come, or it has ended elsewhere
        raise Trouble(step, kyt.OPERATION_NOT_ALLOWED, watch.reason)


def raised(position, by=100):
    return [*position[:2], position[2] + by, *position[3:]]


def wait_for_part(timeout):
    inputs, end = [], time.monotonic() + timeout
    while True:
        again_while_cut("the inputs", lambda: kyt.get_digital_input(robot, inputs))
        if inputs[PART - 1]:
            return
        if time.monotonic() > end:
            raise Trouble("no part", kyt.TIMEOUT, f"not within {timeout} s")
        time.sleep(0.02)


def visit(place, grip):
    travel("above", kyt.robot_movej, raised(place), 40)
    travel("down", kyt.robot_movel, place, 150)
    command("gripper", kyt.set_digital_output, GRIPPER, grip)
    travel("up", kyt.robot_movel, raised(place), 150)


def recover(trouble):
    """A cut line does not stop the robot, and it may go on. After anything else somebody has to have looked."""
    end = time.monotonic() + 60
    while kyt.get_connection_status(robot) != kyt.SUCCESS:
        if time.monotonic() > end:
            raise Trouble("line", kyt.TIMEOUT, "not restored within 60 s")
        time.sleep(0.02)
    status, servo = kyt.get_servo_state(robot, 0)
    check("servo state", status)
    if trouble.status not in (kyt.DISCONNECT, kyt.RECEIVE_FAILED) or servo != kyt.ServoState_Running:
        if input(f"stopped: {trouble}\nis the cell clear? y goes on, anything else ends\n") != "y":
            raise trouble
        command("clearing", kyt.clear_error)
        command("servo power on", kyt.set_servo_poweron)
    position = []
    check("position", kyt.get_current_position(robot, BASE, position))
    travel("up", kyt.robot_movel, raised(position), 50)


def say_lost(_):
    print("the line is cut")


def say_restored(_):
    print("the line is back")


robot = kyt.connect_robot(*(sys.argv[1:] or ("127.0.0.1", "6001")))
if robot < 0:
    sys.exit(1)  # the library has said why
kyt.set_reconnect(robot, True)
kyt.set_reconnect_interval(robot, 1000)
kyt.set_heartbeat(robot, 1000, 3)
kyt.set_fresh_replies(robot, True)
kyt.set_connection_lost_callback(robot, say_lost)
kyt.set_connection_restored_callback(robot, say_restored)
try:
    command("servo power on", kyt.set_servo_poweron)
    while True:
        try:
            outputs = []
            check("the outputs", kyt.get_digital_output(robot, outputs))
            if not outputs[GRIPPER - 1]:  # it may hold a part still
                wait_for_part(timeout=5)
                visit(PICK, grip=1)
            visit(PLACE, grip=0)
            print("a part is in its place")
        except Trouble as trouble:
            if trouble.status == kyt.TIMEOUT:
                raise
            recover(trouble)
except Trouble as trouble:
    sys.exit(f"ended: {trouble}")
finally:
    kyt.disconnect_robot(robot)
