#!/usr/bin/env bash
# Shows the programs of an unpacked release at work under Wine, which is all that it needs. Fails when an act does not end
# as it should. In the tree it is scripts/release-demo.sh, in a release scripts/demo.sh.
#   usage: demo.sh [--help]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
if (($# != 0)); then
    sed -n '2,/^set /{/^set /d;s/^# \{0,1\}//;p}' "scripts/$(basename "$0")"
    [[ $1 == --help ]]
    exit
fi
if ! command -v wine >/dev/null; then
    echo "There is no Wine. On Debian 12: apt-get install --no-install-recommends wine wine64" >&2
    exit 1
fi
export ZV_WINEPREFIX=${ZV_WINEPREFIX:-${TMPDIR:-/tmp}/wmiservice-demo-$UID}
notebook=(--simulate share/WMIService/machines/notebook.json)

# show EXIT-CODE ARGUMENT...: runs wmihost with the arguments.
show() {
    local expected=$1 code=0 argument
    shift
    printf '\n$ wmihost'
    for argument; do
        [[ $argument == *' '* ]] && argument="\"$argument\""
        printf ' %s' "$argument"
    done
    printf '\n'
    bash scripts/wine-run.sh bin/wmihost.exe "$@" </dev/null 2>&1 || code=$?
    if ((code != expected)); then
        printf 'This should have ended with exit code %d, not %d.\n' "$expected" "$code" >&2
        exit 1
    fi
}

printf '=== The programs, and what this machine has for them (8: something is missing) ===\n'
show 8 doctor
printf '\n=== WMI of this machine (of Wine) ===\n'
show 0 get Win32_BaseBoard Product
show 0 get Win32_Process Name --all
printf '\n=== A simulated notebook: its firmware, its settings, its hotkeys ===\n'
show 0 firmware 1 1 --out 128 "${notebook[@]}"
show 7 set "Fast Boot" Disable --password wrong "${notebook[@]}"
show 0 set "Fast Boot" Disable --password Winter-2024 "${notebook[@]}"
show 0 hotkeys --press 21:5 "${notebook[@]}"
printf '\n=== What a code means ===\n'
show 0 explain 0x20000002
printf '\nAll ended as it should. bin/wmihost.exe --help says what else there is.\n'
