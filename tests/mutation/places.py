"""Finds the places of the library's sources at which a mutant changes something, by the compiler's own view of them.

A place is an extent of a file with a rule (rules.py says what becomes of it). Not looked for: what only the compiler
evaluates (a constant, a template's argument, an array's bound), what a macro's definition holds, and what this machine
does not compile.
"""

import ctypes
import pathlib
import re
from dataclasses import dataclass

from clang import cindex
from clang.cindex import CursorKind as Kind
from clang.cindex import TypeKind

from source_text import SourceText

RELATIONAL = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
LOGICAL = {"&&": "||", "||": "&&"}
ARITHMETIC = {"+": "-", "-": "+", "*": "+", "/": "*", "%": "*", "<<": ">>", ">>": "<<", "&": "|", "|": "&", "^": "|"}
ASSIGNED = {f"{old}=": f"{new}=" for old, new in ARITHMETIC.items()}
# Macros of kr_assert.h that take a condition.
CHECKS = {
    "QV_ASSERT",
    "QV_ASSERT_MESSAGE",
    "QV_INTERNAL_ASSERT_TEXT",
    "QV_INTERNAL_FAILS",
    "QV_INTERNAL_FAILS_TEXT",
    "QV_VERIFY",
}

CONSTANT_KINDS = {
    Kind.STATIC_ASSERT,
    Kind.ENUM_CONSTANT_DECL,
    Kind.TYPE_ALIAS_DECL,
    Kind.TYPEDEF_DECL,
    Kind.CXX_UNARY_EXPR,
    Kind.TEMPLATE_NON_TYPE_PARAMETER,
    Kind.TEMPLATE_TYPE_PARAMETER,
    Kind.TEMPLATE_TEMPLATE_PARAMETER,
    Kind.ALIGNED_ATTR,
    Kind.ANNOTATE_ATTR,
}
FUNCTIONS = {
    Kind.FUNCTION_DECL,
    Kind.CXX_METHOD,
    Kind.CONSTRUCTOR,
    Kind.DESTRUCTOR,
    Kind.CONVERSION_FUNCTION,
    Kind.FUNCTION_TEMPLATE,
}
DECLARATIONS = {Kind.VAR_DECL, Kind.FIELD_DECL, Kind.PARM_DECL}
BRANCHES = {Kind.IF_STMT, Kind.WHILE_STMT, Kind.FOR_STMT, Kind.DO_STMT, Kind.CXX_FOR_RANGE_STMT}
WRAPPERS = {Kind.PAREN_EXPR, Kind.UNEXPOSED_EXPR, Kind.CSTYLE_CAST_EXPR, Kind.CXX_STATIC_CAST_EXPR}
INTEGERS = {
    TypeKind.BOOL,
    TypeKind.CHAR_U,
    TypeKind.UCHAR,
    TypeKind.CHAR16,
    TypeKind.CHAR32,
    TypeKind.USHORT,
    TypeKind.UINT,
    TypeKind.ULONG,
    TypeKind.ULONGLONG,
    TypeKind.CHAR_S,
    TypeKind.SCHAR,
    TypeKind.WCHAR,
    TypeKind.SHORT,
    TypeKind.INT,
    TypeKind.LONG,
    TypeKind.LONGLONG,
}
FLOATS = {TypeKind.FLOAT, TypeKind.DOUBLE, TypeKind.LONGDOUBLE}
POINTERS = {
    TypeKind.POINTER,
    TypeKind.INCOMPLETEARRAY,
    TypeKind.CONSTANTARRAY,
    TypeKind.DEPENDENTSIZEDARRAY,
    TypeKind.NULLPTR,
}
# Functions of the compiler's headers and of its own that take any number; all others may ask for a constant.
NUMBERS_TAKEN = re.compile(r"^_mm\d*_(set|loadu?_|storeu?_|cmp.*_mask|mask_)")
MACHINE_FUNCTION = re.compile(r"^(_mm|_k|__builtin_|__atomic_|__sync_)")


@dataclass(frozen=True)
class Place:
    """What a mutant changes: `rule` of `kind` at [begin, end) of `file`; `parts` are extents that the rule names."""

    file: str
    begin: int
    end: int
    kind: str
    rule: str
    function: str
    before: str
    after: str
    parts: tuple = ()


@dataclass(frozen=True)
class Around:
    """What the search is inside of."""

    function: str = ""
    evaluated: bool = True
    # Whether statements of the function follow behind this one, so that it need not return.
    followed: bool = False
    immediate: bool = False


