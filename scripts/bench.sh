#!/usr/bin/env bash
# Builds the release preset, and prints the library's speed beside raw sockets': scripts/bench.sh [TOPIC...]
# Topics: query polling files lines sets receive crc callbacks connections controllers python; all of them when none is
# named, about three minutes.
# A missed target is printed and is no error: the machine may be busy.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh bench
scripts/build.sh release kyt_host_bench kyt_host_bench_python _kyt_host virtual_controller_program

topics=()
for topic in "$@"; do
  [[ $topic == python ]] || topics+=("$topic")
done
if (($# == 0 || ${#topics[@]} > 0)); then
  build/release/bin/kyt_host_bench "${topics[@]}"
fi
if (($# == 0 || ${#topics[@]} < $#)); then
  PYTHONPATH=build/release/python:python VIRTUAL_CONTROLLER=build/release/bin/virtual_controller \
    python3 -B benchmarks/python.py build/release/python/libkyt_host_bench_python.so
fi
