# SPDX-License-Identifier: Apache-2.0
"""The formatting of C and C++ is clang-format's."""

import re
import subprocess

from .tree import problem


def problems(tree):
    result = subprocess.run(["clang-format", "--dry-run", "--Werror", *map(str, tree.sources())],
                            cwd=tree.root, stderr=subprocess.PIPE, text=True, check=False)
    places = dict.fromkeys(re.findall(r"^(.+?):(\d+):\d+: error: code should be clang-formatted",
                                      result.stderr, re.M))
    yield from (problem(path, line, "not as clang-format has it") for path, line in places)
    if result.returncode and not places:
        yield problem(".clang-format", 1, " ".join(result.stderr.split()))
