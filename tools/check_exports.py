#!/usr/bin/env python3
"""Compares what the shared libraries of a build tree export with the headers and the version scripts.

    check_exports.py <build tree>

Exactly the names declared with the export macro may be visible: a function by its name, a class by all members that it
does not define in its body, and the data the language needs for it. Every function has a row in tests/hostile, or
stands there with the reason why it has none. Every line of a version script must let through at
least one of them, and every one must have a line. On Windows, where there are no version scripts, the names of the DLL
are compared with the headers.
"""

import fnmatch
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent


class Library:
    def __init__(self, name, macro, headers, script):
        self.name, self.macro, self.headers, self.script = name, macro, headers, script

    def built_in(self, tree):
        """On Windows all DLLs stand in one folder, elsewhere each is where its version script is in the sources."""
        dll = tree / "bin" / f"{self.name}.dll"
        return dll if dll.exists() else tree / self.script.parent.relative_to(ROOT) / f"lib{self.name}.so"


def libraries():
    yield Library("TESKAShared", "TESKA_API", sorted((ROOT / "include").glob("*.h")), ROOT / "Private/teska.map")
    for script in sorted((ROOT / "companions").glob("*/*.map")):
        key = script.stem
        yield Library(f"{key.upper()}Shared", f"{key.upper()}_API", [script.with_suffix(".h")], script)


# ---- Headers ---------------------------------------------------------------------------------------------------------


def without_comments(text):
    text = re.sub(r"/\*.*?\*/|//[^\n]*", " ", text, flags=re.S)
    return re.sub(r"^[ \t]*#(?:[^\n\\]|\\\n)*", "", text, flags=re.M)


def body_of(text, start):
    """What stands between the braces of which the first opens at or after start."""
    start = text.index("{", start)
    depth = 0
    for i in range(start, len(text)):
        depth += {"{": 1, "}": -1}.get(text[i], 0)
        if depth == 0:
            return text[start + 1 : i]
    raise ValueError("a class without an end")


def members_of(name, body):
    """The exported names of a class: its functions without a body and its static constants, and vtable and type when a
    function is virtual."""
    body = re.sub(r"\b(public|protected|private)\s*:", " ", body)
    body = re.sub(r"\{[^{}]*\}", "{};", body)
    names = set()
    for declaration in (part.strip() for part in body.split(";")):
        match = re.match(r"[^()]*?(~?\w+|operator\s*(?:\[\]|\(\)|[^\s\w(]+))\s*\((?!\s*\*)", declaration)
        if match and not re.search(r"\{\}$|=\s*(default|delete)$", declaration):
            names.add(f"{name}::{match[1].replace(' ', '')}")
        if constant := re.match(r"static\s+const\s+\w+\s+(\w+)", declaration):
            names.add(f"{name}::{constant[1]}")
        if declaration.startswith("virtual"):
            names |= {f"vtable for {name}", f"typeinfo for {name}", f"typeinfo name for {name}"}
    return names


def declared(library):
    names = set()
    for header in library.headers:
        text = without_comments(header.read_text())
        for match in re.finditer(rf"(class|struct)?\s*\b{library.macro}\b\s*([^;{{(]*)", text):
            if match[1]:
                name = re.match(r"\w+", match[2])[0]
                names |= members_of(name, body_of(text, match.end()))
            elif text[match.end()] == "(" and re.search(r"\w+\s*$", match[2]):
                names.add(re.search(r"(\w+)\s*$", match[2])[1])
            else:
                raise ValueError(f"{header.name}: cannot read the declaration of '{match[2].strip()}'")
    return names


# ---- Libraries -------------------------------------------------------------------------------------------------------


def output_of(*command, text=None):
    return subprocess.run(command, input=text, check=True, capture_output=True, text=True).stdout


def exported_by_elf(path):
    lines = output_of("nm", "-D", "--defined-only", "-P", str(path)).splitlines()
    return [line.split()[0].partition("@")[0] for line in lines if line.split()[1] != "A"]


