#!/usr/bin/env python3
"""Shows whether the tests would notice a mistake: changes one operator, constant, text or statement of the module at a
time, rebuilds the DLL, runs the tests, and prints the share of mutants that some test caught.

usage: mutate.py [--count N] [--seed S] [--list] [FILE...]

  --count N   how many mutants, 20 by default
  --seed S    chooses them; the same seed chooses the same ones of the same sources. Default: of the clock
  --list      only says which
  FILE        sources to change; by default all of Services/, Shared/ and Platform/ that are not headers

The tree must have no changes of its own and be built with the preset linux-mingw: each change is made in place and taken
back. A mutant that does not compile, or that gives the same machine code, does not count. Nor does one that changes
nothing that can be seen, if docs/testing.md says why in a row "| file | the changed line | why |": it is not run.
"""
import argparse
import hashlib
import pathlib
import random
import re
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build/linux-mingw"
MODULE = BUILD / "bin/WMIService.dll"
DOCUMENT = ROOT / "docs/testing.md"

# The quick ones first, and before them those that know most about the file: most mutants end there.
PROGRAMS = ["RecordTests", "QueryTests", "ServiceTests", "ConnectionTests", "FirmwareTests", "LauncherTests",
            "UserSessionTests", "ModuleTests", "MicrosoftHost", "HotkeyTests", "EventTests", "RaceTests", "FaultTests"]
FILTERS = {"EventTests": ["--gtest_filter=-EventLoad.*"]}
FIRST = [(r"Launcher/", ["LauncherTests", "UserSessionTests"]),
         (r"Hotkey|HotKey|EventListner|AppLauncher|PrivateSession", ["HotkeyTests"]),
         (r"BiosWmiEvent|EventRegistration|EventNotification", ["EventTests"]),
         (r"WMI/Firmware|ZVBiosWmi", ["FirmwareTests", "ConnectionTests"]),
         (r"HostCall", ["MicrosoftHost"]),
         (r"ExecuteCommand|Context|ExceptionMemory|Json", ["ServiceTests"])]
LIMIT = 900  # seconds for one program, on a busy machine

OPERATORS = [
    (r"==", "!="), (r"!=", "=="), (r"<=", "<"), (r">=", ">"), (r"(?<= )<(?= )", "<="), (r"(?<= )>(?= )", ">="),
    (r"&&", "||"), (r"\|\|", "&&"), (r"(?<= )\+(?= )", "-"), (r"(?<= )-(?= )", "+"), (r"(?<=[( ])!(?=[\w(])", ""),
    (r"\+\+(?=\w)", "--"), (r"--(?=\w)", "++"), (r"\btrue\b", "false"), (r"\bfalse\b", "true"),
    (r"\bFAILED\b", "SUCCEEDED"), (r"\bSUCCEEDED\b", "FAILED"),
]
NUMBER = re.compile(r"(?<![\w.\"'])(0x[0-9A-Fa-f]+|\d+)(?=[uU]?\b)(?![.\"'])")
TEXT = re.compile(r'(?<![\w])L?"((?:[^"\\]|\\.)+)"')
STATEMENT = re.compile(r"^\s*(?!return|break|continue|throw|using|static|const|auto|case|default|goto|else)"
                       r"[A-Za-z_][\w:.\->\[\]]*(?:\(.*\)|\s[+\-|&]?=\s.*);$")


def code_lines(path):
    """Numbered lines that hold code which runs, without their comments."""
    in_assembly = False
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines()):
        if line.startswith("asm("):
            in_assembly = True
        code = re.sub(r"\s*//.*$", "", line) if '"' not in line.partition("//")[0] else line
        if not in_assembly and code.strip() and not re.match(r"\s*(#|//|static_assert|using|namespace|\[\[|asm)", code):
            yield number, code
        if in_assembly and line.startswith(")"):
            in_assembly = False


def mutants_of(path):
    for number, line in code_lines(path):
        texts = [match.span() for match in re.finditer(r'"(?:[^"\\]|\\.)*"', line)]

        def outside_of_texts(match):
            return not any(begin <= match.start() < end for begin, end in texts)

        for pattern, replacement in OPERATORS:
            for match in filter(outside_of_texts, re.finditer(pattern, line)):
                yield number, "operator", line[:match.start()] + replacement + line[match.end():]
        for match in filter(outside_of_texts, NUMBER.finditer(line)):
            yield number, "constant", line[:match.start()] + str(int(match[1], 0) + 1) + line[match.end():]
        for match in TEXT.finditer(line):
            yield number, "text", line[:match.start(1)] + "~" + line[match.start(1):]
        if STATEMENT.match(line):
            yield number, "statement", re.match(r"\s*", line)[0] + ";"


