#!/usr/bin/env bash
# Which lines and branches of library, layers, tool and virtual controller the tests reach: scripts/coverage.sh [--raise]
# Fails when a room is below its floor in tests/coverage.json; --raise lifts the floors to what is reached now.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh checks
build=build/coverage
rm -rf "$build/profiles"
scripts/build.sh coverage
ctest --preset coverage
llvm-profdata merge -sparse "$build"/profiles/*.profraw -o "$build/all.profdata"

# The layer in Python, by the Python of the system, which that package of Debian's is for.
scripts/build.sh release _kyt_host virtual_controller_program
measure=(/usr/bin/python3 -B -m coverage)
export COVERAGE_FILE=$PWD/$build/python.coverage
VIRTUAL_CONTROLLER=$PWD/build/release/bin/virtual_controller PYTHONPATH=build/release/python:python \
  "${measure[@]}" run --branch --source=python/kyt_host -m unittest discover -s python/tests -p test_robots.py
"${measure[@]}" json --quiet -o "$build/python.json"

# What is not exported is reached by tests that are linked with the objects.
objects=()
for program in "$build"/bin/* "$build"/kyt_host/libkyt_host.so; do
  [[ -x $program && ! -d $program ]] && objects+=(-object "$program")
done
llvm-cov export "${objects[@]}" -instr-profile "$build/all.profdata" -summary-only |
  scripts/check_coverage.py "$build/python.json" "$@"
