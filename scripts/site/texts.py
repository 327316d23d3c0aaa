"""Writes what search.js looks through: each paragraph and row of a table of the pages, with its page and heading.

usage: texts.py PAGE.md..."""
import json
import pathlib
import re
import sys

from filter import anchor, label


def paragraphs(page):
    """(anchor, heading, text)"""
    title = heading = target = None
    text = []
    for line in [*page.read_text().splitlines(), ""]:
        begins = re.match(r"(#+) (.*)|\||```|[*-] |\d+\. ", line)
        if text and (begins or not line.strip()):
            yield target, heading, " ".join(text)
            text = []
        if begins and begins[1]:
            title = title or begins[2]
            target = label(page.name, anchor(begins[2]) if heading else "")
            heading = title if not heading else f"{title}: {begins[2]}"
        elif line.strip() and not line.startswith(("```", "| ---", "|---", "<!--", "![")):
            text.append(re.sub(r"\[([^]]*)\]\([^)]*\)|[`*|\\]", r"\1", line).strip())


def main(files):
    sections = [("index.html" if file.stem == "README" else file.stem + ".html", *paragraph)
                for file in files for paragraph in paragraphs(file)]
    print("const texts = " + json.dumps([[f"{page}#{target}", *rest] for page, target, *rest in sections]) + ";")


main([pathlib.Path(name) for name in sys.argv[1:]])
