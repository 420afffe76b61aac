#!/usr/bin/env python3
"""Writes the public headers with their comments as Doxygen reads them, and the pages of the reference made from them.

    doxygen_filter.py <folder>

The words stay in the headers: a comment becomes a brief, parameters, results and paragraphs, and the functions it names
become links. A parameter that a block does not list is described by what the block says of it, by the function the block
refers to, by the record it is a handle of, or by an earlier block of the header.
"""

import re
import sys
from functools import cached_property
from pathlib import Path

from header_comments import (COMMENT, ROOT, Header, Indented, Items, Parameter, Section, Text, code_and_text, cut_remark,
                             public_headers)

# Too common as English to be taken for the name of a parameter or of a function.
ENGLISH = {"a", "as", "at", "by", "in", "is", "no", "of", "on", "or", "out", "so", "to", "I"}


class Library:
    """All headers, and who declares what."""

    def __init__(self):
        self.headers = [Header(path) for path in public_headers()]
        self.functions = {}  # name -> header, comment, declaration; functions of C and callbacks
        self.records = {}    # type -> what it is
        self.types = set()
        for header in self.headers:
            for comment in header.comments:
                for declaration in comment.declarations:
                    self.register(header, comment, declaration)

    def register(self, header, comment, declaration):
        if declaration.kind == "function" and not comment.scope:
            self.functions.setdefault(declaration.name, (header, comment, declaration))
        if declaration.kind in ("record", "callback"):
            self.types.add(declaration.name)
        if declaration.kind in ("record", "type") and comment.declarations[0] is declaration:
            text = re.sub(r"^The opaque record of ", "", sentences(" ".join(comment.lines))[0].rstrip("."))
            self.records[declaration.name] = re.sub(r"^(An?|The|One) ", lambda match: match[0].lower(), text)

    @cached_property
    def names(self):
        """What an example may use that is the library's."""
        classes = {name for header in self.headers for name, _, _ in header.scopes}
        return set(self.functions) | self.types | classes


# ---- Text ------------------------------------------------------------------------------------------------------------


