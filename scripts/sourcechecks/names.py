# SPDX-License-Identifier: Apache-2.0
"""Two types of one name make one program of them behave like the other, and no compiler sees it."""

import collections

from .tree import problem


# The interface of the client library has types of its own for what the system has others for.
_NAMESPACES_OF_THEIR_OWN = ("velto::alerts",)


def _namespace(tag):
    return tag.scope if tag.scope in _NAMESPACES_OF_THEIR_OWN else "velto"


def _is_type_of_header(tag):
    """Whether the tag is a type that others can use by its name alone."""
    return (tag.path.suffix == ".h" and tag.kind != "function" and tag.scope_kind == "namespace"
            and "__anon" not in tag.scope + tag.name and not tag.is_specialization)


def problems(tags):
    homes = collections.defaultdict(list)
    for tag in filter(_is_type_of_header, tags):
        homes[_namespace(tag), tag.name].append(tag)
    for first, *others in homes.values():
        for tag in others:
            yield problem(tag.path, tag.line,
                          f"{tag.name} is defined in {first.path}:{first.line} as well")