def exported_by_dll(path):
    listing = output_of("x86_64-w64-mingw32-objdump", "-p", str(path))
    table = listing.partition("[Ordinal/Name Pointer] Table")[2].partition("\n\n")[0]
    return re.findall(r"^\s*\[\s*\d+\](?:\s\+base\[\s*\d+\])?\s+(?:[0-9a-f]+\s+)?(\S+)$", table, re.M)


def demangled(tool, names):
    """Names as in the source, without arguments, each with the linker's name."""
    readable = output_of(tool, text="\n".join(names)).splitlines()
    return {linker: re.sub(r"(?<=.)\((?!\)\().*$", "", name) for linker, name in zip(names, readable)}


def check_script(script, names):
    """Every pattern of the version script fits a name, every name fits a pattern."""
    text = re.sub(r"/\*.*?\*/|#[^\n]*", " ", script.read_text(), flags=re.S)
    text = text.partition("global:")[2].partition("local:")[0]
    patterns = re.findall(r'"([^"]+)"\s*;|([\w*?:~\[\]]+)\s*;', text)
    patterns = [quoted or plain for quoted, plain in patterns]
    fits = {name: {p for p in patterns if any(fnmatch.fnmatchcase(n, p) for n in (name, readable))}
            for name, readable in names.items()}
    for pattern in sorted(set(patterns) - set().union(*fits.values())):
        yield f"{script.name} lists {pattern}, which is not exported"
    for name in sorted(name for name, found in fits.items() if not found):
        yield f"{script.name} lacks {name}"


def check_library(library, tree):
    path = library.built_in(tree)
    if path.suffix == ".dll":
        names = demangled("x86_64-w64-mingw32-c++filt", exported_by_dll(path))
    else:
        names = demangled("c++filt", exported_by_elf(path))
        yield from check_script(library.script, names)
    promised, exported = declared(library), set(names.values())
    # A class with a virtual base has its destructor and its table once more, for the classes derived from it.
    exported = {name.removeprefix("virtual thunk to ").replace("VTT for ", "vtable for ") for name in exported}
    if path.suffix == ".dll":
        # The compiler keeps the name of a type to itself, but adds the types of standard exceptions that are thrown, of
        # private classes with an exported base, and the tables of standard streams that are bases.
        promised = {name for name in promised if not name.startswith("typeinfo name for ")}
        exported = {name for name in exported if name in promised or not name.startswith(("typeinfo for ",
                                                                                        "construction vtable for std::"))}
    if not promised:
        yield f"no declaration with {library.macro} was found"
    for name in sorted(exported - promised):
        yield f"exports {name}, which no header declares"
    for name in sorted(promised - exported):
        yield f"does not export {name}, which a header declares"


def check_hostile_rows():
    """Whether the rows that call functions with hostile arguments are those of the headers' functions."""
    text = "\n".join(path.read_text() for path in sorted((ROOT / "tests/hostile").glob("*_rows.cpp")))
    text = re.sub(r"\btaking<[^<>]*>\((\w+)\)", r"\1", text)
    rows = re.findall(r"\b(?:row|feeding|by)<([\w\s,]+)>\(|\bwithout\(\s*\"(\w+)\"", text)
    names = [name for called, excused in rows for name in re.findall(r"\w+", called or excused)]
    functions = {name for library in libraries() for name in declared(library) if re.fullmatch(r"\w+", name)}
    for name in sorted(functions - set(names)):
        yield f"tests/hostile has no row for {name}"
    for name in sorted({name for name in names if name not in functions or names.count(name) > 1}):
        yield f"tests/hostile has a row for {name}, which is no function or has one already"


def main(tree):
    faults = 0
    for fault in check_hostile_rows():
        print(fault)
        faults += 1
    for library in libraries():
        found = [f"{library.name}: {fault}" for fault in check_library(library, tree)]
        print("\n".join(found) or f"{library.name}: {len(declared(library))} names")
        faults += len(found)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1])))
