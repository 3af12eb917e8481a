"""Mistakes in expressions: another operator, neighbouring fields or arguments swapped."""

import re

from nodes import strip, type_of

OTHER_COMPARISONS = {
    "<": ("<=", ">="), "<=": ("<", ">"), ">": (">=", "<="), ">=": (">", "<"),
    "==": ("!=",), "!=": ("==",),
}
OTHER_ARITHMETIC = {"+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "|": "&", "&": "|", "<<": ">>",
                    ">>": "<<", "+=": "-=", "-=": "+=", "|=": "&=", "&=": "|="}
OTHER_LOGIC = {"&&": "||", "||": "&&"}
OTHER_STEP = {"++": "--", "--": "++"}


class Expressions:
    """A part of Finder, see mistakes.py."""

    def _on_ImplicitCastExpr(self, node, children, around):
        if node.get("castKind") == "NullToPointer":
            return around.with_(pointer_context=True), children
        return None

    def _anywhere(self, node):
        return self._tree.span(node) or self._tree.macro_span(node)

    def _operator(self, left, right):
        """The span of what is written between two operands."""
        one, two = self._anywhere(left), self._anywhere(right)
        if one is None or two is None or one[1] > two[0]:
            return None
        between = self._tree.text[one[1]:two[0]].decode()
        token = re.search(r"[^\s]+", between)
        if token is None:
            return None
        return one[1] + token.start(), one[1] + token.end()

    def _other_operator(self, kind, node, operands, other, around):
        span, place = self._tree.span(node), self._operator(*operands)
        if span is None or place is None:
            return
        text = self._tree.text
        if text[place[0]:place[1]].decode() not in (
                *OTHER_COMPARISONS, *OTHER_ARITHMETIC, *OTHER_LOGIC):
            return
        changed = (text[span[0]:place[0]].decode() + other + text[place[1]:span[1]].decode())
        self._add(kind, span, changed, "value", around)

    def _on_BinaryOperator(self, node, children, around):
        operator = node.get("opcode")
        if len(children) != 2:
            return
        for other in OTHER_COMPARISONS.get(operator, ()):
            self._other_operator("changed comparison", node, children, other, around)
        if operator in OTHER_LOGIC:
            self._other_operator("changed condition", node, children, OTHER_LOGIC[operator], around)
        if operator in OTHER_ARITHMETIC:
            self._other_operator("changed arithmetic", node, children, OTHER_ARITHMETIC[operator],
                                 around)

    _on_CompoundAssignOperator = _on_BinaryOperator

    def _on_CXXOperatorCallExpr(self, node, children, around):
        if len(children) != 3:
            return
        name = strip(children[0]).get("referencedDecl", {}).get("name", "")
        operator = name.removeprefix("operator")
        for other in OTHER_COMPARISONS.get(operator, ()):
            self._other_operator("changed comparison", node, children[1:], other, around)

    def _on_CXXRewrittenBinaryOperator(self, node, children, around):
        span = self._tree.span(node)
        if span is not None:
            self._add("changed comparison", span, f"!({self._tree.slice(span)})", "value", around)

    def _on_UnaryOperator(self, node, children, around):
        span = self._tree.span(node)
        if span is None:
            return
        text, operator = self._tree.slice(span), node.get("opcode")
        if operator in OTHER_STEP:
            self._add("changed arithmetic", span, text.replace(operator, OTHER_STEP[operator]), "value",
                      around)
        elif operator == "!" and text.startswith("!") and not text.startswith("!="):
            self._add("negated condition", span, f"static_cast<bool>({text[1:]})", "condition", around)
        elif operator == "-" and text.startswith("-"):
            self._add("changed arithmetic", span, f"({text[1:]})", "value", around)
            return around, []

    def _on_MemberExpr(self, node, children, around):
        fields = self._tree.fields.get(node.get("referencedMemberDecl"))
        span = self._tree.span(node)
        if fields is None or span is None:
            return
        names = [f["name"] for f in fields if f.get("name") and
                 type_of(f) == next(type_of(g) for g in fields
                                    if g["id"] == node["referencedMemberDecl"])]
        mine = node["name"]
        if len(names) < 2 or mine not in names:
            return
        other = names[(names.index(mine) + 1) % len(names)]
        text = self._tree.slice(span)
        if text.endswith(mine):
            self._add("swapped fields", span, text[:-len(mine)] + other, "value", around)

    def _on_CallExpr(self, node, children, around):
        self._swap_arguments(children[1:], around)

    _on_CXXMemberCallExpr = _on_CallExpr

    def _on_CXXConstructExpr(self, node, children, around):
        self._swap_arguments(children, around)

    def _on_InitListExpr(self, node, children, around):
        self._swap_arguments(children, around)

    _on_CXXTemporaryObjectExpr = _on_CXXUnresolvedConstructExpr = _on_CXXConstructExpr

    def _swap_arguments(self, arguments, around):
        written = [a for a in arguments if a["kind"] != "CXXDefaultArgExpr"]
        for first, second in zip(written, written[1:]):
            one, two = self._tree.span(first), self._tree.span(second)
            if one is None or two is None or one[1] > two[0]:
                continue
            if type_of(first) != type_of(second) or type_of(strip(first)) != type_of(strip(second)):
                continue
            between = self._tree.text[one[1]:two[0]].decode()
            if between.strip() != "," or self._tree.slice(one) == self._tree.slice(two):
                continue
            span = (one[0], two[1])
            text = self._tree.slice(two) + between + self._tree.slice(one)
            self._add("swapped arguments", span, text, "pair", around)
            if (span, text) in self._found:
                self._found[span, text].extra = {"pair": (one, two)}
