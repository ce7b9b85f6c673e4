#!/usr/bin/env bash
# Installs the built tree under a temporary prefix and builds a small C program against
# it twice: through pkg-config and through find_package(korvstat).
set -euo pipefail
build=$1
source=$2
cmake=$3
cc=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$cmake" --install "$build" --prefix "$work/prefix" >/dev/null
libdir=$(dirname "$(find "$work/prefix" -name 'libkorvstat.so' | head -n 1)")
test -f "$work/prefix/include/korvstat.h"
test -f "$libdir/pkgconfig/korvstat.pc"
test -f "$libdir/korvs_e.bin"
# The installed library finds its messages beside itself, from any directory.
unset KORVSERRPATH
cd "$work"

export PKG_CONFIG_PATH="$libdir/pkgconfig"
"$cc" -std=c11 -Wall -Werror "$source/consumer.c" -o "$work/by_pkgconfig" \
    $(pkg-config --cflags --libs korvstat)
LD_LIBRARY_PATH="$libdir" "$work/by_pkgconfig"

"$cmake" -S "$source" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$work/prefix" \
    -DCMAKE_C_COMPILER="$cc" >/dev/null
"$cmake" --build "$work/consumer" >/dev/null
LD_LIBRARY_PATH="$libdir" "$work/consumer/consumer"
