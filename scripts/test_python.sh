#!/usr/bin/env bash
# Tests the wheel, installed in a fresh virtual environment: scripts/test_python.sh [--all | PYTHON...]
# On the python3 that comes first on PATH, whose wheel is put together from what the release build has made of it;
# with --all on every other CPython 3.8 or later among the python3 commands on PATH and what pyenv has installed, as pip
# builds it for anybody.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
root=$PWD
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# find_interpreters: one line for each, "REAL_PATH VERSION".
find_interpreters() {
  local candidate
  local -a candidates=()
  mapfile -t candidates < <(type -aP python3 python3.{8..20} 2>/dev/null || true)
  candidates+=("${PYENV_ROOT:-$HOME/.pyenv}"/versions/*/bin/python3)
  for candidate in "${candidates[@]}"; do
    "$candidate" -c '
import os, platform, sys
if sys.version_info >= (3, 8) and platform.python_implementation() == "CPython":
    print(os.path.realpath(sys.executable), platform.python_version())' 2>/dev/null || true
  done | sort -u
}

first=$(python3 -c 'import os, sys; print(os.path.realpath(sys.executable))')

# test_on PYTHON: from another folder and without this one's environment, so that only what is installed is there.
test_on() {
  local environment=$work/environment
  rm -rf "$environment"
  "$1" -m venv "$environment" &&
    PIP_NO_INDEX=1 PIP_DISABLE_PIP_VERSION_CHECK=1 "$environment/bin/python" -m pip install "$root" &&
    cd "$work" &&
    env -u PYTHONPATH -u VIRTUAL_CONTROLLER \
      "$environment/bin/python" -B -W error -m unittest discover --start-directory "$root/python/tests"
}

if [[ ${1:-} == --all ]]; then
  interpreters=$(find_interpreters | grep -v "^$first ") || true
elif (($#)); then
  interpreters=$(printf '%s -\n' "$@")
else
  export KYT_HOST_BUILD=$root/build/release
  interpreters="$first -"
fi
[[ $interpreters ]] || exit 0

failed=()
while read -r python version; do
  if (test_on "$python") >"$work/log" 2>&1 </dev/null; then
    echo "python: $version ($python): $(grep -E '^(OK|Ran)' "$work/log" | paste -sd ' ')"
  else
    tail -n 100 "$work/log" >&2
    echo "python: $version ($python): FAILED" >&2
    failed+=("$python")
  fi
done <<<"$interpreters"
((${#failed[@]} == 0))
