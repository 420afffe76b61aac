#!/usr/bin/env python3
"""Writes the examples of the public headers as sources, for the programs in this folder to include.

    extract.py <folder> [--check]

Paragraph k of the examples in x.h becomes x_<k>.inc, statements as a block that ends with THEN. A remark on the right
becomes a comment, "..." becomes DOTS_1, DOTS_2 .., which a program defines as what its reader would write there. With
--check a header with an example that no program includes is an error.
"""

import re
import sys
from pathlib import Path

DEFINITION = re.compile(r"static |class |(int|void) \w+\(.*\)\s*(\{|$)")
HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parents[1] / "tools"))

from doxygen_filter import Library
from header_comments import code_and_text, cut_remark, indented_blocks


def as_source(lines):
    """A paragraph as the text of a file."""
    names = []

    def dots(match):
        names.append(f"DOTS_{len(names) + 1}")
        return f"{match[1]}{names[-1]}{'' if match[2].startswith(';') else ';'}{match[2]}"

    text = ""
    for line in lines:
        code, remark = cut_remark(line)
        code = re.sub(r"(.*?)(?<!\.)\.\.\.(?!\.)(.*)", dots, code, count=1)
        text += f"{code} /* {remark} */\n" if remark else f"{code}\n"
    if not DEFINITION.match(text):
        text = f"{{\nseen = 0;\n{text}THEN;\n}}\n"
        names.append("THEN")
    defaults = "".join(f"#ifndef {name}\n#    define {name} ((void)0)\n#endif\n" for name in names)
    return defaults + text + "".join(f"#undef {name}\n" for name in names)


def examples(library):
    """Header -> the texts of its paragraphs."""
    for header in library.headers:
        found = []
        for comment in header.comments:
            if comment.access == "private" or comment.kind in ("trailing", "inner"):
                continue
            for block in indented_blocks(header.elements(comment)):
                for lines, is_code in code_and_text(block, library.names):
                    if is_code:
                        found.append(as_source(lines))
        if found:
            yield header.path.stem, found


def main(folder, check):
    folder.mkdir(parents=True, exist_ok=True)
    programs = "".join(path.read_text() for path in sorted((HERE / "examples").glob("*.c*")))
    faults = 0
    for name, texts in examples(Library()):
        for k, text in enumerate(texts, 1):
            target = folder / f"{name}_{k}.inc"
            if not target.exists() or target.read_text() != text:
                target.write_text(text)
            if not re.search(rf'# *include "{re.escape(target.name)}"', programs):
                if check:
                    print(f"no program of tests/reference/examples includes example {k} of {name}.h:\n{text}")
                faults += 1
    return 1 if faults and check else 0


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1]), "--check" in sys.argv))
