#!/usr/bin/env bash
# Checks the format of all sources, their names, the rooms they stand in, and what static analysis finds:
# scripts/lint.sh [--fix] [--changed [BASE]]
# --fix formats them first. --changed looks at the sources alone that differ from BASE (origin/HEAD, or else main).
set -euo pipefail
cd "$(dirname "$0")/.."

folders=(kyt_host virtual_controller tool command_line examples benchmarks tests python)
fix=
base=
while (($#)); do
  case $1 in
    --fix) fix=1 ;;
    --changed)
      base=$(git rev-parse --verify --quiet origin/HEAD || echo main)
      if [[ ${2:-} && $2 != --* ]]; then
        base=$2
        shift
      fi
      ;;
    *)
      echo "lint: what is $1?" >&2
      exit 1
      ;;
  esac
  shift
done
scripts/setup.sh checks

# sources_with SUFFIX: one on each line.
sources_with() {
  if [[ $base ]]; then
    {
      git diff --name-only --diff-filter=d --merge-base "$base" -- "${folders[@]}"
      git ls-files --others --exclude-standard -- "${folders[@]}"
    } | grep "\.$1$" | sort -u || true
  else
    find "${folders[@]}" -name "*.$1" | sort
  fi
}
mapfile -t sources < <(sources_with cpp)
mapfile -t headers < <(sources_with h)
formatted=("${sources[@]}" "${headers[@]}")

if [[ $fix ]] && ((${#formatted[@]})); then
  clang-format -i "${formatted[@]}"
fi
echo "rooms, operations, examples, shellcheck, clang-format ..."
scripts/check_rooms.py
scripts/check_operations.py
scripts/check_compare.py
scripts/check_dissector.py
shellcheck -x .ci/run scripts/*.sh tests/consumer/*.sh
((${#formatted[@]} == 0)) || clang-format --dry-run -Werror "${formatted[@]}"
echo "mypy ..."
mypy --strict --ignore-missing-imports python/kyt_host_testing cmake/headers.py kyt_host/c/generate.py python/docstrings.py python/stub.py python/build_wheel.py docs/site/*.py
mypy --strict scripts/*.py tests/*/*.py

# All of them: several sources of a library in one go, so that what they include is looked at once.
preset=lint
if [[ $base ]]; then
  preset=release
fi
cmake --preset "$preset" >/dev/null # for the compile commands
for header in kyt_host_c_header kyt_payload_header kyt_c_calls_header; do # what sources include that programs write
  cmake --build "build/$preset" --target "$header" >/dev/null
done
units=("${sources[@]}")
config=.clang-tidy
if [[ ! $base ]]; then
  mapfile -t units < <(sed -n 's/^ *"file": "\(.*\)",\?$/\1/p' build/lint/compile_commands.json |
    grep -vE '_wrap\.cxx$|\.pb\.cc$|/generated/|\.c$' | sort -u) # C, and what programs write, have a style of their own
  # The units stand outside the sources' folders, and include sources.
  config=build/lint/clang-tidy
  sed -e 's/^  readability-identifier-naming$/&,\n  -bugprone-suspicious-include/' \
    -e "/^HeaderFilterRegex/s/\\\\.h\\$/\\\\.(h|cpp)$/" .clang-tidy >"$config"
  # What users run is analysed, too, path by path.
  sed 's/^  -\*,$/&\n  clang-analyzer-*,/' "$config" >"$config-analyzer"
fi
echo "clang-tidy (${#sources[@]} sources in ${#units[@]} units) ..."
# shellcheck disable=SC2016
((${#units[@]} == 0)) || printf '%s\0' "${units[@]}" |
  xargs -0 -n1 -P"$(nproc)" bash -c '
    config=$1
    [[ ! -e $config-analyzer || $2 == */tests/* ]] || config+=-analyzer
    exec clang-tidy -p "$0" --quiet --extra-arg=-Wno-unknown-warning-option --config-file="$config" "$2"
  ' "build/$preset" "$config" \
    2> >(grep -vE '^[0-9]+ warnings? generated' >&2)
echo "checked in $SECONDS s"
