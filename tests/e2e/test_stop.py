# SPDX-License-Identifier: Apache-2.0
"""What becomes of calls when the daemon is told to stop."""

import signal
import threading

import pytest
from velto.varlink import DEADLINE, Client, connect, wait_for

pytestmark = pytest.mark.needs_root


def begin_stop(daemon):
    """Tells the daemon to stop, and waits until it has heard: it catches the signal once."""
    daemon.process.terminate()
    wait_for(lambda: not int(daemon.status()["SigCgt"], 16) >> (signal.SIGTERM - 1) & 1,
             "the signal to be taken")


def test_a_call_under_way_is_answered_and_stored(gated):
    system, poster, gate = gated
    idle = system.client()
    daemon = system.daemon
    begin_stop(daemon)
    gate.open()
    assert poster.receive() == {"parameters": {}}
    assert poster.is_hung_up()
    assert idle.is_hung_up()
    assert daemon.process.wait(DEADLINE) == 0, daemon.log()
    system.daemon = None
    log = system.store_file.with_name("alertData.db-wal")
    assert not log.exists() or log.stat().st_size == 0

    system.start()
    assert len(system.client().call("GetAlertsOfBundle", bundle="Printer")["alerts"]) == 1


def test_a_second_signal_ends_it_at_once(gated):
    system, _, _ = gated
    daemon = system.daemon
    idle = system.client()
    begin_stop(daemon)
    daemon.process.terminate()
    assert daemon.process.wait(DEADLINE) == -signal.SIGTERM
    assert idle.is_hung_up()
    system.daemon = None


def test_every_call_is_answered_or_not_carried_out(system):
    """Clients that save all the time, across stops and starts: what was answered is stored, once."""
    system.start()
    answered = []
    ended = threading.Event()

    def save(number):
        count = 0
        while not ended.is_set():
            identifier = f"{number}.{count}"
            count += 1
            try:
                with connect(system.socket_path) as connection:
                    Client(connection).call(
                        "SaveAlerts", alerts=[{"bundle": "crowd", "identifier": identifier}])
                answered.append(identifier)
            except OSError:
                pass  # no daemon at the moment, or it has gone

    threads = [threading.Thread(target=save, args=(number,)) for number in range(4)]
    for thread in threads:
        thread.start()
    for stops in range(5):
        wait_for(lambda: len(answered) > 20 * (stops + 1), "some saves")
        system.restart()
    ended.set()
    for thread in threads:
        thread.join(DEADLINE)
    stored = [alert["identifier"]
              for alert in system.client().call("GetAlertsOfBundle", bundle="crowd")["alerts"]]
    assert len(stored) == len(set(stored))
    assert set(answered) <= set(stored)
