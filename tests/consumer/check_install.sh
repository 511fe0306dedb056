#!/usr/bin/env bash
# One step of the check of the installed library: check_install.sh STEP SOURCE_DIR BUILD_DIR WORK_DIR
set -euo pipefail
step=$1 source=$2 build=$3 work=$4
project=$source/tests/consumer/project
prefix=$work/prefix
static_prefix=$work/static_prefix
export CMAKE_GENERATOR=Ninja

fail() {
  echo "$*" >&2
  exit 1
}

# build_consumer PREFIX [OPTION...]: with CMake, against what is installed there and nothing else of ours; then run it.
build_consumer() {
  rm -rf "$1.cmake"
  cmake -S "$project" -B "$1.cmake" -DCMAKE_PREFIX_PATH="$1" "${@:2}"
  cmake --build "$1.cmake"
  "$1.cmake/consumer"
}

# refused PREFIX TEXT OPTION...: configuring against what is installed there ends with that text.
refused() {
  if cmake -S "$project" -B "$1.refused" -DCMAKE_PREFIX_PATH="$1" "${@:3}" 2>"$1.refusal"; then
    fail "find_package was content with ${*:3}"
  fi
  tr -s '[:space:]' ' ' <"$1.refusal" | grep "$2" || fail "$(<"$1.refusal")"
}

# compile_consumer PREFIX [--static]: with pkg-config and the compiler alone; then run it.
compile_consumer() {
  local flags
  flags=$(PKG_CONFIG_PATH=$1/lib/pkgconfig pkg-config "${@:2}" --cflags --libs kyt_host)
  # shellcheck disable=SC2086  # the flags are words
  "$CXX" -std=c++17 "$project/main.cpp" -o "$1.pkg_config" $flags
  LD_LIBRARY_PATH=$1/lib "$1.pkg_config"
}

# The same in C, with the shared library.
compile_c() {
  local flags
  flags=$(PKG_CONFIG_PATH=$1/lib/pkgconfig pkg-config --cflags --libs kyt_host)
  # shellcheck disable=SC2086  # the flags are words
  gcc -std=c99 -Wall -Wextra -Wpedantic -Werror "$source/examples/first_session.c" -o "$1.c" $flags -lm
  LD_LIBRARY_PATH=$1/lib ldd "$1.c" | grep -q "$1/lib/libkyt_host.so" || fail "the program in C has another library"
}

case $step in
  install)
    rm -rf "$prefix" "$prefix.moved"
    cmake --install "$build" --prefix "$prefix.moved"
    mv "$prefix.moved" "$prefix" # an installed tree may be moved
    "$prefix/bin/virtual_controller" --help
    ;;

  find_package)
    build_consumer "$prefix" -DWITH_VIRTUAL_CONTROLLER=ON
    "$prefix.cmake/in_process"
    ;;

  wrong_version)
    for wanted in 1.0 2.1 3.0; do
      refused "$prefix" "$prefix.*kyt_hostConfig.cmake, version: 2\.0\." -DWANTED=$wanted
    done
    ;;

  pkg_config)
    compile_consumer "$prefix"
    compile_c "$prefix"
    ;;

  headers)
    cd "$prefix/include"
    if find . -path '*/detail*' | grep .; then
      fail "internal headers are installed"
    fi
    if grep -rE '^ *# *include' . | grep -vE '<[a-z_]+>|"(kyt_host|virtual_controller)/[a-z0-9_/]+\.h"'; then
      fail "public headers include the standard library and one another, nothing else"
    fi
    find . -name '*.h' -print0 |
      xargs -0 -P2 -I{} "$CXX" -std=c++17 -fsyntax-only -Wall -Wextra -Wpedantic -Wshadow -Werror -I. -include {} -x c++ /dev/null
    ;;

  exports)
    nm --dynamic --defined-only --demangle "$prefix"/lib/libkyt_host{,_virtual_controller}.so >"$work/exports"
    grep -q ' T connect_robot(' "$work/exports" || fail "connect_robot is not exported"
    if grep -E '(asio|nlohmann|Eigen)::' "$work/exports"; then
      fail "a library that we use inside is exported"
    fi
    if grep -E 'Eigen|json|asio' "$prefix"/lib/cmake/kyt_host/kyt_host_virtual_controllerTargets*.cmake; then
      fail "users of the virtual controller would need a library that we use inside"
    fi
    ;;

  static)
    cmake -S "$source" -B "$work/static" -DBUILD_SHARED_LIBS=OFF -DKYT_HOST_VIRTUAL_CONTROLLER=OFF -DCMAKE_BUILD_TYPE=Debug \
      -DKYT_HOST_UNITY=ON
    cmake --build "$work/static"
    rm -rf "$static_prefix"
    cmake --install "$work/static" --prefix "$static_prefix"
    build_consumer "$static_prefix"
    compile_consumer "$static_prefix" --static
    refused "$static_prefix" 'installed without the component virtual_controller' -DWITH_VIRTUAL_CONTROLLER=ON
    ;;

  *)
    fail "no step is called $step"
    ;;
esac
