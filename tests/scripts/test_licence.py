# SPDX-License-Identifier: Apache-2.0
"""scripts/check-sources on sources that do not name their licence."""

NOTICE = "// SPDX-License-Identifier: Apache-2.0\n"


def give_notice(tree):
    tree.write("LICENSE", "Apache License\n")
    for path in sorted(tree.root.rglob("*")):
        if path.suffix in (".c", ".cpp", ".h"):
            path.write_text(NOTICE + path.read_text(encoding="utf-8"), encoding="utf-8")


def test_a_tree_whose_sources_name_their_licence_is_good(tree):
    give_notice(tree)
    assert not tree.problems()


def test_a_source_without_a_licence_is_refused(tree):
    give_notice(tree)
    tree.write("daemon/main.cpp", "// Another licence.\nint main() { return 0; }\n")
    tree.write("tests/support/Empty.h", "")
    expected = "does not begin with SPDX-License-Identifier: Apache-2.0"
    assert tree.problems() == [f"daemon/main.cpp:1: {expected}", f"tests/support/Empty.h:1: {expected}"]


def test_the_page_names_its_licence_too(tree):
    give_notice(tree)
    tree.write("console/src/App.tsx", NOTICE)
    tree.write("console/src/index.html", "<!DOCTYPE html>\n<!-- SPDX-License-Identifier: Apache-2.0 -->\n")
    tree.write("console/node_modules/react/index.js", "")
    tree.write("console/dist/index.js", "")
    assert not tree.problems()
    tree.write("console/src/App.tsx", "\n" + NOTICE)
    expected = "does not begin with SPDX-License-Identifier: Apache-2.0"
    assert tree.problems() == [f"console/src/App.tsx:1: {expected}"]