class Writer:
    """Elements of comments as Doxygen's text."""

    def __init__(self, library, own=()):
        self.library, self.own = library, set(own)

    def text(self, text):
        pieces = re.split(r"(`[^`]+`|\"[^\"]*\")", text)
        return "".join(self.piece(piece) for piece in pieces)

    def piece(self, piece):
        if piece.startswith("`"):
            return f"<code>{self.plain(piece[1:-1])}</code>"
        return self.plain(piece) if piece.startswith('"') else self.linked(piece)

    @staticmethod
    def plain(text):
        text = text.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;").replace('"', "&quot;")
        text = re.sub(r"[\\@#%$]", r"\\\g<0>", text)
        text = re.sub(r"(?<![\w*])\*(?=\w)|--+|(?<!\w)_(?=\w)|`", lambda match: f"<span>{match[0]}</span>", text)
        return text.replace("::", "\\::")

    def linked(self, text):
        words = re.split(r"(\b[A-Za-z]\w*\b)", text)
        return "".join(f'@ref {word} "{word}"' if self.is_link(word) else self.plain(word) for word in words)

    def is_link(self, word):
        return word in self.library.functions and word not in self.own and bool(re.search(r"[_A-Z0-9]", word))

    def indented(self, block):
        """An example, a table of messages, or lines as they are."""
        parts = []
        for lines, is_code in code_and_text(block, self.library.names):
            if is_code:
                parts.append("@code{.cpp}\n" + "\n".join(self.code_line(line) for line in lines) + "\n@endcode")
            elif rows := self.messages(lines):
                cells = "".join(f"<tr><td><code>{self.plain(m)}</code></td><td>{self.text(t)}</td></tr>" for m, t in rows)
                parts.append(f'<table class="messages">{cells}</table>')
            else:
                parts.append("@verbatim\n" + "\n".join(lines) + "\n@endverbatim")
        joined = []
        for part in parts:
            # Examples of several paragraphs stay one.
            if joined and part.startswith("@code") and joined[-1].startswith("@code"):
                joined[-1] = joined[-1].removesuffix("@endcode") + "\n" + part.removeprefix("@code{.cpp}\n")
            else:
                joined.append(part)
        return "\n".join(joined)

    @staticmethod
    def code_line(line):
        code, remark = cut_remark(line)
        return f"{code}{' ' * max(2, len(line) - len(remark) - len(code) - 3)}// {remark}" if remark else code

    @staticmethod
    def messages(lines):
        """Rows of a quoted text and what it means, or nothing."""
        rows = []
        for line in lines:
            if match := re.match(r'("[^"]*")(?: +(.*))?$', line):
                rows.append([match[1], match[2] or ""])
            elif rows and line.startswith(" "):
                rows[-1][1] += " " + line.strip()
            else:
                return []
        return rows

    def elements(self, elements):
        parts = []
        for element in elements:
            if isinstance(element, Text):
                parts.append(self.paragraph(element.text))
            elif isinstance(element, Indented):
                parts.append(self.indented(element))
            elif isinstance(element, Items):
                tag = "ol" if element.numbered else "ul"
                rows = "".join(f"<li>{self.inline(item)}</li>" for item in element.items)
                parts.append(f"<{tag}>{rows}</{tag}>")
            elif isinstance(element, Section):
                parts.append(f"<h3>{self.text(element.title)}</h3>\n\n" + self.elements(element.elements))
            elif isinstance(element, Parameter):
                parts.append(f"<code>{', '.join(element.names)}</code>: {self.inline(element.elements)}")
        return "\n\n".join(parts)

    def paragraph(self, text):
        match = re.match(r"(Kept|Sources?|Threads): ?(.*)", text, re.S)
        return f"@par {match[1]}\n{self.text(match[2])}" if match else self.text(text)

    def inline(self, elements):
        """Without blank lines, for a cell or a section that ends at one."""
        return self.elements(elements).replace("\n\n", "\n")


# ---- Blocks ----------------------------------------------------------------------------------------------------------


def sentences(text):
    """Sentences, not cut within brackets, quotes or after single letters."""
    found = [""]
    for word in text.split(" "):
        found[-1] += (" " if found[-1] else "") + word
        closed = found[-1].count("(") <= found[-1].count(")") and found[-1].count('"') % 2 == 0
        if closed and re.search(r"(?:[^.\s]{2,}|\d|\)|\")[.]$", word):
            found.append("")
    return [sentence for sentence in found if sentence]


