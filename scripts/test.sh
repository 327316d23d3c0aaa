#!/usr/bin/env bash
# Installs what is missing, builds everything, prints what the tests reach of the module and runs all tests under Wine.
#   usage: test.sh [CTEST-ARGUMENT...]      for example: test.sh -R QueryTests; then nothing is said of what is reached
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/setup.sh

zv_install_missing_packages
zv_build
reached=0
if (($# == 0)); then
    scripts/coverage.sh || reached=$?
fi
ctest --preset linux-mingw "$@"
exit $reached
