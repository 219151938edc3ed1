# SPDX-License-Identifier: Apache-2.0
"""What becomes of calls when the daemon is told to stop."""

import signal

import pytest
from velto.crowd import begin_stop, restart_under
from velto.varlink import DEADLINE

pytestmark = pytest.mark.needs_root


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
    """Saves go on across stops and starts; scripts/endure does it a hundred times and more."""
    crowd = restart_under(system, clients=100, restarts=10)
    assert crowd.stops == 10
    assert len(crowd.answered) > 1000
