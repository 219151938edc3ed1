# SPDX-License-Identifier: Apache-2.0
"""scripts/check-sources on includes that point the wrong way."""

import pathlib
import re
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts"))
# pylint: disable=wrong-import-position
from sourcechecks.includes import MAY_INCLUDE
from sourcechecks.tree import TEST_FOLDERS


def test_nothing_is_found_in_a_good_tree(tree):
    assert not tree.problems()


def test_every_row_names_rows_above_it_only():
    above = set()
    for folder, allowed in MAY_INCLUDE.items():
        assert allowed <= above, folder
        above.add(folder)


def test_the_platform_knows_nothing_of_what_is_built_on_it():
    for folder, allowed in MAY_INCLUDE.items():
        if folder.startswith("platform/"):
            assert all(name.startswith("platform/") for name in allowed), folder
    assert MAY_INCLUDE["platform/foundation"] == set()


FOLDERS = tuple(folder + "/" for folder in (*MAY_INCLUDE, *TEST_FOLDERS))


def write_source(tree, path, include):
    """A file with the include in line 3, and what it includes where that is not there yet."""
    tree.write(path, f"// A comment.\n\n#include {include}\n")
    included = re.sub('[<">]', "", include)
    if included.startswith(FOLDERS) and not (tree.root / included).exists():
        tree.write(included, "")


@pytest.mark.parametrize("path, include, refused", [
    ("platform/foundation/Paths.h", '"platform/process/Task.h"', "platform/process"),
    ("platform/foundation/Paths.h", '"platform/propertylist/Reader.h"', "platform/propertylist"),
    ("platform/propertylist/Reader.h", '"platform/process/Task.h"', "platform/process"),
    ("platform/process/Pipe.h", '"alerts/VLAlert.h"', "alerts"),
    ("platform/process/Pipe.h", '"alerts/native/Action.h"', "alerts"),
    ("platform/process/deeper/Pipe.h", '"alerts/VLAlert.h"', "alerts"),
    ("platform/process/Pipe.h", "<alerts/VLAlert.h>", "alerts"),
    ("platform/process/Pipe.h", "<velto/alert_bundle.h>", "alerts/velto"),
    ("platform/process/Pipe.h", '"../../alerts/VLAlert.h"', "alerts"),
    ("platform/persistence/Store.h", '"platform/connection/Socket.h"', "platform/connection"),
    ("platform/identity/Guest.h", '"platform/connection/Socket.h"', "platform/connection"),
    ("platform/connection/Socket.h", '"platform/events/Events.h"', "platform/events"),
    ("platform/events/Events.h", '"platform/push/Sender.h"', "platform/push"),
    ("platform/push/Sender.h", '"platform/connection/Socket.h"', "platform/connection"),
    ("alerts/VLAction.h", '"daemon/Daemon.h"', "daemon"),
    ("alerts/native/Action.h", '"platform/push/Sender.h"', "platform/push"),
    ("store/Store.h", '"delivery/Mailer.h"', "delivery"),
    ("delivery/Mailer.h", '"protocol/Coding.h"', "protocol"),
    ("protocol/Coding.h", '"store/Store.h"', "store"),
    ("daemon/Daemon.h", '"client/Client.h"', "client"),
    ("client/Client.h", '"protocol/Coding.h"', "protocol"),
    ("tools/tool.cpp", '"store/Store.h"', "store"),
    ("bundles/Load/Code/Words.h", '"alerts/VLAlert.h"', "alerts"),
])
def test_an_include_that_points_up_is_refused(tree, path, include, refused):
    write_source(tree, path, include)
    (row,) = [folder for folder in MAY_INCLUDE if path.startswith(folder + "/")]
    assert tree.problems() == [f"{path}:3: {row}/ must not include {refused}/"]


def test_the_interface_for_bundles_includes_nothing_of_the_alerts(tree):
    path = "alerts/velto/alert_more.h"
    write_source(tree, path, '"alerts/VLAlert.h"')
    assert tree.problems() == [f"{path}:3: alerts/velto/ must not include alerts/"]


@pytest.mark.parametrize("include", [
    "tests/support/FakeLog.h", "tests/Everything.h", "bench/deeper/Sample.h", "fuzz/RoundTrip.h"])
@pytest.mark.parametrize("path", ["alerts/native/Action.h", "daemon/Daemon.h"])
def test_product_code_does_not_include_tests(tree, path, include):
    write_source(tree, path, f'"{include}"')
    row, refused = path.split("/")[0], include.split("/")[0]
    assert tree.problems() == [f"{path}:3: {row}/ must not include {refused}/"]


@pytest.mark.parametrize("path", ["platform/Everything.h", "platform/sounds/Bell.h", "extras/a.c"])
def test_product_code_in_a_folder_without_a_row_is_refused(tree, path):
    tree.write(path, "")
    write_source(tree, "platform/foundation/Paths.h", f'"{path}"')
    folder = path.rpartition("/")[0]
    assert sorted(tree.problems()) == sorted([
        f"{path}:1: the folder has no row in scripts/sourcechecks/includes.py",
        f"platform/foundation/Paths.h:3: platform/foundation/ must not include {folder}/"])


@pytest.mark.parametrize("path, include", [
    ("alerts/native/Action.h", '"alerts/native/NativeAlert.h"'),
    ("alerts/native/Action.h", '"platform/process/Task.h"'),
    ("platform/events/Events.h", '"platform/connection/Socket.h"'),
    ("platform/process/Pipe.h", '"Task.h"'),
    ("platform/process/Pipe.h", "<sys/socket.h>"),
    ("tests/alerts/Helper.h", '"daemon/Daemon.h"'),
])
def test_other_includes_are_allowed(tree, path, include):
    write_source(tree, path, include)
    assert not tree.problems()
