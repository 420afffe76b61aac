"""mutation_sites - the places of the library's sources where a small fault can be put, read with libclang

A fault is a comparison turned, an operation exchanged, a number one off, a condition negated, a statement dropped,
another value returned, a bound of a loop one less, another vector instruction.
"""
import json
import os
import re
import shlex


def counted(path):
    """Whether a file is one of the library's that this host compiles: no test, no public header."""
    return path.startswith(("Private/", "companions/")) and "/win32/" not in path and "_win32" not in path \
        and "/tests/" not in path and path.endswith((".cpp", ".h")) \
        and not re.fullmatch(r"companions/(\w+)/\1\.h", path)


# ---- The places where a fault can be put ----------------------------------------------------------------------------

SWAPS = {
    "<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==",
    "+": "-", "-": "+", "*": "/", "/": "*", "%": "/",
    "+=": "-=", "-=": "+=", "*=": "/=", "/=": "*=", "%=": "/=",
    "&&": "||", "||": "&&",
    "<<": ">>", ">>": "<<", "&": "|", "|": "&", "^": "&",
    "<<=": ">>=", ">>=": "<<=", "&=": "|=", "|=": "&=", "^=": "&=",
}
CLASS_OF = {**dict.fromkeys(["<", "<=", ">", ">=", "==", "!="], "relational"),
            **dict.fromkeys(["+", "-", "*", "/", "%", "+=", "-=", "*=", "/=", "%="], "arithmetic"),
            **dict.fromkeys(["&&", "||"], "logical"),
            **dict.fromkeys(["<<", ">>", "&", "|", "^", "<<=", ">>=", "&=", "|=", "^="], "bits")}
RETURNS = {"0": ["-1", "1"], "1": ["0"], "-1": ["0"], "true": ["false"], "false": ["true"]}
# Intrinsics and the names the kernels give them.
VECTOR = [("_add_", "_sub_"), ("_adds_", "_subs_"), ("_min_", "_max_"), ("_and_", "_or_"), ("_xor_", "_or_"),
          ("_unpacklo_", "_unpackhi_"), ("_slli_", "_srli_"), ("_sll_", "_srl_"), ("_srai_", "_srli_"),
          ("_mulhi_", "_mullo_"), ("_CMP_LT_OQ", "_CMP_LE_OQ"), ("_CMP_GT_OQ", "_CMP_GE_OQ"), ("_cmpgt_", "_cmpeq_"),
          ("_cmplt_", "_cmple_"), ("_low(", "_high("), ("::min(", "::max("), ("::add(", "::subtract(")]
VECTOR = VECTOR + [(b, a) for a, b in VECTOR if a not in ("_xor_", "_srai_")]


def kind_of(cursor, K):
    """The kind of a node; the binding knows no number for some that the library has (std::bit_cast)."""
    try:
        return cursor.kind
    except ValueError:
        return K.UNEXPOSED_EXPR


