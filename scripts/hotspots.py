#!/usr/bin/env python3
"""Shows where a command's own instructions go: the module's functions by how many of them they execute, what is compiled
into them included.

usage: hotspots.py [COMMAND]

  COMMAND     a part of the command's name as InstructionBenchmark prints it; by default "2, firmware command, 4096"

The preset linux-mingw must be built.
"""
import collections
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
BINARIES = ROOT / "build/linux-mingw/bin"
SYMBOLS = BINARIES / "WMIService.dll.debug"
ADDRESSES = ROOT / "build/benchmarks/addresses.txt"
SHOWN = 15


def tool(name, *arguments, **options):
    return subprocess.run([f"x86_64-w64-mingw32-{name}", *arguments], check=True, capture_output=True, text=True,
                          **options).stdout


def readable(name):
    """A function's name without what it returns, its arguments and those of templates."""
    name = name.replace("(anonymous namespace)::", "")
    while re.search(r"<[^<>]*>", name):
        name = re.sub(r"<[^<>]*>", "", name)
    return name.split("(")[0].split(" ")[-1]


def functions(offsets):
    """The functions at these offsets in the module; for one that was compiled into another, that one."""
    base = int(re.search(r"^ImageBase\s+(\w+)", tool("objdump", "-p", SYMBOLS), re.MULTILINE)[1], 16)
    addresses = "".join(f"{base + offset:x}\n" for offset in offsets)
    blocks = tool("addr2line", "-afiC", "-e", SYMBOLS, input=addresses).split("0x")[1:]
    return [readable(block.splitlines()[-2]) for block in blocks]


def main():
    if len(sys.argv) > 2 or sys.argv[1:] in (["-h"], ["--help"]):
        sys.exit(__doc__)
    ADDRESSES.parent.mkdir(parents=True, exist_ok=True)
    subprocess.run([ROOT / "scripts/wine-run.sh", BINARIES / "InstructionBenchmark.exe", "--only",
                    *(sys.argv[1:] or ["2, firmware command, 4096"]), "--addresses", ADDRESSES], check=True)

    counts = collections.defaultdict(dict)
    for line in ADDRESSES.read_text().splitlines():
        command, offset, count = line.split("\t")
        counts[command][int(offset, 16)] = int(count)
    for command, steps in counts.items():
        shares = collections.Counter()
        for name, count in zip(functions(steps), steps.values()):
            shares[name] += count
        print(f"\n{command}: {sum(steps.values())} instructions of the module's own")
        for name, count in shares.most_common(SHOWN):
            print(f"{count:9} {count / sum(steps.values()):6.1%}  {name}")


if __name__ == "__main__":
    main()
