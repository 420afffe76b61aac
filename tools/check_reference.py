#!/usr/bin/env python3
"""Compares the reference that Doxygen made with the headers, the libraries' sources and itself.

    check_reference.py <folder of the reference>

Every function that a library exports and every public method of an exported class has a brief, each of its parameters
and a result; every message that a source reports stands in the reference; every link of a page leads somewhere.
"""

import html
import re
import sys
import xml.etree.ElementTree as ElementTree
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urldefrag

from check_exports import ROOT, declared, libraries
from header_comments import Header, public_headers


# ---- What the reference says -----------------------------------------------------------------------------------------


def words(element):
    return "" if element is None else " ".join("".join(element.itertext()).split())


class Documented:
    """A function as the reference has it."""

    def __init__(self, member):
        self.access = member.get("prot")
        self.result = words(member.find("type"))
        self.brief = words(member.find("briefdescription"))
        self.arguments = [words(p.find("declname")) or words(p.find("defname")) for p in member.findall("param")
                          if words(p.find("type")) not in ("void", "...")]
        self.arguments = [] if "delete" in (member.findtext("argsstring") or "") else self.arguments
        self.described = {words(name) for row in member.iter("parameteritem") if words(row.find("parameterdescription"))
                          for name in row.iter("parametername")}
        self.returned = any(section.get("kind") == "return" and words(section) for section in member.iter("simplesect"))

    def faults(self):
        if not self.brief:
            yield "has no brief"
        for argument in self.arguments:
            if argument and argument not in self.described:
                yield f"does not describe its parameter {argument}"
        if "" in self.arguments:
            yield "has a parameter without a name"
        if self.result.removeprefix("virtual ") not in ("", "void") and not self.returned:
            yield "does not say what it returns"


def documented(folder):
    """Name -> the functions of that name, overloads among them."""
    found = {}
    for path in (folder / "xml").glob("*.xml"):
        for compound in ElementTree.parse(path).getroot().iter("compounddef"):
            scope = words(compound.find("compoundname")) + "::" if compound.get("kind") in ("class", "struct") else ""
            for member in compound.iter("memberdef"):
                if member.get("kind") == "function":
                    found.setdefault(scope + words(member.find("name")).replace(" ", ""), []).append(Documented(member))
    return found


def hidden_names():
    """Members that are exported but private, or protected: the reference shows the latter where they are described."""
    found = set()
    for header in map(Header, public_headers()):
        for name, start, end in header.scopes:
            for match in re.finditer(r"(~?\w+|operator\W+?)\s*\(", header.text[start:end]):
                if header.access_at(name, start, start + match.start()) != "public":
                    found.add(f"{name}::{match[1]}")
    return found


def faults_of_functions(folder):
    known = documented(folder)
    exported = set().union(*(declared(library) for library in libraries()))
    for name in sorted(exported):
        if name not in known:
            is_data = name.startswith(("vtable", "typeinfo")) or re.search(r"::M[A-Z]+$", name)
            if not is_data and name not in hidden_names():
                yield f"{name} is not in the reference"
            continue
        for function in known[name]:
            if function.access == "public" and "~" not in name:
                yield from (f"{name} {fault}" for fault in function.faults())


# ---- Messages --------------------------------------------------------------------------------------------------------


# What guards a step inside against a wrong step inside: the public functions refuse such arguments before.
INTERNAL = {
    "B_poly : illegal degree ", "B_poly : illegal index", "B_poly : illegal index ", "Bad Initialisation of PrimComb",
    "Bezier_fvector:unable to vectorise", "Bezier_fvector_len: unable to get error estimate",
    "Invalid arguments in routine gammq", "Wrong input", "algo sucks", "x less than 0 in routine gser",
}


def reported():
    """Text -> the source that reports it."""
    found = {}
    for source in sorted((ROOT / "Private/Source").rglob("*.cpp")):
        text = re.sub(r"//[^\n]*", "", source.read_text())
        for match in re.finditer(r'\b(?:TESKA_ERR|error_mess_fl)\(\s*((?:"(?:[^"\\]|\\.)*"\s*)+)[,)]', text):
            literal = "".join(re.findall(r'"((?:[^"\\]|\\.)*)"', match[1]))
            found.setdefault(literal, source)
    return found


def faults_of_messages():
    said = " ".join(" ".join(" ".join(comment.lines) for comment in Header(path).comments) for path in public_headers())
    said = " ".join(said.split())
    for text, source in sorted(reported().items()):
        if text not in INTERNAL and " ".join(text.split()) not in said:
            yield f'{source.relative_to(ROOT)} reports "{text}", which no header says'


# ---- Links -----------------------------------------------------------------------------------------------------------


class Page(HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.links, self.places = [], {""}
        self.feed(path.read_text(errors="replace"))

    def handle_starttag(self, tag, attributes):
        for key, value in attributes:
            if key in ("id", "name") and value:
                self.places.add(value)
            if (tag, key) in (("a", "href"), ("img", "src"), ("object", "data"), ("link", "href"), ("script", "src")) and value:
                self.links.append(html.unescape(value))


def faults_of_links(folder):
    pages = {path: Page(path) for path in sorted(folder.glob("html/*.html"))}
    for path, page in pages.items():
        for link in page.links:
            if re.match(r"[a-z]+:", link):
                continue
            name, place = urldefrag(link)
            target = path if not name else path.parent / unquote(name)
            if not target.exists():
                yield f"{path.name} leads to {link}, which does not exist"
            elif target in pages and unquote(place) not in pages[target].places:
                yield f"{path.name} leads to {link}, a place that does not exist"


# ----------------------------------------------------------------------------------------------------------------------


def main(folder):
    found = [*faults_of_functions(folder), *faults_of_messages(), *dict.fromkeys(faults_of_links(folder))]
    known = documented(folder)
    exported = set().union(*(declared(library) for library in libraries())) & set(known)
    parameters = sum(len(f.arguments) for name in exported for f in known[name])
    print("\n".join(found) or f"{len(exported)} functions, {parameters} parameters, {len(reported())} messages, "
                              f"{len(list(folder.glob('html/*.html')))} pages")
    return 1 if found or not exported else 0


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1])))
