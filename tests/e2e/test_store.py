# SPDX-License-Identifier: Apache-2.0
"""The store's directory and file, and what becomes of them."""

import os
import stat
import threading

import pytest
from velto import store
from velto.varlink import DEADLINE, wait_for

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


def test_a_copy_is_made_under_load_and_can_be_put_back(system):
    system.start()
    save(system, ALERT)
    done = threading.Event()

    def keep_saving():
        while not done.is_set():
            save(system, {**ALERT, "bundle": "other"})

    busy = threading.Thread(target=keep_saving)
    busy.start()
    copy = system.root / "copy.db"
    try:
        store.copy(system.store_file, copy)
    finally:
        done.set()
        busy.join()
    save(system, {**ALERT, "sentDate": 0.0})
    system.kill()
    copy.rename(system.store_file)
    system.start()
    assert listed(system) == [ALERT]
    assert "alertData.db-wal-aside" in system.daemon.log()
    save(system, ALERT)


def test_a_stopped_daemons_file_gives_its_pages_back_when_it_is_told_to(system):
    system.start()
    client = system.client()
    for start in range(0, 6000, 1000):
        alerts = [ALERT | {"identifier": str(number), "sentDate": float(number)}
                  for number in range(start, start + 1000)]
        assert client.call("SaveAlerts", alerts=alerts) == {}
    assert client.call("DeleteAlertsBeforeDate", date=5990.0) == {"count": 5990}
    kept = listed(system)
    assert len(kept) == 10
    system.stop()
    log = system.store_file.with_name(system.store_file.name + "-wal")
    assert not log.exists(), "a stop leaves no log"
    before = system.store_file.stat().st_size
    store.execute(system.store_file, "VACUUM")
    assert system.store_file.stat().st_size < before / 5
    assert mode(system.store_file) == 0o600
    system.start()
    assert listed(system) == kept
    save(system, ALERT)
    assert len(listed(system)) == 11


def test_a_log_that_a_kill_has_left_is_emptied_after_the_start(system):
    daemon = system.start()
    save(system, ALERT)
    log = system.store_file.with_name(system.store_file.name + "-wal")
    assert log.stat().st_size > 0
    daemon.process.kill()
    daemon.process.wait(DEADLINE)
    system.daemon = None
    assert log.stat().st_size > 0
    system.start()
    wait_for(lambda: log.stat().st_size == 0, "the log to be emptied")
    assert len(listed(system)) == 1


def test_a_file_that_is_gone_is_noticed_at_the_next_save(system):
    system.start()
    save(system, ALERT)
    system.store_file.rename(system.root / "elsewhere.db")
    for _ in range(2):
        error = system.client().call("SaveAlerts", alerts=[ALERT])["error"]
        assert error["domain"] == "VeltoPersistence"
    assert system.client().call("MarkAlertAsReadWithAlertId", alertId="i") == {}
    failures = [line for line in system.daemon.log_lines() if "A save has failed" in line]
    assert len(failures) == 1 and "renamed or deleted" in failures[0]
