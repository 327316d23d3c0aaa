"""What Doxygen reads in place of a file: comments that count as documentation, headings and links that it understands.

usage: filter.py FILE"""
import pathlib
import re
import sys


DECLARATION = re.compile(r"\s+[^/{]*\(.*\)[^{]*;")


def label(page, fragment=""):
    """GitHub finds a heading by its words, Doxygen by a name that only one heading of all has."""
    return pathlib.Path(page).stem + ("-" + fragment if fragment else "")


def anchor(heading):
    return re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


def link(page, match):
    text, target = match.groups()
    path, _, fragment = target.partition("#")
    if target.startswith(("http:", "https:")) or path and not path.endswith(".md"):
        return match[0]
    return f"[{text}](@ref {label(path or page, fragment)})"


def markdown(page, text):
    code = title = False
    for line in text.splitlines():
        if line.startswith("```"):
            code = not code
            line = line.split(" ")[0]
        elif not code:
            if heading := re.match(r"(#+) (.*)", line):
                line += f" {{#{label(page, anchor(heading[2]) if title else '')}}}"
                title = True
            line = re.sub(r"`([^`]+)`", r"``\1``", line)  # Doxygen ends code at an apostrophe otherwise
            line = re.sub(r"\[([^]]*)\]\(([^)\s]+)\)", lambda match: link(page, match), line)
        yield line


def header(text):
    """Plain comments are documentation: of the declaration that they stand behind, or of those that follow them without
    an empty line between."""
    yield "/// @file"
    group = False
    lines = text.splitlines()
    for line, *following in (lines[i : i + 3] for i in range(len(lines))):
        if group and not DECLARATION.match(line):
            yield "///@}"
            group = False
        if comment := re.match(r"(\s*)//( .*|)$", line):
            yield f"{comment[1]}///{comment[2]}"
            if len(following) == 2 and all(map(DECLARATION.match, following)):
                yield "///@{"
                group = True
        else:
            yield re.sub(r"([;,{}])(\s+)// ", r"\1\2///< ", line)


def main(file):
    text = file.read_text()
    sys.stdout.write("\n".join(markdown(file.name, text) if file.suffix == ".md" else header(text)) + "\n")


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]))
