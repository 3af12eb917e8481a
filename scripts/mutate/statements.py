"""Mistakes in statements: left out, with the opposite condition, or returning something else."""

import re

from expressions import OTHER_COMPARISONS, OTHER_LOGIC
from nodes import strip, type_of

STATEMENTS = ("CallExpr", "CXXMemberCallExpr", "CXXOperatorCallExpr", "BinaryOperator",
              "CompoundAssignOperator", "UnaryOperator", "ExprWithCleanups", "CXXDeleteExpr",
              "CStyleCastExpr", "BreakStmt", "ContinueStmt")


class Statements:
    """A part of Finder, see mistakes.py."""

    def _negate(self, condition, around):
        plain = strip(condition)
        while plain["kind"] == "ParenExpr":
            plain = strip(plain["inner"][0])
        if plain["kind"] == "BinaryOperator" and plain.get("opcode") in OTHER_COMPARISONS:
            return
        if plain["kind"] in ("CXXRewrittenBinaryOperator", "CXXBoolLiteralExpr"):
            return
        if plain["kind"] == "CXXOperatorCallExpr" and len(plain["inner"]) == 3:
            return
        if plain["kind"] == "UnaryOperator" and plain.get("opcode") == "!":
            return
        span = self._tree.span(condition)
        if span is not None:
            self._add("negated condition", span, f"!({self._tree.slice(span)})", "condition", around)

    def _on_IfStmt(self, node, children, around):
        first = int(node.get("hasInit", False)) + int(node.get("hasVar", False))
        rest = children[first:]
        if node.get("isConstexpr"):
            rest = rest[1:]
            children = children[:first] + rest
        elif rest and not node.get("hasVar"):
            self._negate(rest[0], around)
            rest = rest[1:]
        for branch in rest:
            self._walk_statement(branch, around)
        return around, children

    def _on_ConditionalOperator(self, node, children, around):
        self._negate(children[0], around)

    def _on_WhileStmt(self, node, children, around):
        if not node.get("hasVar"):
            self._negate(children[0], around)
        self._walk_statement(children[-1], around)

    def _on_DoStmt(self, node, children, around):
        self._negate(children[-1], around)

    def _on_ForStmt(self, node, children, around):
        self._walk_statement(children[-1], around)

    def _on_CXXForRangeStmt(self, node, children, around):
        self._walk_statement(children[-1], around)
        ranges = [c for c in children if c["kind"] == "DeclStmt" and
                  c["inner"][0].get("name", "").startswith("__range")]
        return around, [*ranges, children[-1]]

    def _on_CompoundStmt(self, node, children, around):
        for child in children:
            self._walk_statement(child, around)

    def _walk_statement(self, node, around):
        """Plants the removal of a statement; what is in it is walked as everything is."""
        if self._is_hook(node):
            return
        span = self._tree.span(node)
        # A statement may end with a macro.
        if node["kind"] in STATEMENTS or (node["kind"] == "ReturnStmt" and not node.get("inner")):
            ended = self._with_semicolon(node, span)
            if ended is not None and not self._reaches_nothing(node):
                self._add("removed statement", ended, "", "statement", around)

    def _reaches_nothing(self, node):
        """(void)name says only that a name is not used."""
        inner = strip(node["inner"][0]) if node["kind"] == "CStyleCastExpr" else {}
        return inner.get("kind") == "DeclRefExpr"

    def _with_semicolon(self, node, span):
        if span is None:
            return None
        after = re.match(rb"\s*;", self._tree.text[span[1]:])
        return None if after is None else (span[0], span[1] + after.end())

    def _on_ReturnStmt(self, node, children, around):
        if not children:
            return
        span, value = self._tree.span(node), children[0]
        plain = strip(value)
        result = around.function_result
        inner = self._tree.span(value)
        if span is None or inner is None or result.endswith("&") or result == "void":
            return
        if plain["kind"] in ("CXXBoolLiteralExpr", "CXXNullPtrLiteralExpr", "IntegerLiteral"):
            return
        text = self._tree.slice(inner)
        if text in ("{}", "std::nullopt"):
            return
        if type_of(plain) == "bool" or result == "bool":
            if plain["kind"] not in ("BinaryOperator", "CXXRewrittenBinaryOperator", "UnaryOperator"):
                self._add("other return value", inner, f"!({text})", "condition", around)
            elif plain.get("opcode") in OTHER_LOGIC:
                self._add("other return value", inner, f"!({text})", "condition", around)
            return
        ended = self._with_semicolon(node, span)
        if ended is None:
            return
        if around.lambda_result and not text.startswith("{"):
            nothing = f"return std::decay_t<decltype({text})>{{}};"
        else:
            nothing = "return {};"
        self._add("other return value", ended, nothing, "first", around)

    def _lock(self, node, span, around):
        text = self._tree.slice(span)
        match = re.search(r"\b" + re.escape(node["name"]) + r"\s*[({](.*)[)}]$", text, re.S)
        ended = self._with_semicolon(node, span)
        if match and ended is not None and "," not in match[1]:
            self._add("removed lock", ended, "", "lock", around)
            made = self._found.get((ended, ""))
            if made is not None:
                made.extra = {"name": node["name"], "mutex": match[1]}
