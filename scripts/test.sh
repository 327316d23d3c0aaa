#!/usr/bin/env bash
# Installs what is missing, builds everything and runs all tests under Wine.
#   usage: test.sh [--thorough] [CTEST-ARGUMENT...]      for example: test.sh -R QueryTests
# --thorough: then also prints what the tests reach of the module, and runs the long forms of those tests that have one.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/setup.sh

packages=("${zv_for_tests[@]}")
thorough=
if [[ ${1:-} == --thorough ]]; then
    shift
    thorough=yes
    packages=("${zv_for_coverage[@]}")
fi

zv_phase packages
zv_install "${packages[@]}"
zv_phase build
scripts/wine-run.sh & # its first start takes time, too
zv_configure
zv_build
wait $!
zv_phase tests
code=0
ctest --preset linux-mingw --parallel "$(nproc)" "$@" || code=$?

if [[ -n $thorough && $code == 0 ]]; then
    zv_phase coverage
    # Tells and does not decide: a rare order of threads may leave a line out.
    scripts/coverage.sh || echo "What the tests reach is not as docs/coverage.md has it." >&2
    zv_phase races
    scripts/wine-run.sh build/linux-mingw/tests/RaceTests.exe --seeds 1000 1000 || code=$?
    zv_phase endurance
    scripts/wine-run.sh build/linux-mingw/tests/EnduranceTests.exe --million || code=$?
    zv_phase fuzzing
    scripts/fuzz.sh 60 || code=$?
fi
zv_summary
exit $code
