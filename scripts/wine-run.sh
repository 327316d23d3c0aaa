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

# The first program of a Wine session starts Wine's services, which keep its output open for as long as they run: whoever
# reads it to the end (ctest) would wait for them. So they are started apart, by one process while others wait, and stay
# for two minutes after the last program.
mkdir -p "$WINEPREFIX"
start_session() {
    if [[ ! -f $WINEPREFIX/.ready ]]; then
        wine wineboot -i
        wineserver -w
        touch "$WINEPREFIX/.ready"
    fi
    if wineserver -p120; then # fails where a server runs already
        wine wineboot
    fi
}
(
    flock 9
    start_session 9>&- # Wine's services must not hold the lock
) 9>"$WINEPREFIX/.lock" </dev/null >/dev/null 2>&1
exec wine "$program" "$@"
