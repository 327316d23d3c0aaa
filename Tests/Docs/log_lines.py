"""The reference has every line that the module logs, and no other.

usage: log_lines.py WMIService.dll
What the module may log are the UTF-16 texts in its image. Those that are something else stand in other-texts.txt: a text
that is in neither place is new and has to be entered in Host/Explain/LogLines.cpp, or there."""
import pathlib
import re
import sys

from markdown import ROOT, report

# Texts that the module puts between the others: they stand in a line, they are none.
CALL = re.compile(r"(?:failed on function (.+) with HRESULT 0x|Windows API (.+) error, GetLastError = )\Z")
PREFIX = "%S.%S - "


def texts_of(image):
    """Two bytes before a text may belong to it or not: narrow texts lie among them. So each may have one letter more."""
    data = image.read_bytes()
    found = re.findall(rb"(?:[\x20-\x7e]\x00){4,}(?=\x00\x00)", data)
    # A line break ends a text for this search; what stands before it is all there is to see.
    found += re.findall(rb"(?:[\x20-\x7e]\x00){4,}(?=\n\x00)", data)
    return {text.decode("utf-16-le") for text in found}


def lines_of_the_reference():
    rows = re.findall(r"^\| (?:info|warning|error|debugger) \| `(.*?)` \|", (ROOT / "docs/reference.md").read_text(), re.M)
    return {row.replace("\\|", "|") for row in rows}


def fits(text, line):
    """Whether the line is one that the format makes. Braces in the line stand for something that the format fills in."""
    text = text.removeprefix(PREFIX)
    pieces = re.split(r"%l?[A-Za-z]", text)
    if not any(pieces):
        return re.fullmatch(r"{[^{}]*}", line) is not None
    if len(pieces) > 1:
        return re.fullmatch("(.+)".join(map(re.escape, pieces)), line) is not None
    call = CALL.match(re.split("{", line)[0])
    return text in (line, *re.split(r"{[^{}]*}", line), *(call.groups() if call else ()))


def main(image):
    lines = lines_of_the_reference()
    others = set((pathlib.Path(__file__).parent / "other-texts.txt").read_text().splitlines())
    texts = texts_of(image)
    known = lambda text: text in others or any(fits(text, line) for line in lines)

    problems = [f"neither in the reference nor in other-texts.txt: {text}" for text in sorted(texts)
                if not known(text) and not known(text[1:])]
    problems += [f"the module does not log: {line}" for line in sorted(lines)
                 if not any(fits(text, line) or fits(text[1:], line) for text in texts)]
    for line in lines:
        if call := CALL.match(line.split("{")[0]):
            name = call[1] or call[2]
            if not any(name in (found, found[1:]) for found in texts):
                problems.append(f"the module makes no such call: {name}")
    report(problems)
    print(f"{len(lines)} different lines, {len(texts)} texts")


main(pathlib.Path(sys.argv[1]))
