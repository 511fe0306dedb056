#!/usr/bin/env bash
# Installs the packages of scripts/packages.sh in a root of its own, with nothing else of ours in it, does there what
# their users do, and removes them: scripts/test_packages.sh
# The root is made anew, from the Debian sources that this machine has, and thrown away.
# shellcheck disable=SC2016  # apt and mmdebstrap put their own in
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh packages
log=$PWD/build/packages/test.log
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
chmod a+rx "$work"
if ! (cd "$work" && apt-get download -q base-files) >"$log" 2>&1; then
  echo "NOT TESTED: packages in a clean root, which takes a Debian mirror, and none is in reach (log: build/packages/test.log)" >&2
  exit 0
fi
sources=$work/sources.list
apt-get indextargets --format 'deb $(SITE) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' 'Origin: Debian' |
  sort -u >"$sources"
. /etc/os-release
unset CMAKE_CXX_COMPILER_LAUNCHER CMAKE_C_COMPILER_LAUNCHER # of this machine, and not there

echo "testing packages in a clean root (log: build/packages/test.log) ..."
if ! mmdebstrap --variant=minbase --include=g++,cmake,make,pkg-config \
  --customize-hook='mkdir "$1/project"' \
  --customize-hook="copy-in $(echo build/packages/*.deb) tests/consumer/project tests/consumer/in_root.sh /project" \
  --customize-hook='mkdir "$1/project/scripts"' \
  --customize-hook='copy-in scripts/demo.sh /project/scripts' \
  --chrooted-customize-hook='/project/in_root.sh' \
  "$VERSION_CODENAME" /dev/null "$sources" >"$log" 2>&1; then
  tail -n 60 "$log" >&2
  exit 1
fi
sed -n 's/^in_root: //p' "$log"
echo "tested in $SECONDS s"
