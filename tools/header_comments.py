"""Reads the comments of the public headers, which docs/style.md describes, into paragraphs, tables and examples.

What the reference, its check and the test of the examples have in common. A comment belongs to the declarations that
follow it without a blank line; each of them gets its own copy, with its own parameters.
"""

import re
from dataclasses import dataclass, field
from functools import cached_property
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
COMMENT = re.compile(r"/\*.*?\*/", re.S)
NAME = r"(?:~?\w+|operator\S+)"


def public_headers():
    companions = (folder / f"{folder.name}.h" for folder in sorted((ROOT / "companions").iterdir()) if folder.is_dir())
    return sorted((ROOT / "include").glob("*.h")) + [header for header in companions if header.exists()]


# ---- Elements of a comment -------------------------------------------------------------------------------------------


@dataclass
class Text:
    """A paragraph."""
    text: str


@dataclass
class Indented:
    """Lines set apart by four blanks or more, without those."""
    lines: list


@dataclass
class Items:
    """A list, numbered or not, of elements."""
    numbered: bool
    items: list


@dataclass
class Section:
    """A title with elements that are indented below it, as "Common rules"."""
    title: str
    elements: list


@dataclass
class Parameter:
    names: list
    elements: list


def numbered(text):
    """The names of a row, "out0 .. 3" and "out0 .. out3" taken for all four."""
    names = []
    for part in re.split(r",\s*", text):
        first, _, last = part.partition(" .. ")
        if last and (match := re.match(r"([A-Za-z_]\w*?)(\d)$", first)):
            names += [f"{match[1]}{i}" for i in range(int(match[2]), int(re.sub(r"\D", "", last)[:1] or match[2]) + 1)]
        else:
            names.append(first)
    return names


def indent_of(line):
    return len(line) - len(line.lstrip(" "))


def comment_lines(comment):
    """The lines of a comment without its frame."""
    lines = comment[2:-2].split("\n")
    lines = [lines[0].strip(), *(re.sub(r"^\s*\*(?: |$)|^\s*", "", line, count=1).rstrip() for line in lines[1:])]
    while lines and not lines[-1]:
        lines.pop()
    return lines


