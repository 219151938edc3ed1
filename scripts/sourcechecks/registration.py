# SPDX-License-Identifier: Apache-2.0
"""Every test is registered, in a list that CMake reads."""

import re

from .tree import problem


def _is_test(path):
    return ((path.parts[0] == "tests" and path.name.endswith("_test.cpp")) or
            (path.parts[0] == "fuzz" and path.name.endswith("Fuzz.cpp")))


def _words(tree, path):
    """The words of a list, without comments."""
    text = "\n".join(re.sub("#.*", "", line) for line in tree.lines(path))
    return set(re.split(r'[\s()";]+', text))


def _list_for(tree, path):
    """The nearest CMakeLists.txt above a file or folder."""
    for folder in path.parents:
        if (tree.root / folder / "CMakeLists.txt").is_file():
            return folder / "CMakeLists.txt"
    return None


def _registered(tree):
    """What is to be registered, as pairs of a file and the word that stands for it: a test itself,
    and the folder of a list."""
    for path in tree.files:
        if _is_test(path):
            yield path, path
        elif path.name == "CMakeLists.txt" and len(path.parts) > 1:
            yield path, path.parent


def problems(tree):
    for path, entry in _registered(tree):
        home = _list_for(tree, entry)
        if home is None:
            yield problem(path, 1, "there is no CMakeLists.txt to be registered in")
        elif entry.relative_to(home.parent).as_posix() not in _words(tree, home):
            yield problem(path, 1, f"not registered in {home}")
