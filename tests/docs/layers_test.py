#!/usr/bin/env python3
"""layers_test.py ROOT: who includes whom, by folder, against the picture in docs/architecture.md.

An arrow that the code does not have, an include that the picture does not have, and a cycle each fail
the test; what it prints then is the picture as the code draws it.
"""
import pathlib
import re
import sys

# Folders of the picture, and how a file finds its own: the longest that fits.
FOLDERS = ["win32", "sdk", "ipc", "ipc/wire", "handlers", "service", "service/shared_names.h", "client",
           "client/c", "client/include", "tools", "simulator", "installer"]
# A service's name is not above the folder that the header lies in.
PARTS = {"service/shared_names.h": {"service/service_identity.h", "sdk/kernel_function_names.h"}}
INCLUDE = re.compile(r'#include "([^"]+)"')
ARROW = re.compile(r"^\s*(\S+?) --> (\S+?)$")


def folder_of(path):
    fitting = [name for name in FOLDERS if path == name or path.startswith(name + "/")]
    return max(fitting, key=len, default=None)


def arrows_of_code(root):
    arrows = {}
    for source in sorted(root.rglob("*")):
        path = source.relative_to(root).as_posix()
        user = folder_of(path)
        if user is None or source.suffix not in (".h", ".cpp"):
            continue
        for included in INCLUDE.findall(source.read_text(encoding="utf-8")):
            used = folder_of(included)
            if used in (None, user) or included in PARTS.get(path, ()):
                continue
            arrows.setdefault((user, used), f"{path} includes {included}")
    return arrows


def arrows_of_page(root):
    page = (root / "docs/architecture.md").read_text(encoding="utf-8")
    picture = re.search(r"## Folders.*?```mermaid\n(.*?)```", page, re.DOTALL).group(1)
    found = (ARROW.match(line) for line in picture.splitlines())
    return {(arrow.group(1), arrow.group(2)) for arrow in found if arrow}


def cycle_of(arrows):
    users = {}
    for user, used in arrows:
        users.setdefault(user, set()).add(used)

    def reach(start, seen):
        for used in users.get(start, ()):
            if used not in seen:
                seen.add(used)
                reach(used, seen)
        return seen

    return sorted(name for name in users if name in reach(name, set()))


def main():
    root = pathlib.Path(sys.argv[1])
    code, page = arrows_of_code(root), arrows_of_page(root)
    complaints = [f"not in the picture: {code[arrow]}" for arrow in sorted(code.keys() - page)]
    complaints += [f"not in the code: {user} --> {used}" for user, used in sorted(page - code.keys())]
    in_cycle = cycle_of(code)
    if in_cycle:
        complaints.append("in a cycle: " + ", ".join(in_cycle))
    if len(code) < 10:
        complaints.append("hardly an include was found: is this the root?")
    for complaint in complaints:
        print(complaint)
    if complaints:
        print("\n".join(f"    {user} --> {used}" for user, used in sorted(code)))
    return 1 if complaints else 0


sys.exit(main())
