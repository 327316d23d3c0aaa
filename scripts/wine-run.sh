#!/usr/bin/env bash
# Runs a Windows program under Wine with a prefix of its own inside the build tree; without a program, only starts Wine.
#   usage: wine-run.sh [PROGRAM.exe [ARGUMENT...]]
# ZV_WINEPREFIX overrides the prefix; by default it lies in build/wine of this source tree.
set -euo pipefail
if [[ -z ${ZV_WINEPREFIX:-} ]]; then
    root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
    ZV_WINEPREFIX=$root/build/wine
fi
export WINEPREFIX=$ZV_WINEPREFIX WINEDEBUG=${WINEDEBUG:--all} WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-winemenubuilder.exe=d}
export LC_ALL=C.UTF-8 # in any other than UTF-8 Wine finds no file whose name or folder is beyond ASCII

# The first program of a Wine session starts Wine's services, which keep its output open for as long as they run: whoever
# reads it to the end (ctest) would wait for them. So they are started apart, by one process while others wait, and stay
# for two minutes after the last program.
mkdir -p "$WINEPREFIX"
start_session() {
    if [[ ! -f $WINEPREFIX/.ready ]]; then
        wine wineboot -i && wineserver -w && touch "$WINEPREFIX/.ready" || return
    fi
    if wineserver -p120; then # fails where a server runs already
        wine wineboot
    fi
}
{
    flock 9
    if [[ ! -f $WINEPREFIX/.ready ]]; then
        echo "Wine starts for the first time here, which takes a quarter of a minute." >&2
    fi
    # Wine's services must not hold the lock.
    if ! start_session 9>&- </dev/null >"$WINEPREFIX/.start.log" 2>&1; then
        cat "$WINEPREFIX/.start.log" >&2
        echo "Wine does not start." >&2
        exit 1
    fi
} 9>"$WINEPREFIX/.lock"
if (($# != 0)); then
    exec wine "$@"
fi
