#!/usr/bin/env bash
# Builds the Debian packages into build/packages, and has lintian look at them: scripts/packages.sh
# DEB_BUILD_PROFILES=nodoc leaves out the documentation site, and what that takes.
# What a debugger would want to know goes into no package.
set -euo pipefail
cd "$(dirname "$0")/.."
groups=(packages)
[[ " ${DEB_BUILD_PROFILES:-} " == *" nodoc "* ]] || groups+=(docs)
scripts/setup.sh "${groups[@]}"
version=$(sed -n 's/^project(kyt_host VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
work=$PWD/build/packages
log=$work/build.log

rm -rf "$work"
mkdir -p "$work/source"
cp -r CMakeLists.txt ./*.md cmake command_line docs examples kyt_host python scripts tests tool virtual_controller packaging/debian \
  "$work/source"
cat >"$work/source/debian/changelog" <<END
kyt-host ($version) unstable; urgency=medium

  * What has changed stands in NEWS.md of libkyt-host-dev.

 -- $(sed -n 's/^Maintainer: //p' packaging/debian/control)  $(git log -1 --format=%cD 2>/dev/null || date -R)
END

echo "building packages (log: build/packages/build.log) ..."
if command -v ccache >/dev/null; then
  export CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi
export DEB_BUILD_OPTIONS="noautodbgsym ${DEB_BUILD_OPTIONS:-}"
if ! (cd "$work/source" && dpkg-buildpackage --build=binary --no-sign) >"$log" 2>&1; then
  tail -n 60 "$log" >&2
  exit 1
fi
lintian --fail-on error --allow-root "$work"/*.changes
rm -rf "$work/source"
echo "built in $SECONDS s:"
(cd "$work" && ls -sh --block-size=K ./*.deb)
