#!/usr/bin/env bash
# What somebody does who has our packages and nothing else of ours; scripts/test_packages.sh runs it in a root of its own.
set -euo pipefail
cd "$(dirname "$0")"
examples=/usr/share/doc/libkyt-host-dev/examples
export CMAKE_BUILD_PARALLEL_LEVEL=2

# ours: whatever is in the root that bears our names.
ours() {
  find / -xdev \( -path /project -o -path /tmp -o -path /proc -o -path /sys -o -path /var/lib/apt -o -path /var/cache \) -prune \
    -o \( -name '*kyt*' -o -name '*virtual_controller*' \) -print | sort
}

before=$(ours)
apt-get install -y --no-install-recommends ./*.deb
echo "in_root: installed $(dpkg-query -W -f '${Package} ' '*kyt*')"

cmake -S "$examples" -B /tmp/examples
cmake --build /tmp/examples
echo "in_root: the examples build as they lie"
cmake -S project -B /tmp/consumer -DWITH_VIRTUAL_CONTROLLER=ON
cmake --build /tmp/consumer
/tmp/consumer/consumer
/tmp/consumer/in_process
# shellcheck disable=SC2046  # the flags are words
g++ -std=c++17 project/main.cpp -o /tmp/by_pkg_config $(pkg-config --cflags --libs kyt_host)
/tmp/by_pkg_config
echo "in_root: programs build with CMake and with pkg-config"

ln -s "$examples" examples
scripts/demo.sh /tmp/examples/bin
echo "in_root: the demo's sessions went through"
python3 -W error - <<'END'
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
print(f"in_root: kyt_host {importlib.metadata.version('kyt_host')} has moved a robot, and kyt has seen it")
END
kyt sim --help
kyt completion bash | cmp - /usr/share/bash-completion/completions/kyt

apt-get purge -y 'libkyt-host*' 'kyt-*' python3-kyt-host
left=$(ours)
if [[ $left != "$before" ]]; then
  printf 'left behind:\n%s\n' "$left" >&2
  exit 1
fi
echo "in_root: nothing is left behind"
