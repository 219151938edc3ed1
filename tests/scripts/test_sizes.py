# SPDX-License-Identifier: Apache-2.0
"""scripts/check-sources on files, functions and folders that have grown too big."""

import pytest


def comments(count):
    return "// A line.\n" * count


def function_of(lines, head="int count() {"):
    return "\n".join([head, *["  ++number;"] * (lines - 2), "}", ""])


@pytest.mark.parametrize("path, most", [
    ("alerts/VLAction.h", 300), ("bundles/Load/Code/Words.c", 300), ("scripts/report.py", 300),
    ("console/src/App.tsx", 300),
    ("tests/alerts/Helper.h", 600), ("bench/Sample.cpp", 600), ("fuzz/RoundTrip.h", 600)])
def test_a_long_file_is_refused(tree, path, most):
    tree.write(path, comments(most).replace("//", "#" if path.endswith(".py") else "//"))
    assert not tree.problems()
    tree.append(path, "\n" if path.endswith(".py") else comments(1))
    assert tree.problems() == [f"{path}:{most + 1}: {most + 1} lines; {most} are the most"]


@pytest.mark.parametrize("head, name", [
    ("int count() {", "count"),
    ("int Counter::count(int first) const {", "count"),
    ("TEST(Counter, Counts) {", "TEST"),
    ("TEST_F(Counter, Counts) {", "TEST_F"),
    ("TEST_P(Counter, Counts) {", "TEST_P"),
])
@pytest.mark.parametrize("path", ["alerts/Counter.cpp", "tests/alerts/Counter.cpp"])
def test_a_long_function_is_refused(tree, path, head, name):
    tree.write(path, comments(4) + function_of(80, head))
    assert not tree.problems()
    tree.write(path, comments(4) + function_of(81, head))
    assert tree.problems() == [f"{path}:5: {name} has 81 lines; 80 are the most"]


@pytest.mark.parametrize("head", [
    "  explicit Counter(int first) : number{first}, last(first) {",
    "  int count() VELTO_REQUIRES(mutex) {",
    "  bool operator()(int first) const {",
])
def test_a_long_function_of_a_class_is_refused(tree, head):
    body = function_of(81, head).replace("\n}", "\n  }").replace("  ++", "    ++")
    tree.write("alerts/Counter.h",
               f"class VELTO_THREAD_ATTRIBUTE(capability) Counter {{\n public:\n{body}}};\n")
    (problem,) = tree.problems()
    assert problem.startswith("alerts/Counter.h:3: ")
    assert problem.endswith(" has 81 lines; 80 are the most")


def test_a_long_function_of_c_is_refused(tree):
    tree.write("bundles/Load/Code/Words.c", function_of(81, "static int count(void) {"))
    assert tree.problems() == ["bundles/Load/Code/Words.c:1: count has 81 lines; 80 are the most"]


def test_a_full_folder_is_refused(tree):
    for number in range(38):
        tree.write(f"platform/process/deeper/More{number}.h", "")
    tree.write("platform/process/deeper/CMakeLists.txt", "")
    tree.write("platform/CMakeLists.txt", "add_subdirectory(process/deeper)\n")
    tree.append("CMakeLists.txt", "add_subdirectory(platform)\n")
    tree.write("platform/process/deeper/deepest/One.h", "")
    assert not tree.problems()
    tree.write("platform/process/deeper/deepest/Two.h", "")
    assert not tree.problems()
    tree.write("platform/process/deeper/deepest2/Three.h", "")
    assert tree.problems() == ["platform/process/deeper:1: 41 entries; 40 are the most"]


def test_a_folder_of_tests_may_be_full(tree):
    for number in range(50):
        tree.write(f"tests/alerts/Helper{number}.h", "")
    assert not tree.problems()


def test_the_measures_are_those_of_product_code(tree):
    for path in ("alerts", "bundles", "daemon", "platform"):
        for file in (tree.root / path).rglob("*.*"):
            file.unlink()
    for number in range(1, 11):
        tree.write(f"alerts/Part{number}.cpp", function_of(number + 2) + comments(10 * number))
    tree.write("tests/alerts/Long.cpp", function_of(70))
    result = tree.run("--measure")
    assert result.returncode == 0
    assert [line.split() for line in result.stdout.splitlines()[1:]] == [
        ["files", "10", "57", "101", "112", "alerts/Part10.cpp"],
        ["functions", "10", "7", "11", "12", "alerts/Part10.cpp:1"]]
