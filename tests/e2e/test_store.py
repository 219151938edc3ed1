"""The store's directory and file, and what becomes of them."""

import os
import shutil
import sqlite3
import stat

import pytest
from velto import store
from velto.system import BUILD

pytestmark = pytest.mark.needs_root

NO_STORE = "Failed to initialize the store"
ALERT = {"bundle": "b", "type": "t", "identifier": "i", "creationDate": 0.1, "sentDate": 1.5,
         "attributes": {"a": [1, {"$data": "AA=="}]}}


def save(system, alert):
    assert system.client().call("SaveAlerts", alerts=[alert]) == {}


def listed(system):
    return system.client().call("GetAlertsOfBundle", bundle="b")["alerts"]


def mode(path):
    return stat.S_IMODE(path.stat().st_mode)


@pytest.mark.parametrize("umask", [0o022, 0o077, 0o000])
def test_a_new_directory_belongs_to_root(system, umask):
    before = os.umask(umask)
    try:
        system.start()
    finally:
        os.umask(before)
    status = system.store_directory.stat()
    assert (status.st_uid, status.st_gid, mode(system.store_directory)) == (0, 0, 0o750)
    assert system.store_file.read_bytes().startswith(b"SQLite format 3\0")


@pytest.mark.parametrize("permissions", [0o755, 0o700])
def test_an_existing_directory_is_left_as_it_is(system, permissions):
    system.store_directory.mkdir()
    system.store_directory.chmod(permissions)
    os.chown(system.store_directory, 12345, 12346)
    system.start()
    save(system, ALERT)
    status = system.store_directory.stat()
    assert (status.st_uid, status.st_gid, mode(system.store_directory)) == (
        12345, 12346, permissions)


def test_a_restart_keeps_everything(system):
    system.make_bundle("Printer.bundle")
    system.start()
    save(system, ALERT)
    system.client().call("AddMailRecipients", recipients=["bo@example.fr"])
    system.restart()
    assert listed(system) == [ALERT]
    client = system.client()
    assert client.call("GetMailRecipients") == {
        "recipients": [{"address": "bo@example.fr", "locale": "fr"}]}
    assert client.call("GetAlertBundleNames") == {"names": ["Printer"]}


def test_what_was_acknowledged_survives_a_crash(system):
    system.start()
    for number in range(3):
        save(system, {**ALERT, "sentDate": float(-number)})
        system.kill()
        system.start()
        assert [alert["sentDate"] for alert in listed(system)] == [
            float(-sent) for sent in range(number + 1)]


def test_the_file_is_sound(system):
    system.start()
    save(system, ALERT)
    system.stop()
    with sqlite3.connect(system.store_file) as database:
        assert database.execute("PRAGMA integrity_check").fetchall() == [("ok",)]
    (row,) = store.rows(system.store_file, "ADAlert")
    assert {key: row[key] for key in ("bundle", "type", "identifier", "creationDate", "sentDate",
                                      "readDate", "resolvedDate")} == {
        "bundle": "b", "type": "t", "identifier": "i", "creationDate": 0.1, "sentDate": 1.5,
        "readDate": None, "resolvedDate": None}


def assert_serves_without_a_store(system):
    """Every call is answered, with an error; each that needs the store is logged."""
    client = system.client()
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
        assert failure["domain"] and failure["userInfo"]["NSLocalizedDescription"]
        assert reply == (dict([data]) if data else {})
        assert system.daemon.log_lines().count(NO_STORE) == lines + number


def test_without_its_parent_directory_there_is_no_store(system):
    system.library.rmdir()
    system.make_bundle("Printer.bundle", texts={"en": {"Jam.subject": "Jam"}})
    daemon = system.start()
    # The reason once, by the discovery of bundles, whose handle has no store either.
    reason, line = daemon.log_lines()
    assert str(system.store_file) in reason
    assert line == NO_STORE
    assert_serves_without_a_store(system)
    assert [line for line in daemon.log_lines() if line != NO_STORE] == [reason]
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
    save(system, ALERT)
    assert listed(system) == [ALERT]


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