class Block:
    """The comment of one declaration, taken apart."""

    def __init__(self, library, header, comment, declaration):
        self.library, self.header, self.comment, self.declaration = library, header, comment, declaration
        self.brief, self.result, self.table, self.rest = "", [], {}, []
        self.take_apart(header.elements(comment))
        if declaration.name.startswith("~") and declaration is not comment.declarations[0]:
            # The comment is that of the constructor.
            self.brief, self.rest = "The end of the object.", []

    def take_apart(self, elements):
        names = [d.name for d in self.comment.declarations]
        others = [name for name in names if name != self.declaration.name]
        in_result = False
        for element in elements:
            if isinstance(element, Parameter):
                for name in element.names:
                    self.table.setdefault(name, element.elements)
                in_result = False
            elif isinstance(element, Text):
                in_result = self.take_text(element.text, names, others)
            elif in_result and isinstance(element, (Indented, Items)):
                self.result.append(element)
            else:
                self.rest.append(element)
                in_result = False
        if not self.brief and self.rest and isinstance(self.rest[0], Text):
            first, *more = sentences(self.rest[0].text)
            self.brief, self.rest[0].text = first, " ".join(more)
            self.rest = [e for e in self.rest if not isinstance(e, Text) or e.text]

    def take_text(self, text, names, others):
        """Whether the text ends with the result, so that a list after it belongs to it."""
        match = re.match(r"([\w~]+(?:(?:, | \.\. )[\w~]+)*|operator\S+) - (.*)", text, re.S)
        if match and set(re.split(r", | \.\. ", match[1])) & set(names + [self.comment.scope]):
            own = self.declaration.name in re.split(r", | \.\. ", match[1]) or ".." in match[1]
            if not own and set(re.split(r", ", match[1])) & set(others):
                return False
            text = match[2]
            if not self.brief:
                first, *more = sentences(text)
                if re.match(r"Returns? ", first):
                    more, first = [first, *more], ""
                self.brief, text = first, " ".join(more)
        pending, target = [], None
        for sentence in sentences(text):
            if re.match(r"Returns? ", sentence) and target is None:
                if pending:
                    self.rest.append(Text(" ".join(pending)))
                pending, target = [], self.result
                sentence = re.sub(r"^Returns? ", "", sentence)
            pending.append(sentence)
        if pending:
            (self.rest if target is None else target).append(Text(" ".join(pending)))
        return target is not None

    @cached_property
    def all_text(self):
        lines = COMMENT.sub("", "") or " ".join(line.strip() for line in self.comment.lines)
        return lines

    def referred(self):
        """The functions that this block names."""
        words = re.findall(r"[A-Za-z]\w*", self.all_text)
        own = [d.name for d in self.comment.declarations]
        if re.match(r"(the same|the reverse|the inverse|likewise)\b", self.brief, re.I):
            above = [c for c in self.header.comments if c.kind == "doc" and c.scope == self.comment.scope
                     and c.start < self.comment.start and c.declarations]
            if above:
                yield Block(self.library, self.header, above[-1], above[-1].declarations[0])
        for word in dict.fromkeys(words):
            if word in self.library.functions and word not in own and re.search(r"[_A-Z0-9]", word):
                yield Block(self.library, *self.library.functions[word])

    def parameter(self, name):
        """What is said of a parameter: elements, or nothing."""
        if self.is_copy():
            return [Text("the object that is copied")]
        return (self.table.get(name) or self.handle(name) or self.mention(name) or self.reference(name)
                or self.neighbour(name) or self.in_brief(name) or self.common(name) or self.customary(name))

    def handle(self, name):
        source = re.sub(r"\s+", " ", self.declaration.source)
        match = re.search(rf"\b(\w+) \*\s*{re.escape(name)}\b", source)
        if match and match[1] in self.library.records:
            return [Text(self.library.records[match[1]])]
        return None

    def mention(self, name):
        if name in ENGLISH:
            quoted = f"`{name}`"
            rows = [e.text for row in self.table.values() for e in row if isinstance(e, Text)]
            found = [sentence for text in rows for sentence in sentences(text) if quoted in sentence]
            return [Text(found[0])] if found else None
        results = (e.text for e in self.result if isinstance(e, Text))
        own = [*(re.sub(r"^Kept: ", "", e.text) for e in self.rest if isinstance(e, Text)),
               *(f"returns {text}" for text in results)]
        found = [s for text in own for s in sentences(text) if re.search(rf"(?<!\w){re.escape(name)}(?!\w)", s)]
        return [Text(" ".join(found[:2]))] if found else None

    def in_brief(self, name):
        """A block of one sentence says it all at once; callbacks are described by their text."""
        named = re.search(rf"(?<!\w){re.escape(name)}(?!\w)", self.brief)
        return [Text("see above")] if named and name not in ENGLISH else None

    def reference(self, name):
        for block in self.referred():
            if name in block.declaration.parameters and (text := block.table.get(name) or block.mention(name)):
                return text
        return None

    def neighbour(self, name):
        """From another block of the same header or class, the nearest one above first."""
        above, below = [], []
        for comment in self.header.comments:
            if comment.kind == "doc" and comment.scope == self.comment.scope and comment is not self.comment:
                for declaration in comment.declarations[:1]:
                    if any(name in d.parameters for d in comment.declarations):
                        block = Block(self.library, self.header, comment, declaration)
                        if name in block.table:
                            (above if comment.start < self.comment.start else below).append(block.table[name])
        return above[-1] if above else below[0] if below else None

    def common(self, name):
        rules = [[e] if not isinstance(e, Section) else e.elements for e in self.header.file_elements[1:]]
        for element in [element for elements in rules for element in elements]:
            if isinstance(element, Parameter) and name in element.names:
                return element.elements
            for sentence in sentences(element.text) if isinstance(element, Text) and name not in ENGLISH else []:
                if re.search(rf"(?<!\w){re.escape(name)}(?!\w)", sentence):
                    return [Text(sentence)]
        return None

    def customary(self, name):
        """What is called or declared so in all headers."""
        if re.fullmatch(r"(context|user)\d?", name):
            own = self.declaration.kind == "callback"
            return [Text("the pointer given with the function" if own else "handed to the function; not looked at")]
        return None

    def is_copy(self):
        """A copy constructor or an assignment."""
        scope = self.comment.scope
        form = rf"(?:const {scope} &|{scope} const &)"
        return bool(scope) and re.search(rf"(?:\b{scope}|operator=)\({form}", self.declaration.source) is not None

    def returned(self):
        """What a function gives: its own words, the brief of one that is named after its result, or another's."""
        if self.result:
            return self.result
        if self.declaration.name == "operator=":
            return [Text("this object")]
        if self.declaration.result in ("", "void") or self.declaration.kind != "function":
            return None
        if re.search(r"\breturns?\b", self.all_text):
            found = [s for t in [self.brief, *(e.text for e in self.rest if isinstance(e, Text))] for s in sentences(t)
                     if re.search(r"\breturns?\b", s)]
            if found:
                return [Text(found[0])]
        by_another = self.brief.partition(" ")[0] in self.library.functions
        for block in self.referred():
            if block.declaration.result == self.declaration.result and block.result and (self.is_action() or by_another):
                return block.result
        return [Text(self.brief)] if self.brief and not self.is_action() else None

    def is_action(self):
        return re.match(r"(add|append|assign|begin|build|call|change|clear|close|copy|create|cut|decrypt|encrypt|end|feed|"
                        r"fill|free|give|insert|load|make|move|open|overwrite|print|put|read|remove|replace|reserve|save|"
                        r"set|start|store|wait|write)\b", self.brief, re.I) is not None

    def capital(self, text):
        first = re.match(r"\w*", text)[0]
        is_name = "_" in first or first in self.library.functions or len(first) == 1 and first != "a"
        return text if is_name else text[:1].upper() + text[1:]

    # ---- As Doxygen reads it ----

    def write(self):
        declaration = self.declaration
        writer = Writer(self.library, [declaration.name])
        parts = ["@brief " + writer.text(self.capital(self.brief))]
        parts.append(writer.elements(self.rest))
        if declaration.kind in ("function", "callback"):
            names = dict.fromkeys(filter(None, declaration.parameters))
            texts = {name: text for name in names if (text := self.parameter(name))}
            # A callback is told by its text; a table of some of its parameters would say less than none.
            if declaration.kind == "function" or len(texts) == len(names):
                parts += [f"@param {name} {writer.inline(text)}" for name, text in texts.items()]
            if returned := self.returned():
                parts.append(f"@return {writer.inline(returned)}")
        return "/**\n" + "\n\n".join(part for part in parts if part) + "\n */\n"


