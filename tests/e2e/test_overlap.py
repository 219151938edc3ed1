# SPDX-License-Identifier: Apache-2.0
"""Calls of several clients at once."""

import pytest
from velto.varlink import message, wait_for

pytestmark = pytest.mark.needs_root


def test_calls_of_many_clients_are_all_carried_out(shared):
    clients = [shared.client() for _ in range(10)]
    for number, one in enumerate(clients):
        one.send(b"".join(message("SaveAlerts", {"alerts": [
            {"bundle": "crowd", "identifier": f"{number}.{call}"}]}) for call in range(30)))
    for one in clients:
        assert [one.receive() for _ in range(30)] == [{"parameters": {}}] * 30
    stored = clients[0].call("GetAlertsOfBundle", bundle="crowd")["alerts"]
    assert sorted(alert["identifier"] for alert in stored) == sorted(
        f"{number}.{call}" for number in range(10) for call in range(30))


def test_delivery_holds_up_no_other_connection(gated):
    system, poster, gate = gated
    others = [system.client() for _ in range(20)]
    for other in others:
        # Also writing: nothing of the store is locked while the mail program runs.
        assert other.call("SaveAlerts", alerts=[{"bundle": "meanwhile"}]) == {}
        assert other.call("GetAlertsOfBundle", bundle="Printer") == {"alerts": []}
    assert len(others[0].call("GetAlertsOfBundle", bundle="meanwhile")["alerts"]) == 20
    gate.open()
    assert poster.receive() == {"parameters": {}}
    assert len(poster.call("GetAlertsOfBundle", bundle="Printer")["alerts"]) == 1


def test_deliveries_overlap(gated):
    system, poster, gate = gated
    posters = [poster] + [system.client() for _ in range(9)]
    for other in posters[1:]:
        other.send(message("PostAlert", {"alert": {"bundle": "Printer", "type": "Jam"}}))
        gate.wait()
    for _ in posters:
        gate.open()
    assert [one.receive() for one in posters] == [{"parameters": {}}] * 10


def test_later_calls_on_the_same_connection_wait(gated):
    _, poster, gate = gated
    poster.send(message("GetAlertsOfBundle", {"bundle": "Printer"}))
    gate.open()
    assert poster.receive() == {"parameters": {}}
    assert len(poster.receive()["parameters"]["alerts"]) == 1


def test_a_caller_that_hangs_up_meanwhile_has_posted(gated):
    system, poster, gate = gated
    poster.close()
    gate.open()
    listing = system.client()
    wait_for(lambda: listing.call("GetAlertsOfBundle", bundle="Printer")["alerts"],
             "the alert to be stored")
