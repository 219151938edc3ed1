"""Who may do what."""

import pytest
from velto.values import (INSUFFICIENT_ENTITLEMENTS, INSUFFICIENT_PRIVILEGES, NO_ALERT_TO_POST,
                          SERVED)

pytestmark = pytest.mark.needs_root

PLAIN = 12345
WARNING = "Connection attempt with insufficient privileges"
ALERT = {"bundle": "Old", "type": "Old", "sentDate": 1.0}

# A call of every served method that changes nothing, and its reply to somebody who may.
CALLS = {
    "PostAlert": ({}, {"error": NO_ALERT_TO_POST}),
    "SaveAlerts": ({"alerts": []}, {}),
    "GetAlertsOfType": ({"type": "Old"}, {"alerts": [ALERT]}),
    "GetAlertsOfBundle": ({"bundle": "Old"}, {"alerts": [ALERT]}),
    "GetLastAlertOfType": ({"type": "Old"}, {"alert": ALERT}),
    "GetLastAlertOfBundle": ({"bundle": "Old"}, {"alert": ALERT}),
    "GetAlertBundleNames": ({}, {"names": ["Printer"]}),
    "GetMailRecipients": ({}, {"recipients": []}),
    "AddMailRecipients": ({"recipients": []}, {}),
}
FOR_ROOT = {"SaveAlerts", "GetMailRecipients", "AddMailRecipients"}


@pytest.fixture(scope="module", autouse=True)
def _stored(_printer):
    _printer.client().call("SaveAlerts", alerts=[ALERT])


def expected(method, role):
    """The whole reply to a caller in this role."""
    if role == "root" or method == "GetAlertBundleNames":
        return CALLS[method][1]
    if role == "privileged" and method not in FOR_ROOT:
        return CALLS[method][1]
    if method == "PostAlert":
        return {"error": INSUFFICIENT_ENTITLEMENTS}
    return {"error": INSUFFICIENT_PRIVILEGES}


def test_every_served_method_is_tried():
    assert set(CALLS) == set(SERVED)


@pytest.mark.parametrize("method", CALLS)
@pytest.mark.parametrize("uid, gid, role", [
    (0, 0, "root"), (0, PLAIN, "root"), (PLAIN, 0, "root"), (214, 0, "root"),
    (214, 214, "privileged"), (214, PLAIN, "privileged"),
    (PLAIN, PLAIN, "none"), (PLAIN, 214, "none"),
])
def test_the_callers_ids_decide(shared, uid, gid, role, method):
    caller = shared.client_as(uid, gid)
    assert caller.exchange(method, CALLS[method][0]) == {"parameters": expected(method, role)}


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
    assert "plain" not in [alert["identifier"] for alert in stored]


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
