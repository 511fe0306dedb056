#!/usr/bin/env python3
"""A first session with a controller: first_session.py HOST PORT

Twice it waits for something to happen at the controller: an error, and a restart. scripts/demo.sh makes both happen.
"""

import sys
import threading

import _kyt_host as kyt

error_cleared = threading.Event()
reconnected = threading.Event()


def expect(done, step):
    """Ends the session when a step did not do what it should."""
    if not done:
        sys.exit(f"first_session: failed: {step}")


def expect_success(status, step):
    expect(status == kyt.SUCCESS, f"{step} (status {status})")


# Callbacks may call any operation, on their own connection too. What they raise is lost. No reference to them is kept:
# as functions of the module these live as long as they are needed.
def on_error_or_warning(kind, text, code):
    print(f"   callback: kind {kind}, code {code}: {text}")
    status, state = kyt.get_servo_state(robot, 0)
    cleared = kyt.clear_error(robot)
    if (status, cleared) == (kyt.SUCCESS, kyt.SUCCESS):
        print(f"   callback: the servo state was {state}; the error is cleared")
        error_cleared.set()


def on_reconnected():
    reconnected.set()


def power_on():
    expect_success(kyt.set_servo_poweron(robot), "servo power on")
    status, state = kyt.get_servo_state(robot, 0)  # in place of each int& a value goes in, and the new one comes back
    expect_success(status, "reading the servo state")
    print(f"servo power on, the servo state is {state}")


if len(sys.argv) != 3:
    sys.exit("usage: first_session.py HOST PORT")
host, port = sys.argv[1:]
print(f"kyt_host {kyt.get_library_version()} for Python")

robot = kyt.connect_robot(host, port)
expect(robot > 0, f"connecting to {host}:{port}")
print(f"connected to {host}:{port}, the handle is {robot}")

expect_success(
    kyt.set_receive_error_or_warnning_message_callback(robot, on_error_or_warning), "installing the callback"
)
expect_success(kyt.set_reconnect_callback(robot, on_reconnected), "installing the reconnection callback")
expect_success(kyt.set_reconnect(robot, True), "switching reconnection on")
print("callbacks installed, reconnection on")

status, identity = kyt.get_controller_id(robot, "")
expect_success(status, "reading the controller's identity")
print(f"the controller is {identity}")

power_on()

status, mode = kyt.get_current_mode(robot, 0)
expect_success(status, "reading the mode")
expect_success(kyt.set_speed(robot, 30), "setting the speed")
status, speed = kyt.get_speed(robot, 0)
expect_success(status, "reading the speed")
joints = kyt.VectorDouble()  # lists, records and double& are filled in place
expect_success(kyt.get_current_position(robot, 0, joints), "reading the position")
print(f"mode {mode}, speed set and read back: {speed} %")
print("joints in degrees:", *(f"{joint:.6f}" for joint in joints))

print("waiting for an error from the controller ...")
expect(error_cleared.wait(10), "an error from the controller")
kyt.delay(200)
status, state = kyt.get_servo_state(robot, 0)
expect_success(status, "reading the servo state")
print(f"after the error the servo state is {state}")
power_on()

print("waiting for the controller to restart ...")
expect(reconnected.wait(20), "the controller's restart")
print(f"the library has reconnected; the handle is still {robot}")

power_on()
expect_success(kyt.set_servo_poweroff(robot), "servo power off")
status, state = kyt.get_servo_state(robot, 0)
expect_success(status, "reading the servo state")
print(f"servo power off, the servo state is {state}")

expect_success(kyt.disconnect_robot(robot), "disconnecting")
expect(kyt.get_connection_status(robot) == kyt.DISCONNECT, "the handle is free again")
print("disconnected")
