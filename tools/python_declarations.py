#!/usr/bin/env python3
"""python_declarations.py - what Python has to know of the C headers: python/teska/_declarations.py

usage: python_declarations.py [--check FILE | --output FILE] [HEADER...]

Runs the C preprocessor on every header with the export macros empty, and keeps the declarations that stand in our own
files, bodies of inline functions left out. What is written begins with the MD5 of the headers' contents. With --check
the file is compared with what would be written, and the exit status is 1 when they differ. Without headers those are
taken that the file lists already.
"""

import argparse
import hashlib
import os
import pathlib
import re
import subprocess
import sys

ATTRIBUTE = re.compile(r'__attribute__\s*\(\((?:[^()]|\([^()]*\))*\)\)')
LINE_MARKER = re.compile(r'^# \d+ "([^"]*)"')
CONSTANT = re.compile(r'^#define (TESKA_[A-Z_]+|[A-Z][A-Z0-9_]+) \(?(-?\d+|0x[0-9a-fA-F]+)\)?$', re.M)
INLINE = re.compile(r'\b(?:static\s+)?inline\b[^{;]*(?=\{)')


def preprocessed(header, folders, *more):
    """The text of a header after the preprocessor, or its macros with -dM."""
    command = ['gcc', '-E', '-x', 'c', '-std=c11', '-DTESKA_STATIC', '-DWEM_STATIC', '-DLOPRA_STATIC', '-DZUK_STATIC']
    command += [f'-I{folder}' for folder in folders] + list(more) + [str(header)]
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def own_lines(text, folders):
    """The lines that stand in our files, by file in the order of their first line."""
    files = {}
    name = None
    for line in text.splitlines():
        marker = LINE_MARKER.match(line)
        if marker:
            path = pathlib.Path(marker.group(1))
            name = path.name if path.is_file() and path.resolve().parent in folders else None
        elif name is not None:
            files.setdefault(name, []).append(line)
    return files


def without_bodies(text):
    """Inline functions are not in the library."""
    while found := INLINE.search(text):
        depth, end = 0, found.end()
        while True:
            depth += {'{': 1, '}': -1}.get(text[end], 0)
            end += 1
            if depth == 0:
                break
        text = text[:found.start()] + text[end:]
    return text


def declarations(text):
    """One declaration to a line, blanks put straight."""
    text = without_bodies(ATTRIBUTE.sub('', text))
    result, depth, begin = [], 0, 0
    for end, letter in enumerate(text):
        depth += {'{': 1, '}': -1}.get(letter, 0)
        if letter == ';' and depth == 0:
            result.append(' '.join(text[begin:end + 1].split()))
            begin = end + 1
    return result


def constants(header, folders):
    """Macros that are one whole number and stand in the header itself."""
    macros = preprocessed(header, folders, '-dM')
    own = header.read_text()
    return [f'#define {name} {value}' for name, value in CONSTANT.findall(macros)
            if re.search(rf'^# *define {name}\b', own, re.M)]


def digest(headers):
    """The MD5 of names and contents."""
    md5 = hashlib.md5()
    for header in headers:
        md5.update(header.name.encode() + b'\0' + header.read_bytes())
    return md5.hexdigest()


def generated(headers):
    """The whole file."""
    headers = sorted({pathlib.Path(os.path.realpath(header)) for header in headers}, key=lambda path: path.name)
    folders = list(dict.fromkeys(header.parent for header in headers))
    done, parts = set(), []
    for header in headers:
        for name, lines in own_lines(preprocessed(header, folders), folders).items():
            found = declarations('\n'.join(lines)) if name not in done else []
            done.add(name)
            if found:
                parts.append(f'/* {name} */\n' + '\n'.join(found) + '\n')
    numbers = sorted({line for header in headers for line in constants(header, folders)})
    names = ''.join(f"    '{header.name}',\n" for header in headers)
    return (f"MD5 = '{digest(headers)}'\n"
            '"""The C declarations of the library, written by tools/python_declarations.py from these headers."""\n\n'
            f'HEADERS = (\n{names})\n\n'
            "TEXT = r'''\n" + '\n'.join(numbers) + '\n\n' + '\n'.join(parts) + "'''\n")


def headers_of(file):
    """The headers that a file was written from, where this checkout has them."""
    root = pathlib.Path(__file__).resolve().parent.parent
    names = re.findall(r"^    '(\S+\.h)',$", file.read_text(), re.M)
    places = {path.name: path for folder in ('include', 'companions') for path in (root / folder).rglob('*.h')}
    return [places[name] for name in names]


def main():
    """Writes or checks."""
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--check', metavar='FILE', type=pathlib.Path)
    parser.add_argument('--output', metavar='FILE', type=pathlib.Path)
    parser.add_argument('headers', metavar='HEADER', nargs='*')
    options = parser.parse_args()
    text = generated(options.headers or headers_of(options.check or options.output))
    if options.check:
        if not options.check.is_file() or options.check.read_text() != text:
            print(f'{options.check} is not what the headers say; run tools/python_declarations.py --output {options.check}')
            return 1
    elif options.output:
        options.output.write_text(text)
    else:
        print(text, end='')
    return 0


if __name__ == '__main__':
    sys.exit(main())
