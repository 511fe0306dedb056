#!/usr/bin/env bash
# Configures and builds one preset, showing the log only when that fails: scripts/build.sh PRESET [TARGET...]
set -euo pipefail
cd "$(dirname "$0")/.."
preset=$1
log=build/$preset/build.log

echo "building $preset (log: $log) ..."
mkdir -p "${log%/*}"
if ! { cmake --preset "$preset" && cmake --build --preset "$preset" ${2:+--target "${@:2}"}; } >"$log" 2>&1; then
  grep -v '^\[[0-9/]*\] [BL]' "$log" | tail -n 100 >&2
  echo "building $preset failed" >&2
  exit 1
fi
echo "built $preset in $SECONDS s"
