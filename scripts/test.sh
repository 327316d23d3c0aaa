#!/usr/bin/env bash
# Installs what is missing, builds everything, prints what the tests reach of the module and runs all tests under Wine.
#   usage: test.sh [CTEST-ARGUMENT...]      for example: test.sh -R QueryTests; then nothing is said of what is reached
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/setup.sh

zv_install_missing_packages
zv_build
if (($# == 0)); then
    # Tells and does not decide: a rare order of threads may leave a line out.
    scripts/coverage.sh || echo "What the tests reach is not as docs/coverage.md has it." >&2
fi
ctest --preset linux-mingw "$@"
