# SPDX-License-Identifier: Apache-2.0
"""The shape of parameters."""

import pytest
from velto.values import INTERFACE, METHODS, NO_ALERT_TO_POST, SERVICE
from velto.varlink import message

pytestmark = pytest.mark.needs_root

NO_STRING = [5, True, [], {}, ["text"], 0.5]
NO_DATE = ["today", "5", True, [], {}, {"$date": 5}]
# The parameters of each method, and values that they cannot have.
WRONG_TYPES = {
    ("SetAttributes", "attributes"): ["text", 5, True, [], {"a": {"$what": 1}}, {"a": [None]}],
    ("PostAlert", "alert"): ["text", 5, True, [], [{}]],
    ("SaveAlerts", "alerts"): ["text", 5, True, {}, {"0": {}}],
    ("MarkAlertAsReadWithAlertId", "alertId"): NO_STRING,
    ("MarkAlertAsResolvedWithAlertId", "alertId"): NO_STRING,
    ("PerformRecoveryAction", "action"): NO_STRING,
    ("PerformRecoveryAction", "alertId"): NO_STRING,
    ("GetAlertsFromDate", "fromDate"): NO_DATE,
    ("GetAlertsFromDate", "toDate"): NO_DATE,
    ("GetAlertsOfType", "type"): NO_STRING,
    ("GetAlertsOfBundle", "bundle"): NO_STRING,
    ("GetLastAlertOfType", "type"): NO_STRING,
    ("GetLastAlertOfBundle", "bundle"): NO_STRING,
    ("DeleteAlertsBeforeDate", "date"): NO_DATE,
    ("DeleteAlertsWithIds", "alertIds"): ["text", 5, True, {}, [5], [None], [{}], ["a", ["b", 5]]],
    ("EnableAlertBundle", "bundle"): NO_STRING,
    ("DisableAlertBundle", "bundle"): NO_STRING,
    ("SetAlertBundleSettings", "settings"): [
        "text", 5, True, [], {"Printer": None}, {"Printer": True},
        {"Printer": {"mailEnabled": 1}}, {"Printer": {"name": 5}}],
    ("SetMailRecipients", "recipients"): [
        "a", 5, True, {}, ["a@example.org"], [5], [[]], [{"address": 5}], [{"locale": []}]],
    ("AddMailRecipients", "recipients"): ["a@example.org", 5, True, {}, {"address": "a"}],
    ("SetPushRecipients", "recipients"): [
        "a", 5, True, {}, ["a"], [None], [[]], [{"guid": 5}], [{"token": "*"}], [{"enabled": 1}]],
    ("AddPushRecipients", "recipients"): [
        "a", 5, True, {}, [{"guid": 5}], [{"token": 5}], [{"token": "?"}], [{"name": []}]],
}

WRONG_ALERTS = [
    {"identifier": 5}, {"type": []}, {"bundle": {}}, {"creationDate": "today"}, {"sentDate": True},
    {"readDate": {"$date": 5}}, {"resolvedDate": []}, {"attributes": []}, {"attributes": "text"},
    {"attributes": {"a": {"$date": "today"}}}, {"attributes": {"a": {"$data": "*"}}},
    {"attributes": {"a": {"$data": 5}}}, {"attributes": {"a": {"$what": 1}}},
    {"attributes": {"a": {"$date": 1, "b": 2}}}, {"attributes": {"a": {"$dict": []}}},
    {"attributes": {"$date": 5}}, {"attributes": {"a": [None]}},
]


def invalid(path):
    return {"error": f"{SERVICE}.InvalidParameter", "parameters": {"parameter": path}}


def wrong_path(reply):
    """The path of what is wrong."""
    assert reply["error"] == f"{SERVICE}.InvalidParameter"
    return reply["parameters"]["parameter"]


@pytest.mark.parametrize("method, name, value", [
    (method, name, value) for (method, name), values in WRONG_TYPES.items() for value in values])
def test_a_parameter_of_another_type_is_invalid(client, method, name, value):
    path = wrong_path(client.exchange(method, {name: value}))
    assert path == name or path.startswith((f"{name}.", f"{name}["))


@pytest.mark.parametrize("method", METHODS)
def test_a_parameter_that_the_method_does_not_have_is_invalid(client, method):
    assert client.exchange(method, {"extra": None}) == invalid("extra")
    assert client.exchange(method, {"Alert": {}}) == invalid("Alert")


@pytest.mark.parametrize("method, parameters, path", [
    ("PostAlert", {"alert": {"type": 5}}, "alert.type"),
    ("SaveAlerts", {"alerts": [{}, {}, [{"sentDate": "now"}]]}, "alerts[2][0].sentDate"),
    ("SetAttributes", {"attributes": {"a": [0, {"b": {"$date": "x"}}]}}, "attributes.a[1].b"),
    ("AddPushRecipients", {"recipients": [5, {"token": "?"}]}, "recipients[1].token"),
    ("SetAlertBundleSettings", {"settings": {"Printer": {"mailEnabled": 1}}},
     "settings.Printer.mailEnabled"),
    ("DeleteAlertsWithIds", {"alertIds": ["a", ["b", 5]]}, "alertIds[1][1]")])
