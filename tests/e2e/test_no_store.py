# SPDX-License-Identifier: Apache-2.0
"""A daemon whose store cannot be opened: it serves, and every call that needs the store fails."""

import os
import shutil
import sqlite3

import pytest
from velto.system import BUILD

pytestmark = pytest.mark.needs_root

NO_STORE = "Failed to initialize the store"
ALERT = {"bundle": "b", "type": "t"}


def assert_serves_without_a_store(system):
    """Every call is answered, with the reason that the log and the state have; each that needs the
    store is logged."""
    client = system.client()
    store = client.call("com.ulmora.velto.AlertsMonitor.GetStatus")["status"]["store"]
    assert store["usable"] is False
    assert sum(store["problem"] in line for line in system.daemon.log_lines()) == 1
    lines = system.daemon.log_lines().count(NO_STORE)
    calls = (("SaveAlerts", {"alerts": [ALERT]}, None),
             ("PostAlert", {"alert": {"bundle": "Printer", "type": "Jam"}}, None),
             ("GetAlertsOfType", {"type": "t"}, ("alerts", [])),
             ("GetAlertsOfBundle", {"bundle": "b"}, ("alerts", [])),
             ("GetLastAlertOfType", {"type": "t"}, None),
             ("GetLastAlertOfBundle", {"bundle": "b"}, None),
             ("GetAlertBundleNames", {}, ("names", [])),
             ("GetMailRecipients", {}, ("recipients", [])),
             ("AddMailRecipients", {"recipients": ["bo@example.fr"]}, None))
    for number, (method, parameters, data) in enumerate(calls, 1):
        reply = client.call(method, **parameters)
        failure = reply.pop("error")
        assert failure["userInfo"]["NSLocalizedDescription"] == \
            f"The store cannot be used: {store['problem']}"
        assert reply == (dict([data]) if data else {})
        assert system.daemon.log_lines().count(NO_STORE) == lines + number


def test_without_its_parent_directory_there_is_no_store(system):
    system.library.rmdir()
    system.make_bundle("Printer.bundle", texts={"en": {"Jam.subject": "Jam"}})
    daemon = system.start()

    def lines():
        # Whatever becomes of the monitors, which nobody loads here.
        return [line for line in daemon.log_lines()
                if "Loading Alert Bundle" not in line and "nothing monitors" not in line]

    # The reason once, by the discovery of bundles, whose handle has no store either.
    reason, line = lines()
    assert str(system.store_file) in reason
    assert line == NO_STORE
    assert_serves_without_a_store(system)
    assert [line for line in lines() if line != NO_STORE] == [reason]
    assert not system.library.exists()


def test_opening_is_not_tried_again(system):
    system.library.rmdir()
    system.start()
    system.library.mkdir()
    assert_serves_without_a_store(system)
    assert not system.store_directory.exists()


def test_a_directory_that_is_a_file_is_no_store(system):
    system.store_directory.write_bytes(b"mine")
    system.start()
    assert_serves_without_a_store(system)
    assert system.store_directory.read_bytes() == b"mine"


def other_database(path):
    with sqlite3.connect(path) as database:
        database.execute("CREATE TABLE ADAlert (mine)")
    database.close()


def other_model(path):
    with sqlite3.connect(path) as database:
        database.execute("PRAGMA application_id = 0x564c4144")
        database.execute("PRAGMA user_version = 5")
        database.execute("CREATE TABLE ADAlert (mine)")
    database.close()


@pytest.mark.parametrize("make", [
    other_database, other_model, lambda path: path.write_bytes(b"my notes\n" * 100),
    lambda path: path.write_bytes(b"x")], ids=["database", "model", "notes", "byte"])
def test_the_file_of_another_program_is_left_bit_for_bit(system, make):
    system.store_directory.mkdir()
    make(system.store_file)
    content, status = system.store_file.read_bytes(), system.store_file.stat()
    system.start()
    assert_serves_without_a_store(system)
    system.stop()
    assert system.store_file.read_bytes() == content
    assert system.store_file.stat().st_mtime_ns == status.st_mtime_ns
    assert os.listdir(system.store_directory) == [system.store_file.name]


def test_a_folder_in_the_way_is_no_store(system):
    system.store_file.mkdir(parents=True)
    system.start()
    assert_serves_without_a_store(system)


@pytest.fixture
def copy(system):
    """A copy of the daemon with its resources."""
    for folder in ("bin", "share"):
        (system.root / "copy" / folder).mkdir(parents=True)
    program = shutil.copy2(BUILD / "bin/alertsd", system.root / "copy/bin/alertsd")
    resources = shutil.copytree(BUILD / "share/velto/alerts",
                                system.root / "copy/share/velto/alerts")
    return program, resources


def test_the_daemon_finds_its_resources_beside_itself(system, copy):
    system.start(copy[0])
    client = system.client()
    assert client.call("SaveAlerts", alerts=[ALERT]) == {}
    assert client.call("GetAlertsOfBundle", bundle="b") == {"alerts": [ALERT]}


def test_the_daemon_finds_its_resources_from_a_folder_of_its_own(system, copy):
    folder = system.root / "copy/libexec/velto"
    folder.mkdir(parents=True)
    program = shutil.move(copy[0], folder)
    system.start(program)
    assert system.client().call("SaveAlerts", alerts=[ALERT]) == {}


@pytest.mark.parametrize("damage", [shutil.rmtree, lambda folder: [
    path.write_bytes(b"no model") for path in folder.iterdir()]], ids=["missing", "broken"])
def test_without_a_model_there_is_no_store(system, copy, damage):
    program, resources = copy
    damage(resources)
    daemon = system.start(program)
    assert daemon.log_lines()[-2:] == ["No model to generate a store from", NO_STORE]
    assert_serves_without_a_store(system)
    assert daemon.log_lines().count("No model to generate a store from") == 1
    assert not system.store_directory.exists()
