#!/usr/bin/env python3
"""Compiles every public header on its own: as C11, C++17 and C++20, with gcc and clang, any warning being an error.

Each is included twice, so that a missing guard shows too.
"""

import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from itertools import product
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
WARNINGS = "-pedantic -Wall -Wextra -Wshadow -Wconversion -Wundef -Wcast-qual -Werror".split()
MODES = [
    ("gcc", "c", ["-std=c11", "-Wstrict-prototypes"]),
    ("clang", "c", ["-std=c11", "-Wstrict-prototypes"]),
    ("g++", "c++", ["-std=c++17"]),
    ("clang++", "c++", ["-std=c++17"]),
    ("g++", "c++", ["-std=c++20"]),
    ("clang++", "c++", ["-std=c++20"]),
]


def public_headers():
    return sorted((ROOT / "include").glob("*.h")) + [
        header for header in sorted((ROOT / "companions").glob("*/*.h")) if header.stem == header.parent.name
    ]


def compile_alone(header, mode):
    """What the compiler says; empty when all is well."""
    compiler, language, flags = mode
    folders = [f"-I{folder}" for folder in sorted({other.parent for other in public_headers()})]
    source = f'#include "{header.name}"\n#include "{header.name}"\nextern int header_alone;\n'
    command = [compiler, "-x", language, *flags, *WARNINGS, *folders, "-fsyntax-only", "-"]
    result = subprocess.run(command, input=source, capture_output=True, text=True)
    if result.returncode == 0:
        return ""
    return f"{header.name} with {compiler} {flags[0]}:\n{result.stdout}{result.stderr}"


def main():
    headers = public_headers()
    with ThreadPoolExecutor() as pool:
        faults = [text for text in pool.map(lambda pair: compile_alone(*pair), product(headers, MODES)) if text]
    print("\n".join(faults) or f"{len(headers)} headers, {len(MODES)} ways each")
    return 1 if faults or not headers else 0


if __name__ == "__main__":
    sys.exit(main())
