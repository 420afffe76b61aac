"""promised_texts.py - the texts that the public headers promise, as rows for the sweep of allocations

usage: promised_texts.py OUTPUT

A row is a header, the function whose block has a text ("" for the common rules; Class_Member) and the text, each of its
arguments as the byte 1; each function of a header once with the text ""; and as "uses" the other headers whose modules
report while one of its functions runs, as far as the includes of the sources tell.
"""

import json
import re
import sys
from functools import cache
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "tools"))
from header_comments import Header, public_headers  # noqa: E402

ARGUMENT = re.compile(r"%l?[sdf]|#|\b(?:TYPE|ADDRESS|SIZE|EXPECTED)\b")


@cache
def included(source):
    """The public headers that a source or private header includes, or those that it includes."""
    found = set()
    for name in re.findall(r'^#\s*include "([^"]+)"', source.read_text(), re.M):
        if (ROOT / "Private" / name).is_file():
            found |= included(ROOT / "Private" / name)
        elif (ROOT / "include" / name).is_file():
            found |= {name} | included(ROOT / "include" / name)
    return found


def uses(header):
    """Of a module, with all that its sources use in turn; what reports need themselves is left out."""
    found, todo = {header}, {header}
    while todo - {"error_mess.h"}:
        stem = (todo - {"error_mess.h"}).pop()[:-2]
        todo.remove(stem + ".h")
        found.add(stem + ".h")
        for source in [*(ROOT / "Private/Source").glob(stem + ".cpp"), *(ROOT / "Private/Source" / stem).glob("*.cpp")]:
            todo |= included(source) - found
    return sorted(found)


def rows():
    """Of all headers."""
    for path in public_headers():
        yield from (f'{{"{path.name}", "uses", "{name}"}},\n' for name in uses(path.name))
        for comment in Header(path).comments:
            scope = comment.scope + "_" if comment.scope else ""
            functions = [scope + d.name for d in comment.declarations if d.kind == "function"] or [""]
            texts = re.findall(r'"([^"]*)"', " ".join(" ".join(comment.lines).split()))
            for function in functions:
                for text in ["", *texts] if function else texts:
                    text = r"\001".join(json.dumps(part)[1:-1] for part in ARGUMENT.split(text))
                    yield f'{{"{path.name}", "{function}", "{text}"}},\n'


Path(sys.argv[1]).write_text("".join(rows()))
