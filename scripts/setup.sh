#!/usr/bin/env bash
# Installs the Debian packages that are missing: scripts/setup.sh [GROUP...]
# Besides what building and testing take, by group:
#   checks     static analysis, fuzzing and coverage, and ccache, with which a second build of anything is quick
#   abi        comparing binary interfaces
#   mono       C#, to call the library from there
#   page       the web page of kyt: its server, three.js, and a browser that tests it
#   fleet      kyt bridge and kyt fleet: MQTT and protobuf; a broker and Node for their test
#   docs       the documentation site
#   packages   Debian packages, and wheels that need nothing else
#   wireshark  tshark, with which the dissector is tested
#   bench      other client libraries, to be measured beside ours
set -euo pipefail

packages=(g++ cmake ninja-build pkg-config libasio-dev nlohmann-json3-dev libjsoncpp-dev libcli11-dev libeigen3-dev
  libgtest-dev swig python3-dev python3-venv)
for group in "$@"; do
  case $group in
    checks) packages+=(clang clang-format clang-tidy libclang-rt-14-dev llvm shellcheck mypy ccache python3-coverage) ;;
    docs) packages+=(doxygen python3-sphinx python3-breathe python3-myst-parser furo) ;;
    packages)
      packages+=(debhelper dh-python dpkg-dev lintian mmdebstrap patchelf)
      packages+=(libjs-three libmicrohttpd-dev libmosquitto-dev libprotobuf-dev protobuf-compiler)
      ;;
    mono) packages+=(mono-mcs mono-runtime) ;;
    page) packages+=(libmicrohttpd-dev libjs-three chromium chromium-driver python3-selenium) ;;
    bench) packages+=(libmodbus-dev libhiredis-dev redis-server) ;;
    wireshark) packages+=(tshark) ;;
    fleet)
      packages+=(libmosquitto-dev libprotobuf-dev protobuf-compiler mosquitto openssl)
      command -v npm >/dev/null || packages+=(nodejs npm)
      ;;
    abi) packages+=(abigail-tools xz-utils) ;;
    *)
      echo "setup: no group is called $group" >&2
      exit 1
      ;;
  esac
done

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) || true
  [[ $status == installed ]] || missing+=("$package")
done
((${#missing[@]})) || exit 0

as_root=()
if ((EUID != 0)); then
  if ! command -v sudo >/dev/null; then
    echo "setup: needs root or sudo to install these packages: ${missing[*]}" >&2
    exit 1
  fi
  as_root=(sudo)
fi

echo "setup: installing ${missing[*]}"
"${as_root[@]}" apt-get update -q || echo "setup: going on with the package lists that are there" >&2
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends "${missing[@]}"
