#!/usr/bin/env python3
"""Builds and runs the programs of the README with an installed library, as its "Use it" tells.

    readme.py <README.md> <folder to work in> <prefix> <C compiler> <C++ compiler>

Every block of C and C++ in the README is a program; the block of CMake is the project that builds one of them; the
line with pkg-config builds the others. What a program prints stands in the block of text after it.
"""

import os
import re
import shlex
import subprocess
import sys
from pathlib import Path


def run(*command, **options):
    return subprocess.run(command, check=True, text=True, **options)


def main(readme, folder, prefix, cc, cxx):
    text = Path(readme).read_text()
    folder, prefix = Path(folder), Path(prefix)
    libraries = next(prefix.rglob("libTESKAShared.so")).parent
    environment = {**os.environ, "PKG_CONFIG_PATH": str(libraries / "pkgconfig"), "LD_LIBRARY_PATH": str(libraries),
                   "CMAKE_PREFIX_PATH": str(prefix), "CC": cc, "CXX": cxx}
    found = re.findall(r"^```(\w+)\n(.*?)^```$", text, re.M | re.S)  # (language, text)
    line = re.search(r"^    (c\+\+ .*pkg-config.*)$", text, re.M)[1]
    project = next(body for language, body in found if language == "cmake")
    programs = 0
    for i, (language, body) in enumerate(found):
        if language not in ("c", "cpp"):
            continue
        program = folder / f"program{programs}"
        program.mkdir(parents=True)
        source = program / f"program.{language}"
        source.write_text(body)
        printed = found[i + 1][1] if i + 1 < len(found) and found[i + 1][0] == "text" else None

        command = line.replace("c++ ", f"{cc} " if language == "c" else f"{cxx} ", 1)
        run("sh", "-c", command.replace("program.cpp", source.name), cwd=program, env=environment)
        (program / "CMakeLists.txt").write_text(project.replace("program.cpp", source.name))
        run("cmake", "-G", "Ninja", "-S", str(program), "-B", str(program / "build"), env=environment)
        run("cmake", "--build", str(program / "build"), env=environment)
        for binary in (program / "program", program / "build/program"):
            output = run(str(binary), cwd=program, env=environment, stdout=subprocess.PIPE).stdout
            if printed is not None and output != printed:
                sys.exit(f"{binary}: printed\n{output}instead of\n{printed}")
        programs += 1
    if programs < 2:
        sys.exit(f"{programs} programs in {readme}: one of C and one of C++ at least")
    print(f"{programs} programs: built by pkg-config and by CMake, and run")


if __name__ == "__main__":
    if len(sys.argv) != 6:
        sys.exit(__doc__)
    main(*sys.argv[1:])
