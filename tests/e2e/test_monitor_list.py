# SPDX-License-Identifier: Apache-2.0
"""The stored alerts as the watching interface tells them: pages, one alert, and counts."""

import itertools
import math
import random
import sqlite3

import pytest
from velto.system import System
from velto.values import MONITOR
from velto.varlink import CallFailed

pytestmark = pytest.mark.needs_root

INVALID = "org.varlink.service.InvalidParameter"
TEXTS = {
    "en": {"Jam.subject": "Paper jam on %{device}", "Jam.message": "Open the lid of %{device}.",
           "Clear.title": "Clear the jam"},
    "de": {"Jam.subject": "Papierstau an %{device}", "Jam.message": "Klappe von %{device} öffnen.",
           "Clear.title": "Stau beseitigen"}}
JAM = {"identifier": "jam", "bundle": "Printer", "type": "Jam", "sentDate": 5000.0,
       "attributes": {"device": "Größe A3", "nested": [{"deep": "Straße"}], "count": 7}}


def random_alerts():
    """In the order of their insertion; equal dates, absent dates and absent keys among them."""
    dice = random.Random(1)

    def maybe(value):
        return {} if dice.random() < 0.2 else value

    return [{"identifier": f"id-{number}",
             **maybe({"bundle": dice.choice(["Disk", "Mail", "Load"])}),
             **maybe({"type": dice.choice(["Full", "Late"])}),
             **maybe({"sentDate": float(dice.randrange(30))}),
             **dice.choice([{}, {"readDate": 1.0}]), **dice.choice([{}, {"resolvedDate": 1.0}]),
             **maybe({"attributes": {"volume": dice.choice(["/Home", "/var", "ÜBER"])}})}
            for number in range(250)]


ALERTS = random_alerts()


def holds(alert, bundle=None, type=None, unread=None, unresolved=None, text=None, **dates):
    """Whether an alert belongs into the list of these filters."""
    sent = alert.get("sentDate")
    texts = [alert["identifier"], alert.get("type", ""), alert.get("bundle", ""),
             alert.get("attributes", {}).get("volume", "")]
    return (bundle in (None, alert.get("bundle")) and type in (None, alert.get("type"))
            and unread in (None, "readDate" not in alert)
            and unresolved in (None, "resolvedDate" not in alert)
            and ("from" not in dates or sent is not None and sent > dates["from"])
            and ("to" not in dates or sent is not None and sent <= dates["to"])
            and (text is None or any(text.casefold() in each.casefold() for each in texts)))


def expected(**filters):
    """The list, from all alerts in the order of their insertion."""
    newest_first = sorted(reversed(ALERTS), key=lambda each: -each.get("sentDate", -1.0))
    return [each for each in newest_first if holds(each, **filters)]


def pages(client, **parameters):
    """All pages of a list."""
    page = client.call(f"{MONITOR}.List", **parameters)
    yield page["items"]
    while "next" in page:
        page = client.call(f"{MONITOR}.List", **parameters, after=page["next"])
        assert page["items"]
        yield page["items"]


def listed(client, **parameters):
    return [item["alert"] for page in pages(client, **parameters) for item in page]


def failure(client, method, **parameters):
    """The name of the error and its parameters."""
    with pytest.raises(CallFailed) as failed:
        client.call(f"{MONITOR}.{method}", **parameters)
    return failed.value.name, failed.value.parameters


@pytest.fixture(scope="module", name="filled")
def _filled():
    """A daemon with the random alerts."""
    system = System()
    system.start()
    system.client().call("SaveAlerts", alerts=ALERTS)
    yield system
    system.close()


@pytest.fixture(name="printer")
def _printer(system):
    """A daemon with the bundle Printer, its action and one alert of it."""
    path = system.make_bundle(
        "Printer.bundle", texts=TEXTS,
        info={"CFBundleDevelopmentRegion": "en",
              "VLAlertTypes": {"Jam": {"RecoveryOptions": ["Clear", "Gone"]}}})
    action = path / "Contents/Actions/Clear"
    action.parent.mkdir()
    action.write_text("#!/bin/sh\n[ \"$1\" = run ]\n")
    action.chmod(0o755)
    system.start()
    system.client().call("SaveAlerts", alerts=[JAM])
    return system


FILTERS = [{}, {"bundle": "Disk"}, {"type": "Late"}, {"from": 9.0}, {"to": 9.0},
           {"from": 9.0, "to": 20.0},
           {"unread": True}, {"unread": False}, {"unresolved": True}, {"unresolved": False},
           {"text": "home"}, {"text": "über"}, {"text": "ID-24"}, {"text": "nowhere"}]


