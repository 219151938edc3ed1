# SPDX-License-Identifier: Apache-2.0
"""Files, functions and folders stay small."""

import collections
import math

from .tree import is_product, problem

LONGEST_PRODUCT_FILE = 300
LONGEST_FILE = 600
LONGEST_FUNCTION = 80
MOST_ENTRIES = 40


def _file_problems(tree):
    for path in tree.files:
        if path.suffix in (".c", ".cpp", ".css", ".h", ".hpp", ".js", ".mjs", ".py", ".ts", ".tsx"):
            most = LONGEST_PRODUCT_FILE if is_product(path) else LONGEST_FILE
            lines = len(tree.lines(path))
            if lines > most:
                yield problem(path, most + 1, f"{lines} lines; {most} are the most")


def _functions(tags):
    """A lambda counts with the function that it stands in."""
    return [tag for tag in tags if tag.kind == "function" and not tag.is_lambda_of_function()]


def _function_problems(tags):
    for tag in _functions(tags):
        if tag.end is None:
            yield problem(tag.path, tag.line, f"ctags does not find the end of {tag.name}")
        elif tag.length() > LONGEST_FUNCTION:
            yield problem(tag.path, tag.line, f"{tag.name} has {tag.length()} lines; "
                                              f"{LONGEST_FUNCTION} are the most")


def _folder_problems(tree):
    folders = {path.parts[0] for path in tree.sources() if is_product(path)}
    entries = collections.defaultdict(set)
    for path in tree.files:
        if path.parts[0] in folders:
            for entry in (path, *path.parents):
                entries[entry.parent].add(entry)
    for folder, found in entries.items():
        if folder.parts and len(found) > MOST_ENTRIES:
            yield problem(folder, 1, f"{len(found)} entries; {MOST_ENTRIES} are the most")


def problems(tree, tags):
    yield from _file_problems(tree)
    yield from _function_problems(tags)
    yield from _folder_problems(tree)


def _row(what, places):
    """`places` are pairs of a length and where it is found."""
    ordered = sorted(places)

    def within(share):
        """The length that this share of all does not exceed."""
        return ordered[math.ceil(share * len(ordered)) - 1][0]

    longest, where = ordered[-1]
    return f"{what:<10}{len(ordered):>7}{within(0.5):>8}{within(0.9):>17}{longest:>9}  {where}"


def measure(tree, tags):
    """A table of the lengths of product code, in lines."""
    files = [(len(tree.lines(path)), path) for path in tree.sources() if is_product(path)]
    functions = [(tag.length(), f"{tag.path}:{tag.line}") for tag in _functions(tags)
                 if is_product(tag.path) and tag.end is not None]
    heads = f"{'lines of':<10}{'count':>7}{'median':>8}{'90th percentile':>17}{'maximum':>9}"
    return "\n".join([heads, _row("files", files), _row("functions", functions)])
