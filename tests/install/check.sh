#!/bin/sh
# check.sh - install into a folder, move it, and build a program with what is there
#
#     sh check.sh <build tree> <C compiler> <C++ compiler> <folder to work in>
set -eu
tree=$1 cc=$2 cxx=$3 work=$4
consumer=$(cd "$(dirname "$0")" && pwd)/consumer

expect_words() { # <program>
    words=$("$1" pear Apple fig | tr '\n' ' ')
    [ "$words" = "Apple fig pear " ] || { echo "$1 said: $words" && exit 1; }
}

rm -rf "$work"
mkdir -p "$work"
cmake --install "$tree" --prefix "$work/first"
mv "$work/first" "$work/prefix"

cmake -S "$consumer" -B "$work/build" -G Ninja -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" \
    -DCMAKE_PREFIX_PATH="$work/prefix"
cmake --build "$work/build"
expect_words "$work/build/consumer_Shared"
expect_words "$work/build/consumer_Static"

libraries=$(dirname "$(find "$work/prefix" -name 'libTESKAShared.so')")
export PKG_CONFIG_PATH="$libraries/pkgconfig"
# shellcheck disable=SC2046
"$cc" -std=c11 "$consumer/consumer.c" -o "$work/consumer" $(pkg-config --cflags --libs TESKAShared) \
    -Wl,-rpath,"$libraries"
expect_words "$work/consumer"
