"""Every machine that ships is in the gallery of docs/machines.md, and does what its row says.
usage: gallery.py WMIHOST-COMMAND...
"""
import re
import shlex
import subprocess
import sys

from markdown import ROOT, Page, report

ROW = re.compile(r"\| `([\w-]+\.json)` \| [^|]+ \| `([^`|]+)` \| `([^`|]+)` \|")

rows = [match.groups() for _, line in Page(ROOT / "docs/machines.md").prose if (match := ROW.fullmatch(line))]
machines = ROOT / "Simulator/machines"
problems = []
if sorted(machine for machine, _, _ in rows) != sorted(path.name for path in machines.iterdir()):
    problems.append(f"the gallery has {sorted(machine for machine, _, _ in rows)}, there are "
                    f"{sorted(path.name for path in machines.iterdir())}")
for machine, command, expected in rows:
    ended = subprocess.run([*sys.argv[1:], "--simulate", str(machines / machine), *shlex.split(command)],
                           stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                           check=False, timeout=60)
    lines = ended.stdout.splitlines()
    if expected not in lines:
        problems.append(f"{machine}: {command} does not print\n  {expected}\nbut\n  " + "\n  ".join(lines))
report(problems)
