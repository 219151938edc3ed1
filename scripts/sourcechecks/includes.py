# SPDX-License-Identifier: Apache-2.0
"""Includes point one way."""

import os
import pathlib
import re

from .tree import TEST_FOLDERS, is_product, problem

# What the sources of a folder, and of those below it without a row of their own, may include
# besides themselves and foreign libraries. A row names rows above it only, so there is no way back.
MAY_INCLUDE = {
    "platform/foundation": set(),
    "platform/json": {"platform/foundation"},
    "platform/propertylist": {"platform/foundation", "platform/json"},
    "platform/process": {"platform/foundation"},
    "platform/persistence": {"platform/foundation", "platform/propertylist"},
    "platform/identity": {"platform/foundation", "platform/propertylist"},
    "platform/connection": {"platform/foundation", "platform/json", "platform/identity"},
    "platform/events": {"platform/foundation", "platform/connection"},
    "platform/push": {"platform/foundation", "platform/propertylist"},
    "alerts/velto": set(),
    "alerts": {"platform/foundation", "platform/propertylist", "platform/process", "alerts/velto"},
    "protocol": {"platform/foundation", "platform/json", "platform/propertylist", "platform/connection",
                 "alerts"},
    "store": {"platform/foundation", "platform/propertylist", "platform/persistence", "alerts"},
    "delivery": {"platform/foundation", "platform/process", "platform/push", "alerts", "store"},
    "daemon": {"platform/foundation", "platform/persistence", "platform/identity",
               "platform/connection", "platform/events", "platform/push", "alerts", "protocol",
               "store", "delivery"},
    "client/velto": set(),
    "client/examples": {"client/velto"},
    "client": {"platform/foundation", "platform/connection", "client/velto"},
    "bundles": {"platform/foundation", "alerts/velto"},
    "tools/text": {"platform/foundation", "platform/json", "client/velto"},
    "tools/bundlecheck": {"platform/foundation", "platform/json", "platform/propertylist", "alerts",
                          "bundles", "tools/text"},
    "tools": {"platform/foundation", "platform/json", "platform/propertylist", "platform/connection",
              "delivery", "client/velto", "client", "tools/text", "tools/bundlecheck"},
}
# Where the compiler looks for an include, besides the folder of the file itself.
_INCLUDE_FOLDERS = ("", "alerts", "client")


def _row(path):
    """The row that holds for a file: the one of the nearest folder that has one, or None."""
    for folder in map(str, path.parents):
        if folder in MAY_INCLUDE:
            return folder
    return None


def _target(tree, path, included):
    """The file of the tree that is included, or None for a foreign one."""
    for folder in (path.parent, *_INCLUDE_FOLDERS):
        target = pathlib.Path(os.path.normpath(folder / pathlib.Path(included)))
        if (tree.root / target).is_file():
            return target
    target = pathlib.Path(os.path.normpath(included))
    return target if len(target.parts) > 1 and (tree.root / target.parts[0]).is_dir() else None


def _folder(target):
    if target.parts[0] in TEST_FOLDERS:
        return target.parts[0]
    return _row(target) or str(target.parent)


def _problems_of_file(tree, path):
    row = _row(path)
    if row is None:
        yield problem(path, 1, "the folder has no row in scripts/sourcechecks/includes.py")
        return
    for number, line in enumerate(tree.lines(path), 1):
        found = re.match(r'\s*#\s*include\s*[<"]([^>"]+)[>"]', line)
        target = found and _target(tree, path, found[1])
        if target and _folder(target) not in MAY_INCLUDE[row] | {row}:
            yield problem(path, number, f"{row}/ must not include {_folder(target)}/")


def problems(tree):
    for path in tree.sources():
        if is_product(path):
            yield from _problems_of_file(tree, path)
