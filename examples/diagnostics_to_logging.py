#!/usr/bin/env python3
"""What the library has to say, in the application's own log: diagnostics_to_logging.py HOST PORT"""

import logging
import sys

import _kyt_host as kyt

LEVELS = {
    kyt.DIAGNOSTICS_INFORMATION: logging.INFO,
    kyt.DIAGNOSTICS_WARNING: logging.WARNING,
    kyt.DIAGNOSTICS_ERROR: logging.ERROR,
}
log = logging.getLogger("kyt_host")


def to_logging(level, line):  # on any thread; logging copes with that
    log.log(LEVELS.get(level, logging.ERROR), "%s", line)


if len(sys.argv) != 3:
    sys.exit("usage: diagnostics_to_logging.py HOST PORT")
logging.basicConfig(level=logging.INFO, format="%(asctime)s %(levelname)s %(name)s [%(threadName)s] %(message)s")
kyt.set_diagnostics_handler(to_logging)

robot = kyt.connect_robot(*sys.argv[1:])
if robot < 0:
    sys.exit("not connected: the log says why")
print("connected; the servo state is", kyt.get_servo_state(robot, 0)[1])
kyt.disconnect_robot(robot)
