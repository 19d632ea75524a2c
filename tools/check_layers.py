#!/usr/bin/env python3
"""Checks that every #include under src/ goes down the layer table, never sideways or up.

The table is the one in docs/architecture.md, read from there, so that the document cannot drift
from the rule.
"""
import pathlib
import re
import sys

ROW = re.compile(r"^\| (\d+) \| ([^|]+) \|")
INCLUDE = re.compile(r'^\s*#include "([^"]+)"')


def layers(document):
    """Folder under src/ -> layer number, longest folder names first."""
    found = {}
    for line in document.read_text().splitlines():
        row = ROW.match(line)
        if row:
            for folder in re.findall(r"`([^`]+)`", row[2]):
                found[folder] = int(row[1])
    if len(found) < 10:
        sys.exit(f"{document}: no layer table found")
    return dict(sorted(found.items(), key=lambda item: -len(item[0])))


def module_of(path, table):
    """The folder of the table that a path relative to src/ lies in."""
    for folder in table:
        if path == folder or path.startswith(folder + "/"):
            return folder
    return None


def main():
    root = pathlib.Path(sys.argv[1])
    table = layers(root / "docs" / "architecture.md")
    faults = []
    for source in sorted((root / "src").rglob("*.[ch]pp")):
        own_path = source.relative_to(root / "src").as_posix()
        own = module_of(own_path, table)
        if own is None:
            faults.append(f"{own_path}: lies in no module of the layer table")
            continue
        may_use_fakes = own_path.endswith("_test.cpp")
        for number, line in enumerate(source.read_text().splitlines(), 1):
            include = INCLUDE.match(line)
            if not include:
                continue
            target = module_of(include[1], table)
            if target is None:
                faults.append(f"{own_path}:{number}: {include[1]} lies in no module")
            elif target.endswith("/testing") and may_use_fakes:
                continue
            elif target != own and not (
                table[target] < table[own] or target.endswith("/records") and own.endswith("/records")
            ):
                faults.append(
                    f"{own_path}:{number}: {own} (layer {table[own]}) includes {include[1]} "
                    f"(layer {table[target]})"
                )
    for fault in faults:
        print(fault)
    sys.exit(1 if faults else 0)


main()
