"""Every relative link of the pages leads somewhere; every path of this tree and every test that they name exists."""
import re

from markdown import ROOT, Page, pages, report

LINK = re.compile(r"\[[^]]*\]\(([^)\s]+)\)")
CODE = re.compile(r"`([^`]+)`")
TEST = re.compile(r"\w+Tests: ((?:\w+/)?\w+\*?\.[\w*]+|\w+\*)")
PATH = re.compile(r"(?:(?:Benchmarks|Host|Interception|Logging|Platform|Services|Shared|Simulator|Tests|cmake|docs|scripts)/"
                  r"|CMake\w+\.\w+|vcpkg\.json|README\.md)[\w.*/…{},-]*")


def check_link(page, target):
    path, _, fragment = target.partition("#")
    file = (page.path.parent / path).resolve() if path else page.path
    if not file.exists():
        return "there is no " + path
    if fragment and fragment not in Page(file).headings:
        return f"{file.name} has no heading #{fragment}"
    return None


def check_path(text):
    """*, … and FILE stand for anything, {h,cpp} for either."""
    alternatives = re.search(r"{([^}]*)}", text)
    for choice in alternatives[1].split(",") if alternatives else [""]:
        pattern = (text.replace(alternatives[0], choice) if alternatives else text).replace("…", "*").replace("/FILE", "/*").rstrip("/")
        if not any(ROOT.glob(pattern)):
            return f"there is no {pattern} in this tree"
    return None


def tests_of_the_tree():
    """Suite.Case of each"""
    declared = re.compile(r"TEST(?:_F|_P)?\((\w+),\s*(\w+)\)")
    return {".".join(test) for file in (ROOT / "Tests").glob("*/*.cpp") for test in declared.findall(file.read_text())}


def check_test(name, known):
    """* stands for anything, as in GoogleTest's filters; what an instantiation puts before the suite is left out."""
    pattern = re.compile(name.split("/")[-1].replace(".", "\\.").replace("*", ".*"))
    return None if any(map(pattern.fullmatch, known)) else "there is no test " + name


def main():
    problems, links, paths, tests = [], 0, 0, 0
    known = tests_of_the_tree()
    for page in pages():
        for number, line in page.prose:
            found = []
            for target in LINK.findall(line):
                if not target.startswith(("http:", "https:")):
                    links += 1
                    found.append(check_link(page, target))
            for code in CODE.findall(line):
                if test := TEST.fullmatch(code):
                    tests += 1
                    found.append(check_test(test[1], known))
                for word in code.split():
                    if PATH.fullmatch(word):
                        paths += 1
                        found.append(check_path(word))
            problems += [f"{page.name}:{number}: {problem}" for problem in found if problem]
    report(problems)
    print(f"{links} links, {paths} paths and {tests} tests")
    if links < 30 or paths < 100 or tests < 20:
        raise SystemExit("There must be more: are they looked for in the right way?")


main()
