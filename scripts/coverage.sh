#!/usr/bin/env bash
# Builds the module instrumented for gcov, runs the test programs on that build, and prints the share of lines and
# branches that they reach, per file, and every line that none reaches. Fails when such a line has no reason in
# docs/coverage.md.
#   usage: coverage.sh [PROGRAM...]      for example: coverage.sh ServiceTests; default: those that reach most
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/setup.sh

programs=("$@")
if ((${#programs[@]} == 0)); then
    programs=(FaultTests HotkeyTests ServiceTests LauncherTests EventTests QueryTests ConnectionTests FirmwareTests
        RecordTests UserSessionTests MicrosoftHost RaceTests)
fi
zv_install "${zv_for_coverage[@]}"

# The test programs load the module at run time: those of the ordinary build do, beside a module of the other one.
zv_configure
zv_build
build=build/linux-mingw-coverage
cmake --preset linux-mingw-coverage -DZV_BUILD_TESTS=OFF -DZV_BUILD_BENCHMARKS=OFF
cmake --build --preset linux-mingw-coverage --parallel --target WMIService Logging
mkdir -p $build/tests
ln -f build/linux-mingw/tests/*.{exe,dll,txt} $build/tests/

# Each program adds to counters of its own, as gcov's run time does not lock their files here: so they run side by side.
counters=$PWD/$build/counters
rm -rf "$counters"
find $build -name '*.gcda' -delete
strip=$(tr -cd / <<<"$PWD/$build" | wc -c) # the folders of this one in the paths of the counters
export build counters strip
run() {
    local filter=()
    case $1 in
    FaultTests) filter=(--gtest_filter='-FaultTable.*:OfTheLoad*') ;; # they would find gcov's own calls
    EventTests) filter=(--gtest_filter='-EventLoad.*') ;;             # long, and reaches nothing more
    RaceTests) filter=(--gtest_filter='*SessionEnd*') ;;              # as are the others
    esac
    GCOV_PREFIX=Z:$counters/$1 GCOV_PREFIX_STRIP=$strip timeout -k 5 600 scripts/wine-run.sh \
        "$build/tests/$1.exe" "${filter[@]}" >"$build/tests/$1.log" 2>&1 ||
        echo "A test of $1 fails on this build (docs/coverage.md names those that do): $build/tests/$1.log" >&2
}
export -f run
printf '%s\n' "${programs[@]}" | xargs -P "$(nproc)" -I{} bash -c 'run {}'

mv "$counters/${programs[0]}" "$counters/all"
for program in "${programs[@]:1}"; do
    cp -r "$counters/all" "$counters/sum"
    find "$counters/sum" -type f -delete # folders are not made by gcov-tool, and it adds to files that it finds
    x86_64-w64-mingw32-gcov-tool-posix merge "$counters/all" "$counters/$program" -o "$counters/sum"
    rm -r "$counters/all"
    mv "$counters/sum" "$counters/all"
done
cp -r "$counters/all/." $build/
gcovr --gcov-executable x86_64-w64-mingw32-gcov-posix --root . --filter Services/ --filter Shared/ --filter Platform/ \
    --exclude-throw-branches --exclude-unreachable-branches --json $build/coverage.json \
    --json-summary $build/coverage-summary.json $build/Services
python3 scripts/coverage-report.py $build/coverage.json $build/coverage-summary.json docs/coverage.md
