"""What somebody does first who has installed kyt_host for Python: a virtual controller, a move, and a look by kyt."""

import importlib.metadata
import subprocess

import kyt_host as kyt
from kyt_host_testing import VirtualController

with VirtualController() as virtual, kyt.connect(virtual.host, virtual.port) as controller:
    robot = controller.robot(1)
    robot.power_on()
    robot.move_joints([20, 10, 0, 0, 0, 0], speed=80).wait(30)
    shown = subprocess.run(["kyt", "status", f"{virtual.host}:{virtual.port}", "--json"], stdout=subprocess.PIPE, check=True)
    assert b"[20.0,10.0," in shown.stdout.replace(b"20,10,", b"20.0,10.0,"), shown.stdout
version = importlib.metadata.version("kyt_host")
assert subprocess.run(["kyt", "--version"], stdout=subprocess.PIPE, check=True).stdout.startswith(version.encode())
print(f"kyt_host {version} has moved a robot, and kyt has seen it")
