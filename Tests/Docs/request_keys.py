"""The reference has every key of every request, in the order in which the module reads them, with the right code."""
import re

from markdown import ROOT, report

# The record of a request, and the section of the reference that is about it.
SECTIONS = {
    "ReadBiosWmiCommandParamsJson": "Function 2:",
    "ReadFilterBiosEventJason": "Functions 4 and 8:",
    "ReadGetWmiClassObjectTextParamsJason": "Function 256:",
    "ReadGetWmiPropertyValueParamsJason": "Functions 16 and 32:",
    "ReadSetBiosSettingParamsJason": "Function 64:",
    "ReadSetBiosSystemDefaultsParamsJason": "Function 128:",
}
READ = re.compile(r'reader\.(?:(Number|RequiredText|Text)\(L"(\w+)", "\w+", (\w+)\)|(Filter|Password)\(\))'
                  r'|(?:key = )L"(\w+)"')
SOURCE = (ROOT / "Services/WMI/Records/Requests.cpp").read_text()


def codes():
    header = (ROOT / "Shared/Contract/ResultCode.h").read_text()
    return {name: code for name, code in re.findall(r"(\w+) = (0x2000\w+)", header)}


def keys_of(record):
    """[(key, type, result code or None)]"""
    source = re.search(rf"\n{record}::.*?\n}}\n", SOURCE, re.S)[0]
    for kind, key, code, optional, event in READ.findall(source):
        if optional:
            yield optional.lower(), "string", None
        elif event:
            yield event, "number", codes()[re.search(r"static_cast<int>\((\w+)\)", source)[1]]
        else:
            yield key, "number" if kind == "Number" else "string", codes()[code]


def rows_of(reference, section):
    """[(key, type, whole row)]"""
    text = reference[reference.index("\n## " + section):]
    table = re.search(r"\| key \|.*?\n\n", text, re.S)[0]
    return [(*re.match(r"\| `(\w+)` \| (\w+) \|", row).groups(), row) for row in table.splitlines()[2:] if row]


def main():
    reference = (ROOT / "docs/reference.md").read_text()
    records = set(re.findall(r"\n(Read\w+)::Read", SOURCE))
    problems = [f"of no section: {record}" for record in records.symmetric_difference(SECTIONS)]
    for record, section in SECTIONS.items():
        read, rows = list(keys_of(record)), rows_of(reference, section)
        if [key[:2] for key in read] != [row[:2] for row in rows]:
            problems.append(f"{section} the module reads {[key[:2] for key in read]}, "
                            f"the reference has {[row[:2] for row in rows]}")
            continue
        for (key, _, code), (_, _, row) in zip(read, rows):
            if (code or "| |") not in row:
                problems.append(f"{section} the row of {key} should have {code or 'no code'}")
    report(problems)
    missing = [code for code in codes().values() if code not in reference[:reference.index("## Result codes")]]
    report([f"no section says when {code} is returned" for code in missing])


main()
