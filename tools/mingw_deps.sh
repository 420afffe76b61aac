#!/bin/bash
# mingw_deps.sh - builds for Windows what the program teska needs: mingw_deps.sh [folder, build/mingw-deps]
#
# Little CMS, libpng, libtiff and libjpeg-turbo as static libraries from Debian's source packages; zlib comes from its
# package for MinGW, and CLI11 is headers alone. All of it is laid out in <folder>/prefix. What has been built is not
# built again until this file changes. The machine's own lists of packages stay as they are.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
toolchain="$PWD/cmake/mingw.cmake"
recipe=$(md5sum <tools/mingw_deps.sh)
mkdir -p "${1:-build/mingw-deps}" && cd "${1:-build/mingw-deps}"
[[ $(cat built 2>/dev/null) != "$recipe" ]] || exit 0
apt="$PWD/apt" prefix="$PWD/prefix"
rm -rf built prefix apt && mkdir -p prefix/include prefix/lib/pkgconfig apt/lists/partial

# apt with lists of its own: the sources of what the machine's lists name.
apt_sources() { # <command> [argument...]
    apt-get -qq -o Dir::Etc::SourceList="$apt/sources.list" -o Dir::Etc::SourceParts=/dev/null \
        -o Dir::State::Lists="$apt/lists" -o Dir::Cache::pkgcache="" -o Dir::Cache::srcpkgcache="" \
        -o APT::Sandbox::User=root "$@"
}

# Unpacks and patches the sources into the folder <package>. The newest that is to be had: what the list of security
# updates names may have left its archive, and then the release's own serves.
fetch() { # <source package>
    local release
    release=$(. /etc/os-release && echo "$VERSION_CODENAME")
    rm -rf "$1" "$1".files && mkdir "$1".files && cd "$1".files
    apt_sources source --download-only "$1" || apt_sources source --download-only "$1/$release"
    cd ..
    dpkg-source --no-check --extract "$1".files/*.dsc "$1"
}

build_by_cmake() { # <source package> [setting...]
    local source=$1
    shift
    cmake -S "$source" -B "$source/build-mingw" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
        -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_FIND_ROOT_PATH="$prefix" "$@"
    cmake --build "$source/build-mingw"
    cmake --install "$source/build-mingw"
}

apt-get indextargets --format 'deb-src $(REPO_URI) $(RELEASE) main' \
    'Created-By: Packages' 'Component: main' 'Origin: Debian' >apt/sources.list
apt_sources update
for package in libpng1.6 libjpeg-turbo tiff lcms2; do
    fetch "$package"
done

cp /usr/x86_64-w64-mingw32/include/{zlib,zconf}.h prefix/include
cp /usr/x86_64-w64-mingw32/lib/libz.a prefix/lib
cp -r /usr/include/CLI prefix/include
mkdir -p prefix/share/cmake && cp -r /usr/share/cmake/CLI11 prefix/share/cmake
build_by_cmake libjpeg-turbo -DENABLE_SHARED=OFF -DWITH_TURBOJPEG=OFF
build_by_cmake libpng1.6 -DPNG_SHARED=OFF -DPNG_TESTS=OFF -DPNG_EXECUTABLES=OFF
build_by_cmake tiff -DBUILD_SHARED_LIBS=OFF -Dtiff-tools=OFF -Dtiff-tests=OFF -Dtiff-contrib=OFF -Dtiff-docs=OFF \
    -Djbig=OFF -Dlerc=OFF -Dlibdeflate=OFF -Dlzma=OFF -Dwebp=OFF -Dzstd=OFF -Dcxx=OFF
(cd lcms2 && ./configure --host=x86_64-w64-mingw32 --prefix="$prefix" --disable-shared --without-jpeg --without-tiff \
    CC=x86_64-w64-mingw32-gcc-posix && make -j"$(nproc)" SUBDIRS="src include" install)
# Without them libtiff would be built as well.
for codec in JPEG ZIP LZW; do
    grep -q "^#define ${codec}_SUPPORT 1" prefix/include/tiffconf.h || { echo "libtiff lacks $codec" && exit 1; }
done
echo "$recipe" >built
