#!/usr/bin/env python3
"""What a bridge costs: benchmarks/fleet.py BUILD NODE_MODULES [CONTROLLERS] [MOVING] [SECONDS]

Virtual controllers, broker, bridge and a subscriber on this PC: CPU of each, by what /proc tells, memory of the bridge,
messages and how old values are when they arrive. NODE_MODULES is a folder with sparkplug-payload and mqtt, as the test of
the bridge installs it.
"""

import json
import os
import socket
import subprocess
import sys
import tempfile
import time
from pathlib import Path

TICKS = os.sysconf("SC_CLK_TCK")


def cpu(path: Path) -> float:
    """Seconds of user and system time so far."""
    fields = (path / "stat").read_text().rsplit(") ", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / TICKS


def threads(process: int) -> "dict[str, float]":
    """The seconds of a process by the names of its threads."""
    seconds: "dict[str, float]" = {}
    for task in Path(f"/proc/{process}/task").iterdir():
        name = (task / "comm").read_text().strip()
        seconds[name] = seconds.get(name, 0) + cpu(task)
    return seconds


def memory(process: int) -> float:
    """MB that are resident."""
    for line in Path(f"/proc/{process}/status").read_text().splitlines():
        if line.startswith("VmRSS"):
            return int(line.split()[1]) / 1024
    return 0


def main() -> None:
    build, modules = Path(sys.argv[1]), sys.argv[2]
    count, moving, seconds = (int(word) for word in (sys.argv[3:] + ["500", "50", "30"][len(sys.argv) - 3 :]))
    with tempfile.TemporaryDirectory() as name, socket.socket() as free:
        folder = Path(name)
        free.bind(("127.0.0.1", 0))
        port = free.getsockname()[1]
        free.close()
        (folder / "mosquitto.conf").write_text(f"listener {port} 127.0.0.1\nallow_anonymous true\n")
        quiet = subprocess.DEVNULL
        broker = subprocess.Popen(["mosquitto", "-c", str(folder / "mosquitto.conf")], stdout=quiet, stderr=quiet)
        plant = subprocess.Popen(
            [build / "bin" / "fleet_plant", str(count), str(moving)], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True
        )
        assert plant.stdout is not None
        ports = []
        for line in plant.stdout:
            if line == "ready\n":
                break
            ports.append(line.strip())
        lines = [f'broker = "mqtt://127.0.0.1:{port}"\ngroup = "plant"\nnode = "hall"']
        lines += [f'[controllers.c{number}]\nhost = "127.0.0.1"\nport = {each}' for number, each in enumerate(ports)]
        (folder / "plant.toml").write_text("\n".join(lines) + "\n")
        bridge = subprocess.Popen([build / "bin" / "kyt", "bridge", str(folder / "plant.toml")], stderr=quiet)
        time.sleep(20)
        before, cpus = threads(bridge.pid), {each.pid: cpu(Path(f"/proc/{each.pid}")) for each in (broker, plant, bridge)}
        at_first, began = memory(bridge.pid), time.monotonic()
        subscriber = subprocess.Popen(
            ["node", str(Path(__file__).with_suffix(".js")), f"mqtt://127.0.0.1:{port}", str(seconds)],
            stdout=subprocess.PIPE,
            text=True,
            env={**os.environ, "NODE_PATH": modules},
        )
        sizes = [at_first]
        while subscriber.poll() is None:
            time.sleep(0.1)
            if time.monotonic() > began + 60 * len(sizes):
                sizes.append(memory(bridge.pid))
        spent = {each.pid: cpu(Path(f"/proc/{each.pid}")) - cpus[each.pid] for each in (broker, plant, bridge)}
        after = threads(bridge.pid)
        print(f"{count} controllers, {moving} of them moving, {seconds} s")
        for key, value in json.loads(subscriber.communicate()[0]).items():
            print(f"  {key:12} {value:8.1f}")
        for what, process in {"bridge": bridge, "broker": broker, "controllers": plant}.items():
            print(f"  CPU of the {what}: {spent[process.pid] / seconds * 100:.1f} % of a core")
        for thread in sorted(after):
            used = (after[thread] - before.get(thread, 0)) / seconds * 100
            if used >= 0.05:
                print(f"    its threads {thread}: {used:.1f} %")
        sizes.append(memory(bridge.pid))
        print("  memory of the bridge, MB, minute by minute:", *(f"{size:.1f}" for size in sizes))
        print(f"  threads of the bridge: {len(os.listdir(f'/proc/{bridge.pid}/task'))}")
        for process in (bridge, plant, broker):
            process.terminate()
            process.wait()


if __name__ == "__main__":
    main()