@pytest.mark.parametrize("limit", [7, 1000])
def test_pages_make_up_the_list_of_every_filter(filled, limit):
    client = filled.client()
    for filters in FILTERS:
        found = listed(client, **filters, limit=limit)
        assert found == expected(**filters), filters
        assert found or filters == {"text": "nowhere"}


def test_every_filter_that_is_given_must_hold(filled):
    client = filled.client()
    for one, other in itertools.combinations(FILTERS[1:], 2):
        filters = {**one, **other}
        assert listed(client, **filters, limit=40) == expected(**filters), filters


def test_a_page_has_a_hundred_alerts_and_a_thousand_at_most(filled):
    client = filled.client()
    assert [len(page) for page in pages(client)] == [100, 100, 50]
    assert [len(page) for page in pages(client, limit=125)] == [125, 125]
    for limit in (0, -1, 1001, 2**63 - 1):
        assert failure(client, "List", limit=limit) == (INVALID, {"parameter": "limit"})


def test_a_position_is_one_of_ours_or_none(filled):
    client = filled.client()
    position = client.call(f"{MONITOR}.List", limit=3)["next"]
    for after in ("", "0", position[:-1], position + "0", position.replace(position[0], "x"),
                  "\0" * 32, "0" * 32, "ä" * 16, "7" * 100000):
        assert failure(client, "List", after=after) == (f"{MONITOR}.InvalidPosition", {})
    # It is a place in the order of all lists.
    rest = client.call(f"{MONITOR}.List", after=position, unread=True, limit=1000)["items"]
    assert [item["alert"] for item in rest] == [each for each in expected()[3:]
                                               if "readDate" not in each]


