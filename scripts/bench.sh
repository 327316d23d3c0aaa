#!/usr/bin/env bash
# Builds and runs the benchmarks; each compares, in one run, the module with the least that the same work could cost.
# Tables go to standard output, JSON to build/benchmarks/.
#   usage: bench.sh
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/setup.sh

zv_install_missing_packages
zv_build --target AllocationBenchmark CommandBenchmark DispatchBenchmark EventBenchmark \
    GrowthBenchmark

mkdir -p build/benchmarks
for program in AllocationBenchmark DispatchBenchmark EventBenchmark GrowthBenchmark CommandBenchmark; do
    scripts/wine-run.sh "build/linux-mingw/bin/$program.exe" --json "build/benchmarks/$program.json"
done
