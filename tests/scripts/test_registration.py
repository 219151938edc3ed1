# SPDX-License-Identifier: Apache-2.0
"""scripts/check-sources on tests that nobody runs."""


def test_a_test_that_is_not_registered_is_refused(tree):
    tree.write("tests/alerts/VLAlert_test.cpp", "")
    assert tree.problems() == [
        "tests/alerts/VLAlert_test.cpp:1: not registered in tests/alerts/CMakeLists.txt"]


def test_a_registered_name_that_ends_alike_does_not_count(tree):
    tree.write("tests/alerts/Bundle_test.cpp", "")
    assert tree.problems() == [
        "tests/alerts/Bundle_test.cpp:1: not registered in tests/alerts/CMakeLists.txt"]


def test_a_registration_in_a_comment_does_not_count(tree):
    tree.write("tests/alerts/CMakeLists.txt", "# AlertBundle_test.cpp\n")
    assert tree.problems() == [
        "tests/alerts/AlertBundle_test.cpp:1: not registered in tests/alerts/CMakeLists.txt"]


def test_a_test_in_a_subfolder_is_registered_with_its_folder(tree):
    tree.write("tests/alerts/native/Action_test.cpp", "")
    tree.append("tests/alerts/CMakeLists.txt", "velto_test(native_test Action_test.cpp)\n")
    assert tree.problems() == [
        "tests/alerts/native/Action_test.cpp:1: not registered in tests/alerts/CMakeLists.txt"]
    tree.append("tests/alerts/CMakeLists.txt", "velto_test(native_test native/Action_test.cpp)\n")
    assert not tree.problems()


def test_a_fuzz_target_that_is_not_registered_is_refused(tree):
    tree.write("fuzz/Fuzz.cpp", "")
    assert tree.problems() == ["fuzz/Fuzz.cpp:1: not registered in fuzz/CMakeLists.txt"]


def test_a_list_that_cmake_does_not_reach_is_refused(tree):
    tree.write("tests/store/CMakeLists.txt", "velto_test(store_test Store_test.cpp)\n")
    tree.write("tests/store/Store_test.cpp", "")
    assert tree.problems() == [
        "tests/store/CMakeLists.txt:1: not registered in tests/CMakeLists.txt"]


def test_a_test_without_any_list_is_refused(tree):
    for path in ("CMakeLists.txt", "tests/CMakeLists.txt", "tests/alerts/CMakeLists.txt",
                 "alerts/CMakeLists.txt", "fuzz/CMakeLists.txt"):
        (tree.root / path).unlink()
    assert tree.problems() == [
        f"{path}:1: there is no CMakeLists.txt to be registered in"
        for path in ("fuzz/AlertFuzz.cpp", "tests/alerts/AlertBundle_test.cpp")]
