#!/bin/sh
# tasks.sh - build and run examples/tasks from an installation, as its reader does
#
#     sh tasks.sh <build tree> <C compiler> <C++ compiler> <folder to work in>
set -eu
tree=$1 cc=$2 cxx=$3 work=$4
tasks=$(cd "$(dirname "$0")/../../examples/tasks" && pwd)

rm -rf "$work"
mkdir -p "$work"
for component in runtime development; do
    cmake --install "$tree" --prefix "$work/prefix" --component "$component"
done
cp -r "$tasks" "$work/tasks"

for program in "$work"/tasks/*.c "$work"/tasks/*.cpp; do
    [ "$(wc -l <"$program")" -lt 80 ] || { echo "$program has 80 lines or more" && exit 1; }
    if grep '^#include "' "$program"; then
        echo "$program includes what is not installed"
        exit 1
    fi
done
cmake -S "$work/tasks" -B "$work/build" -G Ninja -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$work/prefix"
cmake --build "$work/build" 2>&1 | tee "$work/build.log"
if grep 'warning:' "$work/build.log"; then
    exit 1
fi
# Outside the folders that the system looks into, the libraries are named by hand.
LD_LIBRARY_PATH=$(dirname "$(find "$work/prefix" -name 'libTESKAShared.so')")
export LD_LIBRARY_PATH
cd "$work/build" && ctest --output-on-failure
