"""Small faults, made mechanically out of a C++ source: one change each.

The parser is libclang's, so a fault stands where the language has an operator, a
constant, a condition, a statement or an argument, and most of them compile.

    operator   < becomes <= and >=, + becomes -, && becomes ||, += becomes -=, ++ becomes --, ...;
               ! and - and ~ go; of "a && b" and "a || b" one side goes
    constant   a number becomes one more, one less and 0; a character the next one; of a text a
               byte in the middle changes, or the whole text goes; true becomes false; a name of
               a constant (an enumerator, a macro that is a number) the next enumerator, or one more
    condition  becomes true, false and its contrary: if, while, do, for, ?:
    statement  an expression, a break, a continue, a return without a value, or an object that is
               only there for its life time goes; a returned value becomes an empty one
    arguments  two neighbours of the same type change places
"""

import bisect
import dataclasses
import pathlib

from clang import cindex
from clang.cindex import CursorKind, TokenKind

FOLDERS = ("core", "platform", "settings", "events", "execution", "net")

BINARY = {
    "+": ("-",), "-": ("+",), "*": ("/",), "/": ("*",), "%": ("*",),
    "<": ("<=", ">="), ">": (">=", "<="), "<=": ("<", ">"), ">=": (">", "<"),
    "==": ("!=",), "!=": ("==",), "&&": ("||",), "||": ("&&",),
    "&": ("|",), "|": ("&",), "^": ("&",), "<<": (">>",), ">>": ("<<",),
    "+=": ("-=",), "-=": ("+=",), "*=": ("/=",), "/=": ("*=",), "%=": ("*=",),
    "&=": ("|=",), "|=": ("&=",), "^=": ("&=",), "<<=": (">>=",), ">>=": ("<<=",),
}
UNARY = {"!": "", "-": "", "~": "", "++": "--", "--": "++"}
LOOPS_AND_BRANCHES = (CursorKind.IF_STMT, CursorKind.WHILE_STMT, CursorKind.DO_STMT,
                      CursorKind.FOR_STMT, CursorKind.CONDITIONAL_OPERATOR)
WRAPPERS = (CursorKind.UNEXPOSED_EXPR, CursorKind.PAREN_EXPR)


@dataclasses.dataclass(frozen=True, order=True)
class Mutant:
    file: str
    begin: int  # bytes of the file
    end: int
    text: str
    kind: str

    def apply(self, source):
        return source[: self.begin] + self.text.encode() + source[self.end :]

    def lines(self, source):
        """The changed lines, before and after, without their indentation."""
        first = source.rfind(b"\n", 0, self.begin) + 1
        last = source.find(b"\n", self.end)
        last = len(source) if last < 0 else last
        before = source[first:last].decode()
        after = (source[first : self.begin] + self.text.encode() + source[self.end : last]).decode()
        return " ".join(before.split()), " ".join(after.split())

    def line(self, source):
        return source.count(b"\n", 0, self.begin) + 1

    def key(self, source):
        """Names the mutant by its file and its lines, which outlive changes elsewhere in the file."""
        return (self.file, *self.lines(source))


def source_files(root):
    """The daemon's own sources, by their names below the root."""
    root = pathlib.Path(root)
    return sorted(str(path.relative_to(root)) for folder in FOLDERS for path in (root / folder).glob("*")
                  if path.suffix in (".cpp", ".h"))


def mutants_of(root, file):
    """All the mutants of one source, in the order of the file."""
    path = pathlib.Path(root) / file
    unit = cindex.Index.create().parse(str(path), args=["-x", "c++", "-std=c++20", f"-I{root}"])
    errors = [str(found) for found in unit.diagnostics if found.severity >= cindex.Diagnostic.Error]
    if errors:
        raise ValueError(f"{file}: {errors[0]}")
    return sorted(Generator(unit, file, path.read_bytes()).mutants())


