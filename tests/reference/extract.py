#!/usr/bin/env python3
"""Writes the examples of the public headers as macros, for the programs in this folder to use.

    extract.py <folder> [--check]

Paragraph k of the examples in x.h becomes x_<k>(DOTS_1, DOTS_2 .., THEN) in <folder>/extracted.h, statements as a block:
a program gives what its reader would write at each "..." of it, and what is to be done at the end. What a macro cannot
hold, its directives, is in directives.h. With --check a header with an example that no program uses is an error.
"""

import re
import sys
from pathlib import Path

DEFINITION = re.compile(r"static |class |(int|void) \w+\(.*\)\s*(\{|$)")
HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parents[1] / "tools"))

from doxygen_filter import Library
from header_comments import code_and_text, cut_remark, indented_blocks


def as_macro(name, lines):
    """A paragraph as a macro of that name."""
    names = []

    def dots(match):
        names.append(f"DOTS_{len(names) + 1}")
        return f"{match[1]}{names[-1]}{'' if match[2].startswith(';') else ';'}{match[2]}"

    text = [re.sub(r"(.*?)(?<!\.)\.\.\.(?!\.)(.*)", dots, cut_remark(line)[0], count=1) for line in lines
            if line[0] != "#"]
    if not DEFINITION.match(text[0]):
        names.append("...")
        text = ["{", "seen = 0;", *text, "__VA_ARGS__;", "}"]
    return " \\\n    ".join([f"#define {name}({', '.join(names)})", *text]) + "\n"


def examples(library):
    """Name of each paragraph -> its lines."""
    found = {}
    for header in library.headers:
        k = 0
        for comment in header.comments:
            if comment.access == "private" or comment.kind in ("trailing", "inner"):
                continue
            for block in indented_blocks(header.elements(comment)):
                for lines, is_code in code_and_text(block, library.names):
                    if is_code:
                        k += 1
                        found[f"{header.path.stem}_{k}"] = lines
    return found


def main(folder, check):
    programs = "".join(path.read_text() for path in sorted((HERE / "examples").glob("*.c*")))
    found = examples(Library())
    unused = [name for name in found if not re.search(rf"\b{name}\(", programs)]
    if check:
        for name in unused:
            print(f"no program of tests/reference/examples uses example {name}:", *found[name], sep="\n")
        return 1 if unused or not found else 0
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "extracted.h").write_text("".join(as_macro(*example) for example in found.items()))
    directives = [line for lines in found.values() for line in lines if line[0] == "#"]
    (folder / "directives.h").write_text("\n".join(directives) + "\n")
    return 0


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1]), "--check" in sys.argv))
