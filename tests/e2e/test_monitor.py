# SPDX-License-Identifier: Apache-2.0
"""The watching interface: who may watch, what is told of changes, and what the state is."""

import os
import signal
import threading
import time

import pytest
from velto.values import INTERFACE, MONITOR, SERVICE
from velto.varlink import CallFailed, message, wait_for

pytestmark = pytest.mark.needs_root

FOLLOW = f"{MONITOR}.Follow"
DRY = "#!/bin/sh\n[ \"$1\" = run ] && exit 0\nexit {state}\n"
MOST_KEPT = 1 << 20
SANITIZER = "quarantine_size_mb=0:thread_local_quarantine_size_kb=0:malloc_context_size=0"


class Follower:
    """A connection that follows, and what it has been told."""

    def __init__(self, system, **parameters):
        self.client = system.client()
        self.client.send(message(FOLLOW, parameters, more=True))
        first = self.client.receive()
        assert first["continues"] is True
        assert first["parameters"]["events"] == []
        self.sequence = first["parameters"]["sequence"]
        self.times = []

    def piece(self):
        """The events of the next message."""
        reply = self.client.receive()
        self.times.append(time.monotonic())
        assert reply["continues"] is True and set(reply["parameters"]) == {"sequence", "events"}
        events = reply["parameters"]["events"]
        assert events
        self.sequence = reply["parameters"]["sequence"]
        assert events[-1]["sequence"] <= self.sequence
        return events

    def events(self, count):
        """The next so many events."""
        told = []
        while len(told) < count:
            told += self.piece()
        assert len(told) == count, told
        return told

    def told(self, count):
        """The same in short: what, and of which alert."""
        return [(event["kind"], event.get("identifier") or event.get("alert", {}).get("identifier"))
                for event in self.events(count)]


@pytest.fixture(name="office")
def _office(system):
    """A running system with a bundle whose alerts have the recovery action Dry."""
    system.make_bundle("Printer.bundle", info={
        "VLAlertTypes": {"Jam": {"RecoveryOptions": ["Dry"]}, "Empty": {}}},
        texts={"en": {"Jam.subject": "Jam", "Empty.subject": "Empty"}})
    actions = system.bundles / "Printer.bundle/Contents/Actions"
    actions.mkdir()

    def action(state):
        path = actions / "Dry"
        path.write_text(DRY.format(state=state))
        path.chmod(0o755)

    system.action = action
    action(state=1)
    system.start()
    system.save = lambda *alerts: system.client().call("SaveAlerts", alerts=list(alerts))
    return system


def jam(identifier, **changes):
    return {"identifier": identifier, "bundle": "Printer", "type": "Jam", "sentDate": 1.0, **changes}


def status_of(system):
    return system.client().call(f"{MONITOR}.GetStatus")["status"]


def other_counts(system):
    """The counts, taken from the lists."""
    alerts = system.client().call("GetAlertsOfBundle", bundle="Printer")["alerts"]
    return {"alerts": len(alerts), "unread": sum("readDate" not in one for one in alerts),
            "unresolved": sum("resolvedDate" not in one for one in alerts)}


# --- Who may watch, and how they must ask ---

CALLS = {"GetStatus": {}, "List": {}, "GetAlert": {"identifier": "?"},
         "GetHistory": {"from": 0.0, "to": 1.0, "step": 1.0}, "Follow": {}}


@pytest.mark.parametrize("method", CALLS)
@pytest.mark.parametrize("user, group", [(12345, 12345), (27, 27), (23456, 23456)])
def test_nobody_but_administrators_may_watch(shared, method, user, group):
    """Neither does anybody else, a trusted service or an entitled one included."""
    client = shared.client_as(user, group)
    assert client.exchange(f"{MONITOR}.{method}", CALLS[method]) == {
        "error": f"{MONITOR}.NotPermitted", "parameters": {}}
    assert client.call("GetAlertBundleNames") == {"names": ["Printer"]}


@pytest.mark.parametrize("user, group", [(0, 0), (12345, 0)])
def test_user_and_group_zero_may(shared, user, group):
    client = shared.client_as(user, group)
    assert client.call(f"{MONITOR}.GetStatus")["status"]["store"]["usable"] is True


@pytest.mark.parametrize("method, parameters, wrong", [
    ("GetStatus", {"x": 1}, "x"), ("List", {"limit": "many"}, "limit"),
    ("List", {"unread": 1}, "unread"), ("GetAlert", {}, "identifier"),
    ("GetHistory", {"from": 0, "to": 1}, "step"), ("Follow", {"bundle": ["Printer"]}, "bundle"),
    ("Follow", {"kind": "added"}, "kind")])