class Finder:
    def __init__(self, root, arguments):
        self.root = pathlib.Path(root).resolve()
        self.arguments = arguments
        self.index = cindex.Index.create()
        self.sources = {}
        self.places = {}
        self.visited = set()
        # The extents of all functions in a file, for what is found without the compiler's tree.
        self.functions = {}
        # Those that the compiler may evaluate: (file, name).
        self.constant_functions = set()
        self.in_file = cindex.conf.lib.clang_getFileLocation
        self.in_file.argtypes = [cindex.SourceLocation] + [ctypes.c_void_p] * 4
        self.names = {}
        self.evaluate = cindex.conf.lib.clang_Cursor_Evaluate
        self.evaluate.argtypes = [cindex.Cursor]
        self.evaluate.restype = ctypes.c_void_p

    # ---- What libclang says of a cursor ----

    def source(self, name):
        if name not in self.sources:
            self.sources[name] = SourceText(self.root / name)
        return self.sources[name]

    def location(self, location):
        """The file, as named in the project, and the offset; None outside of it."""
        file, offset = cindex.c_object_p(), ctypes.c_uint()
        self.in_file(location, ctypes.byref(file), None, None, ctypes.byref(offset))
        if not file:
            return None
        handle = ctypes.cast(file, ctypes.c_void_p).value
        if handle not in self.names:
            path = pathlib.Path(cindex.File(file).name).resolve()
            inside = path.is_relative_to(self.root / "Runtime")
            self.names[handle] = str(path.relative_to(self.root)) if inside else None
        name = self.names[handle]
        return (name, offset.value) if name else None

    def extent(self, cursor):
        """(file, begin, end), or None where it does not lie in one file of the library."""
        extent = cursor.extent
        begin, end = self.location(extent.start), self.location(extent.end)
        if begin is None or end is None or begin[0] != end[0] or begin[1] >= end[1]:
            return None
        return begin[0], begin[1], end[1]

    # ---- The walk ----

    def read(self, path):
        """Adds the places of a source and of the headers that it includes."""
        options = cindex.TranslationUnit.PARSE_DETAILED_PROCESSING_RECORD
        unit = self.index.parse(str(path), args=self.arguments, options=options)
        errors = [str(said) for said in unit.diagnostics if said.severity >= cindex.Diagnostic.Error]
        if errors:
            raise ValueError("\n".join(errors))
        self.names = {}
        macros = []
        for cursor in unit.cursor.get_children():
            if cursor.kind == Kind.MACRO_INSTANTIATION:
                if cursor.spelling in CHECKS:
                    macros.append(cursor)
            else:
                self.visit_declaration(cursor)
        for cursor in macros:
            self.add_assertion(cursor)

    def visit_declaration(self, cursor):
        """Looks into namespaces and classes for functions and variables that were not seen in another source."""
        where = self.location(cursor.location)
        if where is None:
            if cursor.kind in (Kind.NAMESPACE, Kind.LINKAGE_SPEC):
                return
            return
        if cursor.kind in (Kind.NAMESPACE, Kind.LINKAGE_SPEC, Kind.UNEXPOSED_DECL):
            for child in cursor.get_children():
                self.visit_declaration(child)
            return
        extent = self.extent(cursor)
        if extent is None or extent in self.visited:
            return
        self.visited.add(extent)
        self.visit(cursor, None, Around())

    def visit(self, cursor, parent, around):
        kind = cursor.kind
        if kind in CONSTANT_KINDS:
            return
        extent = self.extent(cursor)
        if kind in FUNCTIONS:
            if not cursor.is_definition():
                # Default arguments are evaluated where it is called.
                for child in cursor.get_children():
                    if child.kind == Kind.PARM_DECL:
                        self.visit(child, cursor, Around(function=cursor.spelling))
                return
            around = Around(function=self.name_of(cursor))
            # A macro's functions stand where it is used, and are none of that place.
            if extent and self.has_word(extent, cursor.spelling):
                if self.has_word(extent, "constexpr", before=b"("):
                    self.constant_functions.add((extent[0], around.function))
                self.functions.setdefault(extent[0], []).append((extent[1], extent[2], around.function))
        elif kind == Kind.LAMBDA_EXPR:
            around = Around(function=around.function)
        elif kind in (Kind.VAR_DECL, Kind.FIELD_DECL):
            if kind == Kind.FIELD_DECL and parent is not None:
                around = Around(function=f"{parent.spelling}::{cursor.spelling}")
            if self.is_constant(cursor, extent, around):
                return
        elif kind == Kind.CASE_STMT:
            children = list(cursor.get_children())
            for child in children[1:]:
                self.visit_statement(child, cursor, around)
            return
        if extent:
            self.add_expression(cursor, parent, extent, around)
        self.visit_children(cursor, extent, around)

    def visit_children(self, cursor, extent, around):
        kind = cursor.kind
        children = list(cursor.get_children())
        if kind == Kind.COMPOUND_STMT:
            for number, child in enumerate(children):
                followed = around.followed or number + 1 < len(children)
                self.visit_statement(child, cursor, self.changed(around, followed=followed))
            return
        if kind in BRANCHES and extent:
            self.visit_branch(cursor, children, extent, around)
            return
        if kind in (Kind.DECL_REF_EXPR, Kind.TYPE_REF):
            # Arguments of a template.
            return
        if kind == Kind.MEMBER_REF_EXPR:
            children = children[:1]
        if kind == Kind.CALL_EXPR:
            wants = MACHINE_FUNCTION.match(cursor.spelling or "") and not NUMBERS_TAKEN.match(cursor.spelling)
            around = self.changed(around, immediate=bool(wants))
        elif kind not in WRAPPERS:
            around = self.changed(around, immediate=False)
        for child in children:
            if kind in DECLARATIONS and self.is_bound(child):
                continue
            if kind in (Kind.DEFAULT_STMT, Kind.LABEL_STMT):
                self.visit_statement(child, cursor, around)
            else:
                self.visit(child, cursor, around)

    @staticmethod
    def changed(around, **values):
        return Around(**{**around.__dict__, **values})

    def visit_branch(self, cursor, children, extent, around):
        """A statement with a condition in parentheses and statements behind them, or in front of them."""
        file, begin, end = extent
        source = self.source(file)
        word = re.match(rb"(if|while|for|do)\b\s*(constexpr\b)?", source.code[begin:end])
        if not word:
            for child in children:
                self.visit(child, cursor, around)
            return
        is_do = word.group(1) == b"do"
        if is_do:
            # Its condition stands behind the last of its words.
            opening = source.code.index(b"(", source.code.rindex(b"while", begin, end))
        else:
            opening = source.code.index(b"(", begin)
        closing = source.closing(opening)
        by_extent = [(child, self.extent(child)) for child in children]
        inside = [(child, found) for child, found in by_extent if found and opening < found[1] < closing]
        outside = [child for child, found in by_extent if found and not opening < found[1] < closing]
        if not word.group(2):
            self.add_condition_among(word.group(1), inside, source, (opening, closing), around)
            for child, _ in inside:
                self.visit(child, cursor, around)
        for child in outside:
            self.visit_statement(child, cursor, around)

    def add_condition_among(self, word, inside, source, parentheses, around):
        """The condition of a statement, where it is all that stands in its place: what a macro makes of it is not."""
        opening, closing = parentheses
        begin, end = opening + 1, closing
        if word == b"for":
            semicolons = [at for at in range(opening, closing) if source.code[at] == ord(";")]
            if len(semicolons) < 2:
                return
            begin, end = semicolons[0] + 1, semicolons[-1]
        for child, found in inside:
            if found[1:] == source.trimmed(begin, end) and child.kind.is_expression():
                self.add_condition(child, around)

    def visit_statement(self, cursor, parent, around):
        extent = self.extent(cursor)
        if extent and around.function:
            self.add_statement(cursor, extent, around)
        self.visit(cursor, parent, around)

    # ---- What a cursor is ----

    def has_word(self, extent, word, before=None):
        """Whether a word stands in an extent, or there in front of what begins with `before`."""
        file, begin, end = extent
        code = self.source(file).code[begin:end]
        code = code.split(before)[0] if before else code
        return re.search(rb"(?<!\w)" + re.escape(word.encode()), code) is not None

    @staticmethod
    def name_of(cursor):
        parent = cursor.semantic_parent
        if parent is not None and parent.kind in (Kind.CLASS_DECL, Kind.STRUCT_DECL, Kind.CLASS_TEMPLATE):
            return f"{parent.spelling}::{cursor.spelling}"
        return cursor.spelling

    def is_constant(self, cursor, extent, around):
        """Whether a variable is one that the compiler computes: no mutant can be chosen while it does."""
        if extent is None:
            return True
        if cursor.kind == Kind.FIELD_DECL:
            return cursor.is_bitfield()
        file, begin, end = extent
        words = set(re.findall(rb"\w+", self.source(file).code[begin:end].split(b"=")[0]))
        if words & {b"constexpr", b"static", b"extern", b"thread_local"} or not around.function:
            return True
        if b"const" not in words or cursor.type.get_canonical().kind not in INTEGERS:
            return False
        return bool(self.evaluate(cursor))

    def is_bound(self, cursor):
        """Whether what a declaration holds is an array's bound, which the compiler evaluates."""
        extent = self.extent(cursor)
        if extent is None:
            return False
        source = self.source(extent[0])
        front, back = source.before(extent[1]), source.behind(extent[2])
        return source.code[front : front + 1] == b"[" and source.code[back : back + 1] == b"]"

    @staticmethod
    def kind_of(cursor):
        """'number', 'pointer', 'dependent' or None."""
        found = cursor.type.get_canonical().kind
        if found in INTEGERS or found in FLOATS or found == TypeKind.ENUM:
            return "number"
        if found in POINTERS:
            return "pointer"
        if found in (TypeKind.DEPENDENT, TypeKind.UNEXPOSED):
            return "dependent"
        return None

    # ---- The rules ----

    def add(self, extent, kind, rule, around, after, parts=(), before=None):
        file, begin, end = extent
        source = self.source(file)
        if before is None:
            before = source.one_line(begin, end).decode()
        place = Place(file, begin, end, kind, rule, around.function, before, after, tuple(parts))
        self.places.setdefault((file, begin, end, kind, rule, after), place)

    def add_expression(self, cursor, parent, extent, around):
        kind = cursor.kind
        if not around.function:
            return
        if kind == Kind.BINARY_OPERATOR:
            self.add_binary(cursor, parent, extent, around)
        elif kind == Kind.COMPOUND_ASSIGNMENT_OPERATOR:
            self.add_assigned(cursor, extent, around)
        elif kind == Kind.UNARY_OPERATOR:
            self.add_unary(cursor, extent, around)
        elif kind == Kind.CONDITIONAL_OPERATOR:
            condition = next(cursor.get_children())
            found = self.extent(condition)
            source = self.source(extent[0])
            if found and found[1] == extent[1] and source.code[source.behind(found[2])] == ord("?"):
                self.add_condition(condition, around)
        elif kind in (Kind.INTEGER_LITERAL, Kind.CHARACTER_LITERAL, Kind.CXX_BOOL_LITERAL_EXPR, Kind.FLOATING_LITERAL):
            self.add_literal(cursor, parent, extent, around)

    def operands(self, cursor, extent):
        """The extents of both operands and the operator between them, where all of it is written in one place."""
        children = list(cursor.get_children())
        if len(children) != 2:
            return None
        file, begin, end = extent
        left, right = self.extent(children[0]), self.extent(children[1])
        if not left or not right or left[0] != file or right[0] != file:
            return None
        if left[1] != begin or right[2] != end or left[2] > right[1]:
            return None
        operator = self.source(file).code[left[2] : right[1]].strip().decode()
        return children, left[1:], right[1:], operator

    def add_binary(self, cursor, parent, extent, around):
        found = self.operands(cursor, extent)
        if found is None:
            return
        children, left, right, operator = found
        kinds = [self.kind_of(child) for child in children]
        rule = "call" if None not in kinds and "dependent" not in kinds else "choice"
        if operator in LOGICAL:
            self.add(extent, "logical", "logical", around, LOGICAL[operator], (left, right))
        elif operator in RELATIONAL:
            # Vectors compare to a vector.
            is_vector = parent is not None and parent.kind == Kind.CXX_REINTERPRET_CAST_EXPR
            rule = "call" if rule == "call" else "choice" if is_vector else "any call"
            self.add(extent, "relational", rule, around, RELATIONAL[operator], (left, right))
        elif operator in ARITHMETIC:
            if around.immediate and "dependent" not in kinds and all(c.kind in WRAPPERS for c in children):
                return
            # A stream's, perhaps.
            if operator in ("<<", ">>") and kinds[0] == "dependent":
                return
            # Differences of pointers, and whatever a template is given, may have no other operator.
            if operator in "+-" and ("dependent" in kinds or kinds[1] == "pointer"):
                self.add(extent, "arithmetic", "plus", around, "+ 1")
            else:
                self.add(extent, "arithmetic", rule, around, ARITHMETIC[operator], (left, right))

    def add_assigned(self, cursor, extent, around):
        found = self.operands(cursor, extent)
        if found and found[3] in ASSIGNED:
            self.add(extent, "arithmetic", "choice", around, ASSIGNED[found[3]], found[1:3])

    def add_unary(self, cursor, extent, around):
        # What a template is given may step in one direction only.
        operand = next(cursor.get_children())
        if self.kind_of(operand) not in ("number", "pointer"):
            return
        file, begin, end = extent
        if self.extent(operand) not in ((file, begin + 2, end), (file, begin, end - 2)):
            return
        code = self.source(file).code[begin:end]
        for old, new in ((b"++", "--"), (b"--", "++")):
            if code.startswith(old):
                self.add(extent, "arithmetic", "prefix", around, new)
            elif code.endswith(old):
                self.add(extent, "arithmetic", "postfix", around, new)

    def add_condition(self, cursor, around):
        extent = self.extent(cursor)
        if not extent or not around.function:
            return
        # Mutants of its own are the opposite already.
        if cursor.kind == Kind.BINARY_OPERATOR:
            found = self.operands(cursor, extent)
            if found and found[3] in ("==", "!="):
                return
        if cursor.kind == Kind.CXX_BOOL_LITERAL_EXPR:
            return
        self.add(extent, "condition", "negated", around, "negated")

    def add_literal(self, cursor, parent, extent, around):
        file, begin, end = extent
        source = self.source(file)
        text = source.text[begin:end]
        if around.immediate or not re.match(rb"^(\d|\.\d|u8'|'|L'|true$|false$)", text):
            return
        front = source.code[source.before(begin) : source.before(begin) + 1]
        back = source.code[source.behind(end) : source.behind(end) + 1]
        is_operand = parent is not None and parent.kind == Kind.BINARY_OPERATOR
        if not is_operand and (front == b"<" or back == b">"):
            return
        if parent is not None and parent.kind in (Kind.VAR_DECL, Kind.FIELD_DECL, Kind.CXX_NEW_EXPR) and back == b"]":
            return
        if cursor.kind == Kind.CXX_BOOL_LITERAL_EXPR:
            self.add(extent, "constant", "boolean", around, "false" if text == b"true" else "true")
        else:
            self.add(extent, "constant", "plus", around, "+ 1")

    def add_statement(self, cursor, extent, around):
        """A statement that is left out; one that returns only where the function goes on behind it."""
        file, begin, end = extent
        source = self.source(file)
        # What a macro stands for is no statement of this place.
        if source.code[source.behind(end) : source.behind(end) + 1] != b";":
            return
        kind = cursor.kind
        word = re.match(rb"\w*", source.code[begin:end]).group(0).decode()
        if word.startswith("QV_"):
            return
        if kind == Kind.RETURN_STMT:
            if not around.followed:
                return
            name = "return"
        elif kind in (Kind.BREAK_STMT, Kind.CONTINUE_STMT, Kind.COMPOUND_ASSIGNMENT_OPERATOR):
            name = "statement"
        elif kind == Kind.CALL_EXPR or kind == Kind.UNEXPOSED_EXPR:
            name = "statement"
        elif kind == Kind.BINARY_OPERATOR or kind == Kind.UNARY_OPERATOR:
            name = "statement"
        else:
            return
        # An increment that is left out differs little from one that goes the other way.
        self.add(extent, name, "left out", around, "left out", ((source.behind(end), source.behind(end) + 1),))

    def add_assertion(self, cursor):
        extent = self.extent(cursor)
        if extent is None:
            return
        file, begin, end = extent
        source = self.source(file)
        function = self.function_at(file, begin)
        # Those in a macro's definition, and those whose function is not compiled.
        if function is None or not source.code[begin:end].startswith(cursor.spelling.encode()):
            return
        opening = source.code.index(b"(", begin)
        arguments = source.arguments(opening)
        extent = (file, begin, source.closing(opening) + 1)
        self.add(extent, "assertion", cursor.spelling, Around(function=function), "off", arguments)

    def function_at(self, file, offset):
        found = [entry for entry in self.functions.get(file, []) if entry[0] <= offset < entry[1]]
        return min(found, key=lambda entry: entry[1] - entry[0])[2] if found else None