# ---- Files -----------------------------------------------------------------------------------------------------------


def converted(library, header):
    """The text of a header with other comments: from the last edit to the first, so that places stay."""
    edits = [edit for comment in header.comments for edit in edits_of(library, header, comment)]
    edits += groups(library, header)
    edits += classes(header)
    edits += fields(library, header)
    text = header.text
    for start, end, replacement in sorted(edits, key=lambda edit: edit[:2], reverse=True):
        text = text[:start] + replacement + text[end:]
    return constants(library, header, hide_overloads(text))


def constants(library, header, text):
    """Macros without a comment: those that a function's block speaks of lead there, the others are not shown."""
    def described(match):
        if text[: match.start()].rstrip().endswith("*/") and text[: match.start()].count("\n\n") == 0:
            return match[0]
        prefix = match[2][: match[2].rfind("_") + 1]
        for wanted in (rf"\b{match[2]}\b", rf"\b{prefix}\w+"):
            for name, (home, comment, _) in library.functions.items():
                if home is header and re.search(wanted, comment.text):
                    return f"/** @brief See @ref {name} \"{name}\". */\n{match[1]}"
        return hidden(match[1])

    return re.sub(r"(?<!\*/\n)^(# *define (\w+)(?:.*\\\n)*(?!.*/\*).*)$", described, text, flags=re.M)


