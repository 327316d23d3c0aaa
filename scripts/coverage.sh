#!/usr/bin/env bash
# Builds the module instrumented for gcov, runs the test programs on that build, one after the other, and prints the
# share of lines and branches that they reach, per file, and every line that none reaches. Fails when such a line has no
# reason in docs/coverage.md.
#   usage: coverage.sh [PROGRAM...]      for example: coverage.sh ServiceTests; default: all
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/setup.sh

if ! command -v gcovr >/dev/null; then
    echo "gcovr is missing; on Debian: apt-get install gcovr" >&2
    exit 2
fi
zv_install_missing_packages

# The test programs load the module at run time: those of the ordinary build do, beside a module of the other one.
zv_build
tests=build/linux-mingw/tests
programs=("$@")
if ((${#programs[@]} == 0)); then
    mapfile -t programs < <(basename -s .exe -a $tests/*Tests.exe $tests/MicrosoftHost.exe | grep -v Endurance)
fi

cmake --preset linux-mingw-coverage -DZV_BUILD_TESTS=OFF -DZV_BUILD_BENCHMARKS=OFF
cmake --build --preset linux-mingw-coverage --parallel --target WMIService Logging
build=build/linux-mingw-coverage
mkdir -p $build/tests
cp -u $tests/*.exe $tests/*.dll $tests/*.txt $build/tests/
find $build -name '*.gcda' -delete

# One at a time: gcov's run time does not lock the files of counters here.
failed=()
for program in "${programs[@]}"; do
    echo "$program"
    timeout -k 5 600 scripts/wine-run.sh "$build/tests/$program.exe" >$build/tests/$program.log 2>&1 ||
        failed+=("$program")
done

gcovr --gcov-executable x86_64-w64-mingw32-gcov-posix --root . --filter Services/ --filter Shared/ \
    --exclude-throw-branches --exclude-unreachable-branches --json $build/coverage.json \
    --json-summary $build/coverage-summary.json $build/Services
for program in "${failed[@]}"; do
    echo "A test of $program fails on this build: $build/tests/$program.log" >&2
done
python3 scripts/coverage-report.py $build/coverage.json $build/coverage-summary.json docs/coverage.md