class Reader:
    """Cuts lines into elements. Where a line ends although the first word of the next one had room, a paragraph ends."""

    def __init__(self, lines, width, parameters=(), names=()):
        self.lines, self.width, self.parameters, self.names = lines, width, set(parameters), set(names)
        self.at, self.column = 0, None

    def elements(self):
        found = []
        while self.at < len(self.lines):
            line = self.lines[self.at]
            if not line:
                self.at += 1
                self.column = None
            elif indent_of(line) >= 4:
                found.append(self.indented())
            elif (row := self.parameter_row(line)) is not None:
                found.append(self.parameter(*row))
            elif re.match(r"(-|\d+\.) \S", line):
                found.append(self.items())
            elif self.is_title():
                found.append(self.section())
            elif self.is_table():
                found.append(self.table())
            else:
                found.append(Text(self.paragraph()))
        return found

    def columns(self, at):
        """Where the columns of a line begin that follow two blanks and more."""
        line = self.lines[at] if at < len(self.lines) else ""
        return {match.end() for match in re.finditer(r"\S {2,}(?=\S)", line)}

    def is_table(self):
        """Lines at the margin that have a column in common, but are no parameters."""
        return bool(self.columns(self.at) & self.columns(self.at + 1))

    def table(self):
        lines = []
        while self.at < len(self.lines) and self.lines[self.at] and (not lines or self.columns(self.at)):
            lines.append(self.lines[self.at])
            self.at += 1
        return Indented(lines)

    def next_indent(self):
        return indent_of(self.lines[self.at + 1]) if self.at + 1 < len(self.lines) and self.lines[self.at + 1] else 0

    def take(self, indent):
        """The lines that follow and are indented by so much at least, blank ones between them included, without it."""
        start = self.at
        while self.at < len(self.lines) and (not self.lines[self.at] or indent_of(self.lines[self.at]) >= indent):
            self.at += 1
        end = self.at
        while end > start and not self.lines[end - 1]:
            end -= 1
        self.at = max(end, start)
        return [line[indent:] for line in self.lines[start:end]]

    def indented(self):
        lines = self.take(4)
        least = min(indent_of(line) for line in lines if line)
        return Indented([line[least:] for line in lines])

    def parameter_row(self, line):
        """Names and the column of the text, when the line begins a row of the table of parameters."""
        match = re.match(r"((?:\w+|\.{3})(?:(?:,\s*| \.\. )\w+)*)( {2,})(?=\S)", line)
        if not match and self.column:
            head = line[: self.column]
            match = re.match(r"(\w+(?:,\s*\w+)*)( +)$", head)
        if not match:
            return None
        names = numbered(match[1]) if match[1] != "..." else ["..."]
        known = self.parameters and self.parameters & set(names)
        return (names, match.end()) if known and (len(known) == len(names) or ".." in match[1]) else None

    def parameter(self, names, column):
        self.column = column
        first = self.lines[self.at][column:]
        self.at += 1
        rest = self.take(4) if self.next_is_deep() else []
        least = min((indent_of(line) for line in rest if line), default=0)
        lines = [first] + [line[least:] for line in rest]
        return Parameter(names, Reader(lines, self.width - column).elements())

    def next_is_deep(self):
        return self.at < len(self.lines) and indent_of(self.lines[self.at]) >= 4

    def items(self):
        numbered = self.lines[self.at][0] != "-"
        items = []
        while self.at < len(self.lines) and (match := re.match(r"(-|\d+\.) +", self.lines[self.at])):
            first = self.lines[self.at][match.end() :]
            self.at += 1
            lines = [first] + self.take(2)
            least = min((indent_of(line) for line in self.lines[self.at - len(lines) + 1 : self.at] if line), default=2)
            items.append(Reader([first] + [line[least - 2 :] for line in lines[1:]], self.width).elements())
        return Items(numbered, items)

    def is_title(self):
        line = self.lines[self.at]
        return self.next_indent() in (1, 2, 3) and not line.endswith(".") and len(line) < 60

    def section(self):
        title = self.lines[self.at]
        self.at += 1
        indent = indent_of(self.lines[self.at])
        return Section(title, Reader(self.take(indent), self.width - indent, self.parameters).elements())

    def paragraph(self):
        lines = [self.lines[self.at].strip()]
        raw = self.lines[self.at]
        self.at += 1
        while self.at < len(self.lines):
            line = self.lines[self.at]
            if not line or indent_of(line) >= 4 or self.parameter_row(line) or re.match(r"(-|\d+\.) \S", line):
                break
            if re.match(r"Returns? ", line) or re.match(r"(Kept|Sources?|Threads|O\()", line) and lines[-1][-1:] in ".:":
                break
            if self.own_brief(line) or (len(raw) + 1 + len(line.split()[0]) <= self.width and lines[-1][-1:] in ".:"):
                break
            lines.append(line.strip())
            raw = line
            self.at += 1
        return " ".join(lines)

    def own_brief(self, line):
        match = re.match(rf"({NAME}(?:, {NAME})*) - ", line)
        return match is not None and any(name in self.names for name in match[1].split(", "))


# ---- Declarations ----------------------------------------------------------------------------------------------------


@dataclass
class Declaration:
    """What a comment describes: a function, a type, a macro, a constant."""
    source: str
    start: int  # where it begins in the header
    kind: str
    name: str
    parameters: list
    result: str  # the type of a function's result, as it is written


def split_arguments(text):
    depth, parts = 0, [""]
    for character in text:
        depth += {"(": 1, "<": 1, "[": 1, ")": -1, ">": -1, "]": -1}.get(character, 0)
        if character == "," and depth == 0:
            parts.append("")
        else:
            parts[-1] += character
    return [part.strip() for part in parts]


def parameter_names(text):
    names = []
    for part in split_arguments(text.strip()):
        part = part.partition("=")[0].strip()
        pointer = re.search(r"\(\s*\*\s*(\w*)\s*\)", part)
        if pointer:
            names.append(pointer[1])
        elif part == "...":
            names.append("...")
        elif part not in ("", "void"):
            words = re.findall(r"\w+", re.sub(r"\[[^]]*\]", "", part))
            unnamed = len([word for word in words if word not in ("const", "struct")]) < 2
            names.append("" if unnamed else words[-1])
    return names


