#!/usr/bin/env bash
# Runs a test program under Wine, as wine-run.sh does, and is done when the program is. Services that Wine starts on the
# way (its desktop, say) inherit the program's output and outlive it by minutes: whoever reads that output to its end, as
# ctest does, would wait for them.
#   usage: wine-test.sh PROGRAM.exe [ARGUMENT...]
set -uo pipefail
end="--- the program has ended ---"
{
    "$(dirname "${BASH_SOURCE[0]}")/wine-run.sh" "$@" 2>&1
    status=$?
    printf '\n%s\n' "$end"
    exit $status
} | sed -u "/^$end\$/Q"