def edits_of(library, header, comment):
    """Start, end and replacement for what a comment becomes; sections apart."""
    writer = Writer(library)
    if comment.kind == "file":
        yield comment.start, comment.end, file_block(writer, header)
    elif comment.kind == "trailing" and not re.search("^#|,", header.line_before(comment)):
        yield comment.start, comment.end, "/**< " + writer.text(" ".join(comment.lines)) + " */"
    elif comment.kind == "doc" and comment.access != "private":
        for i, declaration in enumerate(comment.declarations):
            start, end = (comment.start, comment.end + 1) if i == 0 else (declaration.start, declaration.start)
            yield start, end, Block(library, header, comment, declaration).write()


def classes(header):
    """A class without a comment of its own is what its header is about."""
    for match in re.finditer(r"^class (?:\w+_API )?(\w+)[^;{}()]*\{", header.text, re.M):
        if not header.text[: match.start()].rstrip().endswith("*/") or header.text[: match.start()].endswith("\n\n"):
            title = re.sub(r"^class(?:es)? [\w, ]+: ", "", header.title)
            brief = Writer.plain(title[:1].upper() + title[1:])
            yield match.start(), match.start(), f"/** @brief {brief}\n\nExample and common rules: {header.name}. */\n"


def fields(library, header):
    """Fields that share a comment get it each; what a class keeps for derived ones without a word is not shown."""
    comments = {comment.start: comment for comment in header.comments}
    for name, start, end in header.scopes:
        for match in re.finditer(r"^( +)([\w:]+(?: \w+)*? )(\**\w+(?:\[\w+\])?(?:, \**\w+(?:\[\w+\])?)*);[ ]*(?=(/\*)?)",
                                 header.text[start:end], re.M):
            at, after = start + match.start(), start + match.end()
            comment = comments.get(after)
            if comment and "," in match[3]:
                words = Writer(library).text(" ".join(comment.lines))
                split = [f"{match[1]}{match[2]}{field}; /**< {words} */" for field in match[3].split(", ")]
                yield at, comment.end, "\n".join(split)
            elif not comment and header.access_at(name, start, at) == "protected":
                yield at, after, hidden(match[0])
            elif not comment and header.access_at(name, start, at) == "public":
                # The comment of the struct speaks of them.
                yield at, after, "\n".join(f"{match[1]}{match[2]}{field}; /**< see above */" for field in match[3].split(", "))
        for match in re.finditer(r"^ +[\w:]+ \(\*\w+\)\([^;{}]*\);(?! +/\*)", header.text[start:end], re.M):
            if header.access_at(name, start, start + match.start()) == "protected":
                yield start + match.start(), start + match.end(), hidden(match[0])


def hidden(text):
    return f"/** @cond */\n{text}\n/** @endcond */"