def test_wrong_parameters_are_named(client, method, parameters, wrong):
    assert client.exchange(f"{MONITOR}.{method}", parameters) == {
        "error": f"{SERVICE}.InvalidParameter", "parameters": {"parameter": wrong}}


# --- Changes ---

def test_without_more_there_is_the_first_reply_alone(client):
    reply = client.exchange(FOLLOW, {})
    assert set(reply) == {"parameters"}
    assert reply["parameters"]["events"] == []
    assert client.call("GetAlertBundleNames") == {"names": ["Printer"]}


def test_a_posted_alert_is_told_as_it_is_stored(office):
    follower = Follower(office)
    client = office.client()
    client.call("PostAlert", alert={"bundle": "Printer", "type": "Jam", "creationDate": 5.25,
                                    "attributes": {"tray": 2, "note": "ü", "at": {"$date": 1.5}}})
    stored = client.call("GetLastAlertOfBundle", bundle="Printer")["alert"]
    (event,) = follower.events(1)
    assert event == {"sequence": follower.sequence, "kind": "added", "alert": stored}


def test_a_save_of_many_is_many_events_in_order(office):
    follower = Follower(office)
    names = [f"jam {number}" for number in range(100)]
    office.save(*map(jam, names))
    events = follower.events(100)
    assert [event["alert"]["identifier"] for event in events] == names
    first = events[0]["sequence"]
    assert [event["sequence"] for event in events] == list(range(first, first + 100))
    assert follower.sequence == first + 99


def test_reading_and_resolving_are_told(office):
    office.save(jam("a", attributes={"tray": 1}))
    follower = Follower(office)
    client = office.client()
    client.call("MarkAlertAsReadWithAlertId", alertId="a")
    client.call("MarkAlertAsResolvedWithAlertId", alertId="a")
    client.call("MarkAlertAsReadWithAlertId", alertId="unheard")
    events = follower.events(2)
    assert [event["kind"] for event in events] == ["changed", "changed"]
    assert {"readDate"} == set(events[0]["alert"]) - set(jam("a", attributes={}))
    assert events[1]["alert"] == client.call("GetLastAlertOfBundle", bundle="Printer")["alert"]


def test_a_recovery_action_is_told(office):
    office.save(jam("a"))
    follower = Follower(office)
    assert office.client().call("PerformRecoveryAction", action="Dry", alertId="a") == {}
    (event,) = follower.events(1)
    assert event["kind"] == "changed" and event["alert"]["resolvedDate"] > 0


def test_what_a_round_resolves_is_told(office):
    office.save(jam("a"), jam("b"), jam("c", type="Empty"))
    office.action(state=0)
    follower = Follower(office)
    office.client().call("GetAlertsFromDate", fromDate=0.0, toDate=9.0)
    events = follower.events(2)
    assert {event["alert"]["identifier"] for event in events} == {"a", "b"}
    assert all(event["alert"]["resolvedDate"] > 0 for event in events)


@pytest.mark.parametrize("count", [3, 2500])
@pytest.mark.parametrize("bundle, delete", [
    ("Printer", lambda client, names: client.call("DeleteAlertsBeforeDate", date=2.0)),
    ("Printer", lambda client, names: client.call("DeleteAlertsWithIds", alertIds=names)),
    ("Tamsel", lambda client, names: client.call("DeleteUnsupportedAlerts"))],
    ids=["date", "identifiers", "kind"])
def test_deletions_are_told(office, bundle, delete, count):
    """Few of them in one transaction, many in several short ones."""
    names = [f"jam {number}" for number in range(count)]
    office.save(*(jam(name, bundle=bundle) for name in names))
    office.save(jam("stays", bundle="Other", sentDate=3.0))
    follower = Follower(office)
    delete(office.client(), names)
    assert sorted(follower.told(count)) == sorted(("deleted", name) for name in names)
    office.save(jam("next"))
    assert follower.told(1) == [("added", "next")]


