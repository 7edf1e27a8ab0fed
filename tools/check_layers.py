#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The NodeDB authors
# SPDX-License-Identifier: MIT
"""Checks the directions of includes against tools/layers.toml: parts, levels, private headers and calls upwards."""

import fnmatch
import pathlib
import re
import sys
import tomllib

ROOT = pathlib.Path(__file__).resolve().parent.parent
RULES = tomllib.loads((ROOT / "tools/layers.toml").read_text())
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)
NODEDB = ROOT / "libs/nodedb"
ROOMS = {path.name for path in NODEDB.iterdir() if path.is_dir()} if NODEDB.is_dir() else set()


def level(path):
    """Returns the level of a file of the node database given relative to libs/nodedb; None when no rule names it."""
    stem = re.sub(r"\.(h|cpp)$", "", path).removesuffix("_p")
    for pattern, value in RULES["levels"].items():
        if fnmatch.fnmatch(stem, pattern) or fnmatch.fnmatch(re.sub(r"\.(h|cpp)$", "", path), pattern):
            return value
    return None


def part_of(path):
    matching = [part for part in RULES["parts"] if path.is_relative_to(ROOT / part)]
    return max(matching, key=len, default=None)


def owner_of(include):
    first = include.split("/")[0]
    if first in ROOMS or first == "nodedb":
        return "nodedb"
    return first if first in ("platform", "persistence", "session") else "own"


def check_part(path, include, part):
    allowed = RULES["parts"][part]
    if owner_of(include) not in allowed:
        yield f'"{include}" does not belong into {part}'
    if include.endswith("_p.h") and not part.startswith("libs") and owner_of(include) != "own":
        yield f'"{include}" is private'
    if path.suffix == ".h" and include.endswith("_p.h") and not path.name.endswith("_p.h"):
        yield f'a public header includes the private "{include}"'


def check_level(path, include):
    generated = include.startswith("nodedb/")
    if not path.is_relative_to(NODEDB) or owner_of(include) != "nodedb" or generated:
        return
    own = str(path.relative_to(NODEDB))
    if level(own) is None:
        yield "no level names this file"
    elif level(include) is None:
        yield f'no level names "{include}"'
    elif level(include) > level(own):
        yield f'"{include}" (level {level(include)}) stands above this file (level {level(own)})'


def check_calls(path, text):
    if not path.is_relative_to(NODEDB) or "getDB()" not in re.sub(r"//.*|/\*.*?\*/", "", text, flags=re.S):
        return
    own = str(path.relative_to(NODEDB))
    if own != "nodestore/nodedb.h" and not any(fnmatch.fnmatch(own, p) for p in RULES["getdb"]["files"]):
        yield "calls up through getDB() without leave"


def problems(path):
    text = path.read_text()
    if path.name.endswith("_p.h") or path.suffix in (".h", ".cpp"):
        part = part_of(path)
        for include in INCLUDE.findall(text) if part else []:
            yield from check_part(path, include, part)
            yield from check_level(path, include)
        yield from check_calls(path, text)


def main():
    found = 0
    for folder in ("libs", "plugins", "apps", "examples", "tools"):
        for path in sorted((ROOT / folder).rglob("*")):
            if path.suffix in (".h", ".cpp"):
                for problem in problems(path):
                    found += 1
                    print(f"{path.relative_to(ROOT)}: {problem}")
    print(f"{found} broken directions" if found else "all includes point the right way")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