def test_what_comes_and_goes_between_pages_hides_nothing(system):
    system.start()
    client = system.client()
    alerts = [{"identifier": f"id-{number}", "bundle": "b", "type": "t",
               "sentDate": float(number // 3)} for number in range(60)]
    client.call("SaveAlerts", alerts=alerts)
    found, passing = [], 0
    after = {}
    while after is not None:
        page = client.call(f"{MONITOR}.List", limit=7, **after)
        found += [item["alert"]["identifier"] for item in page["items"]]
        after = {"after": page["next"]} if "next" in page else None
        client.call("SaveAlerts", alerts=[{"identifier": f"new-{passing}",
                                          "sentDate": float(passing)}])
        client.call("DeleteAlertsWithIds", alertIds=[found[-1], f"new-{passing - 2}"])
        passing += 1
    assert passing > 8
    assert [each for each in found if each.startswith("id-")] == [
        each["identifier"] for each in reversed(alerts)]
    assert len(set(found)) == len(found)


def test_large_alerts_make_short_pages(system):
    system.start()
    client = system.client()
    for number in range(5):
        client.call("SaveAlerts", alerts=[{"identifier": str(number), "sentDate": float(number),
                                          "attributes": {"text": "x" * 700000}}])
    assert [len(page) for page in pages(client, limit=1000)] == [2, 2, 1]


def test_subjects_come_in_the_language_asked_for(printer):
    client = printer.client()

    def item(**parameters):
        return client.call(f"{MONITOR}.List", **parameters)["items"][0]

    assert item() == {"alert": JAM}
    for locale, subject in (("de", "Papierstau an Größe A3"), ("de-AT", "Papierstau an Größe A3"),
                            ("en-GB", "Paper jam on Größe A3"), ("ja", "Paper jam on Größe A3"),
                            ("no language", "Paper jam on Größe A3")):
        assert item(locale=locale) == {"alert": JAM, "subject": subject}


def test_of_what_its_bundle_does_not_know_there_is_the_alert_alone(printer):
    client = printer.client()
    strange = [{"identifier": "1", "bundle": "Printer", "type": "Unheard", "sentDate": 3.0},
               {"identifier": "2", "bundle": "Nowhere", "type": "Jam", "sentDate": 2.0},
               {"identifier": "3"}]
    client.call("SaveAlerts", alerts=strange)
    items = client.call(f"{MONITOR}.List", locale="de")["items"]
    assert items == [{"alert": JAM, "subject": "Papierstau an Größe A3"},
                     *({"alert": each} for each in strange)]
    for each in strange:
        assert client.call(f"{MONITOR}.GetAlert", identifier=each["identifier"], locale="de") == {
            "alert": each, "actions": []}


def test_an_alert_comes_with_all_that_its_bundle_says(printer):
    client = printer.client()
    told = client.call(f"{MONITOR}.GetAlert", identifier="jam", locale="de")
    assert told == {"alert": JAM, "subject": "Papierstau an Größe A3",
                    "message": "Klappe von Größe A3 öffnen.",
                    "actions": [{"name": "Clear", "title": "Stau beseitigen"},
                                {"name": "Gone", "title": "Gone"}]}
    # Without a language, in the daemon's own.
    assert client.call(f"{MONITOR}.GetAlert", identifier="jam")["subject"] == "Paper jam on Größe A3"
    assert "error" not in client.call("PerformRecoveryAction", action="Clear", alertId="jam")
    assert client.call("PerformRecoveryAction", action="Gone", alertId="jam")["error"]
    for identifier in ("", "Jam", "x" * 100000):
        assert failure(client, "GetAlert", identifier=identifier) == (
            f"{MONITOR}.NoSuchAlert", {"identifier": identifier})


def test_code_of_a_bundle_gives_the_subjects_of_a_list(system):
    system.install_bundle("Load.bundle")
    system.start()
    client = system.client()
    alert = {"identifier": "busy", "bundle": "Load", "type": "HighLoad", "sentDate": 1.0,
             "attributes": {"load": 7.5}}
    client.call("SaveAlerts", alerts=[alert])
    assert client.call(f"{MONITOR}.List", locale="en")["items"] == [
        {"alert": alert, "subject": "7.5: The processors are overloaded"}]
    told = client.call(f"{MONITOR}.GetAlert", identifier="busy", locale="de")
    assert told["subject"] == "7,5: Die Prozessoren sind überlastet"
    assert told["actions"] == [{"name": "Recheck", "title": "Erneut prüfen"}]


def test_history_counts_by_bundle_and_step(filled):
    client = filled.client()
    for start, end, step in ((0.0, 30.0, 10.0), (2.0, 25.0, 4.0), (4.5, 5.5, 1.0),
                             (100.0, 200.0, 1.0)):
        steps = math.ceil((end - start) / step)
        counts = {}
        for alert in ALERTS:
            sent = alert.get("sentDate")
            if sent is not None and start < sent <= end:
                # The end belongs to the last step.
                number = min((sent - start) // step, steps - 1)
                key = (start + number * step, alert.get("bundle"))
                counts[key] = counts.get(key, 0) + 1
        entries = client.call(f"{MONITOR}.GetHistory",
                              **{"from": start, "to": end, "step": step})["entries"]
        assert {(each["start"], each.get("bundle")): each["count"] for each in entries} == counts
        assert len(entries) == len(counts)


def test_history_has_a_thousand_steps_at_most(filled):
    client = filled.client()

    def history(start, end, step):
        return {"from": start, "to": end, "step": step}

    assert client.call(f"{MONITOR}.GetHistory", **history(0.0, 1000.0, 1.0))["entries"]
    assert client.call(f"{MONITOR}.GetHistory", **history(30.0, 0.0, 1.0)) == {"entries": []}
    for wrong in (history(0.0, 1001.0, 1.0), history(0.0, 1.0, 0.0), history(0.0, 1.0, -1.0),
                  history(-1e300, 1e300, 1.0), history(0.0, 1.0, 1e-320)):
        assert failure(client, "GetHistory", **wrong) == (INVALID, {"parameter": "step"})


@pytest.mark.parametrize("method, parameters", [
    ("List", {}), ("List", {"limit": 0}), ("GetAlert", {"identifier": "id-1"}),
    ("GetHistory", {"from": 0.0, "to": 1.0, "step": 0.0})])
def test_only_administrators_are_told(filled, method, parameters):
    assert failure(filled.client_as(12345, 12345), method, **parameters) == (
        f"{MONITOR}.NotPermitted", {})


def test_without_a_store_there_are_no_lists(system):
    system.library.rmdir()
    system.start()
    client = system.client()
    for method, parameters in (("List", {}), ("GetAlert", {"identifier": "1"}),
                               ("GetHistory", {"from": 0.0, "to": 1.0, "step": 1.0})):
        name, told = failure(client, method, **parameters)
        assert name == "com.ulmora.velto.AlertsStore.Unavailable"
        assert told["description"]


def test_a_store_of_before_gets_the_indexes_of_the_lists(system):
    system.start()
    system.client().call("SaveAlerts", alerts=ALERTS)
    system.stop()
    with sqlite3.connect(system.store_file) as database:
        for index in ("(readDate,sentDate)", "(sentDate)+readDate", "(sentDate)+resolvedDate",
                      "(sentDate)-resolvedDate"):
            database.execute(f'DROP INDEX "ADAlert{index}"')
        database.execute('CREATE INDEX "ADAlert(readDate,sentDate)+readDate" ON ADAlert'
                         "(readDate, sentDate) WHERE readDate IS NOT NULL")
    database.close()
    system.start()
    client = system.client()
    for filters in FILTERS:
        assert listed(client, **filters) == expected(**filters), filters
