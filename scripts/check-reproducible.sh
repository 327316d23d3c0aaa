#!/usr/bin/env bash
# Makes a release twice, from clean clones of the current commit in different folders, time zones and with different
# permissions, without the compiler cache, and compares the results byte by byte.
#   usage: check-reproducible.sh
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
repository=$(pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export ZV_WINEPREFIX=${ZV_WINEPREFIX:-$repository/build/wine}

build() {
    git clone --quiet "$repository" "$1"
    cd "$1"
    cmake --preset linux-mingw -DCCACHE_PROGRAM=OFF -DZV_BUILD_TESTS=OFF -DZV_BUILD_BENCHMARKS=OFF >/dev/null
    cmake --build --preset linux-mingw --target release >/dev/null
}

first=$work/first
second=$work/a/second/folder/with/a/longer/name
(build "$first")
(
    umask 077
    export TZ=Asia/Tokyo
    build "$second"
)

status=0
for path in "$first"/build/linux-mingw/{bin/*.{dll,debug,exe},release/*.zip}; do
    if cmp "$path" "$second${path#"$first"}"; then
        (cd "$(dirname "$path")" && sha256sum "$(basename "$path")")
    else
        status=1
    fi
done
exit $status
