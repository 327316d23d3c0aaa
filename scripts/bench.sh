#!/usr/bin/env bash
# Builds and runs the benchmarks; each compares, in one run, the module with the least that the same work could cost.
# Tables go to standard output, JSON to build/benchmarks/. Takes three minutes once all is built.
# On a busy machine: chrt -r 1 scripts/bench.sh, as root.
#   usage: bench.sh [--build]
# --build: instead how long building takes, in a clone of the last commit and without the compiler's cache; on an idle machine.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/setup.sh

# build_times: prints a table of what building takes by the clock and of the processors, Wine's services aside.
build_times() {
    local clone=build/benchmarks/clone log=$PWD/build/benchmarks/build-times.log
    rm -rf $clone
    git clone --quiet . $clone
    cd $clone
    unset ZV_WINEPREFIX
    export CCACHE_DISABLE=1

    # row WHAT COMMAND...
    row() {
        local what=$1 seconds
        shift
        local TIMEFORMAT='%0R %0U %0S'
        if ! seconds=$({ time "$@" >"$log" 2>&1; } 2>&1); then
            tail "$log" >&2
            exit 1
        fi
        read -r real user system <<<"$seconds"
        printf '| %s | %d | %d |\n' "$what" "$real" $((user + system))
    }
    # changed FILE: a row with the build of everything after a change of this file.
    changed() {
        local file
        file=$(git ls-files "*/$1")
        echo "// a change" >>"$file"
        row "everything after a change of \`$file\`" cmake --build --preset linux-mingw
    }
    forget() {
        WINEPREFIX=$PWD/build/wine wineserver -k || true # it may have ended
        rm -rf build
    }

    printf '| what | seconds by the clock | of the processors |\n|---|---|---|\n'
    row "\`scripts/demo.sh\`, cold" scripts/demo.sh
    sed -n 's/^First answer after \(.*\) seconds\.$/| of that, the first answer | \1 | |/p' "$log"
    forget
    row "\`scripts/test.sh\`, cold" scripts/test.sh
    row "\`scripts/test.sh\` again" scripts/test.sh
    changed WMIService.cpp
    changed ComPtr.h
    forget
    cd - >/dev/null
    rm -rf $clone
}

zv_install "${zv_for_tests[@]}"
mkdir -p build/benchmarks
if [[ ${1:-} == --build ]]; then
    build_times
    exit
fi

programs=(Allocation Instruction Dispatch Event Command Growth Load Host)
zv_configure
zv_build "${programs[@]/%/Benchmark}"
for program in "${programs[@]}"; do
    scripts/wine-run.sh "build/linux-mingw/bin/${program}Benchmark.exe" --json "build/benchmarks/$program.json"
done
