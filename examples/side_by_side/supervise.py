"""Tells what changes at many controllers, until Ctrl-C: supervise.py HOST[:PORT]..."""

import asyncio
import logging
import sys

import kyt_host as kyt


def look(controller):
    robot = controller.robot()
    alarms = "".join(f", {alarm.text}" for alarm in controller.alarms)
    return f"servo {robot.servo_state.name.lower()}, {robot.running_state.name.lower()}{alarms}"


async def supervise(address):
    controller, seen = None, ""
    while True:
        try:
            controller = controller or await kyt.in_background(kyt.connect, address)
            news = await kyt.in_background(look, controller)
        except kyt.Error as error:
            news = error.reason
        if news != seen:
            print(f"{address}: {news}", flush=True)
        seen = news
        await asyncio.sleep(0.2)


async def supervise_all(addresses):
    await asyncio.gather(*map(supervise, addresses))


logging.getLogger("kyt_host").addHandler(logging.NullHandler())  # it is told here
try:
    asyncio.run(supervise_all(sys.argv[1:]))
except KeyboardInterrupt:
    print("supervised no longer")
