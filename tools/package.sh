#!/bin/bash
# package.sh - makes packages and tries them: the steps of ./dev package
#
#     package.sh debian | lintian | source | zip | try
#
# All results are in out/packages.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
packages="$PWD/out/packages"
mkdir -p "$packages"

fail() { # <what is wrong>
    echo "$1"
    exit 1
}

debian() {
    rm -f "$packages"/*.deb
    (cd build/package && cpack -G DEB -B "$packages")
    rm -rf "$packages/_CPack_Packages"
}

# Errors fail; warnings are shown.
lintian_all() {
    lintian --allow-root --fail-on error --tag-display-limit 0 "$packages"/*.deb
}

# What git holds, and that it builds without git around it; how fast the result is does not matter.
source_archive() {
    local version name
    version=$(sed -n 's/^#define TESKA_VERSION "\(.*\)"/\1/p' include/teska_version.h)
    name="teska-$version"
    git archive --prefix="$name/" HEAD | gzip -9n >"$packages/$name.tar.gz"
    rm -rf build/source && mkdir -p build/source
    tar -C build/source -xzf "$packages/$name.tar.gz"
    GIT_DIR=/nonexistent cmake -S "build/source/$name" -B build/source/build -G Ninja -DBUILD_SHARED_LIBS=ON \
        -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 -DCMAKE_C_FLAGS_DEBUG=-O0
    GIT_DIR=/nonexistent cmake --build build/source/build
    cmake --install build/source/build --prefix "$PWD/build/source/prefix"
    test -e "$(find build/source/prefix -name libTESKAShared.so)" || fail "nothing was installed from the source archive"
    rm -rf build/source
}

# The same work by the program in the zip and by the one in the Debian packages, each in a folder of its own.
use_program() { # <folder> <command...>
    mkdir "$1" && cd "$1" && shift
    printf 'P6 3 2 255\n012345678901234567' >small.ppm
    "$@" convert small.ppm small.png --to linear --quiet
    "$@" convert small.png $'\303\244.tif' --to srgb --depth 16 --quiet
    "$@" convert $'\303\244.tif' back.ppm --to srgb --quiet
    "$@" pack all.arc small.ppm back.ppm --quiet
    "$@" list all.arc
    "$@" digest small.ppm back.ppm all.arc
}

# DLLs, import libraries for both kinds of linkers, headers, the CMake files and the program.
zip_archive() {
    local library work=build/zip
    (cd build/mingw-package && cpack -G ZIP -B "$packages")
    rm -rf "$packages/_CPack_Packages" "$work" && mkdir -p "$work"
    local archive
    archive=$(echo "$packages"/teska-*-windows-x86_64.zip)
    unzip -q "$archive" -d "$work"
    local root
    root=$(echo "$work"/*)
    for library in TESKAShared WEMShared LOPRAShared ZUKShared; do
        {
            echo "LIBRARY $library.dll"
            echo EXPORTS
            x86_64-w64-mingw32-objdump -p "$root/bin/$library.dll" | sed '1,/Ordinal\/Name Pointer/d' |
                sed -n 's/^\s*\[\s*[0-9]*\]\(\s+base\[\s*[0-9]*\]\)\?\s*\([0-9a-f]\{4\}\s\+\)\?\(\S\+\)$/    \3/p'
        } >"$work/$library.def"
        (($(wc -l <"$work/$library.def") > 2)) || fail "no names in $library.dll"
        llvm-dlltool -m i386:x86-64 -d "$work/$library.def" -l "$root/lib/$library.lib"
    done
    (cd "$root/.." && zip -q -r "$archive" "$(basename "$root")/lib")
    # A program built against the unpacked folder, by find_package, runs where the DLLs lie.
    cmake -S tests/install/consumer -B "$work/consumer" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/mingw.cmake" \
        -DCMAKE_FIND_ROOT_PATH="$PWD/$root" -DTESKAShared_DIR="$PWD/$root/lib/cmake/TESKAShared"
    cmake --build "$work/consumer"
    cp "$work/consumer/consumer_Shared.exe" "$root/bin"
    local words
    export WINEPREFIX="$PWD/build/mingw/wine"
    words=$(tools/wine.sh "$root/bin/consumer_Shared.exe" pear Apple fig | tr -d '\r' | tr '\n' ' ')
    [[ $words == "Apple fig pear " ]] || fail "the program with the DLLs of the zip said: $words"
    (use_program "$work/windows" "$PWD/tools/wine.sh" "$PWD/$root/bin/teska.exe") >"$work/windows.txt"
    (use_program "$work/debian" "$PWD/build/package/apps/teska/teska") >"$work/debian.txt"
    diff "$work/debian.txt" "$work/windows.txt" || fail "the program of the zip says something else"
}

# A bare Debian: the packages are installed, the programs of the README are built and run there.
try() {
    local root="$PWD/build/bare"
    if [[ ! -e $root/ready ]]; then
        rm -rf "$root"
        debootstrap --variant=minbase --include=ca-certificates "$(. /etc/os-release && echo "$VERSION_CODENAME")" "$root" \
            "$(awk '$1 == "deb" { print $2; exit } $1 == "URIs:" { print $2; exit }' /etc/apt/sources.list /etc/apt/sources.list.d/* 2>/dev/null)"
        cp /etc/apt/sources.list "$root/etc/apt/" 2>/dev/null || true
        cp -r /etc/apt/sources.list.d /etc/apt/apt.conf.d "$root/etc/apt/" 2>/dev/null || true
        touch "$root/ready"
    fi
    rm -rf "$root/packages" "$root/install" && mkdir "$root/packages"
    cp "$packages"/*.deb README.md "$root/packages"
    cp -r tests/install "$root/install"
    chroot "$root" sh -c 'export DEBIAN_FRONTEND=noninteractive
        apt-get update -qq && apt-get install -y -qq /packages/*.deb >/dev/null &&
        apt-get install -y -qq --no-install-recommends g++ cmake ninja-build pkg-config python3 >/dev/null &&
        python3 /install/readme.py /packages/README.md /tmp/readme.$$ /usr gcc g++ &&
        if [ -x /usr/bin/teska ]; then teska --version; fi &&
        apt-get install -y -qq --no-install-recommends python3-distributed >/dev/null'
    # Dask reads /proc; the mount ends with its user.
    unshare --mount sh -c 'mount -t proc proc "$0/proc" && chroot "$0" python3 /install/python.py /tmp/python.$$' "$root"
}

case ${1:-} in
    debian | try) "$1" ;;
    lintian) lintian_all ;;
    source) source_archive ;;
    zip) zip_archive ;;
    *) sed -n '2,6p' "$0" && exit 2 ;;
esac
