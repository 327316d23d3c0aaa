"""Includes go down the house: a file includes its own room and rooms further up in the list below. Rooms may be left out
between two floors, but a room that is not in the list is an error, so that each new one finds its place."""
import re

from markdown import ROOT, report

# From the ground up.
ROOMS = """
    Platform/Windows  Platform/Com  Platform/GccRuntime
    Logging
    Shared/Contract  Shared/Log  Shared/Json  Shared/WMI
    Services  Services/Launcher  Services/WMI/Records  Services/WMI  Services/WMI/Hotkeys
    Interception
    Simulator/Cim  Simulator/Description  Simulator/Wql  Simulator/State  Simulator/Com  Simulator/User  Simulator
    Host/Text  Host/Explain  Host/Terminal  Host/Recording  Host/Trace  Host/Watch  Host/Client
    Host/CommandLine  Host/CommandParts  Host/Completion  Host/Doctor  Host/Commands  Host/Shell  Host
""".split()
INCLUDE = re.compile(r'^#include "([^"]+)"', re.M)


def room(path):
    return path.rpartition("/")[0]


def main():
    problems, includes = [], 0
    tops = dict.fromkeys(name.partition("/")[0] for name in ROOMS)
    for file in (file for top in tops for ending in ("h", "cpp", "cpp.in") for file in (ROOT / top).rglob("*." + ending)):
        name = file.relative_to(ROOT).as_posix()
        if room(name) not in ROOMS:
            problems.append(f"{name}: its room has no place in the list of {__file__}")
            continue
        for included in INCLUDE.findall(file.read_text(encoding="utf-8")):
            includes += 1
            if room(included) not in ROOMS or ROOMS.index(room(included)) > ROOMS.index(room(name)):
                problems.append(f"{name} includes {included}, which is not below it")
    report(problems)
    print(f"{includes} includes of {len(ROOMS)} rooms")


main()
