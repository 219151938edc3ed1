# SPDX-License-Identifier: Apache-2.0
"""Saving alerts as they are, and listing them."""

import pytest
from velto.values import NO_ALERTS_TO_SAVE

pytestmark = pytest.mark.needs_root


@pytest.fixture
def bundle(request):
    """A bundle name that no other test uses; saving does not ask whether there is one."""
    return request.node.name


def listed(client, bundle):
    return client.call("GetAlertsOfBundle", bundle=bundle)["alerts"]


def test_an_empty_list_is_saved(client):
    assert client.call("SaveAlerts", alerts=[]) == {}


@pytest.mark.parametrize("parameters", [{}, {"alerts": None}])
def test_no_list_is_an_error(client, parameters):
    assert client.call("SaveAlerts", **parameters) == {"error": NO_ALERTS_TO_SAVE}


def test_nothing_is_filled_in(client, bundle):
    assert client.call("SaveAlerts", alerts=[{"bundle": bundle}]) == {}
    assert listed(client, bundle) == [{"bundle": bundle}]


def test_an_alert_may_lack_everything(system):
    system.start()
    client = system.client()
    assert client.call("SaveAlerts", alerts=[{}, dict.fromkeys(
        ("identifier", "type", "bundle", "creationDate", "sentDate", "readDate", "resolvedDate",
         "attributes"))]) == {}
    assert client.call("GetAlertsOfBundle") == {"alerts": [{}, {}]}
    assert client.call("GetAlertsOfType", type=None) == {"alerts": [{}, {}]}
    assert client.call("GetLastAlertOfBundle", bundle=None) == {"alert": {}}
    assert client.call("GetAlertsOfBundle", bundle="") == {"alerts": []}


def test_empty_texts_stay_different_from_none(client, bundle):
    alert = {"bundle": bundle, "identifier": "", "type": ""}
    client.call("SaveAlerts", alerts=[alert])
    assert listed(client, bundle) == [alert]


def test_everything_is_kept(client, bundle):
    alert = {"bundle": bundle, "identifier": "i\u0000\n\"\\/\u2028\U0001f600", "type": "tÿpe",
             "creationDate": 1.5, "sentDate": 2.5, "readDate": 3.5, "resolvedDate": 4.5,
             "attributes": {"": ""}}
    client.call("SaveAlerts", alerts=[alert])
    assert listed(client, bundle) == [alert]


@pytest.mark.parametrize("date", [
    0.0, -0.5, 1e-7, 123456789.123456, 700000000.1234567, -63114076800.0, 63113904000.000004,
    1.7976931348623157e308, 5e-324, 0.1 + 0.2, 4503599627370497.5])
def test_dates_are_kept_exactly(client, request, date):
    bundle = request.node.name
    alert = {"bundle": bundle, "creationDate": date, "sentDate": date, "readDate": date,
             "resolvedDate": date}
    client.call("SaveAlerts", alerts=[alert])
    assert listed(client, bundle) == [alert]


def test_a_whole_number_is_a_date(client, bundle):
    client.call("SaveAlerts", alerts=[{"bundle": bundle, "sentDate": 7}])
    assert listed(client, bundle) == [{"bundle": bundle, "sentDate": 7.0}]


def test_the_newest_comes_first_and_those_never_sent_last(client, bundle):
    client.call("SaveAlerts", alerts=[
        {"bundle": bundle, "identifier": name, **({} if sent is None else {"sentDate": sent})}
        for name, sent in (("b", 2.0), ("none", None), ("d", 4.0), ("a", -1.0), ("c", 3.5))])
    assert [alert["identifier"] for alert in listed(client, bundle)] == ["d", "c", "b", "a", "none"]
    last = client.call("GetLastAlertOfBundle", bundle=bundle)
    assert last["alert"]["identifier"] == "d"


def test_alerts_of_a_type_come_from_all_bundles(client, bundle):
    client.call("SaveAlerts", alerts=[
        {"bundle": name, "type": bundle, "sentDate": sent}
        for name, sent in (("one", 1.0), ("two", 3.0), ("one", 2.0))]
        + [{"bundle": "one", "type": bundle + "?", "sentDate": 9.0}])
    alerts = client.call("GetAlertsOfType", type=bundle)["alerts"]
    assert [(alert["bundle"], alert["sentDate"]) for alert in alerts] == [
        ("two", 3.0), ("one", 2.0), ("one", 1.0)]
    assert client.call("GetLastAlertOfType", type=bundle) == {
        "alert": {"bundle": "two", "type": bundle, "sentDate": 3.0}}


def test_names_are_matched_exactly(client, bundle):
    client.call("SaveAlerts", alerts=[{"bundle": bundle}])
    for other in (bundle.upper(), bundle + " ", bundle[:-1], bundle.replace("_", "%"), ""):
        assert listed(client, other) == []


def test_nothing_found_is_no_error(client):
    assert client.call("GetAlertsOfType", type="?") == {"alerts": []}
    assert client.call("GetAlertsOfBundle", bundle="?") == {"alerts": []}
    assert client.call("GetLastAlertOfType", type="?") == {}
    assert client.call("GetLastAlertOfBundle", bundle="?") == {}


def test_an_identifier_may_stand_twice(client, bundle):
    alert = {"bundle": bundle, "identifier": "same"}
    client.call("SaveAlerts", alerts=[alert, alert])
    assert listed(client, bundle) == [alert, alert]


def test_arrays_within_the_list_are_passed_over(client, bundle):
    assert client.call("SaveAlerts", alerts=[
        [{"bundle": bundle, "type": "in"}], {"bundle": bundle, "type": "out"}, [], [[[]]]]) == {}
    assert listed(client, bundle) == [{"bundle": bundle, "type": "out"}]


def test_saved_alerts_are_not_delivered(system):
    system.make_bundle("Printer.bundle", texts={"en": {"Jam.subject": "Jam"}})
    system.start()
    client = system.client()
    client.call("AddMailRecipients", recipients=["ann@example.org"])
    client.call("SaveAlerts", alerts=[{"bundle": "Printer", "type": "Jam"}])
    assert system.mail.mails() == []