def declaration(source, start):
    text = re.sub(r"\s+", " ", re.sub(COMMENT, " ", source)).strip()
    if match := re.match(r"#\s*define (\w+)", text):
        return Declaration(source, start, "macro", match[1], [], "")
    if match := re.match(r"typedef .*?\(\s*\*\s*(\w+)\s*\)\s*\((.*)\)\s*;", text):
        return Declaration(source, start, "callback", match[1], parameter_names(match[2]), "")
    if match := re.match(r"typedef struct (\w+) (\w+)\s*;", text):
        return Declaration(source, start, "record", match[2], [], "")
    if match := re.match(r"(?:typedef )?(?:struct|class|enum)\b\s*(?:\w+_API )?(\w+)?[^;(]*(\{|;|$)", text):
        return Declaration(source, start, "type", match[1] or "", [], "")
    text = re.sub(r"^(?:(?:public|private|protected):\s*)+", "", text)
    pattern = r"([^()]*?)(~?\w+|operator\s*(?:\(\)|\[\]|[^\s\w(]+))\s*\("
    if not text.startswith(("#", "using", "static const")) and (match := re.match(pattern, text)):
        depth, end = 0, match.end() - 1
        for end in range(match.end() - 1, len(text)):
            depth += {"(": 1, ")": -1}.get(text[end], 0)
            if depth == 0:
                break
        result = re.sub(r"\b(\w+_API|virtual|explicit|static|inline|friend|constexpr)\b", "", match[1]).strip()
        return Declaration(source, start, "function", match[2], parameter_names(text[match.end() : end]), result)
    return Declaration(source, start, "other", (re.findall(r"(\w+)\s*(?:\[[^]]*\]|=[^;]*)*;", text) or [""])[0], [], "")


def declarations_after(text, start):
    """The declarations from an offset up to a blank line, a comment of its own, or the end of the scope."""
    found = []
    at = start
    while True:
        match = re.compile(r"[ \t]*\n?(?=[ \t]*\S)").match(text, at)
        if not match or re.match(r"\s*(?:/\*|\}|#\s*(?:if|el|endif|include)|TESKA_END_C)", text[match.end() :]):
            return found
        at = match.end()
        if begin := re.compile(r"TESKA_BEGIN_C\n").match(text, at):
            at = begin.end()
        end = declaration_end(text, at)
        found.append(declaration(text[at:end], at))
        if found[-1].kind == "type":
            return found
        at = end
        trailing = re.compile(r"[ \t]*/\*.*?\*/", re.S).match(text, at)
        at = trailing.end() if trailing else at


def declaration_end(text, at):
    if re.match(r"\s*#", text[at:]):
        return text.index("\n", at)
    depth = 0
    for i in range(at, len(text)):
        if text.startswith("/*", i):
            continue
        character = text[i]
        depth += {"(": 1, "{": 1, ")": -1, "}": -1}.get(character, 0)
        if depth == 0 and (character == ";" or (character == "}" and not re.match(r"[^;{}()]*;", text[i + 1 : i + 60]))):
            return i + 1
    raise ValueError("a declaration without an end")


# ---- Headers ---------------------------------------------------------------------------------------------------------


@dataclass
class Comment:
    start: int
    end: int
    text: str
    kind: str  # file, section, trailing, inner, doc
    declarations: list = field(default_factory=list)
    scope: str = ""  # the class it is in
    access: str = "public"

    @property
    def lines(self):
        return comment_lines(self.text)


