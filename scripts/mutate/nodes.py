"""Small questions to the nodes of clang's syntax tree."""

TRANSPARENT = ("ImplicitCastExpr", "ExprWithCleanups", "CXXBindTemporaryExpr",
               "MaterializeTemporaryExpr", "CXXConstructExpr", "ConstantExpr", "FullExpr")


def strip(node):
    """The expression below everything that the compiler has put around it."""
    while node.get("kind") in TRANSPARENT:
        inner = [child for child in node.get("inner", []) if child.get("kind")]
        if len(inner) != 1:
            break
        node = inner[0]
    return node


def type_of(node):
    return node.get("type", {}).get("qualType", "")
