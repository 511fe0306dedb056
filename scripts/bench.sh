#!/usr/bin/env bash
# Builds the release preset, and prints the library's speed beside raw sockets': scripts/bench.sh [TOPIC...]
# Topics: query sets receive crc callbacks connections; all of them when none is named, about a minute.
# A missed target is printed and is no error: the machine may be busy.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh release kyt_host_bench
exec build/release/bin/kyt_host_bench "$@"
