#!/usr/bin/env bash
# Builds wheels that need nothing but their Python and the C and C++ libraries, into build/wheels:
# scripts/wheel.sh [--all | PYTHON...]
# For the python3 that comes first on PATH, for those that are named, or for all that scripts/interpreters.sh finds.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/interpreters.sh
scripts/setup.sh packages
wheels=$PWD/build/wheels
log=$PWD/build/wheels/build.log
mkdir -p "$wheels"
export CMAKE_ARGS="${CMAKE_ARGS:-} -DKYT_HOST_TOOL=ON"

case ${1:-} in
  --all) mapfile -t interpreters < <(find_interpreters) ;;
  "") interpreters=(python3) ;;
  *) interpreters=("$@") ;;
esac

# check WHEEL: whatever is in it finds what it needs, in the wheel itself or among what every Linux has.
check() (
  folder=$(mktemp -d)
  trap 'rm -rf "$folder"' EXIT
  python3 -m zipfile -e "$1" "$folder"
  find "$folder" -type f -exec grep -qaE '^.ELF' {} \; -print >"$folder/programs"
  (($(wc -l <"$folder/programs") >= 3)) # the module, the virtual controller, JsonCpp
  while read -r program; do
    if ldd "$program" |
      grep -vE "^\s(linux-vdso|/lib\S*/ld-linux|lib(c|m|gcc_s|stdc\+\+)\.so)|=> $folder/kyt_host"; then
      echo "wheel: ${program#"$folder"/} needs more than $1 brings along" >&2
      exit 1
    fi
  done <"$folder/programs"
)

for python in "${interpreters[@]}"; do
  began=$SECONDS
  if ! "$python" -B python/build_wheel.py wheel "$wheels" >"$log" 2>&1; then
    tail -n 50 "$log" >&2
    exit 1
  fi
  wheel=$wheels/$(tail -n 1 "$log")
  check "$wheel"
  echo "$wheel: $(du -k "$wheel" | cut -f1) KiB, in $((SECONDS - began)) s"
done
