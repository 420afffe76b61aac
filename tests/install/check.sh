#!/bin/sh
# check.sh - install what programs need into a folder, move it, and build programs with what is there
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
for component in runtime development; do
    cmake --install "$tree" --prefix "$work/first" --component "$component"
done
mv "$work/first" "$work/prefix"

# find_package, by both spellings, from a project without C++
for name in TESKAShared teskashared; do
    cmake -S "$here/consumer" -B "$work/build-$name" -G Ninja -DCMAKE_C_COMPILER="$cc" \
        -DCMAKE_PREFIX_PATH="$work/prefix" -Dconsumer_name=$name
    cmake --build "$work/build-$name"
    expect_words "$work/build-$name/consumer_Shared"
    expect_words "$work/build-$name/consumer_Static"
done
ldd "$work/build-teskashared/consumer_Static" | grep -E 'TESKA|WEM|LOPRA|ZUK' && fail "the static program loads shared libraries"

# pkg-config, a program without shared libraries; one with them is built for the README
libraries=$(dirname "$(find "$work/prefix" -name 'libTESKAShared.so')")
export PKG_CONFIG_PATH="$libraries/pkgconfig"
for library in TESKAShared WEMShared LOPRAShared ZUKShared; do
    pkg-config --exists --print-errors "$library"
done
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

# The programs of examples/tasks, which take Little CMS and libpng
cp -r "$here/../../examples/tasks" "$work/tasks"
for program in "$work"/tasks/*.c "$work"/tasks/*.cpp; do
    [ "$(wc -l <"$program")" -lt 80 ] || fail "$program has 80 lines or more"
    grep '^#include "' "$program" && fail "$program includes what is not installed"
done
cmake -S "$work/tasks" -B "$work/build" -G Ninja -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$work/prefix"
cmake --build "$work/build" 2>&1 | tee "$work/build.log"
grep 'warning:' "$work/build.log" && fail "a program of examples/tasks is compiled with warnings"
# Outside the folders that the system looks into, the libraries are named by hand.
cd "$work/build" && LD_LIBRARY_PATH=$libraries ctest --output-on-failure
