# SPDX-License-Identifier: Apache-2.0
"""Every source names the licence that stands in LICENSE, where there is one."""

import pathlib

from .tree import problem

NOTICE = "SPDX-License-Identifier: Apache-2.0"


def problems(tree):
    if pathlib.Path("LICENSE") not in tree.files:
        return
    for path in tree.sources():
        if NOTICE not in (tree.lines(path) or [""])[0]:
            yield problem(path, 1, f"does not begin with {NOTICE}")
