#!/usr/bin/env bash
# What scripts that are about several Pythons include.

# find_interpreters: every CPython 3.8 or later among the python3 commands on PATH and what pyenv has installed, a line
# for each.
find_interpreters() {
  local candidate
  local -a candidates=()
  mapfile -t candidates < <(type -aP python3 python3.{8..20} 2>/dev/null || true)
  candidates+=("${PYENV_ROOT:-$HOME/.pyenv}"/versions/*/bin/python3)
  for candidate in "${candidates[@]}"; do
    "$candidate" -c '
import os, platform, sys
if sys.version_info >= (3, 8) and platform.python_implementation() == "CPython":
    print(os.path.realpath(sys.executable))' 2>/dev/null || true
  done | sort -u
}
