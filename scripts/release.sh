#!/usr/bin/env bash
# Installs what is missing, makes a release, and checks it in another folder: what it holds, its programs at work, and a
# host that is built with nothing but it. The ZIP lies in build/linux-mingw/release.
#   usage: release.sh
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/setup.sh

zv_install "${zv_for_building[@]}" "${zv_for_site[@]}"
zv_configure_without_tests
zv_build release

archive=$(ls build/linux-mingw/release/*.zip)
python3 Tests/Package/release_tests.py "$archive"

elsewhere=$(mktemp -d)
trap 'rm -rf "$elsewhere"' EXIT
python3 -m zipfile -e "$archive" "$elsewhere"
release=$elsewhere/$(basename "$archive" .zip)
(cd "$release" && sha256sum --check --quiet SHA256SUMS)

bash "$release/scripts/demo.sh" # unpacked like that, nothing is executable

cmake -DPREFIX="$release" -DWORK="$elsewhere/host" -DSOURCE="$PWD/Tests/Package" -DCONFIG=Release -DGENERATOR=Ninja \
    -DCOMPILER=x86_64-w64-mingw32-g++-posix -DEMULATOR="$PWD/scripts/wine-run.sh" \
    -P Tests/Package/ConsumerRunsACommand.cmake
printf '\nThe release is good: '
(cd "$(dirname "$archive")" && sha256sum "$(basename "$archive")")
