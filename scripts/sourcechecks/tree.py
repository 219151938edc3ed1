# SPDX-License-Identifier: Apache-2.0
"""The files of a source tree."""

import os
import pathlib

TEST_FOLDERS = ("tests", "bench", "fuzz")
_C_SUFFIXES = (".c", ".cpp", ".h", ".hpp")
_PAGE_SUFFIXES = (".css", ".html", ".js", ".mjs", ".ts", ".tsx")
# What is made, or had from elsewhere, in a folder of sources.
_FOREIGN = (pathlib.Path("build"), pathlib.Path("console/dist"), pathlib.Path("console/node_modules"))


class Tree:
    """All paths are relative to the root. What a build makes and what is hidden is not seen."""

    def __init__(self, root):
        self.root = root
        self.files = sorted(self._walk())

    def _walk(self):
        for folder, subfolders, names in os.walk(self.root):
            here = pathlib.Path(folder).relative_to(self.root)
            subfolders[:] = [name for name in subfolders
                             if not name.startswith(".") and name != "__pycache__"
                             and here / name not in _FOREIGN]
            yield from (here / name for name in names if not name.startswith("."))

    def sources(self):
        """The files in C and C++."""
        return [path for path in self.files if path.suffix in _C_SUFFIXES]

    def page_sources(self):
        """The files of the page in Cockpit, its tools and its tests."""
        return [path for path in self.files
                if path.parts[0] == "console" and path.suffix in _PAGE_SUFFIXES]

    def lines(self, path):
        return (self.root / path).read_text(encoding="utf-8").splitlines()


def is_product(path):
    return path.parts[0] not in TEST_FOLDERS


def problem(path, line, what):
    return f"{path}:{line}: {what}"
