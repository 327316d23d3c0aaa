"""Windows has what the images import: each import stands in MinGW-w64's import library of that very DLL, which is its
record of what Windows exports, or in documented-imports.txt with the page that says which DLL exports it.

usage: imports.py COMPILER NM DLLTOOL IMPORT-LIBRARY-OF-OURS... IMAGE...
Running the images proves nothing here: Wine loads one whatever it imports, and Windows does not. What wmihost imports with
a delay is the module's, by the list of its exports, and in no directory of an image that GNU ld has linked."""
import functools
import pathlib
import struct
import subprocess
import sys

DOCUMENTED = pathlib.Path(__file__).parent / "documented-imports.txt"


def imports(image):
    """(DLL in lower case, function) of each import of a 64-bit image."""
    data = image.read_bytes()
    word = lambda at: struct.unpack_from("<I", data, at)[0]
    pe = word(0x3C)
    sections, optional_size = struct.unpack_from("<H", data, pe + 6)[0], struct.unpack_from("<H", data, pe + 20)[0]
    table = [struct.unpack_from("<IIII", data, pe + 24 + optional_size + 40 * i + 8) for i in range(sections)]

    def offset(rva):
        return next(rva - start + raw for size, start, raw_size, raw in table if start <= rva < start + max(size, raw_size))

    def text(rva):
        at = offset(rva)
        return data[at:data.index(b"\0", at)].decode()

    descriptor = offset(word(pe + 24 + 112 + 8))  # the second directory
    while names := word(descriptor):
        at = offset(names)
        while (thunk := struct.unpack_from("<Q", data, at)[0]) != 0:
            yield text(word(descriptor + 12)).lower(), f"#{thunk & 0xffff}" if thunk >> 63 else text(thunk + 2)
            at += 8
        descriptor += 20


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True, timeout=60).stdout


def main(compiler, nm, dlltool, *files):
    own = {pathlib.Path(file).stem.lower(): file for file in files if file.endswith(".a")}
    images = [pathlib.Path(file) for file in files if not file.endswith(".a")]

    @functools.cache
    def exports(dll):
        library = own.get(dll) or output(compiler, f"-print-file-name=lib{pathlib.PurePath(dll).stem}.a").strip()
        if not pathlib.Path(library).exists() or output(dlltool, "--identify", library).lower().split() != [dll]:
            return set()
        symbols = (line.split() for line in output(nm, library).splitlines())
        # "I" stands for the DLL's; what the library brings itself, for systems that lack it, has other letters.
        return {words[2].removeprefix("__imp_") for words in symbols if words[1:2] == ["I"]}

    needed = {one: image.name for image in images for one in imports(image)}
    rows = [line.split() for line in DOCUMENTED.read_text().splitlines() if line and not line.startswith("#")]
    documented = {(dll, function) for dll, function, _ in rows}
    problems = [f"{image}: nothing says that {dll} has {function}" for (dll, function), image in sorted(needed.items())
                if function not in exports(dll) and (dll, function) not in documented]
    problems += [f"{DOCUMENTED.name}: {dll} {function} is not imported, or needs no entry"
                 for dll, function in sorted(documented) if (dll, function) not in needed or function in exports(dll)]
    if problems:
        raise SystemExit("\n".join(problems))
    print(f"{len(needed)} imports, {len(documented)} of them by their documentation")


main(*sys.argv[1:])
