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
said=$(python3 -W error project/session.py)
echo "in_root: $said"
python3 -W error - <<'END'
import subprocess
import urllib.request

command = ["kyt", "sim", "--port=0", "--file-port=0", "--servo-port=0", "--view", "--listen", "127.0.0.1:0"]
with subprocess.Popen(command, stdout=subprocess.PIPE, universal_newlines=True) as kyt:
    try:
        address = next(line for line in kyt.stdout if "the page is at" in line).split()[-1].partition("#")[0]
        for file in ("index.html", "scene.js", "three/build/three.module.js", "three/examples/jsm/controls/OrbitControls.js"):
            with urllib.request.urlopen(address + file) as got, open("/usr/share/kyt_host/view/" + file, "rb") as installed:
                assert got.read() == installed.read(), file
    finally:
        kyt.terminate()
END
kyt bridge check "$examples/plant.toml"
echo "in_root: kyt has its page, and its bridge"
if compgen -G "kyt-host-doc_*.deb"; then # the build profile nodoc has none
  python3 -W error - <<'END'
import os
import re
from pathlib import Path

checked = set()
for page in Path("/usr/share/doc/kyt-host-doc/html").rglob("*.html"):
    for name in re.findall(r'(?:href|src)="([^":#?]+)["#?]', page.read_text()):
        checked.add(os.path.normpath(page.parent / name))
assert not (missing := [each for each in checked if not os.path.exists(each)]), missing
assert len(checked) > 100, checked
print(f"in_root: {len(checked)} files that pages of the documentation refer to are there")
END
fi
kyt completion bash | cmp - /usr/share/bash-completion/completions/kyt

apt-get purge -y 'libkyt-host*' 'kyt-*' python3-kyt-host
left=$(ours)
if [[ $left != "$before" ]]; then
  printf 'left behind:\n%s\n' "$left" >&2
  exit 1
fi
echo "in_root: nothing is left behind"