def test_settings_attributes_and_recipients_are_told(office):
    follower = Follower(office)
    client = office.client()
    recipient = {"guid": "g", "token": "AAEC", "name": "phone", "locale": "en"}
    for method, parameters, count in (
            ("SetAttributes", {"attributes": {"a": "1", "b": "2"}}, 2),
            ("SetAttributes", {"attributes": {"a": "3"}}, 1),
            ("SetAttributes", {"attributes": {"b": None}}, 1),
            ("DisableAlertBundle", {"bundle": "Printer"}, 1),
            ("EnableAlertBundle", {"bundle": "Printer"}, 1),
            ("SetAlertBundleSettings", {"settings": {"Printer": {"mailEnabled": False}}}, 1),
            ("AddMailRecipients", {"recipients": ["ann@example.org"]}, 1),
            ("SetMailRecipients", {"recipients": []}, 1),
            ("AddPushRecipients", {"recipients": [recipient]}, 1),
            ("SetPushRecipients", {"recipients": []}, 1)):
        assert client.call(method, **parameters) == {}, method
        assert follower.told(count) == [("settings", None)] * count, method


def test_a_reload_is_told(office):
    follower = Follower(office)
    office.make_bundle("Scanner.bundle")
    os.kill(office.daemon.process.pid, signal.SIGHUP)
    assert follower.told(1) == [("settings", None)]


def test_what_fails_is_not_told(office):
    follower = Follower(office)
    client = office.client()
    client.call("MarkAlertAsReadWithAlertId", alertId="unheard")
    client.call("DeleteAlertsWithIds", alertIds=["unheard"])
    client.call("EnableAlertBundle", bundle="unheard")
    office.save(jam("a"))
    assert follower.told(1) == [("added", "a")]


def test_a_bundle_or_a_type_can_be_followed_alone(office):
    followers = [Follower(office, bundle="Printer"), Follower(office, type="Jam"),
                 Follower(office, bundle="Other", type="Jam"), Follower(office)]
    office.save(jam("a"), jam("b", type="Empty"), jam("c", bundle="Other"), jam("d", bundle=None))
    client = office.client()
    client.call("SetAttributes", attributes={"a": "1"})
    client.call("DeleteAlertsWithIds", alertIds=["a", "c"])
    client.call("MarkAlertAsReadWithAlertId", alertId="b")
    assert followers[0].told(4) == [("added", "a"), ("added", "b"), ("deleted", "a"),
                                    ("changed", "b")]
    assert followers[1].told(5) == [("added", "a"), ("added", "c"), ("added", "d"),
                                    ("deleted", "a"), ("deleted", "c")]
    assert followers[2].told(2) == [("added", "c"), ("deleted", "c")]
    assert len(followers[3].events(8)) == 8


def test_events_count_on_from_the_start_of_the_service(office):
    office.save(jam("a"), jam("b"))
    first = Follower(office)
    office.save(jam("c"))
    (event,) = first.events(1)
    assert event["sequence"] == first.sequence
    first.client.close()
    watcher = office.client()  # one for all times, since each counts
    wait_for(lambda: watcher.call(f"{MONITOR}.GetStatus")["status"]["calls"] == 1,
             "the follower's end")
    office.save(jam("d"), jam("e"))
    second = Follower(office)
    assert second.sequence == event["sequence"] + 2
    office.save(jam("f"))
    assert second.events(1)[0]["sequence"] == event["sequence"] + 3


def test_there_is_a_message_a_tenth_of_a_second(office):
    follower = Follower(office)
    reader = threading.Thread(target=follower.events, args=(400,))
    reader.start()
    for number in range(400):
        office.save(jam(f"jam {number}"))
    reader.join()
    # One may have been under way for longer than the next, so it is their number that counts.
    assert 1 < len(follower.times) <= (follower.times[-1] - follower.times[0]) / 0.1 + 2


def test_all_commits_of_many_clients_are_told_in_one_order(office):
    followers = [Follower(office), Follower(office)]
    clients = [office.client() for _ in range(8)]
    for number in range(50):
        for index, client in enumerate(clients):
            client.send(message("SaveAlerts", {"alerts": [jam(f"{index} {number}")]}))
    for client in clients:
        for _ in range(50):
            assert client.receive() == {"parameters": {}}
    first, second = (follower.events(400) for follower in followers)
    assert first == second
    names = [event["alert"]["identifier"].split() for event in first]
    for index in range(8):
        assert [int(number) for who, number in names if who == str(index)] == list(range(50))
    numbers = [event["sequence"] for event in first]
    assert numbers == list(range(numbers[0], numbers[0] + 400))


# --- Followers that misbehave, or go ---

