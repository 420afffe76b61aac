#!/usr/bin/env python3
"""Looks for what the map does not know; the other direction, a module without one of its pieces, stops the configuration.

    check_map.py <build tree>

Every source and public header in the checkout belongs to a module, what stands in a module's folder is that module's
alone, a header of Private/Support serves at least two modules, and the header of each subsystem gathers exactly its
modules.
"""

import re
import subprocess
import sys
from collections import defaultdict
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
SOURCES = "Private/Source/"
SUPPORT = "Private/Support/"


def read_map(tree):
    """subsystem -> module -> its sources"""
    subsystems = defaultdict(dict)
    for line in (tree / "map.txt").read_text().splitlines():
        subsystem, module, *sources = line.split(" ")
        subsystems[subsystem][module] = sources
    return subsystems


def tracked(*patterns):
    listing = subprocess.run(["git", "ls-files", *patterns], cwd=ROOT, check=True, capture_output=True, text=True)
    return [path for path in listing.stdout.splitlines() if (ROOT / path).exists()]


def included_by(path):
    """The private headers that a file includes, as paths from the root."""
    return {f"Private/{name}" for name in re.findall(r'#\s*include "((?:Source|Support)/[^"]+)"', (ROOT / path).read_text())}


def owner(path):
    """The module a file below Private/Source belongs to."""
    return Path(path.removeprefix(SOURCES)).parts[0].removesuffix(".cpp")


def only_gathers(header):
    """Whether nothing is left of a header without its comments and preprocessor lines."""
    text = re.sub(r"/\*.*?\*/|^\s*#.*?$", "", header.read_text(), flags=re.DOTALL | re.MULTILINE)
    return not text.strip()


def users_of_support(files):
    """Header of Support -> the modules that include it, themselves or through a header."""
    users = defaultdict(set)
    for path in files:
        pending, seen = included_by(path), set()
        while pending:
            header = pending.pop()
            if header not in seen:
                seen.add(header)
                pending |= included_by(header)
                if header.startswith(SUPPORT):
                    users[header].add(owner(path))
    return users


def faults_of_headers(subsystems):
    modules = {module for members in subsystems.values() for module in members}
    for key, members in subsystems.items():
        gather = ROOT / f"include/teska_{key}.h"
        included = set(re.findall(r'#\s*include "(\w+)\.h"', gather.read_text())) if gather.exists() else set()
        for module in sorted(included ^ set(members)):
            yield f"{gather.name} and the map disagree about {module}"
    for path in tracked("include/*.h"):
        stem = Path(path).stem
        if stem not in modules and not stem.startswith("teska_") and not only_gathers(ROOT / path):
            yield f"{path} is not on the map"


def faults_of_rooms(subsystems):
    sources = {source for members in subsystems.values() for found in members.values() for source in found}
    modules = {module for members in subsystems.values() for module in members}
    files = tracked(f"{SOURCES}*.cpp", f"{SOURCES}*.h")
    for path in files:
        if path.endswith(".cpp") and path not in sources:
            yield f"{path} is not on the map"
        if path.endswith(".h") and (owner(path) not in modules or path.count("/") != 3):
            yield f"{path} is not in the folder of a module"
        for header in sorted(included_by(path)):
            if header.startswith(SOURCES) and owner(header) != owner(path):
                yield f"{path} includes {header}, which belongs to another module"
    users = users_of_support(files)
    for header in tracked(f"{SUPPORT}*.h"):
        if len(users[header]) < 2:
            yield f"{header} serves {', '.join(users[header]) or 'no module'} alone: it belongs into that module's folder"


def main(tree):
    subsystems = read_map(tree)
    found = [*faults_of_headers(subsystems), *faults_of_rooms(subsystems)]
    print("\n".join(found) or f"{sum(len(members) for members in subsystems.values())} modules")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1])))
