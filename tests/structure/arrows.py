#!/usr/bin/env python3
"""Holds every #include "..." of the product against one table: which folder may include which.

usage: arrows.py TREE
"""

import os
import re
import sys

DAEMON = ["platform", "module", "files", "commands", "rpc", "services", "configuration", "observe"]

# From the ground up: a folder, with its subfolders that have no row of their own, and what it may include beside
# itself, folders or single files. No row names a later one, so nothing can run in a circle.
TABLE = {
    "platform/include": [],
    "onuqos/rules": [],
    "common": [],
    "common/commands": ["common"],

    "platform/standin/include": ["platform/include"],
    "platform/standin": ["platform/include", "platform/standin/include"],
    "rte/BLL/core": ["platform/include/BLLManager.h"],
    "onuqos/support": ["onuqos/rules", "platform/include"],

    "onuqos/entity": ["onuqos/rules", "onuqos/support", "platform/include", "rte/BLL/core"],
    "onuqos/profiles": ["onuqos/rules", "onuqos/support", "onuqos/entity/onuQos.h", "platform/include"],
    **dict.fromkeys(["onuqos/tcont", "onuqos/flow", "onuqos/cac", "onuqos/service"],
                    ["onuqos/rules", "onuqos/support", "onuqos/entity/onuQos.h", "onuqos/profiles", "platform/include"]),
    "onuqos/rpc": ["onuqos/rules", "onuqos/entity/onuQos.h", "rte/BLL/core"],

    "oltmgrd/files": ["common"],
    "oltmgrd/commands": ["common", "common/commands", "oltmgrd/files"],
    "oltmgrd/module": ["common", "onuqos/rules", "onuqos/entity", "oltmgrd/files"],
    "oltmgrd/platform": ["common", "oltmgrd/commands", "oltmgrd/files"],
    "oltmgrd/platform/standin": ["common", "oltmgrd/commands", "oltmgrd/files", "oltmgrd/platform",
                                 "platform/standin/include"],
    "oltmgrd/rpc": ["common", "oltmgrd/files", "oltmgrd/platform", "rte/BLL/core"],
    "clients/onuqosctl": ["common", "onuqos/rules"],
    "clients/oltctl": ["common", "common/commands", "onuqos/rules"],

    "oltmgrd/services": ["common", "platform/include/BLLManager.h", "oltmgrd/module", "oltmgrd/platform"],
    "oltmgrd/configuration": ["common", "onuqos/rules", "onuqos/entity/onuQos.h", "platform/include/BLLManager.h",
                              "oltmgrd/files", "oltmgrd/module", "oltmgrd/platform", "oltmgrd/services"],
    "oltmgrd/observe": ["common", "onuqos/rules", "platform/include/BLLManager.h", "oltmgrd/files", "oltmgrd/module",
                        "oltmgrd/platform", "oltmgrd/services"],

    "oltmgrd/control": ["common", "common/commands", *("oltmgrd/" + part for part in DAEMON)],
    "oltmgrd/http": ["common", "oltmgrd/observe"],
    "oltmgrd/web": ["common", "oltmgrd/observe"],
    "clients/onuqosplan": ["common", "onuqos/rules", "oltmgrd/files", "oltmgrd/platform/inventory.h",
                           "oltmgrd/configuration/document.h"],

    "oltmgrd/process": ["common", "platform/include/Log.h", *("oltmgrd/" + part for part in DAEMON), "oltmgrd/platform/standin",
                        "oltmgrd/control", "oltmgrd/http", "oltmgrd/web"],
}
ROOTS = ["", "platform/include", "platform/standin/include"]  # where the compiler looks
FREE = ["tests", "fuzz", "bench"]  # these may include anything


def folder_of(path):
    """The row that a file belongs to; nothing if there is none."""
    folder = os.path.dirname(path)
    while folder and folder not in TABLE:
        folder = os.path.dirname(folder)
    return folder


def sources(tree):
    for directory, folders, names in os.walk(tree):
        if directory == tree:
            folders[:] = [name for name in folders if name not in [*FREE, "build"]]
        folders[:] = [name for name in folders if not name.startswith(".")]
        for name in names:
            if name.endswith((".h", ".c", ".cpp")):
                yield os.path.relpath(os.path.join(directory, name), tree)


def complaint(tree, source, name):
    """What is wrong with this include; nothing if it is right."""
    candidates = (os.path.normpath(os.path.join(root, name)) for root in [os.path.dirname(source), *ROOTS])
    included = next((path for path in candidates if os.path.isfile(os.path.join(tree, path))), None)
    here = folder_of(source)
    if included is None:
        return "is not in the tree"
    there = folder_of(included)
    if not here or not there:
        return f"{source if not here else included} is in no folder of the table"
    if there != here and there not in TABLE[here] and included not in TABLE[here]:
        return f"{here} may not include {there}"
    return None


def main():
    tree = sys.argv[1]
    rows = list(TABLE)
    upward = [(row, other) for at, row in enumerate(rows) for other in TABLE[row]
              if (other if other in TABLE else folder_of(other)) not in rows[:at]]
    for row, other in upward:
        print(f"{sys.argv[0]}: the row {row} names {other}, which is no earlier one")
    wrong = len(upward)
    for source in sorted(sources(tree)):
        with open(os.path.join(tree, source), encoding="utf-8") as text:
            for number, line in enumerate(text, 1):
                include = re.match(r'\s*#\s*include\s*"([^"]+)"', line)
                said = include and complaint(tree, source, include[1])
                if said:
                    print(f'{source}:{number}: #include "{include[1]}": {said}')
                    wrong += 1
    sys.exit(1 if wrong else 0)


main()