def run(command, limit):
    """The exit code, or "time-out", and the output."""
    with tempfile.TemporaryFile() as output:  # not a pipe, which the services that Wine leaves behind would keep open
        try:
            code = subprocess.run(command, cwd=ROOT, timeout=limit, stdout=output, stderr=subprocess.STDOUT,
                                  check=False).returncode
        except subprocess.TimeoutExpired:
            code = "time-out"
        output.seek(0)
        return code, output.read().decode(errors="replace")


def build():
    # ConnectionTests has sources of the module in it.
    return run(["cmake", "--build", "--preset", "linux-mingw", "--target", "WMIService", "ConnectionTests"], 900)[0] == 0


def code_of_module():
    return hashlib.sha256(MODULE.read_bytes()).hexdigest()


def in_order(programs, path):
    """The programs, those first that know most about the file."""
    first = [name for pattern, names in FIRST if re.search(pattern, str(path)) for name in names if name in programs]
    return list(dict.fromkeys(first + programs))


def caught_by(programs):
    """What noticed the change: program and test, or None."""
    for program in programs:
        # "timeout" ends the program and what it started.
        code, output = run(["timeout", "-k", "5", str(LIMIT), "scripts/wine-run.sh",
                            str(BUILD / "tests" / (program + ".exe"))] +
                           ["--gtest_fail_fast", "--gtest_brief=1", *FILTERS.get(program, [])], LIMIT + 60)
        if code != 0 or "wine: Unhandled" in output:  # Wine now and then gives a process that crashed the exit code 0
            failed = re.search(r"\[  FAILED  \] (\S+?),? ", output)
            return f"{program}: {failed[1] if failed else f'exit code {code}'}"
    return None


def known_equivalents():
    rows = re.findall(r"^\| `([^`]+\.(?:h|cpp))` \| `(.+)` \| .+ \|$", DOCUMENT.read_text(encoding="utf-8"), re.M)
    return {(path, line.replace("\\|", "|")) for path, line in rows}


def main():
    arguments = argparse.ArgumentParser(usage=__doc__)
    arguments.add_argument("--count", type=int, default=20)
    arguments.add_argument("--seed", type=int, default=int(time.time()))
    arguments.add_argument("--list", action="store_true")
    arguments.add_argument("files", nargs="*")
    options = arguments.parse_args()

    files = [ROOT / name for name in options.files] or sorted(
        [*ROOT.glob("Services/**/*.cpp"), *ROOT.glob("Shared/**/*.cpp"), *ROOT.glob("Platform/**/*.cpp")])
    candidates = [(path, *mutant) for path in files for mutant in mutants_of(path)]
    random.Random(options.seed).shuffle(candidates)
    print(f"seed {options.seed}: {len(candidates)} mutants to choose from")
    if options.list:
        for path, number, kind, line in candidates[:options.count]:
            print(f"{path.relative_to(ROOT)}:{number + 1}: {kind}: {line.strip()}")
        return 0

    if subprocess.run(["git", "diff", "--quiet", "--", "Services", "Shared"], cwd=ROOT, check=False).returncode != 0:
        sys.exit("Services/, Shared/ or Platform/ has changes: commit them first.")
    programs = [name for name in PROGRAMS if (BUILD / "tests" / (name + ".exe")).exists()]
    if not build():
        sys.exit("The module does not build.")
    original_code = code_of_module()
    if failing := caught_by(programs):
        sys.exit(f"{failing} fails without any change.")

    equivalents = known_equivalents()
    caught = equivalent = 0
    survivors = []
    for path, number, kind, line in candidates:
        if caught + len(survivors) == options.count:
            break
        if (str(path.relative_to(ROOT)), line.strip()) in equivalents:
            equivalent += 1
            continue
        original = path.read_text(encoding="utf-8")
        lines = original.splitlines(keepends=True)
        was = lines[number].strip()
        lines[number] = line + "\n"
        place = f"{path.relative_to(ROOT)}:{number + 1}"
        try:
            path.write_text("".join(lines), encoding="utf-8")
            if not build():
                print(f"{place}: {kind}: does not compile: {line.strip()}", flush=True)
                continue
            if code_of_module() == original_code:
                print(f"{place}: {kind}: the same code: {line.strip()}", flush=True)
                continue
            test = caught_by(in_order(programs, path))
            print(f"{place}: {kind}: {'caught by ' + test if test else 'SURVIVED'}: {was}  ->  {line.strip()}",
                  flush=True)
            if test is None:
                survivors.append(place)
            else:
                caught += 1
        finally:
            path.write_text(original, encoding="utf-8")
    build()
    counted = caught + len(survivors)
    print(f"{caught} of {counted} mutants caught: {100.0 * caught / max(counted, 1):.0f} %; "
          f"{len(survivors)} survived; {equivalent} change nothing that can be seen")
    return 1 if survivors else 0


if __name__ == "__main__":
    sys.exit(main())
