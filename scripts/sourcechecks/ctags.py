# SPDX-License-Identifier: Apache-2.0
"""The functions and types of the sources, as Universal Ctags finds them."""

import dataclasses
import json
import pathlib
import subprocess


@dataclasses.dataclass
class Tag:
    """A definition. To ctags a test of GoogleTest is a function with the name of its macro."""

    path: pathlib.Path
    line: int
    end: int | None  # None where ctags has lost its way
    name: str
    kind: str
    scope: str
    scope_kind: str
    is_specialization: bool

    def length(self):
        return self.end - self.line + 1

    def is_lambda_of_function(self):
        return self.name.startswith("__anon") and self.scope_kind == "function"


def _tag(entry):
    return Tag(pathlib.Path(entry["path"]), entry["line"], entry.get("end"), entry["name"],
               entry["kind"], entry.get("scope", ""), entry.get("scopeKind", "namespace"),
               "specialization" in entry)


def read(tree):
    """The definitions of functions, classes, structs, unions and enumerations."""
    result = subprocess.run(
        ["ctags", "--quiet=yes", "--options=NONE", "--languages=C,C++", "--kinds-C=fsug",
         "--kinds-C++=fcsug", "--fields=+neK", "--fields-C++=+{specialization}",
         "-D", "VELTO_THREAD_ATTRIBUTE(x)=", "--sort=no", "--output-format=json",
         "-o", "-", "-L", "-"],
        cwd=tree.root, input="\n".join(map(str, tree.sources())), stdout=subprocess.PIPE, text=True,
        check=True)
    entries = map(json.loads, result.stdout.splitlines())
    return [_tag(entry) for entry in entries if entry["_type"] == "tag"]
