#!/usr/bin/env bash
# Builds everything, and runs all tests: scripts/test.sh [CTEST ARGUMENT...]
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh release
exec ctest --preset release "$@"
