# SPDX-License-Identifier: Apache-2.0
"""Full disks, and a daemon that is killed while it saves."""

import random
import subprocess
import threading

import pytest
from velto import store
from velto.skipping import skip_or_fail

pytestmark = pytest.mark.needs_root

DISK_FULL = 13  # SQLite's SQLITE_FULL


def alert(number, size=0):
    return {"bundle": "b", "identifier": str(number), "sentDate": float(-number),
            "attributes": {"text": "x" * size}}


def save(client, number, size=0):
    return client.call("SaveAlerts", alerts=[alert(number, size)])


def stored(system):
    return [int(one["identifier"])
            for one in system.client().call("GetAlertsOfBundle", bundle="b")["alerts"]]


@pytest.fixture
def small_disk(system):
    """A system whose store is on a disk of four megabytes."""
    system.store_directory.mkdir()
    mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=4m", "velto-test",
                              system.store_directory], capture_output=True, text=True, check=False)
    if mounted.returncode != 0:
        skip_or_fail(f"needs the right to mount: {mounted.stderr}")
    yield system
    if system.daemon:
        system.stop()
    subprocess.run(["umount", system.store_directory], check=True)


def fill(directory):
    """Takes all the space that is left."""
    path = directory / "filler"
    with path.open("wb", buffering=0) as filler:
        try:
            while True:
                filler.write(bytes(4096))
        except OSError:
            return path


def test_a_full_disk_fails_the_save_and_loses_nothing(small_disk):
    small_disk.start()
    client = small_disk.client()
    assert save(client, 0) == {}
    for number in range(1, 4):
        filler = fill(small_disk.store_directory)
        error = save(client, number, 100000)["error"]
        assert (error["domain"], error["code"] & 0xff) == ("VeltoPersistence", DISK_FULL)
        assert str(small_disk.store_file) in error["userInfo"]["NSLocalizedDescription"]
        assert stored(small_disk) == list(range(number)), "reading goes on"
        filler.unlink()
        assert save(client, number, 100000) == {}
    small_disk.restart()
    assert stored(small_disk) == [0, 1, 2, 3]


def leave(filler, size):
    """Gives so much of the filler's space back."""
    with filler.open("ab") as file:
        file.truncate(file.tell() - size)


def test_a_full_disk_ends_a_long_deletion_and_what_is_deleted_stays_so(small_disk):
    small_disk.start()
    client = small_disk.client()
    for start in range(0, 5000, 1000):
        alerts = [alert(number) for number in range(start, start + 1000)]
        assert client.call("SaveAlerts", alerts=alerts) == {}
    small_disk.restart()
    client = small_disk.client()
    filler = fill(small_disk.store_directory)

    reply = client.call("DeleteAlertsBeforeDate", date=1.0)
    assert (reply["error"]["domain"], reply["error"]["code"] & 0xff) == ("VeltoPersistence", DISK_FULL)
    assert reply["count"] == 0
    assert len(stored(small_disk)) == 5000

    deleted = 0
    for _ in range(20):
        leave(filler, 200000)
        reply = client.call("DeleteAlertsBeforeDate", date=1.0)
        deleted += reply["count"]
        if "error" not in reply or deleted:
            break
    assert reply["error"]["code"] & 0xff == DISK_FULL, "in the middle"
    assert 0 < deleted < 5000
    assert stored(small_disk) == list(range(5000 - deleted)), "the oldest have gone"
    assert "A save has failed" in small_disk.daemon.log()

    filler.unlink()
    assert client.call("DeleteAlertsBeforeDate", date=1.0) == {"count": 5000 - deleted}
    assert stored(small_disk) == []
    assert save(client, 0) == {}
    small_disk.restart()
    assert stored(small_disk) == [0]


def test_no_room_for_the_store_is_logged_and_nothing_is_left(small_disk):
    filler = fill(small_disk.store_directory)
    small_disk.start()
    assert save(small_disk.client(), 0)["error"]["domain"] == "VeltoPersistence"
    assert [path.name for path in small_disk.store_directory.iterdir()] == ["filler"]
    assert f"{small_disk.store_file}: database or disk is full" in small_disk.daemon.log()
    filler.unlink()
    small_disk.restart()
    assert save(small_disk.client(), 0) == {}


def test_what_was_acknowledged_before_a_kill_is_there(system):
    chance = random.Random(1)
    acknowledged = set()

    def save_until_killed(client, numbers, enough):
        try:
            for number in numbers:
                if save(client, number, 20000) == {}:
                    acknowledged.add(number)
                if len(acknowledged) >= enough:
                    ready.set()
        except OSError:
            pass  # the daemon has gone

    for generation in range(5):
        system.start()
        ready = threading.Event()
        enough = len(acknowledged) + chance.randrange(1, 60)
        threads = [
            threading.Thread(target=save_until_killed, args=(
                system.client(), range(generation * 10**6 + k * 10**4, 10**9), enough))
            for k in range(4)]
        for thread in threads:
            thread.start()
        assert ready.wait(60)
        system.daemon.kill()
        for thread in threads:
            thread.join()
        system.daemon = None
        system.close_clients()
        assert store.integrity(system.store_file) == "ok"
        system.start()
        assert acknowledged <= set(stored(system))
        system.kill()