class Generator:
    def __init__(self, unit, file, source):
        self.unit = unit
        self.file = file
        self.source = source
        self.tokens = {}
        for token in unit.get_tokens(extent=unit.cursor.extent):
            self.tokens[token.extent.start.offset] = token
        self.starts = sorted(self.tokens)
        self.found = set()

    def mutants(self):
        for cursor in self.unit.cursor.get_children():
            if cursor.location.file and cursor.location.file.name == self.unit.spelling:
                self.walk(cursor)
        return self.found

    def add(self, kind, begin, end, text):
        """A change keeps the number of lines, so that nothing else moves."""
        missing = self.source.count(b"\n", begin, end) - text.count("\n")
        if self.source[begin:end] != text.encode():
            self.found.add(Mutant(self.file, begin, end, text + "\n" * missing, kind))

    def span(self, cursor):
        return cursor.extent.start.offset, cursor.extent.end.offset

    def text(self, cursor):
        begin, end = self.span(cursor)
        return self.source[begin:end].decode()

    def token_of(self, cursor):
        """The one token that the cursor consists of, else nothing."""
        begin, end = self.span(cursor)
        token = self.tokens.get(begin)
        return token if token and token.extent.end.offset == end else None

    def tokens_between(self, begin, end):
        first, last = (bisect.bisect_left(self.starts, at) for at in (begin, end))
        return [self.tokens[start] for start in self.starts[first:last]]

    def walk(self, cursor):
        if cursor.kind == CursorKind.STATIC_ASSERT:
            return
        children = list(cursor.get_children())
        self.operators(cursor, children)
        self.constants(cursor)
        if cursor.kind in LOOPS_AND_BRANCHES:
            self.condition(cursor, children)
        if cursor.kind == CursorKind.CALL_EXPR and not cursor.spelling.startswith("operator"):
            self.arguments(cursor)
        if cursor.kind == CursorKind.RETURN_STMT:
            self.returned(cursor, children)
        for index, child in enumerate(children):
            if self.is_body(cursor, children, index):
                self.statement(child, children[index + 1 :])
            self.walk(child)

    # operators

    def operators(self, cursor, children):
        if cursor.kind in (CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR):
            if len(children) == 2:
                self.binary(cursor, children[0], children[1])
        elif cursor.kind == CursorKind.CALL_EXPR and cursor.spelling.startswith("operator"):
            if len(children) == 3:
                left, _, right = sorted(children, key=lambda child: child.extent.start.offset)
                self.binary(cursor, left, right)
        elif cursor.kind == CursorKind.UNARY_OPERATOR and children:
            self.unary(cursor, children[0])

    def binary(self, cursor, left, right):
        between = self.tokens_between(self.span(left)[1], self.span(right)[0])
        if len(between) != 1 or between[0].kind != TokenKind.PUNCTUATION:
            return
        token = between[0]
        for text in BINARY.get(token.spelling, ()):
            self.add("operator", token.extent.start.offset, token.extent.end.offset, text)
        if token.spelling in ("&&", "||"):
            begin, end = self.span(cursor)
            self.add("operator", begin, end, self.text(left))
            self.add("operator", begin, end, self.text(right))

    def unary(self, cursor, operand):
        begin, end = self.span(cursor)
        inner_begin, inner_end = self.span(operand)
        first, last = (begin, inner_begin) if begin < inner_begin else (inner_end, end)
        token = self.tokens.get(first)
        if token and token.extent.end.offset <= last and token.spelling in UNARY:
            self.add("operator", first, token.extent.end.offset, UNARY[token.spelling])

    # constants

    def constants(self, cursor):
        if cursor.kind == CursorKind.STRING_LITERAL:
            for token in self.tokens_between(*self.span(cursor)):
                if token.kind == TokenKind.LITERAL and token.spelling.endswith('"'):
                    self.string(token)
            return
        if cursor.kind == CursorKind.DECL_REF_EXPR and cursor.referenced:
            self.enumerator(cursor)
            return
        token = self.token_of(cursor)
        if not token:
            return
        begin, end = self.span(cursor)
        if cursor.kind == CursorKind.INTEGER_LITERAL:
            for text in changed_number(token.spelling):
                self.add("constant", begin, end, text)
        elif cursor.kind == CursorKind.FLOATING_LITERAL:
            self.add("constant", begin, end, f"({token.spelling} + 1)")
        elif cursor.kind == CursorKind.CHARACTER_LITERAL:
            self.add("constant", begin, end, f"static_cast<char>({token.spelling} + 1)")
        elif cursor.kind == CursorKind.CXX_BOOL_LITERAL_EXPR:
            self.add("constant", begin, end, "false" if token.spelling == "true" else "true")

    def string(self, token):
        begin, end = token.extent.start.offset, token.extent.end.offset
        quote = self.source.index(b'"', begin)
        bytes_inside = list(range(quote + 1, end - 1))
        plain = [at for at in bytes_inside
                 if self.source[at : at + 1].isalnum() and self.source[at - 1 : at] not in (b"\\", b"%")]
        chosen = plain or [at for at in bytes_inside if self.source[at - 1 : at + 1].count(b"\\") == 0]
        if chosen:
            at = chosen[len(chosen) // 2]
            self.add("constant", at, at + 1, changed_byte(chr(self.source[at])))
        if bytes_inside:
            self.add("constant", quote + 1, end - 1, "")
        else:
            self.add("constant", quote + 1, end - 1, "x")

    def enumerator(self, cursor):
        declaration = cursor.referenced
        tokens = self.tokens_between(*self.span(cursor))  # a scope, perhaps, and the name
        if declaration.kind != CursorKind.ENUM_CONSTANT_DECL or not tokens:
            return
        siblings = [child.spelling for child in declaration.semantic_parent.get_children()
                    if child.kind == CursorKind.ENUM_CONSTANT_DECL]
        following = siblings[(siblings.index(declaration.spelling) + 1) % len(siblings)]
        self.add("constant", tokens[-1].extent.start.offset, tokens[-1].extent.end.offset, following)

    # conditions

    def condition(self, cursor, children):
        condition = self.condition_of(cursor, children)
        if not condition or self.span(condition) == self.span(cursor):  # out of a macro
            return
        begin, end = self.span(condition)
        before = ""
        if condition.kind == CursorKind.VAR_DECL:  # if (auto found = ...)
            if cursor.kind != CursorKind.IF_STMT:
                return
            before = self.text(condition) + "; "
        text = condition.spelling if before else self.text(condition)
        for changed in ("true", "false", f"!({text})"):
            self.add("condition", begin, end, before + changed)

    def condition_of(self, cursor, children):
        """Children come in the order of the source, and some may be absent."""
        if cursor.kind == CursorKind.DO_STMT:
            return children[-1]
        if cursor.kind == CursorKind.CONDITIONAL_OPERATOR:
            return children[0]
        if cursor.kind == CursorKind.FOR_STMT:
            return self.loop_condition(cursor, children)
        declared = [child for child in children if child.kind == CursorKind.VAR_DECL]
        if declared:
            return declared[0]
        return next((child for child in children if child.kind != CursorKind.DECL_STMT), None)

    def loop_condition(self, cursor, children):
        semicolons = [token.extent.start.offset for token in self.tokens_between(*self.span(cursor))
                      if token.spelling == ";"][:2]
        if len(semicolons) < 2:
            return None
        return next((child for child in children
                     if semicolons[0] < self.span(child)[0] < semicolons[1]), None)

    # statements

    def is_body(self, cursor, children, index):
        if cursor.kind == CursorKind.COMPOUND_STMT:
            return True
        if cursor.kind == CursorKind.IF_STMT:
            condition = self.condition_of(cursor, children)
            return condition is not None and self.span(children[index])[0] > self.span(condition)[1]
        if cursor.kind in (CursorKind.WHILE_STMT, CursorKind.FOR_STMT, CursorKind.CXX_FOR_RANGE_STMT,
                           CursorKind.CASE_STMT, CursorKind.DEFAULT_STMT):
            return index == len(children) - 1
        return cursor.kind == CursorKind.DO_STMT and index == 0

    def statement(self, cursor, following):
        begin, end = self.span(cursor)
        if cursor.kind in (CursorKind.BREAK_STMT, CursorKind.CONTINUE_STMT) or cursor.kind.is_expression():
            self.add("statement", begin, end, "")
        elif cursor.kind == CursorKind.RETURN_STMT:
            if not list(cursor.get_children()):
                self.add("statement", begin, end, "")
        elif cursor.kind == CursorKind.DECL_STMT and self.lives_only(cursor, following):
            self.add("statement", begin, end, ";")

    def lives_only(self, cursor, following):
        """Whether it declares an object that nothing behind it uses."""
        names = {child.get_usr() for child in cursor.get_children() if child.kind == CursorKind.VAR_DECL}
        used = {inner.referenced.get_usr() for statement in following for inner in statement.walk_preorder()
                if inner.kind == CursorKind.DECL_REF_EXPR and inner.referenced}
        return bool(names) and not names & used

    def returned(self, cursor, children):
        if children and self.text(children[0]) != "{}":
            begin, end = self.span(children[0])
            self.add("statement", begin, end, "{}")

    # arguments

    def arguments(self, cursor):
        begin, end = self.span(cursor)
        given = [argument for argument in cursor.get_arguments()
                 if argument and begin <= self.span(argument)[0] < self.span(argument)[1] <= end]
        for left, right in zip(given, given[1:]):
            if self.span(left)[1] <= self.span(right)[0] and self.exchangeable(left, right):
                (first, first_end), (second, second_end) = self.span(left), self.span(right)
                between = self.source[first_end:second].decode()
                self.add("arguments", first, second_end, self.text(right) + between + self.text(left))

    @staticmethod
    def exchangeable(left, right):
        types = [argument.type.get_canonical().get_declaration().spelling or plain_type(argument.type)
                 for argument in (left, right)]
        return types[0] == types[1] or all(name == "number" for name in types)


def plain_type(found):
    found = found.get_canonical()
    if found.kind in (cindex.TypeKind.LVALUEREFERENCE, cindex.TypeKind.RVALUEREFERENCE):
        found = found.get_pointee()
    if cindex.TypeKind.BOOL.value <= found.kind.value <= cindex.TypeKind.LONGDOUBLE.value:
        return "number"
    if found.kind in (cindex.TypeKind.CONSTANTARRAY, cindex.TypeKind.INCOMPLETEARRAY):
        return found.element_type.spelling.replace("const ", "") + " *"
    return found.spelling.replace("const ", "")


def changed_number(text):
    """The texts that take a number's place; the number may be a macro's name."""
    digits = text.replace("'", "").rstrip("uUlLzZ")
    try:
        value = int(digits, 8 if digits.startswith("0") and digits.isdigit() else 0)
    except ValueError:
        return [f"({text} + 1)"] if text.isidentifier() else []
    suffix = text[len(text.rstrip("uUlLzZ")) :]
    values = {value + 1, value - 1, 0} - {value}
    return [f"{other}{suffix}" if other >= 0 else f"({other})" for other in sorted(values)]


def changed_byte(character):
    if character.isdigit():
        return "1" if character == "0" else "0"
    return "~" if not character.isalpha() else ("y" if character == "x" else "x")
