"""The faults that can be put into C++ sources, one at a time."""

import dataclasses
import pathlib
import re

from clang.cindex import Cursor, CursorKind, Index, TypeKind

# What stands between two operands, and what takes its place.
OPERATORS = {
    "<": ("boundary", "<="), "<=": ("boundary", "<"), ">": ("boundary", ">="),
    ">=": ("boundary", ">"), "==": ("negate", "!="), "!=": ("negate", "=="),
    "&&": ("and/or", "||"), "||": ("and/or", "&&"),
    "+": ("plus/minus", "-"), "-": ("plus/minus", "+"),
    "+=": ("plus/minus", "-="), "-=": ("plus/minus", "+="),
}  # fmt: skip

FUNCTIONS = {
    CursorKind.FUNCTION_DECL, CursorKind.FUNCTION_TEMPLATE, CursorKind.CXX_METHOD,
    CursorKind.CONSTRUCTOR, CursorKind.DESTRUCTOR, CursorKind.CONVERSION_FUNCTION,
    CursorKind.LAMBDA_EXPR,
}  # fmt: skip
LOOPS = {CursorKind.FOR_STMT, CursorKind.CXX_FOR_RANGE_STMT, CursorKind.WHILE_STMT}
LABELS = {CursorKind.CASE_STMT, CursorKind.DEFAULT_STMT}
JUMPS = {CursorKind.RETURN_STMT, CursorKind.BREAK_STMT, CursorKind.CONTINUE_STMT}

# Leaving these out, or giving them another number, changes nothing that could be seen, and neither
# does another order of these.
WITHOUT_EFFECT = {"reserve", "shrink_to_fit"}
SYMMETRIC = {"max", "min", "swap"}


@dataclasses.dataclass(frozen=True)
class Change:
    """Puts `text` in place of the bytes from `start` to `end`."""

    file: str  # relative to the root
    start: int
    end: int
    text: str
    kind: str

    def apply(self, source: bytes) -> bytes:
        return source[: self.start] + self.text.encode() + source[self.end :]

    def lines(self, source: bytes) -> tuple[int, str, str]:
        """The number of the first line that it changes, and the lines before and after, as one."""
        first = source.rfind(b"\n", 0, self.start) + 1
        last = source.find(b"\n", self.end)
        before = source[first:last]
        after = source[first : self.start] + self.text.encode() + source[self.end : last]
        words = lambda text: " ".join(text.decode().split())
        return source.count(b"\n", 0, first) + 1, words(before), words(after)