def test_who_does_not_read_loses_events_and_holds_up_nobody(office):
    lazy, busy = Follower(office), Follower(office)
    large = {"text": "x" * 10_000}
    names = [f"jam {number}" for number in range(600)]
    told = []
    for start in range(0, 600, 20):
        office.save(*(jam(name, attributes=large) for name in names[start:start + 20]))
        while len(told) < start + 20:
            told += busy.piece()
    assert [event["alert"]["identifier"] for event in told] == names
    last = told[-1]["sequence"]

    late = lazy.piece()
    while late[-1]["kind"] != "lost":
        late += lazy.piece()
    (lost,) = [event for event in late if event["kind"] == "lost"]
    assert set(lost) == {"sequence", "kind"}
    assert late[-2]["sequence"] < lost["sequence"] == last
    # What had been sent, and what was kept.
    assert [event["alert"]["identifier"] for event in late[:-1]] == names[:len(late) - 1]
    office.save(jam("next"))
    (event,) = lazy.events(1)
    assert event["alert"]["identifier"] == "next"
    assert event["sequence"] == last + 1


def test_little_is_kept_for_those_who_do_not_read(system):
    system.start(ASAN_OPTIONS=SANITIZER)
    followers = [Follower(system) for _ in range(20)]
    client = system.client()

    def save(attributes):
        client.call("SaveAlerts", alerts=[jam(f"jam {number}", attributes=attributes)
                                          for number in range(100)])

    for _ in range(20):
        save({})
    before = system.daemon.memory("VmRSS")
    for _ in range(100):
        save({"text": "x" * 1000})
    grown = system.daemon.memory("VmRSS") - before
    # What is in their sockets is not the daemon's memory.
    assert grown < len(followers) * MOST_KEPT


def test_a_change_larger_than_what_is_kept_is_lost(office):
    follower = Follower(office)
    office.save(jam("huge", attributes={"text": "x" * (2 << 20)}))
    (event,) = follower.events(1)
    assert event["kind"] == "lost"
    office.save(jam("next"))
    assert follower.told(1) == [("added", "next")]


@pytest.mark.parametrize("leave", [lambda client: client.close(),
                                   lambda client: client.socket.shutdown(1)],
                         ids=["gone", "silent"])
@pytest.mark.parametrize("pipelined", [b"", message("GetAlertBundleNames")],
                         ids=["quiet", "pipelined"])
def test_hanging_up_frees_the_descriptor(office, leave, pipelined):
    office.client().call("GetAlertBundleNames")
    office.close_clients()
    # The connection that was closed may be counted still.
    idle = len(office.daemon.descriptors())
    followers = [Follower(office) for _ in range(20)]
    assert len(office.daemon.descriptors()) >= idle + 19
    for follower in followers:
        follower.client.send(pipelined)
        leave(follower.client)
    wait_for(lambda: len(office.daemon.descriptors()) <= idle, "the descriptors")


def test_a_stop_ends_the_streams(office):
    followers = [Follower(office) for _ in range(3)]
    before = time.monotonic()
    office.daemon.process.terminate()
    assert all(follower.client.is_hung_up() for follower in followers)
    assert office.daemon.process.wait() == 0
    assert time.monotonic() - before < 0.9, "nobody is waited for"
    office.daemon = None


# --- The state ---

def test_the_counts_are_those_of_the_last_commit(office):
    office.save(jam("a"), jam("b", readDate=1.0), jam("c", resolvedDate=1.0))
    assert status_of(office)["counts"] == {"alerts": 3, "unread": 2, "unresolved": 2}
    client = office.client()

    def check(method, **parameters):
        client.call(method, **parameters)
        assert status_of(office)["counts"] == other_counts(office), method

    check("SaveAlerts", alerts=[jam(f"jam {number}") for number in range(2000)])
    check("SaveAlerts", alerts=[jam("r", readDate=2.0, resolvedDate=2.0)])
    check("MarkAlertAsReadWithAlertId", alertId="a")
    check("MarkAlertAsReadWithAlertId", alertId="a")
    check("MarkAlertAsResolvedWithAlertId", alertId="a")
    check("PerformRecoveryAction", action="Dry", alertId="b")
    check("DeleteAlertsWithIds", alertIds=["a", "jam 1"])
    check("DeleteAlertsBeforeDate", date=2.0)
    assert status_of(office)["counts"] == {"alerts": 0, "unread": 0, "unresolved": 0}


