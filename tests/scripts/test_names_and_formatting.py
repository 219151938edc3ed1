# SPDX-License-Identifier: Apache-2.0
"""scripts/check-sources on names that are taken, and on what clang-format would change."""

import pytest


@pytest.mark.parametrize("definition", [
    "struct Date {};", "class Date final : public Moment {};", "enum class Date { kNone };",
    "namespace velto {\nunion Date {};\n}  // namespace velto"])
def test_a_type_whose_name_is_taken_is_refused(tree, definition):
    line = 1 + definition.count("\n") // 2
    tree.write("tests/support/FakeDate.h", definition + "\n")
    assert tree.problems() == [
        f"tests/support/FakeDate.h:{line}: Date is defined in platform/foundation/Date.h:1 as well"]


@pytest.mark.parametrize("definition", [
    "struct Date;", "namespace velto::alerts {\nstruct Date {};\n}  // namespace velto::alerts",
    "class Clock {\n  struct Date {};\n};", "template <>\nstruct Date<int> {};"])
def test_what_is_not_another_type_of_the_name_is_allowed(tree, definition):
    tree.write("tests/support/FakeDate.h", definition + "\n")
    assert not tree.problems()


def test_what_is_formatted_otherwise_is_refused(tree):
    tree.append("daemon/main.cpp", "\nint  two();\n")
    assert tree.problems() == ["daemon/main.cpp:5: not as clang-format has it"]


def test_a_format_that_cannot_be_read_is_refused(tree):
    tree.write(".clang-format", "BasedOnStyle: Nobody\n")
    (problem,) = tree.problems()
    assert problem.startswith(".clang-format:1: ")
