# SPDX-License-Identifier: Apache-2.0
"""Every source names the licence that stands in LICENSE, where there is one."""

import pathlib

from .tree import problem

NOTICE = "SPDX-License-Identifier: Apache-2.0"


def problems(tree):
    if pathlib.Path("LICENSE") not in tree.files:
        return
    for path in (*tree.sources(), *tree.page_sources()):
        first_lines = tree.lines(path)[:2 if path.suffix == ".html" else 1]  # a page begins with its type
        if NOTICE not in "".join(first_lines):
            yield problem(path, 1, f"does not begin with {NOTICE}")
