#!/usr/bin/env bash
# Builds the module twice, from clean clones of the current commit in different folders and without the compiler cache,
# and compares the results byte by byte.
#   usage: check-reproducible.sh
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
repository=$(pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

build() {
    git clone --quiet "$repository" "$1"
    cd "$1"
    cmake --preset linux-mingw -DCCACHE_PROGRAM=OFF -DZV_BUILD_TESTS=OFF -DZV_BUILD_BENCHMARKS=OFF >/dev/null
    cmake --build --preset linux-mingw --target WMIService --target Logging >/dev/null
}

first=$work/first
second=$work/a/second/folder/with/a/longer/name
(build "$first")
(build "$second")

status=0
for file in WMIService.dll WMIService.dll.debug Logging.dll; do
    if cmp "$first/build/linux-mingw/bin/$file" "$second/build/linux-mingw/bin/$file"; then
        sha256sum "$first/build/linux-mingw/bin/$file" | sed "s|  .*|  $file|"
    else
        status=1
    fi
done
exit $status
