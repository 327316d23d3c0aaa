"""Runs the examples of README.md and docs/, or says which cannot be run and why.

usage: examples.py FOLDER WMIHOST...      FOLDER is emptied and worked in; the rest is how to start wmihost

What a fenced block is, the words behind its language say, which readers do not see:
    sh                      commands, which must succeed
    console                 a transcript: commands behind "$ " and what they write; in that, … stands for anything
    json machine [FILE]     a machine description, which wmihost check must find right; later examples may use the file
    json in KEY             an element of that list of a description
    LANGUAGE part of FILE   lines of a file of this tree, which is built and run elsewhere
    LANGUAGE not run: WHY
    json request, json response, json progress, text …    Tests/Guide runs them
"""
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

from markdown import ROOT, pages, report

FOLDER = pathlib.Path(sys.argv[1])
WMIHOST = sys.argv[2:]
LONGEST_RUN = 120  # seconds; of one block


def prepare():
    """A folder of its own for what examples write, that looks like the top of this tree, with wmihost on the path."""
    shutil.rmtree(FOLDER, ignore_errors=True)
    (FOLDER / "path").mkdir(parents=True)
    program = FOLDER / "path/wmihost"
    program.write_text(f'#!/bin/sh\nexec {shlex.join(WMIHOST)} "$@"\n')
    program.chmod(0o755)


def workplace(page):
    place = FOLDER / page.path.stem.lower()
    place.mkdir()
    for entry in ROOT.iterdir():
        if not entry.name.startswith("."):
            (place / entry.name).symlink_to(entry)
    return place


def run(script, place):
    environment = dict(os.environ, PATH=f"{FOLDER / 'path'}:{os.environ['PATH']}", NO_COLOR="1")
    return subprocess.run(["bash", "-c", script], cwd=place, env=environment, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=LONGEST_RUN)


def text_of(output):
    return output.decode("utf-8", "replace").replace("\r\n", "\n")


def run_commands(block, place):
    done = run("set -e\n" + "\n".join(block.lines), place)
    return f"ends with {done.returncode}:\n{text_of(done.stdout)}" if done.returncode else None


def matches(expected, output):
    pattern = "".join("(?:.*\n)*?" if line.strip() == "…" else ".*".join(map(re.escape, line.split("…"))) + "\n"
                      for line in expected)
    return re.fullmatch(pattern, output if output.endswith("\n") or not output else output + "\n") is not None


def run_transcript(block, place):
    commands = []  # [(command, lines it writes)]
    for line in block.lines:
        if line.startswith("$ "):
            commands.append((line[2:], []))
        elif commands and commands[-1][0].endswith("\\"):
            commands[-1] = (commands[-1][0] + "\n" + line.removeprefix("> "), [])
        elif commands:
            commands[-1][1].append(line)
        else:
            return "begins without a command"
    # One shell for all of them: $? and variables are those of the command before.
    run("\n".join(f"{{ {command}\n}} >output.{i} 2>&1" for i, (command, _) in enumerate(commands)), place)
    for i, (command, expected) in enumerate(commands):
        output = text_of((place / f"output.{i}").read_bytes())
        if not matches(expected, output):
            return f"$ {command}\nwrites\n{output}"
    return None


def check_machine(text, place, file="unnamed.json"):
    (place / file).write_text(text)
    done = run("wmihost check " + file, place)
    return text_of(done.stdout) if done.returncode else None


def check_lines(block, file):
    strip = lambda lines: [line.strip() for line in lines]
    source, lines = strip((ROOT / file).read_text().splitlines()), strip(block.lines)
    found = any(source[i : i + len(lines)] == lines for i in range(len(source)))
    return None if found else f"these lines are not in {file}"


def problem_of_caption(block):
    """Readers do not see the words behind the language: the line above says the same to them."""
    kind, _, number = block.purpose.partition(" ")
    told = {"request": f"function {number.split(' ')[0]}", "response": f"code {number}", "progress": "Progress"}[kind]
    return None if told in block.caption else f'the line above lacks "{told}"'


def problem_of(block, place):
    if block.language == "sh" and not block.purpose:
        return run_commands(block, place)
    if block.language == "console" and not block.purpose:
        return run_transcript(block, place)
    if machine := re.fullmatch(r"machine\b ?(.*)", block.purpose):
        return check_machine("\n".join(block.lines), place, *filter(None, [machine[1]]))
    if part := re.fullmatch(r"in (\w+)", block.purpose):
        element = json.loads("\n".join(block.lines))
        return check_machine(json.dumps({"version": 1, "name": "", "namespaces": [], part[1]: [element]}), place)
    if part := re.fullmatch(r"part of (\S+)", block.purpose):
        return check_lines(block, part[1])
    if re.match(r"(request|response|progress)\b", block.purpose):
        return problem_of_caption(block)
    return "nothing says how to run this, nor why it is not run"


def check_page(page):
    problems, ran, left_out = [], 0, []
    place = workplace(page)
    for number, line in page.prose:
        if line.startswith("    ") and not page.prose[page.prose.index((number, line)) - 1][1].strip():
            problems.append(f"{page.name}:{number}: code that is not in a fenced block")
    for block in page.blocks:
        if why := re.fullmatch(r"not run: (.+)", block.purpose):
            left_out.append(f"{block.where}: {why[1]}")
        else:
            ran += 1
            if problem := problem_of(block, place):
                problems.append(f"{block.where}: {problem}")
    return problems, ran, left_out


def main():
    prepare()
    with ThreadPoolExecutor(2) as pool:
        results = list(pool.map(check_page, pages()))
    left_out = [line for result in results for line in result[2]]
    print(f"{sum(result[1] for result in results)} examples ran. {len(left_out)} did not:", *left_out, sep="\n  ")
    report([problem for result in results for problem in result[0]])


main()