def test_what_is_wrong_is_named_by_its_path(client, method, parameters, path):
    assert client.exchange(method, parameters) == invalid(path)


@pytest.mark.parametrize("method, parameters, path", [
    ("PostAlert", {"alert": {"bundle": "Printer", "typ": "Jam"}}, "alert.typ"),
    ("SaveAlerts", {"alerts": [{"sentdate": None}]}, "alerts[0].sentdate"),
    ("SetAlertBundleSettings", {"settings": {"Printer": {"mailEnabeld": True}}},
     "settings.Printer.mailEnabeld"),
    ("SetMailRecipients", {"recipients": [{"adress": "a@example.org"}]}, "recipients[0].adress"),
    ("AddMailRecipients", {"recipients": ["a@example.org", {"age": "5"}]}, "recipients[1].age"),
    ("SetPushRecipients", {"recipients": [{"uuid": "5"}]}, "recipients[0].uuid"),
    ("AddPushRecipients", {"recipients": [{"uuid": "5"}]}, "recipients[0].uuid")])
def test_a_member_that_a_structure_does_not_have_is_invalid(client, method, parameters, path):
    assert client.exchange(method, parameters) == invalid(path)
    assert client.call("GetMailRecipients") == {"recipients": []}


@pytest.mark.parametrize("alert", WRONG_ALERTS, ids=str)
def test_a_wrong_member_makes_the_alert_invalid(client, alert):
    path = wrong_path(client.exchange("PostAlert", {"alert": alert}))
    assert path.startswith(f"alert.{next(iter(alert))}")
    assert client.exchange("SaveAlerts", {"alerts": [{}, alert]}) == \
        invalid(path.replace("alert", "alerts[1]", 1))


@pytest.mark.parametrize("elements", [
    ["text"], [5], [True], [None], [{}, "text"], [["text"]], [[[5]]], [[None]]], ids=str)
def test_a_list_of_alerts_holds_alerts_and_arrays_only(client, elements):
    assert wrong_path(client.exchange("SaveAlerts", {"alerts": elements})).startswith("alerts[")


@pytest.mark.parametrize("elements", [
    [5], [True], [None], ["a@example.org", 0.5], [[5]], [["a@example.org", [True]]],
    [{"address": 5}], [{"address": "a", "locale": True}], [{"address": "a", "age": 5}],
    [{"address": ["a"]}], [{"address": "a", "more": {"deep": 1}}], [[{"address": 5}]]], ids=str)
def test_a_list_of_recipients_holds_texts_dictionaries_and_arrays_only(client, elements):
    path = wrong_path(client.exchange("AddMailRecipients", {"recipients": elements}))
    assert path.startswith("recipients[")


def test_what_is_invalid_changes_nothing(client):
    client.exchange("SaveAlerts", {"alerts": [{"bundle": "invalid"}, 5]})
    client.exchange("SaveAlerts", {"alerts": [{"bundle": "invalid"}], "extra": 1})
    client.exchange("AddMailRecipients", {"recipients": ["invalid@example.org", 5]})
    assert client.call("GetAlertsOfBundle", bundle="invalid") == {"alerts": []}
    assert client.call("GetMailRecipients") == {"recipients": []}


def test_of_members_of_one_name_the_last_counts_also_when_one_before_is_wrong(client):
    client.send(b'{"method": "%s.PostAlert", "parameters": {"alert": 5, "alert": null}}\0' %
                INTERFACE.encode())
    assert client.receive() == {"parameters": {"error": NO_ALERT_TO_POST}}


def test_a_callers_role_does_not_matter_to_the_shape(shared):
    assert shared.client_as(12345, 12345).exchange("SaveAlerts", {"alerts": 5}) == invalid("alerts")


@pytest.mark.parametrize("parameters", [None, {}, {"alert": None}])
def test_absent_null_and_no_parameters_mean_the_same(client, parameters):
    assert client.exchange("PostAlert", parameters) == {"parameters": {"error": NO_ALERT_TO_POST}}


def test_parameters_may_be_null(client):
    client.send(message("PostAlert").replace(b"}", b', "parameters": null}'))
    assert client.receive() == {"parameters": {"error": NO_ALERT_TO_POST}}


def test_of_a_member_that_stands_twice_the_last_counts(client):
    client.send(b'{"method": "%s.GetInterfaceDescription", "parameters": '
                b'{"interface": 5, "interface": "%s"}}\0' % ((SERVICE.encode(),) * 2))
    assert "description" in client.receive()["parameters"]
