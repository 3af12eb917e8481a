"""Mistakes in constants: another number, text, word of an enumeration, or truth value."""

import re

from nodes import type_of

INTEGERS = re.compile(r"^(const )?((un)?signed |u?int|std::u?int|std::size_t|size_t|long|short|char|"
                      r"DWORD|ULONG|LONG|INT|UINT|WORD|BYTE|BOOL|std::byte|unsigned$)")

LOCKS = re.compile(r"\b(lock_guard|unique_lock|scoped_lock|shared_lock)\b")


class Constants:
    """A part of Finder, see mistakes.py."""

    def _on_VarDecl(self, node, children, around):
        span = self._tree.span(node)
        if node.get("constexpr"):
            word = None
            if span is not None:
                at = self._tree.text.find(b"constexpr", max(span[0] - 24, 0), span[1])
                array = type_of(node).endswith("]")
                local = self._tree.file.endswith(".cpp") or around.body is not None
                if at >= 0 and not array and local:
                    word = (at, at + len(b"constexpr"))
            return around.with_(constant=True, constant_word=word), children
        if span is None:
            return None
        if LOCKS.search(type_of(node)):
            self._lock(node, span, around)
            return around, []
        if self._is_answer_of_a_call(node, span, around):
            return around.with_(unplanted=True), children
        return None

    def _is_answer_of_a_call(self, node, span, around):
        """Whether a variable gets 0 at first only to be filled by a call that gets its address."""
        if not re.search(r"= (0|false|nullptr)$", self._tree.slice(span)) or around.body is None:
            return False
        rest = self._tree.text[span[1]:around.body[1]].decode()
        return re.search(r"[(,]\s*&" + re.escape(node["name"]) + r"\b", rest) is not None

    def _on_EnumConstantDecl(self, node, children, around):
        return around.with_(constant=True, constant_word=None), children

    def _on_CaseStmt(self, node, children, around):
        if children:
            self._walk_statement(children[-1], around)
        return around, children[1:]

    def _on_DefaultStmt(self, node, children, around):
        if children:
            self._walk_statement(children[-1], around)

    def _on_IntegerLiteral(self, node, children, around):
        span = self._tree.span(node)
        if span is None or around.pointer_context:
            return
        text = self._tree.slice(span)
        plain = text.replace("'", "").rstrip("uUlL")
        if not re.fullmatch(r"0[xX][0-9a-fA-F]+|[0-9]+", plain):
            return
        self._add("changed constant", span, str(int(plain, 0) + 1) + text[len(text.rstrip("uUlL")):],
                  "value", around)

    def _on_CXXBoolLiteralExpr(self, node, children, around):
        span = self._tree.span(node)
        if span is not None:
            other = "false" if self._tree.slice(span) == "true" else "true"
            self._add("changed constant", span, other, "value", around)

    def _on_StringLiteral(self, node, children, around):
        span = self._tree.span(node)
        if span is None or around.format_text:
            return
        text = self._tree.slice(span)
        match = re.match(r'^(.*?")(.*)(")$', text, re.S)
        if not match or "R" in match[1]:
            return
        letters = re.findall(r"\\x[0-9a-fA-F]+|\\[0-7]{1,3}|\\.|.", match[2], re.S)
        body = "".join(letters[:-1]) if letters else "x"
        self._add("changed constant", span, match[1] + body + match[3],
                  None if around.array_initialiser else "value", around)

    def _on_CharacterLiteral(self, node, children, around):
        span = self._tree.span(node)
        if span is not None:
            self._add("changed constant", span, f"({self._tree.slice(span)} + 1)", "value", around)

    def _on_DeclRefExpr(self, node, children, around):
        if node.get("referencedDecl", {}).get("kind") == "EnumConstantDecl":
            span = self._tree.span(node)
            if span is not None:
                name = self._tree.slice(span)
                self._add("changed constant", span,
                          f"static_cast<decltype({name})>(static_cast<int>({name}) + 1)", "value",
                          around)

    def _macro(self, node, span, around):
        kind = type_of(node)
        # Not what has an address, such as errno.
        if node.get("castKind") == "LValueToRValue" or node["valueCategory"] != "prvalue":
            return
        if around.pointer_context or not INTEGERS.match(kind):
            return
        text = self._tree.slice(span)
        if text in ("TRUE", "FALSE"):
            self._add("changed constant", span, "TRUE" if text == "FALSE" else "FALSE", "value", around)
        else:
            self._add("changed constant", span, f"({text} + 1)", "value", around)
