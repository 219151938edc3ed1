# SPDX-License-Identifier: Apache-2.0
"""Posting alerts: what is stored, and what is refused."""

import plistlib
import shutil
import time

import pytest
from velto import store
from velto.values import NO_ALERT_TO_POST

pytestmark = pytest.mark.needs_root

REFERENCE_DATE = 978307200  # 2001-01-01 in seconds since 1970


def last_alert(client, bundle="Printer"):
    return client.call("GetLastAlertOfBundle", bundle=bundle)["alert"]


def test_a_posted_alert_is_stored_with_its_sent_date(client):
    before = time.time() - REFERENCE_DATE
    assert client.call("PostAlert", alert={"bundle": "Printer", "type": "Jam"}) == {}
    after = time.time() - REFERENCE_DATE
    alert = last_alert(client)
    assert set(alert) == {"bundle", "type", "identifier", "sentDate"}
    assert (alert["bundle"], alert["type"]) == ("Printer", "Jam")
    assert before - 1 <= alert["sentDate"] <= after + 1


@pytest.mark.parametrize("identifier", [None, ""])
def test_a_missing_identifier_is_made_of_type_and_sent_time(client, identifier):
    client.call("PostAlert", alert={"bundle": "Printer", "type": "Jam", "identifier": identifier})
    alert = last_alert(client)
    assert alert["identifier"] == f"Jam:{int(alert['sentDate'] * 1000000.0):x}"


def test_an_identifier_of_the_callers_choice_is_kept_also_a_second_time(client):
    posted = {"bundle": "Printer", "type": "Jam", "identifier": "chosen"}
    assert client.call("PostAlert", alert=posted) == {}
    assert client.call("PostAlert", alert=posted) == {}
    stored = client.call("GetAlertsOfBundle", bundle="Printer")["alerts"]
    assert [alert["identifier"] for alert in stored].count("chosen") == 2


def test_other_dates_are_kept_and_the_sent_date_is_replaced(client):
    client.call("PostAlert", alert={"bundle": "Printer", "type": "Jam", "creationDate": 5.25,
                                    "readDate": -1.0, "resolvedDate": 7.5, "sentDate": 1.0})
    alert = last_alert(client)
    assert (alert["creationDate"], alert["readDate"], alert["resolvedDate"]) == (5.25, -1.0, 7.5)
    assert alert["sentDate"] > 1.0


@pytest.mark.parametrize("parameters", [{}, {"alert": None}])
def test_no_alert_is_an_error(client, parameters):
    assert client.call("PostAlert", **parameters) == {"error": NO_ALERT_TO_POST}


@pytest.mark.parametrize("alert, domain, code, description", [
    ({"bundle": "Scanner", "type": "Jam"}, "VeltoAlertsStore", 100,
     "Get Alert Bundle: Bundle 'Scanner' not found."),
    ({"bundle": "printer", "type": "Jam"}, "VeltoAlertsStore", 100,
     "Get Alert Bundle: Bundle 'printer' not found."),
    ({"type": "Jam"}, "VeltoAlertsStore", 100, "Get Alert Bundle: Bundle '(null)' not found."),
    ({"bundle": "Printer", "type": "Fire"}, "VeltoFoundation", 4, "'Fire'"),
    ({"bundle": "Printer", "type": ""}, "VeltoFoundation", 4, "''"),
    ({"bundle": "Printer"}, "VeltoFoundation", 2, "'Printer'"),
    ({"bundle": "Gone", "type": "Jam"}, "VeltoFoundation", 3, "'Gone'"),
])
def test_an_alert_that_no_bundle_knows_is_refused_and_not_stored(system, alert, domain, code,
                                                                 description):
    system.make_bundle("Printer.bundle", texts={"en": {"Jam.subject": "Jam"}})
    gone = system.make_bundle("Gone.bundle", texts={"en": {"Jam.subject": "Jam"}})
    system.start()
    shutil.rmtree(gone)
    failure = system.client().call("PostAlert", alert=alert)["error"]
    assert (failure["domain"], failure["code"]) == (domain, code)
    assert set(failure["userInfo"]) == {"NSLocalizedDescription"}
    assert description in failure["userInfo"]["NSLocalizedDescription"]
    system.stop()
    assert store.rows(system.store_file, "ADAlert") == []


def test_the_attributes_stand_in_the_file_as_a_binary_property_list(system):
    system.make_bundle("Printer.bundle", texts={"en": {"Jam.subject": "Jam"}})
    system.start()
    posted = {"text": "été", "count": 3, "share": 0.5, "on": True, "at": {"$date": 86400.0},
              "bytes": {"$data": "AP8="}, "list": [1, ["two"]], "map": {"k": {"n": -7}}}
    system.client().call("PostAlert", alert={"bundle": "Printer", "type": "Jam",
                                             "attributes": posted})
    system.stop()
    (row,) = store.rows(system.store_file, "ADAlert")
    assert row["attributes"].startswith(b"bplist00")
    stored = plistlib.loads(row["attributes"])
    at = stored.pop("at")
    assert (at.year, at.month, at.day, at.hour) == (2001, 1, 2, 0)
    assert stored == {"text": "été", "count": 3, "share": 0.5, "on": True, "bytes": b"\x00\xff",
                      "list": [1, ["two"]], "map": {"k": {"n": -7}}}
    assert row["identifier"] == f"Jam:{int(row['sentDate'] * 1000000.0):x}"


def switched(system, push, mail):
    """Starts the daemon with the delivery switches of the bundle Printer set, which the store
    keeps."""
    system.make_bundle("Printer.bundle", texts={"en": {"Jam.subject": "Jam"}})
    system.start()
    assert system.client().call("AddMailRecipients", recipients=["ann@example.org"]) == {}
    system.stop()
    store.execute(system.store_file, "UPDATE ADAlertBundle SET pushEnabled = ?, mailEnabled = ?",
                  push, mail)
    system.start()
    return system.client()


def test_an_alert_of_a_bundle_with_both_channels_off_is_accepted_and_dropped(system):
    client = switched(system, push=0, mail=0)
    assert client.call("PostAlert", alert={"bundle": "Printer", "type": "Jam"}) == {}
    assert client.call("GetAlertsOfBundle", bundle="Printer") == {"alerts": []}
    assert system.mail.mails() == []


def test_an_unknown_type_is_refused_also_with_both_channels_off(system):
    client = switched(system, push=0, mail=0)
    reply = client.call("PostAlert", alert={"bundle": "Printer", "type": "Fire"})
    assert reply["error"]["domain"] == "VeltoFoundation"


def test_without_mail_the_alert_is_stored_and_not_mailed(system):
    client = switched(system, push=1, mail=0)
    assert client.call("PostAlert", alert={"bundle": "Printer", "type": "Jam"}) == {}
    assert len(client.call("GetAlertsOfBundle", bundle="Printer")["alerts"]) == 1
    assert system.mail.mails() == []


def test_without_push_the_alert_is_mailed(system):
    client = switched(system, push=0, mail=1)
    assert client.call("PostAlert", alert={"bundle": "Printer", "type": "Jam"}) == {}
    assert len(client.call("GetAlertsOfBundle", bundle="Printer")["alerts"]) == 1
    assert len(system.mail.mails()) == 1
