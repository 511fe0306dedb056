"""Draws a rose of eight petals in the air, 1000 points: follow_a_rose.py [HOST[:PORT]]"""

import sys
from math import cos, pi, sin

import kyt_host as kyt

POINTS, RADIUS = 1000, 100  # mm


def rose(centre):
    for angle in (2 * pi * i / POINTS for i in range(1, POINTS + 1)):
        reach = RADIUS * sin(4 * angle)
        yield centre.shifted(reach * cos(angle), reach * sin(angle))


def tell(done):
    print(f"\r{done:4} of {POINTS} points", end="", flush=True)


try:
    with kyt.connect(sys.argv[1] if sys.argv[1:] else "127.0.0.1") as controller:
        robot = controller.robot()
        robot.power_on()
        centre = kyt.Pose(600, 0, 400, 180)  # the tool points down
        robot.move_to(centre, speed=40).wait()
        robot.follow(rose(centre), speed=250, smoothing=3, progress=tell)
        print(f"\nthe robot stands {robot.pose().distance_to(centre):.1f} mm from the centre")
        robot.power_off()
except kyt.Error as error:
    sys.exit(f"follow_a_rose: {error}")