class Finder:
    """Collects the changes that can be made in one translation unit, by the place they are made at:
    the file and the extent of the statement, expression or operator."""

    def __init__(self, root: pathlib.Path, folders: list[str]):
        self.root, self.folders = root, folders
        self.sources: dict[str, bytes | None] = {}
        self.places: dict[tuple[str, int, int], set[Change]] = {}
        self.switch_ends: set[tuple[str, int]] = set()

    def visit(self, unit: Cursor) -> None:
        for cursor in unit.get_children():
            if self.source(cursor) is not None:
                self.walk(cursor, None)

    def source(self, cursor: Cursor) -> bytes | None:
        """What stands in the file of a cursor, if it is one of those that are changed."""
        name = cursor.location.file.name if cursor.location.file else ""
        if name not in self.sources:
            path = pathlib.Path(name).resolve()
            wanted = any(path.is_relative_to(self.root / folder) for folder in self.folders)
            self.sources[name] = path.read_bytes() if wanted else None
        return self.sources[name]

    def text(self, cursor: Cursor) -> str:
        extent = cursor.extent
        return self.source(cursor)[extent.start.offset : extent.end.offset].decode()

    def add(self, cursor: Cursor, kind: str, text: str, start=None, end=None, place=None) -> None:
        extent = cursor.extent
        file = str(pathlib.Path(cursor.location.file.name).resolve().relative_to(self.root))
        start = extent.start.offset if start is None else start
        end = extent.end.offset if end is None else end
        place = (file, *(place or (start, end)))
        self.places.setdefault(place, set()).add(Change(file, start, end, text, kind))

    def walk(self, cursor: Cursor, function: "Function | None") -> None:
        is_call = cursor.kind == CursorKind.CALL_EXPR
        if cursor.kind == CursorKind.STATIC_ASSERT or (is_call and cursor.spelling in WITHOUT_EFFECT):
            return
        children = [child for child in cursor.get_children() if self.source(child) is not None]
        if cursor.kind in FUNCTIONS:
            function = Function(cursor)
        self.statements(cursor, children, function)
        self.conditions(cursor, children)
        if cursor.kind == CursorKind.SWITCH_STMT:
            self.switch_ends.add((cursor.location.file.name, children[-1].extent.end.offset))
        self.operators(cursor, children)
        self.constants(cursor)
        if is_call:
            self.arguments(cursor)
        for child in children:
            is_bound = cursor.kind in (CursorKind.VAR_DECL, CursorKind.FIELD_DECL) and (
                child.kind == CursorKind.INTEGER_LITERAL and self.after(child) == "]"
            )
            if not is_bound:
                self.walk(child, function)

    def after(self, cursor: Cursor) -> str:
        return self.source(cursor)[cursor.extent.end.offset :].lstrip()[:1].decode()

    def statements(self, cursor: Cursor, children: list[Cursor], function) -> None:
        """Statements dropped, and returns put before them."""
        if cursor.kind == CursorKind.COMPOUND_STMT:
            statements = children
        elif cursor.kind in LABELS or cursor.kind in LOOPS:
            statements = children[-1:]
        elif cursor.kind == CursorKind.IF_STMT:
            condition = next(i for i, child in enumerate(children) if child.kind.is_expression())
            statements = children[condition + 1 :]
        else:
            return
        for statement in statements:
            place = (statement.extent.start.offset, statement.extent.end.offset)
            if statement.kind in JUMPS:
                if statement != function.last and not self.ends_switch(statement):
                    self.add(statement, "drop", "")
                continue
            if statement.kind.is_expression() and statement.spelling not in WITHOUT_EFFECT:
                self.add(statement, "drop", "")
            # A return before a declaration is much the same as one behind it; none before a label is
            # ever reached.
            if statement.kind in {CursorKind.DECL_STMT, *LABELS} or not function.early_return:
                continue
            if cursor.kind == CursorKind.COMPOUND_STMT:
                text = function.early_return + " "
                self.add(statement, "hurry", text, end=place[0], place=place)

    def ends_switch(self, statement: Cursor) -> bool:
        """Whether a jump goes where the statement before it would lead."""
        behind = statement.extent.end.offset
        end = re.match(rb"[;\s]*\}", self.source(statement)[behind:])
        if statement.kind != CursorKind.BREAK_STMT or end is None:
            return False
        return (statement.location.file.name, behind + end.end()) in self.switch_ends

    def conditions(self, cursor: Cursor, children: list[Cursor]) -> None:
        expressions = [child for child in children if child.kind.is_expression()]
        if cursor.kind in (CursorKind.IF_STMT, CursorKind.WHILE_STMT):
            variables = [child for child in children if child.kind == CursorKind.VAR_DECL]
            if not variables:
                self.negate(expressions[0])
            elif cursor.kind == CursorKind.IF_STMT:
                end = variables[0].extent.end.offset
                self.add(variables[0], "negate", f"; !{variables[0].spelling}", start=end)
        elif cursor.kind == CursorKind.FOR_STMT:
            for expression in [e for e in expressions if self.after(e) == ";"][:1]:
                self.negate(expression)
        elif cursor.kind == CursorKind.DO_STMT:
            self.negate(children[-1])
        elif cursor.kind == CursorKind.CONDITIONAL_OPERATOR:
            self.negate(children[0])
        elif cursor.kind == CursorKind.BINARY_OPERATOR and cursor.spelling in ("&&", "||"):
            for child in children:
                self.negate(child)
        elif cursor.kind == CursorKind.RETURN_STMT:
            for child in children:
                if child.type.get_canonical().kind == TypeKind.BOOL:
                    if self.text(child) not in ("true", "false"):  # another kind of change
                        self.negate(child)

    def negate(self, condition: Cursor) -> None:
        self.add(condition, "negate", f"!({self.text(condition)})")

    def operators(self, cursor: Cursor, children: list[Cursor]) -> None:
        if cursor.kind == CursorKind.UNARY_OPERATOR:
            start, end = cursor.extent.start.offset, cursor.extent.end.offset
            text = self.text(cursor)
            for old, new in (("++", "--"), ("--", "++")):
                if text.startswith(old):
                    self.add(cursor, "plus/minus", new, end=start + 2)
                elif text.endswith(old):
                    self.add(cursor, "plus/minus", new, start=end - 2)
            return
        if not cursor.kind.is_expression():
            return
        operands = [child for child in children if self.text(child) not in OPERATORS]
        operands.sort(key=lambda child: child.extent.start.offset)
        for left, right in zip(operands, operands[1:]):
            start, end = left.extent.end.offset, right.extent.start.offset
            between = self.source(cursor)[start:end].decode()
            operator = between.strip()
            if operator not in OPERATORS or (operator in ("+", "+=") and is_text(left)):
                continue
            kind, new = OPERATORS[operator]
            start += len(between) - len(between.lstrip())
            self.add(cursor, kind, new, start, start + len(operator))

    def constants(self, cursor: Cursor) -> None:
        if cursor.kind == CursorKind.CXX_BOOL_LITERAL_EXPR:
            self.add(cursor, "constant", "false" if self.text(cursor) == "true" else "true")
        elif cursor.kind == CursorKind.INTEGER_LITERAL:
            form = re.fullmatch(r"(0x)?([0-9a-f']+?)([uUlLzZ]*)", self.text(cursor), re.IGNORECASE)
            if not form:
                return
            value = int(form[2].replace("'", ""), 16 if form[1] else 10)
            for other in (value + 1, value - 1):
                if other >= 0:
                    digits = f"0x{other:X}" if form[1] else str(other)
                    self.add(cursor, "constant", digits + form[3])
        elif cursor.kind == CursorKind.CHARACTER_LITERAL:
            form = re.fullmatch(r"'([^\\])'", self.text(cursor))
            following = chr(ord(form[1]) + 1) if form else ""
            plain = following.isprintable() and following not in "'\\" and following.isascii()
            self.add(cursor, "constant", f"'{following}'" if following and plain else
                     f"static_cast<char>({self.text(cursor)} + 1)")  # fmt: skip

    def arguments(self, call: Cursor) -> None:
        """Neighbours of one type change places."""
        if call.spelling in SYMMETRIC or call.spelling.startswith("operator"):
            return
        source = self.source(call)
        arguments = [a for a in call.get_arguments() if a and a.extent.start != a.extent.end]
        for left, right in zip(arguments, arguments[1:]):
            a, b = left.extent, right.extent
            texts = self.text(left), self.text(right)
            if plain_type(left) != plain_type(right) or a.end.offset > b.start.offset:
                continue
            if "dependent" in plain_type(left) or texts[0] == texts[1]:
                continue
            between = source[a.end.offset : b.start.offset].decode()
            self.add(call, "swap", texts[1] + between + texts[0], a.start.offset, b.end.offset)


