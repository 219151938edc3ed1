# SPDX-License-Identifier: Apache-2.0
"""Who may do what."""

import pytest
from velto.values import (INSUFFICIENT_ENTITLEMENTS, INSUFFICIENT_PRIVILEGES, METHODS,
                          NO_ALERT_TO_POST, error, not_found)

pytestmark = pytest.mark.needs_root

PLAIN, ENTITLED = 12345, 23456
WARNING = "Connection attempt with insufficient privileges"
ALERT = {"bundle": "Old", "type": "Old", "sentDate": 1.0}
OWN = {"bundle": "Printer", "type": "Jam", "sentDate": 2.0}

# A call of every method that changes nothing, and its reply to somebody who may.
CALLS = {
    "GetAttributes": ({}, {"attributes": {}}),
    "SetAttributes": ({"attributes": {}}, {}),
    "PostAlert": ({}, {"error": NO_ALERT_TO_POST}),
    "SaveAlerts": ({"alerts": []}, {}),
    "MarkAlertAsReadWithAlertId": (
        {"alertId": "?"}, {"error": not_found("Update Alert: Alert not found.")}),
    "MarkAlertAsResolvedWithAlertId": (
        {"alertId": "?"}, {"error": not_found("Update Alert: Alert not found.")}),
    "PerformRecoveryAction": ({"action": "Dry", "alertId": "?"}, {
        "error": error("VeltoFoundation", 11, "There is no alert '?' to act on.")}),
    "GetAlertsFromDate": ({"fromDate": 0.0, "toDate": 1.5}, {"alerts": [ALERT]}),
    "GetAlertsOfType": ({"type": "Old"}, {"alerts": [ALERT]}),
    "GetAlertsOfBundle": ({"bundle": "Old"}, {"alerts": [ALERT]}),
    "GetLastAlertOfType": ({"type": "Old"}, {"alert": ALERT}),
    "GetLastAlertOfBundle": ({"bundle": "Old"}, {"alert": ALERT}),
    "DeleteAlertsBeforeDate": ({"date": 0.0}, {"count": 0}),
    "DeleteAlertsWithIds": ({"alertIds": ["?"]}, {}),
    "DeleteUnsupportedAlerts": ({}, {"count": 0}),
    "EnableAlertBundle": ({"bundle": "?"}, {
        "error": not_found("Enable Alert Bundle: Bundle '?' not found.")}),
    "DisableAlertBundle": ({"bundle": "?"}, {
        "error": not_found("Disable Alert Bundle: Bundle '?' not found.")}),
    "GetAlertBundleNames": ({}, {"names": ["Printer"]}),
    "GetAlertBundleSettings": ({}, {"settings": {
        "Printer": {"name": "Printer", "pushEnabled": True, "mailEnabled": True}}}),
    "SetAlertBundleSettings": ({"settings": {}}, {}),
    "GetMailRecipients": ({}, {"recipients": []}),
    "SetMailRecipients": ({"recipients": []}, {}),
    "AddMailRecipients": ({"recipients": []}, {}),
    "GetPushRecipients": ({}, {"recipients": []}),
    "SetPushRecipients": ({"recipients": []}, {}),
    "AddPushRecipients": ({"recipients": []}, {}),
}
FOR_ALL = {"GetAlertBundleNames"}
RESTRICTED = {"PostAlert", "GetAlertsOfType", "GetAlertsOfBundle", "GetLastAlertOfType",
              "GetLastAlertOfBundle"}


@pytest.fixture(scope="module", autouse=True)
def _stored(_printer):
    _printer.client().call("SaveAlerts", alerts=[ALERT])


@pytest.fixture(scope="module", autouse=True)
def _rule(_printer):
    """Entitles a user to the bundle Printer."""
    rule = _printer.root / "etc/velto/entitlements.d/printer.plist"
    rule.parent.mkdir(parents=True)
    rule.write_text(f"{{ User = {ENTITLED}; Entitlements = {{"
                    ' "com.ulmora.velto.alert-bundles" = (Printer); }; }')
    rule.chmod(0o600)


def denial(method):
    if method == "PostAlert":
        return {"error": INSUFFICIENT_ENTITLEMENTS}
    if method == "DeleteUnsupportedAlerts":
        return {"count": 0, "error": INSUFFICIENT_PRIVILEGES}
    return {"error": INSUFFICIENT_PRIVILEGES}


def expected(method, role):
    """The whole reply to a caller in this role."""
    admitted = role == "root" or method in FOR_ALL or (
        role == "privileged" and method in RESTRICTED)
    return CALLS[method][1] if admitted else denial(method)


def test_every_method_is_tried():
    assert tuple(CALLS) == METHODS


@pytest.mark.parametrize("method", CALLS)
@pytest.mark.parametrize("uid, gid, role", [
    (0, 0, "root"), (0, PLAIN, "root"), (PLAIN, 0, "root"), (214, 0, "root"),
    (214, 214, "privileged"), (214, PLAIN, "privileged"), (ENTITLED, PLAIN, "entitled"),
    (PLAIN, PLAIN, "none"), (PLAIN, 214, "none"),
])
def test_the_callers_ids_decide(shared, uid, gid, role, method):
    caller = shared.client_as(uid, gid)
    assert caller.exchange(method, CALLS[method][0]) == {"parameters": expected(method, role)}


