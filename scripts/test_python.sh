#!/usr/bin/env bash
# Tests the wheel, installed in a fresh virtual environment: scripts/test_python.sh [--all | PYTHON...]
# On the python3 that comes first on PATH, whose wheel is put together from what the release build has made of it;
# with --all on every other CPython 3.8 or later among the python3 commands on PATH and what pyenv has installed, as pip
# builds it for anybody.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/interpreters.sh
scripts/setup.sh
root=$PWD
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

first=$(python3 -c 'import os, sys; print(os.path.realpath(sys.executable))')

# build_for PYTHON: an environment with the wheel in it, whose folder it prints.
build_for() {
  local environment
  environment=$(mktemp -d -p "$work")
  "$1" -m venv "$environment" >&2 &&
    PIP_NO_INDEX=1 PIP_DISABLE_PIP_VERSION_CHECK=1 "$environment/bin/python" -m pip install "$root" >&2 &&
    echo "$environment"
}

# test_in ENVIRONMENT: from another folder and without this one's environment, so that only what is installed is there.
# Most tests wait for something: several files at a time. Those of the module of stand-ins are for the build alone.
test_in() {
  cd "$work" &&
    find "$root/python/tests" -name 'test_*.py' ! -name test_kinds.py -printf '%f\0' |
    xargs -0 -n1 -P"$((2 * $(nproc)))" env -u PYTHONPATH -u VIRTUAL_CONTROLLER \
      "$1/bin/python" -B -W error -m unittest discover --start-directory "$root/python/tests" --pattern
}

# report PYTHON STATUS LOG: how it went.
failed=()
report() {
  if (($2 == 0)); then
    echo "python: $1: $(awk '/^Ran/ { tests += $2 } END { print tests " tests passed" }' "$3")"
  else
    tail -n 100 "$3" >&2
    echo "python: $1: FAILED" >&2
    failed+=("$1")
  fi
}

if [[ ${1:-} == --all ]]; then
  mapfile -t interpreters < <(find_interpreters | grep -vFx "$first")
  # What is tried out is how each Python gets along with it; compilers need not take their time for that.
  export CMAKE_ARGS="-DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 -DKYT_HOST_UNITY=ON"
elif (($#)); then
  interpreters=("$@")
else
  export KYT_HOST_BUILD=$root/build/release
  interpreters=("$first")
fi

# The next one is built while one is tested.
testing=
finish_test() {
  [[ $testing ]] || return 0
  local status=0
  wait "$process" || status=$?
  report "$testing" "$status" "$log"
  testing=
}
for python in "${interpreters[@]}"; do
  if environment=$(build_for "$python" 2>"$work/build.log" </dev/null); then
    finish_test
    testing=$python
    log=$environment/test.log
    test_in "$environment" >"$log" 2>&1 </dev/null &
    process=$!
  else
    report "$python" 1 "$work/build.log"
  fi
done
finish_test
((${#failed[@]} == 0))
