"""Finds the places of a file where a small mistake can be planted, and says which."""

import re
from dataclasses import dataclass, field

from constants import Constants
from expressions import Expressions
from nodes import type_of
from statements import Statements

# Calls that do something in a test's build only.
TEST_HOOKS = re.compile(r"\bracePoint\b")


@dataclass
class Mistake:
    """One small mistake: the bytes [begin, end) of the file replaced by `text`.

    `fold` says how it is compiled beside all others of its file, see fold.py; None when it must be
    compiled on its own.
    """
    kind: str
    begin: int
    end: int
    text: str
    fold: str | None
    # Of a constant: where the word `constexpr` stands that it would have to lose to be folded.
    constant: tuple | None = None
    # Whether the compiler may have to evaluate it.
    early: bool = False
    file: str = ""
    line_text: str = ""
    line: int = 0
    shown: str = ""
    number: int = 0
    key: str = ""
    extra: dict = field(default_factory=dict)


class Finder(Constants, Expressions, Statements):
    """The mistakes of one file, from its syntax tree."""

    def __init__(self, tree):
        self._tree = tree
        self._found = {}
        for root in tree.roots:
            self._walk(root, _Around())

    def mistakes(self):
        ordered = sorted(self._found.values(), key=lambda m: (m.begin, -m.end, m.kind, m.text))
        for mistake in ordered:
            self._describe(mistake)
        return _with_keys(ordered)

    # --- How each is written down.

    def _add(self, kind, span, text, fold, around, shown=""):
        if span is None or around.unplanted:
            return
        was = self._tree.slice(span)
        if was == text:
            return
        if around.constant and fold:
            mistake = Mistake(kind, *span, text, "value" if around.constant_word else None,
                              around.constant_word)
        else:
            mistake = Mistake(kind, *span, text, fold)
        mistake.early = around.early
        mistake.shown = shown
        self._found.setdefault((span, text), mistake)

    def _describe(self, mistake):
        text = self._tree.text
        mistake.file = self._tree.file
        mistake.line = text.count(b"\n", 0, mistake.begin) + 1
        mistake.line_text = text.split(b"\n")[mistake.line - 1].decode().strip()
        was = " ".join(text[mistake.begin:mistake.end].decode().split())
        now = " ".join(mistake.text.split())
        if mistake.shown:
            mistake.shown = f"{mistake.kind}: {mistake.shown}"
        elif mistake.kind in ("removed statement", "removed lock"):
            mistake.shown = f"{mistake.kind}: {_short(was)}"
        else:
            mistake.shown = f"{mistake.kind}: {_short(was)} -> {_short(now)}"

    # --- The walk.

    def _walk(self, node, around):
        kind = node.get("kind")
        if not kind or kind in ("StaticAssertDecl", "UnaryExprOrTypeTraitExpr", "CXXNoexceptExpr") or kind.endswith(
                "Attr"):
            return
        children = [child for child in node.get("inner", []) if child.get("kind")]
        visit = getattr(self, "_on_" + kind, None)
        around = around.below(node)
        if self._is_hook(node):
            return
        macro = self._tree.macro_span(node)
        if macro is not None and "valueCategory" in node:
            self._macro(node, macro, around)
            return
        if visit is not None:
            replaced = visit(node, children, around)
            if replaced is not None:
                around, children = replaced
        for child in children:
            self._walk(child, around)

    def _is_hook(self, node):
        if node["kind"] not in ("CallExpr", "ExprWithCleanups"):
            return False
        span = self._tree.span(node)
        return span is not None and TEST_HOOKS.match(self._tree.slice(span).split("(")[0].split("::")[-1])

    # Of a template only what is written, not what was made of it.
    def _on_FunctionTemplateDecl(self, node, children, around):
        functions = [c for c in children if c["kind"] in ("FunctionDecl", "CXXMethodDecl",
                                                          "CXXConstructorDecl")]
        return around, functions[:1]

    def _on_ClassTemplateDecl(self, node, children, around):
        return around, [c for c in children if c["kind"] == "CXXRecordDecl"][:1]

    def _on_ClassTemplateSpecializationDecl(self, node, children, around):
        return around, [c for c in children if c["kind"] != "TemplateArgument"]

    def _on_TemplateArgument(self, node, children, around):
        return around, []

    def _on_LambdaExpr(self, node, children, around):
        # Its body is printed twice; the call operator has it with what surrounds it.
        return around, [c for c in children if c["kind"] == "CXXRecordDecl"] + [
            c for c in children if c["kind"] not in ("CXXRecordDecl", "CompoundStmt")]

    def _on_FunctionDecl(self, node, children, around):
        if node.get("explicitlyDefaulted") or node.get("isImplicit"):
            return around, []
        result = type_of(node).split("(")[0].strip()
        lambda_result = around.in_lambda and "->" not in type_of(node)
        return around.with_(function_result=result, lambda_result=lambda_result,
                            early=bool(node.get("constexpr")),
                            body=self._tree.span(node)), children

    _on_CXXMethodDecl = _on_CXXConstructorDecl = _on_CXXDestructorDecl = _on_FunctionDecl
    _on_CXXConversionDecl = _on_FunctionDecl

    def _on_CXXRecordDecl(self, node, children, around):
        self._swap_declared_fields([c for c in children if c["kind"] == "FieldDecl"], around)
        in_lambda = "closure" in str(node.get("definitionData", {})) or (
            not node.get("name") and node.get("tagUsed") == "class")
        return around.with_(in_lambda=in_lambda), children

    def _swap_declared_fields(self, fields, around):
        for first, second in zip(fields, fields[1:]):
            if type_of(first) != type_of(second) or not type_of(first):
                continue
            one, two = self._name_span(first), self._name_span(second)
            if one is None or two is None:
                continue
            between = self._tree.text[one[1]:two[0]].decode()
            text = self._tree.slice(two) + between + self._tree.slice(one)
            self._add("swapped fields", (one[0], two[1]), text, None, around,
                      f"{self._tree.slice(one)} and {self._tree.slice(two)}")

    def _name_span(self, node):
        place = node.get("loc", {})
        if place.get("file") != str(self._tree.path) or "offset" not in place or not node.get("name"):
            return None
        return place["offset"], place["offset"] + place["tokLen"]

@dataclass(frozen=True)
class _Around:
    """What is known of where a node stands."""
    constant: object = False
    constant_word: tuple | None = None
    unplanted: bool = False
    pointer_context: bool = False
    array_initialiser: bool = False
    format_text: bool = False
    in_lambda: bool = False
    lambda_result: bool = False
    early: bool = False
    function_result: str = ""
    body: tuple | None = None

    def with_(self, **changes):
        return _Around(**{**self.__dict__, **changes})

    def below(self, node):
        if node["kind"] == "VarDecl" and type_of(node).endswith("]"):
            return self.with_(array_initialiser=True)
        if node["kind"] == "FieldDecl":
            return self.with_(function_result="", early=True, body=None)
        return self


def _short(text, most=70):
    return text if len(text) <= most else text[:most - 3] + "..."


def _with_keys(mistakes):
    """Names each by its content, so that it keeps its name when lines move."""
    seen = {}
    for mistake in mistakes:
        name = f"{mistake.file} | {mistake.line_text} | {mistake.shown}"
        seen[name] = seen.get(name, 0) + 1
        mistake.key = name if seen[name] == 1 else f"{name} | {seen[name]}"
    return mistakes
