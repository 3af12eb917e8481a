"""What the compiler says about a file: clang's syntax tree, with a place in a file for every node."""

import json
import subprocess

NAMESPACE = "orva_accelerator"


class Tree:
    """The declarations of our namespace as clang reads `file`, and the text of that file.

    `flags` is the command that compiles it, without input and output.
    """

    def __init__(self, root, file, flags):
        self.file = file
        self.path = root / file
        self.text = self.path.read_bytes()
        self.roots = []
        self.fields = {}
        if NAMESPACE.encode() not in self.text:
            return  # What stands in for the compiler's own functions is none of ours to plant in.
        command = [*flags, "-w", "-fsyntax-only", "-Xclang", "-ast-dump=json",
                   "-Xclang", f"-ast-dump-filter={NAMESPACE}", "-x", "c++", str(self.path)]
        printed = subprocess.run(command, capture_output=True, text=True, cwd=root, check=False)
        if printed.returncode != 0:
            raise RuntimeError(f"clang cannot read {file}:\n{printed.stderr}")
        self.roots = list(_documents(printed.stdout))
        places = _Places(root)
        for node in self.roots:
            places.fill(node)
            self._note_fields(node)

    def _note_fields(self, node):
        """Which fields a record has, by the identity of each."""
        children = node.get("inner", [])
        if node.get("kind") in ("CXXRecordDecl", "ClassTemplateSpecializationDecl"):
            fields = [child for child in children if child.get("kind") == "FieldDecl"]
            for field in fields:
                self.fields[field["id"]] = fields
        for child in children:
            self._note_fields(child)

    def span(self, node):
        """(begin, end) of a node in the file's bytes; None if it is written elsewhere or in a macro."""
        places = node.get("range", {})
        if self._inside_macro(places):
            return None
        begin, end = self._place(places.get("begin")), self._place(places.get("end"))
        if begin is None or end is None:
            return None
        last = end["offset"] + end["tokLen"]
        if "expansionLoc" in places["end"] and self.text[last:last + 1] == b"(":
            last = self._closing(last)
        return begin["offset"], last

    def _inside_macro(self, places):
        """Whether it is written in the definition of one macro."""
        begin, end = (places.get(side, {}).get("expansionLoc", {}) for side in ("begin", "end"))
        return (begin.get("offset") is not None and begin.get("offset") == end.get("offset")
                and not begin.get("isMacroArgExpansion"))

    def _place(self, place):
        """Where it stands in the file; what begins or ends with a macro, with the macro's name."""
        if not place:
            return None
        if "expansionLoc" in place:
            macro = place["expansionLoc"]
            place = place["spellingLoc"] if macro.get("isMacroArgExpansion") else macro
        return place if place.get("file") == str(self.path) else None

    def _closing(self, at):
        """Behind the parenthesis that closes the one at `at`."""
        depth = 0
        for position in range(at, len(self.text)):
            depth += {40: 1, 41: -1}.get(self.text[position], 0)
            if depth == 0:
                return position + 1
        return at

    def macro_span(self, node):
        """The same for what is nothing but one macro without arguments."""
        places = node.get("range", {})
        begin = places.get("begin", {}).get("expansionLoc")
        end = places.get("end", {}).get("expansionLoc")
        if begin is None or end is None or begin["offset"] != end["offset"]:
            return None
        if begin["file"] != str(self.path) or begin.get("isMacroArgExpansion"):
            return None
        return begin["offset"], begin["offset"] + begin["tokLen"]

    def slice(self, span):
        return self.text[span[0]:span[1]].decode()


def _documents(text):
    decoder = json.JSONDecoder()
    at = 0
    while at < len(text):
        if text[at].isspace():
            at += 1
            continue
        document, at = decoder.raw_decode(text, at)
        yield document


class _Places:
    """clang names a place's file only where it differs from that of the place printed before."""

    def __init__(self, root):
        self._root = root
        self._file = ""

    def fill(self, value):
        if isinstance(value, list):
            for item in value:
                self.fill(item)
        elif isinstance(value, dict):
            if "tokLen" in value and "offset" in value:
                if "file" in value:
                    self._file = str((self._root / value["file"]).resolve())
                value["file"] = self._file
                return
            for key, item in value.items():
                if isinstance(item, (dict, list)) and key != "includedFrom":
                    self.fill(item)
