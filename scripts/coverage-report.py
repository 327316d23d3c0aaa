#!/usr/bin/env python3
"""Prints what gcovr measured: a line per file, then the lines that no test reached, each with its reason.

usage: coverage-report.py COVERAGE.json SUMMARY.json REASONS.md

The reasons are rows "| file | text of the line | reason |" of tables in REASONS.md. Fails when a line has none. Rows that
speak of a line that was reached or is gone are listed.
"""
import json
import re
import sys


def share(covered, total):
    return f"{covered:5}/{total:<5}{100.0 * covered / total if total else 100.0:6.1f} %"


def read_reasons(path):
    reasons = {}
    with open(path, encoding="utf-8") as file:
        for row in file:
            cells = re.match(r"\| `([^`]+\.(?:h|cpp))` \| `(.+)` \| (.+) \|$", row.rstrip())
            if cells:
                reasons[cells[1], cells[2].replace("\\|", "|")] = cells[3]
    return reasons


def unreached(coverage):
    for file in coverage["files"]:
        with open(file["file"], encoding="utf-8") as source:
            text = source.read().splitlines()
        for line in file["lines"]:
            if line["count"] == 0 and not line["gcovr/noncode"] and not line.get("gcovr/excluded"):
                number = line["line_number"]
                yield file["file"], number, text[number - 1].strip() if number <= len(text) else ""


def main(coverage_path, summary_path, reasons_path):
    with open(summary_path, encoding="utf-8") as file:
        summary = json.load(file)
    with open(coverage_path, encoding="utf-8") as file:
        coverage = json.load(file)
    reasons = read_reasons(reasons_path)

    print(f"{'file':58}{'lines':>20}{'branches':>22}")
    for entry in summary["files"]:
        print(f"{entry['filename']:58}{share(entry['line_covered'], entry['line_total']):>20}"
              f"{share(entry['branch_covered'], entry['branch_total']):>22}")
    print(f"{'all':58}{share(summary['line_covered'], summary['line_total']):>20}"
          f"{share(summary['branch_covered'], summary['branch_total']):>22}")

    print("\nLines that no test reached:")
    unexplained = 0
    used = set()
    for path, number, text in unreached(coverage):
        reason = reasons.get((path, text))
        used.add((path, text))
        unexplained += reason is None
        print(f"  {path}:{number}: {text}\n      {reason or 'NO REASON IN ' + reasons_path}")
    stale = [key for key in reasons if key not in used]
    for path, text in stale:
        print(f"{reasons_path} speaks of a line that is reached or gone: {path}: {text}")
    if unexplained:
        print(f"{unexplained} lines have no reason in {reasons_path}.")
    return 1 if unexplained else 0


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    sys.exit(main(*sys.argv[1:]))