class Header:
    def __init__(self, path):
        self.path = path
        self.name = path.name
        self.text = path.read_text()
        self.width = max(len(line) for line in self.text.split("\n") if re.match(r"\s*(/\*|\*)", line))

    @cached_property
    def comments(self):
        found = []
        scopes = self.scopes
        for match in COMMENT.finditer(self.text):
            comment = Comment(match.start(), match.end(), match[0], self.kind_of(match, first=not found))
            if comment.kind == "doc":
                comment.declarations = declarations_after(self.text, match.end())
            for name, start, end in scopes:
                if start < match.start() < end:
                    comment.scope, comment.access = name, self.access_at(name, start, match.start())
            found.append(comment)
        return found

    def kind_of(self, match, first):
        line_start = self.text.rfind("\n", 0, match.start()) + 1
        before = self.text[line_start : match.start()].strip()
        after = self.text[match.end() :].split("\n", 1)[0].strip()
        if first:
            return "file"
        if re.match(r"/\* -{4}", match[0]):
            return "section"
        if after:
            return "inner"
        return "trailing" if before else "doc"

    def access_at(self, name, start, at):
        labels = re.findall(r"\b(public|protected|private):", COMMENT.sub(" ", self.text[start:at]))
        return labels[-1] if labels else "private" if f"class TESKA_API {name}" in self.text else "public"

    @cached_property
    def scopes(self):
        """Name, start and end of the bodies of classes and structs."""
        found = []
        for match in re.finditer(r"\b(?:class|struct)\s+(?:\w+_API\s+)?(\w+)[^;{}()]*\{", self.text):
            if not any(c.start() < match.start() < c.end() for c in COMMENT.finditer(self.text)):
                found.append((match[1], match.end(), declaration_end(self.text, match.start())))
        return found

    def line_before(self, comment):
        return self.text[self.text.rfind("\n", 0, comment.start) + 1 : comment.start]

    def between(self, first, second):
        """What stands between two comments but for blanks."""
        return self.text[first.end : second.start].strip()

    def next_declaration(self, comment):
        """What follows a comment, comments, lines of the preprocessor and announcements of structs passed over."""
        at = comment.end
        skip = re.compile(r"\s+|/\*.*?\*/|#[^\n]*|struct \w+;", re.S)
        while match := skip.match(self.text, at):
            at = match.end()
        return self.text[at : at + 40]

    def end_of(self, comment):
        """Where the scope of a comment ends: before the brace of its class, or before the end of the declarations."""
        for name, start, end in self.scopes:
            if name == comment.scope:
                private = self.text.find("private:", comment.end, end)
                return private if private > 0 else self.text.rindex("}", start, end)
        ends = [self.text.find(mark, comment.end) for mark in ("TESKA_END_C", "#ifdef __cplusplus\n}", "\n#endif")]
        return min(end for end in ends if end > 0)

    def elements(self, comment):
        names = [d.name for d in comment.declarations]
        parameters = {name for d in comment.declarations for name in d.parameters if name}
        lines = comment.lines
        if comment.kind == "file":
            # Common rules may have a table of the parameters that several functions share.
            found = (d for other in self.comments[1:] for d in other.declarations if d.kind in ("function", "callback"))
            parameters = {name for declaration in found for name in declaration.parameters}
        if comment.kind == "section":
            lines = [re.sub(r"^-+ (.*?) -*$", r"\1", lines[0]), *lines[1:]]
        indent = self.text[self.text.rfind("\n", 0, comment.start) + 1 : comment.start]
        width = self.width - len(indent) - 3
        return Reader(lines, width, parameters, names).elements()

    @cached_property
    def title(self):
        return re.sub(rf"^{re.escape(self.path.stem)}(?:\.h)? - ", "", self.file_elements[0].text)

    @cached_property
    def file_elements(self):
        return self.elements(self.comments[0])


# ---- Examples --------------------------------------------------------------------------------------------------------


def cut_remark(line):
    """A line of an example without the remark on its right, and the remark."""
    match = re.match(r"(.*?(?:[;{}):,]|\.\.\.|\\n\";?))\s{3,}(?=\S)(.*)$", line)
    if match and not match[1].isspace() and not match[2].startswith("{"):
        return match[1], match[2]
    match = re.match(r"(\s*(?:if \(.*\) )?\.\.\.) +(\S.*)$", line)
    if match and not match[2].startswith("}"):
        return match[1], match[2]
    return line, ""


def paragraphs(lines):
    found = [[]]
    for line in lines:
        if line:
            found[-1].append(line)
        else:
            found.append([])
    return [paragraph for paragraph in found if paragraph]


def is_code(paragraph, names):
    """Whether a paragraph of indented lines is a program's: it calls what the library has, or defines a function."""
    ends = [cut_remark(line)[0].rstrip()[-1:] for line in paragraph]
    text = "\n".join(cut_remark(line)[0] for line in paragraph)
    calls = any(word in names for word in re.findall(r"(\w+)\s*[(;{* ]", text))
    defines = "{" in ends or re.search(r"\)\s*\{ .* \}$|^static .*\);$", text, re.M)
    return bool((calls and any(end in ";{" for end in ends if end)) or defines)


def code_and_text(block, names):
    """The paragraphs of indented lines, each with whether it is a program's; what follows in a program is, too."""
    before = False
    for lines in paragraphs(block.lines):
        goes_on = before and any(cut_remark(line)[0].rstrip().endswith(";") for line in lines)
        before = is_code(lines, names) or goes_on
        yield lines, before


def indented_blocks(elements):
    for element in elements:
        if isinstance(element, Indented):
            yield element
        elif isinstance(element, (Section, Parameter)):
            yield from indented_blocks(element.elements)
        elif isinstance(element, Items):
            for item in element.items:
                yield from indented_blocks(item)
