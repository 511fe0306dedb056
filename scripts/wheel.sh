#!/usr/bin/env bash
# Builds wheels that need nothing but their Python and the C and C++ libraries, into build/wheels, and tries each in a
# fresh virtual environment: scripts/wheel.sh [--all | PYTHON...]
# For the python3 that comes first on PATH, for those that are named, or for one of each version that
# scripts/interpreters.sh finds.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/interpreters.sh
scripts/setup.sh packages
root=$PWD
wheels=$root/build/wheels
log=$wheels/build.log
mkdir -p "$wheels"
export CMAKE_ARGS="-DKYT_HOST_TOOL=ON -DKYT_HOST_UNITY=ON ${CMAKE_ARGS:-}"

case ${1:-} in
  --all) mapfile -t interpreters < <(find_interpreters | awk -F/ '!seen[$NF]++') ;;
  "") interpreters=(python3) ;;
  *) interpreters=("$@") ;;
esac

# check WHEEL: whatever is in it finds what it needs, in the wheel itself or among what every Linux has.
check() (
  folder=$(mktemp -d)
  trap 'rm -rf "$folder"' EXIT
  python3 -m zipfile -e "$1" "$folder"
  find "$folder" -type f -exec grep -qaE '^.ELF' {} \; -print >"$folder/programs"
  (($(wc -l <"$folder/programs") >= 4)) # the module, the virtual controller, kyt, JsonCpp
  while read -r program; do
    if ldd "$program" |
      grep -vE "^\s(linux-vdso|/lib\S*/ld-linux|lib(c|m|gcc_s|stdc\+\+)\.so)|=> $folder/kyt_host"; then
      echo "wheel: ${program#"$folder"/} needs more than $1 brings along" >&2
      exit 1
    fi
  done <"$folder/programs"
)

# try PYTHON WHEEL: installed alone, it does what is done with it first; and its kyt says what it comes without.
try() (
  folder=$(mktemp -d)
  trap 'rm -rf "$folder"' EXIT
  unset PYTHONPATH VIRTUAL_CONTROLLER
  "$1" -m venv "$folder"
  cd "$folder"
  bin/python -m pip install -q --no-index --disable-pip-version-check "$2"
  PATH=$folder/bin:$PATH bin/python -W error "$root/tests/consumer/project/session.py"
  for command in view bridge; do
    status=0
    bin/kyt "$command" robot 2>left_out || status=$?
    ((status == 1)) && grep -q "kyt-tools has" left_out
  done
)

for python in "${interpreters[@]}"; do
  began=$SECONDS
  if ! "$python" -B python/build_wheel.py wheel "$wheels" >"$log" 2>&1; then
    tail -n 50 "$log" >&2
    exit 1
  fi
  wheel=$wheels/$(tail -n 1 "$log")
  check "$wheel"
  try "$python" "$wheel"
  echo "$wheel: $(du -k "$wheel" | cut -f1) KiB, in $((SECONDS - began)) s"
done
