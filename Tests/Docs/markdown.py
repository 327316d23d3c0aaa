"""What the tests of the documentation read of Markdown."""
import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parents[2]


class Page:
    """headings: anchors as GitHub makes them. blocks: the fenced ones. prose: [(line number, text)], without blocks."""

    def __init__(self, path):
        self.path = path
        self.name = str(path.relative_to(ROOT))
        self.headings = set()
        self.blocks = []
        self.prose = []
        block = None
        for number, line in enumerate(path.read_text().splitlines(), 1):
            if block is None and line.startswith("```"):
                block = Block(self, number, line[3:], next((text for _, text in reversed(self.prose) if text), ""))
            elif line == "```":
                self.blocks.append(block)
                block = None
            elif block is not None:
                block.lines.append(line)
            else:
                self.prose.append((number, line))
                if heading := re.match(r"#+ (.*)", line):
                    self.headings.add(anchor(heading[1]))
        if block is not None:
            raise SystemExit(f"{block.where}: this block has no end")


class Block:
    """A fenced block: its language, the words behind that, the line of text above it, its lines."""

    def __init__(self, page, number, info, caption):
        self.where = f"{page.name}:{number}"
        self.language, _, self.purpose = info.partition(" ")
        self.caption = caption
        self.lines = []


def anchor(heading):
    text = re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", heading).lower()
    return re.sub(r"[^\w\- ]", "", text).replace(" ", "-")


def pages():
    return [Page(path) for path in sorted([ROOT / "README.md", *(ROOT / "docs").glob("*.md")])]


def report(problems):
    if problems:
        raise SystemExit("\n".join(problems))
