#!/usr/bin/env bash
# Compares the binary interface of the shared library with that of the last release under the same SONAME:
# scripts/check_abi.sh [--renew]
# Additions pass; whatever would break a program that was linked with the release is told, and fails. With --renew, at a
# release, what the library offers now becomes what is compared with.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh abi
scripts/build.sh abi

build=build/abi
released=tests/abi/$(basename "$(find "$build/kyt_host" -regex '.*\.so\.[0-9]+')").abi.xz
suppressions=(--suppressions tests/abi/suppressions.ini)
cmake --install "$build" --component headers --prefix "$build/public" >/dev/null
abidw "${suppressions[@]}" --headers-dir "$build/public" --drop-private-types --exported-interfaces-only \
  --no-corpus-path --no-comp-dir-path --no-show-locs "$build/kyt_host/libkyt_host.so" >"$build/now.abi"

if [[ ${1:-} == --renew ]]; then
  xz --extreme --stdout "$build/now.abi" >"$released"
  echo "wrote $released"
elif [[ -f $released ]]; then
  xz --decompress --stdout "$released" >"$build/released.abi"
  if ! abidiff "${suppressions[@]}" --no-added-syms "$build/released.abi" "$build/now.abi"; then
    echo "check_abi: programs linked with the last release would break: take the change back, or raise the major version" >&2
    exit 1
  fi
  echo "check_abi: as in the last release, additions aside"
else
  echo "check_abi: no release has had this SONAME yet"
fi
