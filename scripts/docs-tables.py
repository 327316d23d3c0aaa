#!/usr/bin/env python3
"""Writes the tables of docs/ that wmihost has the facts of, or checks that they are what it says.

usage: docs-tables.py [--check] [WMIHOST [ARGUMENT...]]
The program is scripts/wine-run.sh build/linux-mingw/bin/wmihost.exe unless given."""
import json
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
WMIHOST = [str(ROOT / "scripts/wine-run.sh"), str(ROOT / "build/linux-mingw/bin/wmihost.exe")]
REGION = re.compile(r"(<!-- table: ([a-z ]+) -->\n).*?(<!-- end of table -->)", re.S)


def code(text):
    return "`" + text.replace("|", "\\|") + "`"


def words(text):
    """Markdown takes no notice of what the text holds."""
    return re.sub(r"(--|[\\|<>*_])", r"\\\1", text)


def writers(source):
    """A record's constructor goes by the name of the record alone."""
    return ", ".join(code(re.sub(r"^(.*)\.\1$", r"\1", name)) for name in source.split(", "))


def table(facts, heads, cells):
    lines = [heads, ["---"] * len(heads), *map(cells, facts)]
    return "".join("| " + " | ".join(line) + " |\n" for line in lines)


def tables(facts):
    lines = [fact for fact in facts if "level" in fact]
    codes = [fact for fact in facts if fact.get("code", "").startswith(("0x0", "0x2"))]
    statuses = [fact for fact in facts if fact.get("code", "").startswith("0x8")]
    if not lines or not codes or len(lines) + len(codes) + len(statuses) != len(facts):
        raise SystemExit("wmihost explain says something that no table has")
    failures = [fact for fact in codes if fact["advice"]]
    named = [["code", "name", "meaning"], lambda fact: [fact["code"], code(fact["name"]), words(fact["meaning"])]]
    to_do = [["code", "likely", "what to do"],
             lambda fact: [fact["code"], words(fact["causes"]), words(fact["advice"])]]
    written = [["level", "text", "when"], lambda fact: [fact["level"], code(fact["text"]), words(fact["causes"])]]
    return {
        "codes": table(codes, *named),
        "statuses": table(statuses, *named),
        "command lines": table([line for line in lines if line["source"]],
                                  ["level", "text", "when", "written by"],
                                  lambda fact: [*written[1](fact), writers(fact["source"])]),
        "plain lines": table([line for line in lines if not line["source"]], *written),
        "codes to do": table(failures, *to_do),
        "statuses to do": table(statuses, ["code", "meaning", "what to do"],
                                   lambda fact: [fact["code"], words(fact["meaning"]), words(fact["advice"])]),
        "lines to do": table([line for line in lines if line["level"] in ("warning", "error")],
                                ["line", "likely", "what to do"],
                                lambda fact: [code(fact["text"]), words(fact["causes"]), words(fact["advice"])]),
    }


def main(arguments):
    check = arguments[:1] == ["--check"]
    command = arguments[1:] if check else arguments
    said = subprocess.run([*(command or WMIHOST), "--json", "explain"], capture_output=True, check=True, timeout=120)
    content = tables([json.loads(line) for line in said.stdout.decode().splitlines()])

    wrong = []
    unused = set(content)
    for page in sorted((ROOT / "docs").glob("*.md")):
        text = page.read_text()
        unused -= {name for _, name, _ in REGION.findall(text)}
        new = REGION.sub(lambda region: region[1] + content[region[2]] + region[3], text)
        if new != text:
            wrong.append(page.relative_to(ROOT))
            if not check:
                page.write_text(new)
    if unused:
        raise SystemExit("No page has the table " + ", ".join(sorted(unused)))
    if check and wrong:
        raise SystemExit("These differ from what wmihost explain says; scripts/docs-tables.py writes them anew: " +
                         ", ".join(map(str, wrong)))


main(sys.argv[1:])
