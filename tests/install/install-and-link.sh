#!/usr/bin/env bash
# usage: install-and-link.sh BUILD_DIR WORK_DIR HOST_SOURCE_DIR
set -euo pipefail
build=$1 work=$2 src=$3
rm -rf "$work"
prefix=$work/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null
libdir=$(dirname "$(find "$prefix" -name 'libtavikpkiui.so' | head -n 1)")

# pkg-config
export PKG_CONFIG_PATH=$libdir/pkgconfig
cc -Wall -Wextra -Werror -o "$work/host-pc" "$src/host.c" $(pkg-config --cflags --libs tavikpkiui)
LD_LIBRARY_PATH=$libdir "$work/host-pc"

# find_package(TavikPKIUI)
cmake -S "$src" -B "$work/host-build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/host-build" >/dev/null
LD_LIBRARY_PATH=$libdir "$work/host-build/host"
