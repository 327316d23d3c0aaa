#!/usr/bin/env bash
# Builds and runs the benchmarks; each compares, in one run, the module with the least that the same work could cost.
# Tables go to standard output, JSON to build/benchmarks/. Takes three minutes once all is built.
# On a busy machine: chrt -r 1 scripts/bench.sh, as root.
#   usage: bench.sh
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/setup.sh

zv_install_missing_packages
programs=(Allocation Instruction Dispatch Event Command Growth Load Host)
zv_build --target "${programs[@]/%/Benchmark}"

mkdir -p build/benchmarks
for program in "${programs[@]}"; do
    scripts/wine-run.sh "build/linux-mingw/bin/${program}Benchmark.exe" --json "build/benchmarks/$program.json"
done