def groups(library, header):
    """Sections, and comments that describe nothing but rules for what follows them, become groups of members."""
    opened = None
    rules = [c for c in header.comments if c.kind == "doc" and not c.declarations and c.access != "private"]
    for comment in header.comments:
        if comment.kind != "section" and comment not in rules or comment.access == "private":
            continue
        if opened and opened.scope == comment.scope and comment in rules and not header.between(opened, comment):
            continue
        if opened and opened.scope != comment.scope:
            yield header.end_of(opened), header.end_of(opened), "/** @} */\n"
            opened = None
        if header.next_declaration(comment).startswith("class"):
            # A class is a page of its own.
            if opened:
                yield comment.start, comment.start, "/** @} */\n"
                opened = None
            continue
        elements = header.elements(comment)
        title = elements.pop(0).text if comment.kind == "section" else "Rules"
        end = comment.end
        for rule in rules:
            if rule.start > comment.end and not header.between(comment, rule):
                elements += header.elements(rule)
                end = rule.end
        writer = Writer(library)
        close = "/** @} */\n" if opened else ""
        yield comment.start, end, f"{close}/** @name {writer.plain(title)}\n\n{writer.elements(elements)}\n * @{{ */"
        opened = comment
    if opened:
        yield header.end_of(opened), header.end_of(opened), "/** @} */\n"


def file_block(writer, header):
    rest = writer.elements(header.file_elements[1:])
    title = header.title[:1].upper() + header.title[1:]
    return f"/** @file {header.name}\n@brief {writer.text(title)}\n\n{rest}\n */"


def hide_overloads(text):
    """Functions for C++ alone that stand beside those of C, with other types of the same arguments."""
    return re.sub(r"(TESKA_END_C\n\n)(#ifdef __cplusplus\n)(inline .*?)(#endif)", r"\1\2/** @cond */\n\3/** @endcond */\n\4",
                  text, flags=re.S)


# ---- Pages -----------------------------------------------------------------------------------------------------------

PAGES = ["README.md", "CONTRIBUTING.md", "CHANGELOG.md", "docs/*.md", "docs/guides/*.md", "docs/reference/*.md",
         "Private/Source/README.md", "companions/*/README.md"]


def label(page):
    return "page_" + re.sub(r"\W", "_", str(page.relative_to(ROOT).with_suffix("")))


def page_text(page, pages, headers):
    """A page with links as Doxygen takes them: to pages and headers of the reference; of others the text stays."""
    def link(match):
        text, target = match[2], match[3].partition("#")[0]
        if match[1] or re.match(r"[a-z]+:", target) or not target:
            return match[0]
        path = (page.parent / target).resolve()
        if path in pages:
            return f'@ref {label(path)} "{text}"'
        if path.name in headers:
            return f'@ref {path.name} "{text}"'
        return text

    text = re.sub(r"(!?)\[([^\]]+)\]\(([^)\s]+)\)", link, page.read_text())
    if page.name == "start.md":
        return text
    return re.sub(r"^# (.*)$", rf"# \1 {{#{label(page)}}}", text, count=1, flags=re.M)


def subsystems(library):
    """The headers by the subsystem that gathers them."""
    headers = {header.name: header for header in library.headers}
    lines = ["# Headers by subsystem {#subsystems}", ""]
    groups = {header.name: re.findall(r'#\s*include "(\w+\.h)"', header.text) for header in library.headers
              if re.fullmatch(r"teska_\w+\.h", header.name)}
    groups = {name: members for name, members in groups.items() if len(members) > 1}
    groups["Companions"] = [name for name in headers if name in ("wem.h", "lopra.h", "zuk.h")]
    writer = Writer(library)
    for name, members in groups.items():
        lines += [f"## {name.removeprefix('teska_').removesuffix('.h').capitalize()}", "", "| header | what it is |",
                  "|---|---|"]
        lines += [f"| @ref {m} \"{m}\" | {writer.text(headers[m].title)} |" for m in members if m in headers]
        lines.append("")
    return "\n".join(lines)


def write_pages(library, folder):
    pages = [page for pattern in PAGES for page in sorted(ROOT.glob(pattern))]
    headers = {header.name for header in library.headers}
    folder.mkdir(parents=True, exist_ok=True)
    for page in pages:
        (folder / f"{label(page)}.md").write_text(page_text(page, pages, headers))
    (folder / "subsystems.md").write_text(subsystems(library))


def main(folder):
    library = Library()
    target = folder / "teska"
    target.mkdir(parents=True, exist_ok=True)
    for header in library.headers:
        (target / header.name).write_text(converted(library, header))
    write_pages(library, folder / "pages")
    return 0


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1])))
