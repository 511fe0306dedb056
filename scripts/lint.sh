#!/usr/bin/env bash
# Checks the format of all sources, their names, and what static analysis finds: scripts/lint.sh [--fix]
# With --fix it formats them first.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh checks
cmake --preset release >/dev/null # for the compile commands

mapfile -t sources < <(find kyt_host virtual_controller examples benchmarks tests python -name '*.cpp' | sort)
mapfile -t headers < <(find kyt_host virtual_controller examples benchmarks tests python -name '*.h' | sort)

if [[ ${1:-} == --fix ]]; then
  clang-format -i "${sources[@]}" "${headers[@]}"
fi
echo "shellcheck, clang-format ..."
shellcheck -x .ci/run scripts/*.sh tests/consumer/*.sh
clang-format --dry-run -Werror "${sources[@]}" "${headers[@]}"
echo "mypy ..."
mypy --strict --ignore-missing-imports python/kyt_host_testing python/headers.py python/stub.py python/build_wheel.py
echo "clang-tidy (${#sources[@]} sources) ..."
printf '%s\0' "${sources[@]}" | xargs -0 -n1 -P"$(nproc)" clang-tidy -p build/release --quiet \
  2> >(grep -vE '^[0-9]+ warnings? generated' >&2)
echo "checked in $SECONDS s"