def test_the_counts_are_right_whenever_they_are_asked_for_first(office):
    """The first question comes amid saves, deletions and marks of others."""
    clients = [office.client() for _ in range(4)]
    for number in range(60):
        for index, client in enumerate(clients):
            name = f"{index} {number}"
            client.send(message("SaveAlerts", {"alerts": [jam(name)]}))
            if number % 2:
                client.send(message("MarkAlertAsReadWithAlertId", {"alertId": name}))
            if number % 3:
                client.send(message("DeleteAlertsWithIds", {"alertIds": [name]}))
    status_of(office)
    for client in clients:
        client.send(message(f"{SERVICE}.GetInfo"))
        while "interfaces" not in client.receive().get("parameters", {}):
            pass
    assert status_of(office)["counts"] == other_counts(office)


def test_the_state_tells_of_the_service_and_its_store(office):
    office.save(jam("a"))
    client = office.client()
    first = client.call(f"{MONITOR}.GetStatus")["status"]
    assert set(first) == {"version", "startDate", "counts", "store", "channels", "connections",
                          "calls", "served"}
    assert first["version"] == client.call(f"{SERVICE}.GetInfo")["version"]
    assert abs(first["startDate"] + 978307200 - time.time()) < 600
    store = first["store"]
    assert store["usable"] is True and "problem" not in store
    assert store["path"] == str(office.store_file)
    assert store["size"] == office.store_file.stat().st_size
    assert store["logSize"] == office.store_file.with_name("alertData.db-wal").stat().st_size
    assert store["freeSize"] == 0
    assert first["calls"] == 1
    office.save(jam("b"))
    second = client.call(f"{MONITOR}.GetStatus")["status"]
    assert second["store"]["saves"] == store["saves"] + 1
    assert second["store"]["failedSaves"] == 0
    assert second["served"] == first["served"] + 3
    assert second["connections"] == 3


def test_the_state_tells_what_has_become_of_deliveries(office):
    assert [channel for channel in status_of(office)["channels"]] == [
        {"name": name, "delivered": 0, "failed": 0, "pending": 0} for name in ("mail", "push")]
    client = office.client()
    client.call("AddMailRecipients", recipients=["ann@example.org"])
    alert = {"bundle": "Printer", "type": "Jam"}
    assert client.call("PostAlert", alert=alert) == {}
    office.mail.install_shell("exit 3")
    client.call("PostAlert", alert=alert)
    client.call("AddPushRecipients", recipients=[{"guid": "g", "token": "AAEC", "locale": "en"}])
    client.call("PostAlert", alert=alert)
    mail, push = status_of(office)["channels"]
    assert (mail["delivered"], mail["failed"], mail["pending"]) == (1, 2, 0)
    assert mail["lastError"] == "the mail program ended with status 3"
    assert mail["lastFailure"] > status_of(office)["startDate"]
    assert (push["delivered"], push["failed"], push["pending"]) == (0, 1, 0)
    assert push["lastError"]


def test_a_delivery_under_way_is_pending(gated):
    system, poster, gate = gated
    mail, _ = status_of(system)["channels"]
    assert mail == {"name": "mail", "delivered": 0, "failed": 0, "pending": 1}
    assert status_of(system)["calls"] == 2
    gate.open()
    assert poster.receive() == {"parameters": {}}
    mail, _ = status_of(system)["channels"]
    assert mail == {"name": "mail", "delivered": 1, "failed": 0, "pending": 0}


def test_the_state_says_why_there_is_no_store(system):
    system.store_directory.mkdir()
    system.store_file.write_text("something else\n" * 1000)
    system.start()
    status = status_of(system)
    assert status["store"]["usable"] is False
    assert str(system.store_file) in status["store"]["problem"]
    assert status["counts"] == {"alerts": 0, "unread": 0, "unresolved": 0}
    follower = Follower(system)
    assert follower.sequence == 0


def test_the_state_says_when_the_store_takes_no_more(office):
    office.store_file.rename(office.store_file.with_name("away"))
    with pytest.raises(AssertionError):
        assert office.save(jam("a")) == {}
    store = status_of(office)["store"]
    assert store["usable"] is False and "renamed or deleted" in store["problem"]
    assert store["failedSaves"] == 1
    office.store_file.with_name("away").rename(office.store_file)
    assert office.save(jam("a")) == {}
    assert status_of(office)["store"]["usable"] is True


def test_the_other_interface_is_as_it_was(client):
    with pytest.raises(CallFailed):
        client.call(f"{INTERFACE}.Follow")
