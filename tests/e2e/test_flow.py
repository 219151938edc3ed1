# SPDX-License-Identifier: Apache-2.0
"""Calls in their order: pipelining, `oneway` and `more`."""

import json
import plistlib

import pytest
from velto.store import execute_many
from velto.values import INTERFACE, SERVICE
from velto.varlink import message

pytestmark = pytest.mark.needs_root


def save(bundle, *identifiers, **flags):
    """A call that saves alerts, each sent a second after the one before it."""
    return message("SaveAlerts", {"alerts": [
        {"bundle": bundle, "identifier": identifier, "sentDate": float(sent)}
        for sent, identifier in enumerate(identifiers)]}, **flags)


def identifiers(reply):
    return [alert["identifier"] for alert in reply["parameters"]["alerts"]]


def test_calls_sent_at_once_are_answered_in_order(client):
    calls = [save("order", str(number)) + message("GetAlertsOfBundle", {"bundle": "order"})
             for number in range(100)]
    client.send(b"".join(calls))
    for count in range(1, 101):
        assert client.receive() == {"parameters": {}}
        assert len(client.receive()["parameters"]["alerts"]) == count


def test_clients_that_save_at_once_are_each_answered_in_order(shared):
    clients = {f"at once {number}": shared.client() for number in range(16)}
    for bundle, client in clients.items():
        for number in range(40):
            client.send(save(bundle, str(number)) + message("GetAlertsOfBundle", {"bundle": bundle}))
    for client in clients.values():
        for count in range(1, 41):
            assert client.receive() == {"parameters": {}}
            assert len(client.receive()["parameters"]["alerts"]) == count


def test_a_call_may_arrive_in_small_parts(client):
    for byte in save("parts", "a") + message("GetAlertsOfBundle", {"bundle": "parts"}):
        client.send(bytes([byte]))
    assert client.receive() == {"parameters": {}}
    assert identifiers(client.receive()) == ["a"]


def test_a_oneway_call_acts_and_is_not_answered(client):
    client.send(save("oneway", "a", oneway=True))
    assert identifiers(client.exchange("GetAlertsOfBundle", {"bundle": "oneway"})) == ["a"]


@pytest.mark.parametrize("call", [
    message(f"{INTERFACE}.Explode", oneway=True), message("org.example.other.Method", oneway=True),
    message("GetAttributes", oneway=True), message("GetMailRecipients", {"x": 1}, oneway=True),
    message("PostAlert", oneway=True), message("GetAlertsOfBundle", oneway=True, more=True),
    message(f"{SERVICE}.GetInfo", oneway=True)], ids=str)
def test_a_oneway_call_is_not_answered_whatever_comes_of_it(client, call):
    client.send(call)
    assert client.call("GetAlertBundleNames") == {"names": ["Printer"]}


@pytest.mark.parametrize("flags", [
    {"oneway": False, "more": False, "upgrade": False},
    {"oneway": None, "more": None, "upgrade": None}])
def test_flags_that_are_not_set_change_nothing(client, flags):
    assert client.exchange("GetAlertBundleNames", {}, **flags) == {
        "parameters": {"names": ["Printer"]}}


@pytest.fixture(scope="module")
def many(_printer):
    """Saves several thousand alerts; their identifiers, newest first."""
    names = [f"alert {number} " + "x" * (number % 300) for number in range(5000)]
    client = _printer.client()
    client.send(save("many", *names))
    assert client.receive() == {"parameters": {}}
    return names[::-1]


def test_a_long_list_comes_in_pieces_of_bounded_size(client, many):
    client.send(message("GetAlertsOfBundle", {"bundle": "many"}, more=True)
                + message("GetAlertBundleNames"))
    replies = [client.receive()]
    while "continues" in replies[-1]:
        assert replies[-1]["continues"] is True
        replies.append(client.receive())
    assert client.receive() == {"parameters": {"names": ["Printer"]}}
    assert [name for reply in replies for name in identifiers(reply)] == many
    assert len(replies) > 5
    assert all(set(reply["parameters"]) == {"alerts"} for reply in replies)


