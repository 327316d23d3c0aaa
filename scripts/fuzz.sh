#!/usr/bin/env bash
# Feeds an instrumented build of the module with random requests and random answers of the machine, starting from the
# inputs in Tests/Fuzz/. Ends with a failure at the first input under which something is wrong.
#   usage: fuzz.sh [SECONDS] [SEED]      default: 60 seconds, a seed of the clock
# With ZV_GUARD_HEAP=overrun or underrun the module runs on a guarded heap, slower. New inputs are kept
# in build/fuzz and serve the next run; "fuzz.sh choose" copies those that take new ways to Tests/Fuzz/corpus.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/setup.sh

zv_install "${zv_for_tests[@]}"
zv_configure
zv_build CommandFuzzer WMIServiceFuzz

corpus=Tests/Fuzz/corpus
kept=build/fuzz
mkdir -p $kept
fuzzer() {
    local mode=$1
    shift
    nice scripts/wine-run.sh build/linux-mingw/tests/CommandFuzzer.exe "$mode" \
        build/linux-mingw/tests/WMIServiceFuzz.dll "$@"
}

if [[ ${1:-} == choose ]]; then
    chosen=$(mktemp -d)
    fuzzer choose "$chosen" $corpus $kept
    rm -f $corpus/*
    mv "$chosen"/* $corpus
    rmdir "$chosen"
    exit
fi

code=0
fuzzer fuzz "${1:-60}" "${2:-$(date +%s)}" $kept $corpus Tests/Fuzz/crashes $kept || code=$?
if ((code == 88)); then
    echo "Mend the module, and move the input to Tests/Fuzz/crashes: every test run replays it from then on." >&2
fi
exit $code
