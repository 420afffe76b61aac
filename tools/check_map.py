#!/usr/bin/env python3
"""Looks for what the map does not know; the other direction, a module without one of its pieces, stops the configuration.

Every source and public header in the checkout belongs to a module, the header of each subsystem gathers exactly its
modules, and the application of tests/api uses every one of them.
"""

import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent


def subsystems():
    """Key of each subsystem and its modules, each with its sources."""
    text = re.sub(r"#[^\n]*", "", (ROOT / "cmake/TeskaSubsystems.cmake").read_text())
    for key, modules in re.findall(r'teska_subsystem\(\s*(\w+)\s+"[^"]*"([^)]*)\)', text):
        yield key, {name: (sources or name).split("+") for name, _, sources in (m.partition(":") for m in modules.split())}


def tracked(pattern):
    listing = subprocess.run(["git", "ls-files", pattern], cwd=ROOT, check=True, capture_output=True, text=True)
    return {Path(line).stem for line in listing.stdout.split()}


def only_gathers(header):
    """Whether nothing is left of a header without its comments and preprocessor lines."""
    text = re.sub(r"/\*.*?\*/|^\s*#.*?$", "", header.read_text(), flags=re.DOTALL | re.MULTILINE)
    return not text.strip()


def faults():
    known = set()
    known_sources = set()
    used = "".join((ROOT / "tests/api" / name).read_text() for name in ("application.c", "api_test.cpp"))
    for key, modules in subsystems():
        known.update(modules)
        known_sources.update(source for sources in modules.values() for source in sources)
        gather = ROOT / f"include/teska_{key}.h"
        included = set(re.findall(r'#\s*include "(\w+)\.h"', gather.read_text())) if gather.exists() else set()
        for module in sorted(included ^ set(modules)):
            yield f"{gather.name} and the map disagree about {module}"
        for module in modules:
            header = (ROOT / f"include/{module}.h").read_text()
            names = set(re.findall(r"TESKA_API\s+[^;({]*?(\w+)\s*[({\n]|class TESKA_API (\w+) :", header))
            names = {function or derived for function, derived in names}
            if not any(re.search(rf"\b{name}\b", used) for name in names):
                yield f"tests/api uses nothing of {module}"
    for stem in sorted(tracked("Private/Source/*.cpp") - known_sources):
        yield f"Private/Source/{stem}.cpp is not on the map"
    for stem in sorted(tracked("include/*.h") - known):
        if not stem.startswith("teska_") and not only_gathers(ROOT / f"include/{stem}.h"):
            yield f"include/{stem}.h is not on the map"


def main():
    found = list(faults())
    print("\n".join(found) or f"{sum(len(modules) for _, modules in subsystems())} modules")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
