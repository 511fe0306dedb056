#!/usr/bin/env bash
# Builds the documentation site into build/docs/html, offline, and lets no warning pass: scripts/docs.sh [BUILD]
# Pages are those of docs/; the reference is made of the headers and of the Python module's stub, which the build folder
# BUILD has, if there is one; otherwise they are built.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/release}
if (($# == 0)); then
  scripts/setup.sh docs
  scripts/build.sh release kyt_host_c_header kyt_host_stub
fi
work=$PWD/build/docs
rm -rf "$work/source" "$work/include" "$work/xml"
mkdir -p "$work/include/virtual_controller/io"

cmake --install "$build" --component headers --prefix "$work" >/dev/null
cp virtual_controller/{conveyor,state,virtual_controller,vision_craft,welder}.h "$work/include/virtual_controller"
cp virtual_controller/io/io.h "$work/include/virtual_controller/io"
INCLUDE=$work/include OUTPUT=$work doxygen docs/site/Doxyfile

# What pages refer to stands where it stands in the repository.
for each in examples kyt_host python tests; do
  ln -sfn "../../$each" "$work/$each"
done
cp -r docs "$work/source"
sed -i 's/(\.\.\/CONTRIBUTING\.md)/(contributing.md)/' "$work/source/"*.md
for page in CHANGELOG CONTRIBUTING; do
  sed 's/](docs\//](/g' "$page.md" >"$work/source/${page,,}.md"
done
# A page that the front page does not name finds its place under it, too.
for page in docs/*.md; do
  name=$(basename "$page" .md)
  grep -qx "$name" docs/index.md || [[ $name == index ]] || echo "$name"
done | sed -e '1i \\n```{toctree}\n:caption: More\n' -e '$a ```' >>"$work/source/index.md"
/usr/bin/python3 -B docs/site/reference.py "$work/include" "$build/python/_kyt_host.pyi" python/kyt_host "$work/source"

KYT_HOST_VERSION=$(sed -n 's/^project(kyt_host VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
export KYT_HOST_VERSION KYT_HOST_XML=$work/xml
/usr/bin/python3 -B -m sphinx -q -W --keep-going -j 2 -c docs/site -d "$work/doctrees" "$work/source" "$work/html"
docs/site/check_names.py "$work/include" "$build/python/_kyt_host.pyi" python/kyt_host "$work/html/objects.inv"
echo "build/docs/html/index.html, in $SECONDS s"