class Function:
    """What a statement must know of the function that it stands in."""

    def __init__(self, cursor: Cursor):
        bodies = [c for c in cursor.get_children() if c.kind == CursorKind.COMPOUND_STMT]
        statements = list(bodies[-1].get_children()) if bodies else []
        self.last = statements[-1] if statements else None
        self.early_return: str | None = "return;"
        if cursor.kind == CursorKind.LAMBDA_EXPR:
            if returns_value(bodies[-1]):
                self.early_return = None  # its type is that of what it returns
        elif cursor.kind not in (CursorKind.CONSTRUCTOR, CursorKind.DESTRUCTOR):
            kind = cursor.result_type.get_canonical().kind
            if kind in (TypeKind.LVALUEREFERENCE, TypeKind.RVALUEREFERENCE, TypeKind.AUTO):
                self.early_return = None
            elif kind != TypeKind.VOID:
                self.early_return = "return {};"


def returns_value(cursor: Cursor) -> bool:
    if cursor.kind == CursorKind.RETURN_STMT:
        return any(True for _ in cursor.get_children())
    return cursor.kind != CursorKind.LAMBDA_EXPR and any(map(returns_value, cursor.get_children()))


def is_text(cursor: Cursor) -> bool:
    return "basic_string" in cursor.type.get_canonical().spelling


def plain_type(cursor: Cursor) -> str:
    type_ = cursor.type.get_canonical()
    if type_.kind in (TypeKind.LVALUEREFERENCE, TypeKind.RVALUEREFERENCE):
        type_ = type_.get_pointee()
    return type_.spelling.removeprefix("const ")


def find(job: tuple) -> dict[tuple[str, int, int], set[Change]]:
    """The changes that can be made in what one entry of a compilation database compiles."""
    root, folders, directory, command, file = job
    arguments = command.split()
    kept = ["-std=c++23", "-ferror-limit=0", f"-working-directory={directory}"]
    for i, argument in enumerate(arguments):
        if argument.startswith(("-I", "-D")):
            kept.append(argument.replace('\\"', '"'))
        elif argument == "-isystem":
            kept += arguments[i : i + 2]
    finder = Finder(root, folders)
    unit = Index.create().parse(file, args=kept)
    errors = [d for d in unit.diagnostics if d.severity >= d.Error]
    if errors:
        raise RuntimeError(f"{file}: {errors[0]}")
    finder.visit(unit.cursor)
    return finder.places
