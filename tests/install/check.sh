#!/bin/sh
# check.sh - install into a folder, move it, and build programs with what is there
#
#     sh check.sh <build tree> <C compiler> <C++ compiler> <folder to work in>
set -eu
tree=$1 cc=$2 cxx=$3 work=$4
here=$(cd "$(dirname "$0")" && pwd)

fail() { # <what is wrong>
    echo "$1"
    exit 1
}

expect_words() { # <program>
    words=$("$1" pear Apple fig | tr '\n' ' ')
    [ "$words" = "Apple fig pear " ] || fail "$1 said: $words"
}

rm -rf "$work"
mkdir -p "$work"
cmake --install "$tree" --prefix "$work/first"
mv "$work/first" "$work/prefix"

# find_package, by both spellings, from a project without C++
for lower_case in OFF ON; do
    cmake -S "$here/consumer" -B "$work/build-$lower_case" -G Ninja -DCMAKE_C_COMPILER="$cc" \
        -DCMAKE_PREFIX_PATH="$work/prefix" -Dconsumer_lower_case=$lower_case
    cmake --build "$work/build-$lower_case"
    expect_words "$work/build-$lower_case/consumer_Shared"
    expect_words "$work/build-$lower_case/consumer_Static"
done
ldd "$work/build-ON/consumer_Static" | grep -E 'TESKA|WEM|LOPRA|ZUK' && fail "the static program loads shared libraries"

# pkg-config, the shared libraries and a program without any
libraries=$(dirname "$(find "$work/prefix" -name 'libTESKAShared.so')")
export PKG_CONFIG_PATH="$libraries/pkgconfig"
for library in TESKAShared WEMShared LOPRAShared ZUKShared; do
    pkg-config --exists --print-errors "$library"
done
# shellcheck disable=SC2046
"$cc" -std=c11 "$here/consumer/consumer.c" -o "$work/consumer" $(pkg-config --cflags --libs TESKAShared) \
    -Wl,-rpath,"$libraries"
expect_words "$work/consumer"
# shellcheck disable=SC2046
"$cc" -std=c11 -static "$here/consumer/consumer.c" -o "$work/consumer-static" \
    $(pkg-config --cflags --libs --static TESKAShared)
expect_words "$work/consumer-static"

# No library holds a path
for library in "$libraries"/lib*.so; do
    readelf -d "$library" | grep -E 'RPATH|RUNPATH' && fail "$library holds a path"
done

# What the README tells
python3 "$here/readme.py" "$here/../../README.md" "$work/readme" "$work/prefix" "$cc" "$cxx"
