#!/usr/bin/env python3
"""Fails when a file under src/<folder>/ includes a header of another folder
than src/core and its own: families depend on the core only.

    check_includes.py [ROOT]   ROOT defaults to the repository of this script
"""
import pathlib
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)
SHARED = "core"


def offences(root):
    src = root / "src"
    folders = {p.name for p in src.iterdir() if p.is_dir()}
    for path in sorted(src.rglob("*")):
        if path.suffix not in (".cpp", ".hpp", ".h", ".c") or not path.is_file():
            continue
        own = path.relative_to(src).parts[0]
        for target in INCLUDE.findall(path.read_text()):
            head = target.split("/", 1)[0]
            if "/" in target and head in folders and head not in (own, SHARED):
                yield f"{path.relative_to(root)}: includes {target}"


def main():
    root = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parent.parent
    found = list(offences(root))
    for line in found:
        print(line)
    if found:
        print(f"{len(found)} include(s) across family folders; share through src/core instead")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
