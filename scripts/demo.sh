#!/usr/bin/env bash
# Installs what is missing, builds the module and its host program, and shows each at work under Wine as soon as it is built.
# Fails when an act does not end as it should.
#   usage: demo.sh [FOLDER]      FOLDER: an unpacked release, whose program and machines are shown
set -euo pipefail
if [[ ${1:-} == --help ]]; then
    sed -n '2,/usage/s/^# //p' "${BASH_SOURCE[0]}"
    exit
fi
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/setup.sh

binaries=build/linux-mingw/bin
machines=Simulator/machines
if (($# != 0)); then
    binaries=$1/bin
    machines=$1/share/WMIService/machines
fi
demo=build/demo
mkdir -p $demo

act() {
    printf '\n=== %s ===\n' "$*"
}

# small_program NAME SOURCE...: builds a program that needs nothing of CMake's.
small_program() {
    local name=$1
    shift
    x86_64-w64-mingw32-g++-posix -std=c++20 -I. "$@" -static -lshell32 -o "$demo/$name.exe"
}

wmihost() {
    scripts/wine-run.sh "$binaries/wmihost.exe" "$@"
}

# show EXIT-CODE ARGUMENT...: runs wmihost with the arguments, its input being ours.
show() {
    local expected=$1 code=0
    shift
    local argument
    printf '\n$ wmihost'
    for argument in "$@"; do
        [[ $argument == *' '* ]] && argument="\"$argument\""
        printf ' %s' "$argument"
    done
    printf '\n'
    wmihost "$@" 2>&1 || code=$?
    if ((code != expected)); then
        printf 'This should have ended with exit code %d, not %d.\n' "$expected" "$code" >&2
        exit 1
    fi
}

zv_phase packages
zv_install "${zv_for_building[@]}"
zv_phase module
scripts/wine-run.sh & # its first start takes as long as the build
wine=$!
if (($# == 0)); then
    zv_configure_without_tests
    zv_build WMIService
fi
small_program consumer Tests/Package/consumer/Main.cpp
cp "$binaries"/{WMIService,Logging}.dll $demo
wait $wine

act "The README's host of twenty lines loads the module and asks this machine's WMI for its name"
printf '\n$ consumer\n'
scripts/wine-run.sh $demo/consumer.exe
echo "First answer after $SECONDS seconds."

if (($# == 0)); then
    zv_phase wmihost
    zv_build wmihost
fi
zv_phase acts

act "This machine's WMI: one value, every instance, whole objects"
show 0 get Win32_BaseBoard Product </dev/null
show 0 get Win32_OperatingSystem Caption </dev/null
show 0 get Win32_Process Name --all </dev/null
show 0 get Win32_Process ProcessId --where "Name = 'services.exe'" </dev/null
show 0 text Win32_BIOS </dev/null

act "The same as the module gives it to a program"
printf '\nrequest: %s' '{"property":"Product","wmiClass":"Win32_BaseBoard","wmiNamespace":"ROOT\\CIMV2"}'
show 0 run 16 - <<<'{"property":"Product","wmiClass":"Win32_BaseBoard","wmiNamespace":"ROOT\\CIMV2"}'
show 0 --json get Win32_Process Name --all </dev/null

act "One failure of each kind"
show 1 get Win32_NoSuchClass Name </dev/null
show 1 get Win32_BaseBoard NoSuchProperty </dev/null
show 1 get Win32_BaseBoard Product --namespace 'root\nowhere' </dev/null
show 1 get Win32_Process Name --where 'this is no filter' </dev/null
show 1 run 3 - <<<'{}'
show 1 run 16 - <<<'{"property":'
show 1 run 16 - <<<'{"wmiClass":"Win32_BaseBoard"}'

act "What the module says about a failure in its log"
show 1 --log warning get Win32_BaseBoard Product --namespace 'root\nowhere' </dev/null

notebook=(--simulate "$machines/notebook.json")

act "Raw firmware commands: this machine has none, a simulated notebook has"
show 1 firmware 1 1 --out 128 </dev/null
show 0 firmware 1 1 --out 128 "${notebook[@]}" </dev/null
show 0 firmware 2 40 --in "03 00 00 00" "${notebook[@]}" </dev/null
show 7 firmware 1 9 "${notebook[@]}" </dev/null
show 0 "${notebook[@]}" run 2 - <<<'{"command":1,"commandType":40,"inputDataSize":0,"returnDataSize":4}'

act "Firmware settings of the notebook: a wrong password, the right one from standard input, and the defaults"
show 7 set "Fast Boot" Disable --password wrong "${notebook[@]}" </dev/null
show 0 set "Fast Boot" Disable --password - "${notebook[@]}" <<<'Winter-2024'
show 0 defaults --yes --password - "${notebook[@]}" <<<'Winter-2024'

act "This machine recorded, and its description simulated"
show 0 record --out $demo/recorded.json Win32_BIOS Win32_BaseBoard </dev/null
show 0 check $demo/recorded.json </dev/null
show 0 --simulate $demo/recorded.json get Win32_BIOS SerialNumber </dev/null

description=$(<"$machines/notebook.json")

act "A simulated notebook's firmware events, as they come"
schedule='"schedule": [{"atMs": 300, "id": 20, "data": 16711680}, {"atMs": 600, "id": 21, "data": 5}]'
printf '%s\n' "${description/'"events": {'/"\"events\": { $schedule,"}" >"$demo/events.json"
show 0 --simulate "$demo/events.json" events --count 2 </dev/null

act "Hotkeys on a simulated notebook: one is only shown, the other starts a program of this machine"
small_program LaunchedProgram Tests/Launcher/LaunchedProgram.cpp Tests/Support/Text.cpp
report=$PWD/$demo/report.txt
rm -f "$report"
launched=$description
launched=${launched/'"alias": "ChimeboxUWP.exe",'/"\"alias\": \"ChimeboxUWP.exe\",
      \"executable\": \"Z:$PWD/$demo/LaunchedProgram.exe\","}
launched=${launched/'"C:\\Program Files\\WindowsApps\\7B3E90C4.Chimeboxes_1.38.2.0_x64__k2x7m4qp9wt1d"'/'"C:\\windows"'}
launched=${launched/'"environment": {'/"\"environment\": { \"ZV_REPORT\": \"Z:$report\","}
printf '%s\n' "$launched" >"$demo/hotkeys.json"
show 0 --timeout 60 --simulate "$demo/hotkeys.json" \
    hotkeys --press 20:0xff0000 --press 21:5 --launch-for-real </dev/null
for ((i = 0; i < 300; ++i)); do
    grep -qs '^directory:' "$report" && break
    sleep 0.1
done
printf '\nThe started program writes:\n'
grep -E '^(command line|arguments|directory):' "$report"
zv_summary