def test_the_alerts_of_a_period_come_in_pieces_too(client, many):
    replies = client.pieces("GetAlertsFromDate", fromDate=-1, toDate=len(many))
    assert [alert["identifier"] for reply in replies for alert in reply["parameters"]["alerts"]
            if alert["bundle"] == "many"] == many
    assert len(replies) > 5


def test_no_piece_is_larger_than_a_client_can_expect(client, many):
    client.send(message("GetAlertsOfBundle", {"bundle": "many"}, more=True)
                + message("GetAlertBundleNames"))
    sizes = []
    while b'"names"' not in (text := client.receive_bytes()):
        sizes.append(len(text))
    assert max(sizes) < 100_000


def test_without_more_the_list_comes_as_one(client, many):
    reply = client.exchange("GetAlertsOfBundle", {"bundle": "many"})
    assert set(reply) == {"parameters"}
    assert identifiers(reply) == many


@pytest.mark.parametrize("method, parameters, expected", [
    ("GetAlertsOfBundle", {"bundle": "?"}, {"alerts": []}),
    ("GetAlertsOfType", {"type": "?"}, {"alerts": []}),
    ("GetAlertBundleNames", {}, {"names": ["Printer"]}),
    ("GetMailRecipients", {}, {"recipients": []}),
])
def test_a_short_reply_is_one_piece(client, method, parameters, expected):
    assert client.pieces(method, **parameters) == [{"parameters": expected}]


@pytest.fixture
def long_list(system):
    """A system with 30 MB of alerts of one type, whose daemon has been called once."""
    system.start()
    system.stop()
    attributes = plistlib.dumps({"text": "x" * 1000}, fmt=plistlib.FMT_BINARY)
    execute_many(system.store_file,
                 'INSERT INTO ADAlert (_version, type, sentDate, identifier, attributes) '
                 "VALUES (1, 'Long', ?, ?, ?)",
                 ((number // 10, str(number), attributes) for number in range(30_000)))
    # What the sanitizer keeps of freed memory, and shows of addresses, would hide the daemon's own.
    system.start(ASAN_OPTIONS="quarantine_size_mb=1:malloc_context_size=0")
    system.client().call("GetAlertsOfBundle", bundle="warm up")
    return system


def test_a_long_list_does_not_stand_in_memory(long_list):
    before = long_list.daemon.memory("VmHWM")
    client = long_list.client()
    client.send(message("GetAlertsOfType", {"type": "Long"}, more=True))
    expected = 29_999
    reply = {"continues": True}
    while reply.get("continues"):
        reply = client.receive()
        for alert in reply["parameters"]["alerts"]:
            group, place = divmod(int(alert["identifier"]), 10)
            assert (group, place) == divmod(expected, 10)
            expected -= 1
    assert expected == -1
    assert long_list.daemon.memory("VmHWM") - before < 10_000_000


@pytest.mark.parametrize("more", [False, True])
def test_clients_that_do_not_read_a_long_list_cost_little_memory(long_list, more):
    before = long_list.daemon.memory("VmHWM")
    deaf = [long_list.client() for _ in range(20)]
    for client in deaf:
        client.send(message("GetAlertsOfType", {"type": "Long"}, more=more) * 5)
    for client in deaf:
        assert client.socket.recv(1) == b"{"
    assert long_list.client().call("GetAlertsOfBundle", bundle="?") == {"alerts": []}
    # Twenty times the whole list would be 600 MB.
    assert long_list.daemon.memory("VmHWM") - before < 80_000_000


def test_a_client_that_does_not_read_costs_the_others_nothing(shared, many):
    deaf = shared.client()
    # Much more than the socket's buffers take.
    deaf.send(message("GetAlertsOfBundle", {"bundle": "many"}) * 20)
    for _ in range(20):
        other = shared.client()
        assert other.call("GetAlertBundleNames") == {"names": ["Printer"]}
        other.close()
    assert identifiers(deaf.receive()) == many


def test_a_client_that_reads_byte_by_byte_costs_the_others_nothing(shared, many):
    slow = shared.client()
    slow.send(message("GetAlertsOfBundle", {"bundle": "many"}) * 20)
    other = shared.client()
    start = b""
    for _ in range(200):
        start += slow.socket.recv(1)
        assert other.call("GetAlertBundleNames") == {"names": ["Printer"]}
    assert identifiers(json.loads(start + slow.receive_bytes())) == many
