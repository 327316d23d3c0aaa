#!/usr/bin/env bash
# Runs a Windows program under Wine with a prefix of its own inside the build tree.
#   usage: wine-run.sh PROGRAM.exe [ARGUMENT...]
# ZV_WINEPREFIX overrides the prefix; by default it lies in build/wine of this source tree.
set -euo pipefail
program=$1
shift
if [[ -z ${ZV_WINEPREFIX:-} ]]; then
    root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
    ZV_WINEPREFIX=$root/build/wine
fi
export WINEPREFIX=$ZV_WINEPREFIX WINEDEBUG=${WINEDEBUG:--all} WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-winemenubuilder.exe=d}
if [[ ! -f $WINEPREFIX/.ready ]]; then
    mkdir -p "$WINEPREFIX"
    # One process makes the prefix; others that start meanwhile wait for it.
    (
        flock 9
        if [[ ! -f $WINEPREFIX/.ready ]]; then
            wine wineboot -i >/dev/null 2>&1
            wineserver -w
            touch "$WINEPREFIX/.ready"
        fi
    ) 9>"$WINEPREFIX/.lock"
fi
exec wine "$program" "$@"
