#!/usr/bin/env bash
# Loads the script that "wmihost completion bash" prints into bash and presses Tab, as it were.
#   usage: bash_completion_test.sh WMIHOST.exe MACHINE.json COMMAND-THAT-RUNS-IT...
set -uo pipefail
program=$1 machine=$2
shift 2
emulator=("$@")

wmihost() { "${emulator[@]}" "$program" "$@"; }
source <(wmihost completion bash) || exit 1
complete -p wmihost | grep -q -- "-F _wmihost" || { echo "bash does not complete wmihost" >&2; exit 1; }

failures=0
# check EXPECTED WORD...: the last word is being typed
check() {
    local expected=$1
    shift
    COMP_WORDS=(wmihost "$@") COMP_CWORD=$# COMPREPLY=()
    _wmihost wmihost
    if [[ ${COMPREPLY[*]} != "$expected" ]]; then
        echo "${*@Q}: \"${COMPREPLY[*]}\" and not \"$expected\"" >&2
        failures=1
    fi
}

check "explain" exp
check "warning" get --log w
check "error" --log = e
check "info warning error" --log =
check "Win32_BIOS Win32_BaseBoard Win32_Battery" get --simulate "$machine" Win32_B
check "Product" get --simulate "'$machine'" Win32_BaseBoard Prod
check "zvqBIntM" get --simulate "$machine" --namespace "'root\\wmi'" zvqBI
check "zvqBIntM" get --simulate "$machine" --namespace 'root\\wmi' zvqBI
check "zvqBIntM" get --simulate "$machine" --namespace = '"root\wmi"' zvqBI
check "$machine" --simulate "${machine%.json}"
check "" fetch x
exit "$failures"
