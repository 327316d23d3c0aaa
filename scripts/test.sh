#!/usr/bin/env bash
# Installs what is missing, builds everything and runs all tests under Wine.
#   usage: test.sh [CTEST-ARGUMENT...]      for example: test.sh -R QueryTests
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/setup.sh

zv_install_missing_packages
zv_build
ctest --preset linux-mingw "$@"
