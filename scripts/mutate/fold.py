"""Writes all mistakes of a file into it at once, each to be chosen while the program runs.

A mistake that is planted this way costs no compilation of its own. One is chosen by its number;
number 0 is the file as it was.
"""

import re

HEADER = "planted/planted.h"


def fold(text, mistakes, is_header):
    """The file's bytes `text` with all of `mistakes` that have a number; lines stay where they are."""
    sites = {}
    for mistake in mistakes:
        if mistake.fold == "pair":
            one, two = mistake.extra["pair"]
            for span, other in ((one, two), (two, one)):
                sites.setdefault(span, []).append((mistake, "value", _flat(text[slice(*other)].decode())))
        else:
            sites.setdefault((mistake.begin, mistake.end), []).append(
                (mistake, mistake.fold, _flat(mistake.text)))
    words = sorted({m.constant for m in mistakes if m.constant})
    for word in words:
        sites[word] = []
    folded = _render(text, 0, len(text), sorted(sites, key=lambda s: (s[0], -s[1])), sites)
    start = f'#include "{HEADER}"\n#line 1\n'
    if is_header:
        start = f'#pragma once\n#pragma GCC system_header\n{start}'
    return start.encode() + folded.encode()


def _flat(code):
    return " ".join(re.sub(r"//[^\n\"]*$", "", code, flags=re.M).split("\n"))


def _render(text, begin, end, spans, sites):
    """text[begin:end] with the sites `spans`, which all lie in there, outermost first."""
    pieces, at = [], begin
    while spans:
        span, rest = spans[0], spans[1:]
        inner = [other for other in rest if other[1] <= span[1]]
        spans = [other for other in rest if other[0] >= span[1]]
        pieces.append(text[at:span[0]].decode())
        pieces.append(_site(_render(text, *span, inner, sites), sites[span]))
        at = span[1]
    pieces.append(text[at:end].decode())
    return "".join(pieces)


def _site(code, alternatives):
    if not alternatives:
        return "   const "  # For `constexpr`.
    values = [a for a in alternatives if a[1] in ("value", "condition")]
    if values:
        if any(how == "condition" for _, how, _ in values):
            code = f"static_cast<bool>({code})"
        chain = "".join(f"{_chosen(m)} ? ({other}) : " for m, _, other in values)
        return f"({chain}({code}))"
    for mistake, how, other in alternatives:
        chosen = _chosen(mistake)
        if how == "statement":
            code = f"{{ if (!{chosen}) {{ {code} }} }}"
        elif how == "first":
            code = f"{{ if ({chosen}) {other} {code} }}"
        elif how == "lock":
            name, mutex = mistake.extra["name"], mistake.extra["mutex"]
            code = (f"std::unique_lock {name}({mutex}, std::defer_lock); "
                    f"if (!{chosen}) {name}.lock();")
    return code


def _chosen(mistake):
    return f"orva{'Early' if mistake.early else ''}Planted({mistake.number})"
