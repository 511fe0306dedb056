#!/usr/bin/env bash
# Builds everything, and runs all tests: scripts/test.sh [CTEST ARGUMENT...]
# With arguments only what ctest selects; otherwise the wheel too, for the python3 that comes first on PATH.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh release
(($#)) || scripts/test_python.sh
ctest --preset release "$@"