@pytest.mark.parametrize("method, parameters, name", [
    ("GetAlertsOfType", {"type": "Jam"}, "alerts"),
    ("GetAlertsOfBundle", {"bundle": "Printer"}, "alerts"),
    ("GetLastAlertOfType", {"type": "Jam"}, "alert"),
    ("GetLastAlertOfBundle", {"bundle": "Printer"}, "alert"),
])
def test_an_entitled_caller_sees_the_alerts_of_its_bundle(shared, client, method, parameters, name):
    assert client.call("SaveAlerts", alerts=[{**OWN, "identifier": "own"}]) == {}
    found = shared.client_as(ENTITLED, PLAIN).call(method, **parameters)
    assert found == client.call(method, **parameters)
    assert found[name]


def test_a_type_without_alerts_is_an_empty_list_to_an_entitled_caller(shared):
    caller = shared.client_as(ENTITLED, PLAIN)
    assert caller.call("GetAlertsOfType", type="Unheard") == {"alerts": []}
    assert caller.call("GetLastAlertOfType", type="Unheard") == {}


def test_the_newest_alert_of_a_type_decides_for_all(shared, client):
    mixed = [{"bundle": "Printer", "type": "Mixed", "sentDate": 1.0},
             {"bundle": "Other", "type": "Mixed", "sentDate": 2.0}]
    client.call("SaveAlerts", alerts=mixed)
    caller = shared.client_as(ENTITLED, PLAIN)
    denied = {"error": INSUFFICIENT_PRIVILEGES}
    assert caller.call("GetAlertsOfType", type="Mixed") == denied
    assert caller.call("GetLastAlertOfType", type="Mixed") == denied
    client.call("SaveAlerts", alerts=[{"bundle": "Printer", "type": "Mixed", "sentDate": 3.0}])
    assert len(caller.call("GetAlertsOfType", type="Mixed")["alerts"]) == 3
    assert caller.call("GetLastAlertOfType", type="Mixed")["alert"]["sentDate"] == 3.0


@pytest.mark.parametrize("uid", [27, 83, 84, 94, 214, 220, 235])
def test_the_trusted_accounts_may_query(shared, uid):
    assert shared.client_as(uid, PLAIN).call("GetAlertsOfType", type="Old") == {"alerts": [ALERT]}


@pytest.mark.parametrize("uid", [1, 26, 28, 82, 95, 213, 236, 65534, 2**32 - 2])
def test_other_accounts_may_not(shared, uid):
    assert shared.client_as(uid, PLAIN).call("GetAlertsOfType", type="Old") == {
        "error": INSUFFICIENT_PRIVILEGES}


def test_a_trusted_account_may_post(shared):
    caller = shared.client_as(214, PLAIN)
    assert caller.call("PostAlert", alert={"bundle": "Printer", "type": "Jam",
                                           "identifier": "trusted"}) == {}
    assert caller.call("GetLastAlertOfBundle", bundle="Printer")["alert"]["identifier"] == "trusted"


@pytest.mark.parametrize("parameters", [
    {}, {"alert": {"bundle": "Printer", "type": "Jam", "identifier": "plain"}},
    {"alert": {"bundle": "?", "type": "?"}}, {"alert": {}}])
def test_a_plain_caller_may_not_post(shared, client, parameters):
    caller = shared.client_as(PLAIN, PLAIN)
    assert caller.call("PostAlert", **parameters) == {"error": INSUFFICIENT_ENTITLEMENTS}
    stored = client.call("GetAlertsOfBundle", bundle="Printer")["alerts"]
    assert "plain" not in [alert.get("identifier") for alert in stored]


def test_what_is_denied_changes_nothing(shared, client):
    for uid in (PLAIN, 214):
        caller = shared.client_as(uid, uid)
        caller.call("SaveAlerts", alerts=[{"bundle": "denied"}])
        caller.call("AddMailRecipients", recipients=["denied@example.org"])
    assert client.call("GetAlertsOfBundle", bundle="denied") == {"alerts": []}
    assert client.call("GetMailRecipients") == {"recipients": []}


def test_a_denied_caller_stays_connected(shared):
    caller = shared.client_as(PLAIN, PLAIN)
    for _ in range(3):
        assert caller.call("GetMailRecipients") == {"error": INSUFFICIENT_PRIVILEGES}
    assert caller.call("GetAlertBundleNames") == {"names": ["Printer"]}


def test_a_denied_list_is_denied_in_one_piece(shared):
    assert shared.client_as(PLAIN, PLAIN).pieces("GetAlertsOfType", type="Old") == [
        {"parameters": {"error": INSUFFICIENT_PRIVILEGES}}]


def test_a_plain_caller_is_logged_once_a_connection(shared):
    def warnings():
        return shared.daemon.log_lines().count(WARNING)

    before = warnings()
    for connections in range(1, 4):
        caller = shared.client_as(PLAIN, PLAIN)
        for method, (parameters, _) in CALLS.items():
            caller.exchange(method, parameters)
        assert warnings() == before + connections


@pytest.mark.parametrize("uid, gid", [(0, PLAIN), (PLAIN, 0), (214, PLAIN)])
def test_callers_with_rights_are_not_logged(shared, uid, gid):
    before = shared.daemon.log()
    shared.client_as(uid, gid).call("GetAlertBundleNames")
    assert shared.daemon.log() == before
