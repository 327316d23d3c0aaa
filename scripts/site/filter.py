"""Writes what Doxygen reads in place of files: comments that count as documentation, headings and links that it
understands.

usage: filter.py FOLDER FILE...      each goes to its place in the folder"""
import pathlib
import re
import sys


# Of a class, what moves, copies or destroys it; nobody comments on that.
SPECIAL = re.compile(r"\s+(?:\w+ )?(?:~|\w+& operator=\(|(\w+)\((?:const )?\1&)[^/]*$")


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


def comment_line(line, above):
    """A row of a list of parameters, name and text in columns, ends the paragraph before it, and so does what follows."""
    line = line.replace("//", "///", 1)
    row = re.match(r"(\s*///) {3}(\w+) {2,}(\S.*)", line)
    if row:
        return f"{row[1]}\n{row[1]} @param {row[2]} {row[3]}"
    ends = "@param" in above and not re.match(r"\s*/// {3}", line)
    return re.sub(r"(\s*///)(.*)", r"\1\n\1\2", line) if ends else line


def header(text):
    """Plain comments are documentation: of the declaration that they stand behind, or of all those that follow them
    without an empty line between."""
    yield "/// @file"
    comment = []
    above = ""  # the line above, if it is of the same paragraph
    for line in text.splitlines():
        code = line.split("//")[0].rstrip()
        if re.match(r"#define \w+_API\b", line):
            continue  # how a compiler exports
        if not code and line.strip():
            first = not above.lstrip().startswith("///")
            above = comment_line(line, "".join(comment) if not first else "")
            comment = [above] if first else [*comment, above]
            yield above
            continue
        if re.match(r"\s*([{}#)]|public:|private:|protected:|$)", line):
            comment = []
        if SPECIAL.match(line) and not above.lstrip().startswith("///"):
            yield "/// As usual."
        elif re.search(r"[;}]( *//.*)?$", above) and code == line.rstrip() and comment:
            yield "\n".join(["", *comment])
        yield re.sub(r"([;,{}])(\s+)// ", r"\1\2///< ", line)
        above = line


def main(folder, files):
    for file in files:
        text = file.read_text()
        place = folder / file
        place.parent.mkdir(parents=True, exist_ok=True)
        lines = markdown(file.name, text) if file.suffix == ".md" else header(text)
        place.write_text("\n".join(lines) + "\n")


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]), list(map(pathlib.Path, sys.argv[2:])))
