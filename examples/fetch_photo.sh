#!/bin/sh
# fetch_photo.sh - puts the photograph of the gallery into a folder
#
#     sh fetch_photo.sh <destination folder>
#
# The picture is NASA's portrait of Eileen Collins, in the public domain, out of the Debian package python3-skimage: the
# package is downloaded by apt and unpacked, not installed. Beside it goes a text of two lines that the gallery shows:
# what is to be seen, and where it comes from. The last line of the output is the picture's name. When it is there
# already, nothing is downloaded.
set -eu

package=python3-skimage
inside=usr/lib/python3/dist-packages/skimage/data/astronaut.png

fail() {
    echo "fetch_photo.sh: $1" >&2
    exit 1
}

# Lists of packages that are missing or old make it fail the first time.
download() {
    (cd "$work" && apt-get download -qq "$package")
}

[ $# -eq 1 ] || fail "usage: fetch_photo.sh <destination folder>"
mkdir -p "$1" || fail "cannot make the folder $1"
folder=$(cd "$1" && pwd)
photo=$folder/photo.png

if [ ! -s "$photo" ]; then
    work=$folder/unpacked
    rm -rf "$work"
    mkdir "$work"
    trap 'rm -rf "$work"' EXIT
    log=$folder/download.log
    download >"$log" 2>&1 || { [ "$(id -u)" -eq 0 ] && apt-get update -qq >>"$log" 2>&1 && download >>"$log" 2>&1; } ||
        fail "apt-get download $package failed: $(grep '^E:' "$log" | tail -n 1)"
    dpkg-deb --fsys-tarfile "$work"/*.deb | tar -x -C "$work" "./$inside" ||
        fail "$package holds no $inside"
    cat >"$folder/photo.txt" <<'TEXT'
Portrait of an astronaut in an orange suit, a flag behind her, a black helmet and a model of a space shuttle beside her
Eileen Collins, photographed for NASA; public domain. Taken from the Debian package python3-skimage.
TEXT
    # Last, so that a picture that is there is whole.
    mv "$work/$inside" "$photo"
fi
echo "$photo"
