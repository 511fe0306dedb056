#!/usr/bin/env bash
# Which lines and branches of library, layer, tool and virtual controller the tests reach: scripts/coverage.sh [--raise]
# Fails when a room is below its floor in tests/coverage.json; --raise lifts the floors to what is reached now.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh checks
build=build/coverage
rm -rf "$build/profiles"
scripts/build.sh coverage
ctest --preset coverage
llvm-profdata merge -sparse "$build"/profiles/*.profraw -o "$build/all.profdata"

# What is not exported is reached by tests that are linked with the objects.
objects=()
for program in "$build"/bin/* "$build"/kyt_host/libkyt_host.so; do
  [[ -x $program && ! -d $program ]] && objects+=(-object "$program")
done
llvm-cov export "${objects[@]}" -instr-profile "$build/all.profdata" -summary-only | scripts/check_coverage.py "$@"
