# SPDX-License-Identifier: Apache-2.0
"""The store's directory and file, and what becomes of them."""

import os
import stat

import pytest
from velto import store

pytestmark = pytest.mark.needs_root

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
    assert store.integrity(system.store_file) == "ok"
    (row,) = store.rows(system.store_file, "ADAlert")
    assert {key: row[key] for key in ("bundle", "type", "identifier", "creationDate", "sentDate",
                                      "readDate", "resolvedDate")} == {
        "bundle": "b", "type": "t", "identifier": "i", "creationDate": 0.1, "sentDate": 1.5,
        "readDate": None, "resolvedDate": None}
