#!/usr/bin/env bash
# Builds everything, and runs all tests: scripts/test.sh [CTEST ARGUMENT...]
# With arguments only what ctest selects; otherwise the Python wheel too, on every CPython that is found.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh release
(($#)) || scripts/test_python.sh
ctest --preset release "$@"
