#!/usr/bin/env bash
# Uses the library without rest, with faults of the line, and fails when it grows: scripts/soak.sh HOURS [BYTES]
# Fractions of an hour will do. What was measured goes into build/soak, as a table and as a picture: soak.csv, soak.svg.
# With BYTES the program keeps as many of each connection, so that it has to fail: scripts/soak.sh 0.02 100
set -euo pipefail
cd "$(dirname "$0")/.."
if [[ ! ${1:-} =~ ^[0-9]*\.?[0-9]+$ || ! ${2:-0} =~ ^[0-9]+$ ]]; then
  echo "usage: scripts/soak.sh HOURS [BYTES]" >&2
  exit 2
fi
scripts/setup.sh
scripts/build.sh release soak virtual_controller_program
mkdir -p build/soak
PYTHONPATH=python VIRTUAL_CONTROLLER=$PWD/build/release/bin/virtual_controller \
  exec scripts/soak.py "$1" build/release/bin/soak build/soak "${@:2:1}"