class Sites:
    """Collects the places of one translation unit; files seen before are left out."""

    def __init__(self, tree, cindex):
        self.tree, self.K = tree, cindex.CursorKind
        self.found, self.texts, self.done = {}, {}, set()
        self.statements = {self.K.CALL_EXPR, self.K.BINARY_OPERATOR, self.K.COMPOUND_ASSIGNMENT_OPERATOR,
                           self.K.UNARY_OPERATOR, self.K.CXX_DELETE_EXPR, self.K.UNEXPOSED_EXPR}
        self.skipped = {self.K.CASE_STMT, self.K.STATIC_ASSERT, self.K.ENUM_DECL, self.K.PARM_DECL,
                        self.K.TEMPLATE_NON_TYPE_PARAMETER, self.K.TYPE_ALIAS_DECL, self.K.TYPEDEF_DECL}

    def text(self, path):
        if path not in self.texts:
            with open(os.path.join(self.tree, path), "rb") as file:
                self.texts[path] = file.read()
        return self.texts[path]

    def add(self, path, start, end, after, kind):
        text = self.text(path)
        line = text.count(b"\n", 0, start) + 1
        self.found.setdefault((path, start, end, after),
                              {"file": path, "line": line, "start": start, "end": end,
                               "before": text[start:end].decode(), "after": after, "kind": kind})

    def operator(self, path, left_end, right_start, for_bound_end=None):
        text = self.text(path)
        between = text[left_end:right_start]
        match = re.fullmatch(rb"\s*(?:/\*.*?\*/)?\s*([<>=!+\-*/%&|^]+)\s*", between, re.S)
        if not match or match[1].decode() not in SWAPS:
            return
        sign = match[1].decode()
        start = left_end + match.start(1)
        self.add(path, start, start + len(sign), SWAPS[sign], CLASS_OF[sign])
        if for_bound_end and sign in ("<", "<=", ">", ">=", "!="):
            bound = text[right_start:for_bound_end].decode()
            shift = "+" if sign in (">", ">=") else "-"
            self.add(path, right_start, for_bound_end, f"({bound}) {shift} 1", "bound")

    def place(self, cursor):
        """(path, start, end) of what is in a file that counts, else None"""
        start, end = cursor.extent.start, cursor.extent.end
        if start.file is None or end.file is None or start.file.name != end.file.name:
            return None
        path = os.path.relpath(start.file.name, self.tree)
        return (path, start.offset, end.offset) if counted(path) else None

    def unit(self, translation_unit):
        seen = set()
        for cursor in translation_unit.cursor.get_children():
            where = self.place(cursor)
            if where and where[0] not in self.done:
                seen.add(where[0])
                self.walk(cursor, None, None)
        self.done |= seen

    def walk(self, cursor, parent, loop):
        K, where = self.K, self.place(cursor)
        kind = kind_of(cursor, K)
        if kind in self.skipped or where is None:
            return
        path, start, end = where
        text = self.text(path)
        children = list(cursor.get_children())
        extents = [self.place(child) for child in children]
        self.statement_of(path, cursor, children, extents)
        if kind in (K.BINARY_OPERATOR, K.COMPOUND_ASSIGNMENT_OPERATOR) and len(children) == 2 and all(extents):
            in_loop = loop and parent is not None and kind_of(parent, K) == K.FOR_STMT
            self.operator(path, extents[0][2], extents[1][1], extents[1][2] if in_loop else None)
        elif kind == K.CALL_EXPR and cursor.spelling.startswith("operator"):
            sides = [self.place(side) for side in cursor.get_arguments()]
            if len(sides) == 2 and all(sides):
                self.operator(path, sides[0][2], sides[1][1])
        elif kind == K.UNARY_OPERATOR:
            self.unary(path, start, end)
        elif kind in (K.IF_STMT, K.CONDITIONAL_OPERATOR) and children and extents[0]:
            head = text[start:extents[0][1]]
            declares = kind_of(children[0], K) in (K.DECL_STMT, K.VAR_DECL)
            if not declares and b"constexpr" not in head and b";" not in head:
                condition = text[extents[0][1]:extents[0][2]].decode()
                self.add(path, extents[0][1], extents[0][2], f"!({condition})", "negate")
        elif kind in (K.BREAK_STMT, K.CONTINUE_STMT):
            self.add(path, start, end, "", "jump")
        elif kind == K.RETURN_STMT and children and extents[0]:
            value = text[extents[0][1]:extents[0][2]].decode()
            for other in RETURNS.get(value, []):
                self.add(path, extents[0][1], extents[0][2], other, "return")
            if value in RETURNS:
                return
        elif kind in (K.INTEGER_LITERAL, K.FLOATING_LITERAL):
            self.literal(path, start, end, parent)
        for child in children:
            self.walk(child, cursor, loop or kind == K.FOR_STMT)

    def unary(self, path, start, end):
        text = self.text(path)[start:end].decode()
        for sign, other in (("++", "--"), ("--", "++")):
            if text.startswith(sign):
                return self.add(path, start, start + 2, other, "arithmetic")
            if text.endswith(sign):
                return self.add(path, end - 2, end, other, "arithmetic")
        if text[:1] == "!":
            self.add(path, start, start + 1, "", "negate")
        elif text[:1] == "-" and not re.fullmatch(r"-1", text):
            self.add(path, start, start + 1, "", "arithmetic")
        elif text[:1] == "~":
            self.add(path, start, start + 1, "", "bits")

    def literal(self, path, start, end, parent):
        text = self.text(path)
        value = text[start:end].decode()
        declarations = (self.K.VAR_DECL, self.K.FIELD_DECL)
        if text[start - 1:start] == b"[" and parent is not None and kind_of(parent, self.K) in declarations:
            return
        match = re.fullmatch(r"(0[xX][0-9a-fA-F']+|[0-9][0-9']*)([uUlLzZ]*)", value)
        if match:
            number = int(match[1].replace("'", ""), 0 if match[1][:2] in ("0x", "0X") else 10)
            for other in (number + 1, number - 1):
                if other >= 0:
                    self.add(path, start, end, (hex(other) if "x" in match[1].lower() else str(other)) + match[2],
                             "integer")
        elif re.fullmatch(r"[0-9.]+([eE][-+]?[0-9]+)?[fFlL]?", value):
            number = float(value.rstrip("fFlL"))
            factor = "2.0" if abs(number) >= 1e-4 else "100.0"
            self.add(path, start, end, f"({factor} * {value})" if number else "1.0", "double")

    def statement_of(self, path, cursor, children, extents):
        """Drops the statements that are directly in a block or as a branch."""
        K, text = self.K, self.text(path)
        branches = {K.COMPOUND_STMT: 0, K.IF_STMT: 1, K.WHILE_STMT: 1, K.FOR_STMT: len(children) - 1,
                    K.CXX_FOR_RANGE_STMT: len(children) - 1, K.DO_STMT: 0}
        kind = kind_of(cursor, K)
        if kind not in branches:
            return
        for child, where in list(zip(children, extents))[branches[kind]:]:
            if where is None or kind_of(child, K) not in self.statements:
                continue
            whole = text[where[1]:where[2]]
            if not re.match(rb"\s*;", text[where[2]:where[2] + 80]):
                continue
            if kind_of(child, K) == K.BINARY_OPERATOR and not re.search(rb"[^=<>!]=[^=]", whole):
                continue
            if kind == K.DO_STMT and child != children[0]:
                continue
            self.add(path, where[1], where[2], "\n" * whole.count(b"\n"), "drop")

    def vector_names(self, path):
        text = self.text(path).decode()
        blank = lambda match: re.sub(r"[^\n]", " ", match[0])
        code = re.sub(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|^\s*#[^\n]*', blank, text, flags=re.S | re.M)
        for match in re.finditer(r"\b_(?:mm\d*_\w+|CMP_\w+)|(?:\w+::)?\w*(?:_low|_high|::min|::max|::add|::subtract)\(",
                                 code):
            for old, new in VECTOR:
                if old in match[0]:
                    at = match.start() + match[0].index(old)
                    # Declarations of the names themselves come after a type.
                    if not re.search(r"\b(static|inline)\b[^;{}=]*$", code[:match.start()].rsplit("\n", 1)[-1]):
                        self.add(path, len(text[:at].encode()), len(text[:at + len(old)].encode()), new, "vector")


def find_sites(tree, build):
    """All places, sorted; `build` is a build tree with compile_commands.json."""
    import clang.cindex as cindex
    sites, index = Sites(tree, cindex), cindex.Index.create()
    with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as file:
        commands = json.load(file)
    for entry in commands:
        path = os.path.relpath(entry["file"], tree)
        if not counted(path) or path in sites.done:
            continue
        words = shlex.split(entry["command"])
        words = words[next(i for i, word in enumerate(words) if "++" in os.path.basename(word)) + 1:]
        at = words.index("-o")
        words = [w for w in words[:at] + words[at + 2:]
                 if w not in ("-c", entry["file"]) and not w.startswith(("-W", "-fno-ipa"))]
        sites.unit(index.parse(entry["file"], args=words + ["-x", "c++"]))
    for path in sites.done:
        if path.startswith("Private/Kernels/"):
            sites.vector_names(path)
    return sorted(sites.found.values(), key=lambda site: (site["file"], site["start"], site["end"], site["after"]))
