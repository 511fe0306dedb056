"""Tells what changes at many controllers, until Ctrl-C: supervise_flat.py HOST:PORT..."""

import sys
import threading
import time

import _kyt_host as kyt

SERVO = {
    kyt.ServoState_Stop: "stop",
    kyt.ServoState_Ready: "ready",
    kyt.ServoState_Error: "error",
    kyt.ServoState_Running: "running",
}
RUNNING = {
    kyt.RunningState_Stopped: "stopped",
    kyt.RunningState_Paused: "paused",
    kyt.RunningState_Running: "running",
}
addresses, seen = {}, {}  # by handle; callbacks of one connection come one after the other


def say(address, news):
    sys.stdout.write(f"{address}: {news}\n")  # in one piece: other connections have threads of their own
    sys.stdout.flush()


def tell(robot, news):
    if seen.get(robot) != news:
        say(addresses[robot], news)
    seen[robot] = news


def on_state(robot, text):
    report = kyt.RobotStateReport()
    if kyt.parse_robot_state(text, report) == kyt.SUCCESS and report.robot == 1:
        servo, running = SERVO.get(report.servoState, "?"), RUNNING.get(report.runningState, "?")
        tell(robot, f"servo {servo}, {running}")


def on_message(robot, kind, text, code):
    say(addresses[robot], text)


def on_lost(robot):
    tell(robot, "not connected")


def supervise(address):
    host, _, port = address.rpartition(":")
    robot = kyt.connect_robot(host, port)
    if robot < 0:
        say(address, "not connected")
    while robot < 0:
        time.sleep(1)
        robot = kyt.connect_robot(host, port)
    addresses[robot] = address
    kyt.set_reconnect(robot, True)
    kyt.set_reconnect_interval(robot, 1000)
    kyt.set_connection_lost_callback(robot, on_lost)
    kyt.set_message_callback(robot, on_message)
    kyt.set_state_callback(robot, on_state)


kyt.set_diagnostics_handler(lambda level, line: None)  # it is told here
for each in sys.argv[1:]:  # one that is switched off delays nobody
    threading.Thread(target=supervise, args=[each], daemon=True).start()
try:
    threading.Event().wait()
except KeyboardInterrupt:
    print("supervised no longer")
