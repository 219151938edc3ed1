# SPDX-License-Identifier: Apache-2.0
"""What can be done with stored alerts: reading, resolving, recovering, deleting."""

import pytest
from velto import store
from velto.values import error, not_found

pytestmark = pytest.mark.needs_root

ALERT_NOT_FOUND = {"error": not_found("Update Alert: Alert not found.")}
ACTION = """\
#!/bin/sh
echo "$*" >>"{root}/ran"
[ "$1" = run ] || exit {state}
{script}
"""


@pytest.fixture(name="office")
def _office(system):
    """A running system with a bundle whose alerts have the recovery action Dry."""
    system.make_bundle("Printer.bundle", info={
        "VLAlertTypes": {"Jam": {"RecoveryOptions": ["Dry"]},
                         "Wet": {"RecoveryOptions": ["Dry", "Dry"]}}},
        texts={"en": {"Jam.subject": "Jam"}})
    actions = system.bundles / "Printer.bundle/Contents/Actions"
    actions.mkdir()

    def action(script="exit 0", state=1):
        path = actions / "Dry"
        path.write_text(ACTION.format(root=system.root, script=script, state=state))
        path.chmod(0o755)

    system.action = action
    action()
    system.start()
    system.save = lambda *alerts: system.client().call("SaveAlerts", alerts=list(alerts))
    return system


def jam(identifier="jam", **changes):
    return {"identifier": identifier, "bundle": "Printer", "type": "Jam", "sentDate": 1.0, **changes}


def the_alert(system, identifier="jam"):
    (alert,) = [alert for alert in
                system.client().call("GetAlertsOfBundle", bundle="Printer")["alerts"]
                if alert["identifier"] == identifier]
    return alert


@pytest.mark.parametrize("method, key", [("MarkAlertAsReadWithAlertId", "readDate"),
                                         ("MarkAlertAsResolvedWithAlertId", "resolvedDate")])
def test_marking_again_moves_the_date_forward(office, method, key):
    office.save(jam(attributes={"tray": 2}))
    client = office.client()
    assert client.call(method, alertId="jam") == {}
    first = the_alert(office)
    assert first == {**jam(attributes={"tray": 2}), key: first[key]}
    assert client.call(method, alertId="jam") == {}
    assert the_alert(office)[key] > first[key]


@pytest.mark.parametrize("method", ["MarkAlertAsReadWithAlertId", "MarkAlertAsResolvedWithAlertId"])
def test_marking_what_is_not_there_is_an_error(office, method):
    for parameters in ({"alertId": "unheard"}, {"alertId": ""}, {}):
        assert office.client().call(method, **parameters) == ALERT_NOT_FOUND


def test_a_recovery_action_resolves_its_alert(office):
    office.save(jam())
    assert office.client().call("PerformRecoveryAction", action="Dry", alertId="jam") == {}
    assert the_alert(office)["resolvedDate"] > 0
    assert (office.root / "ran").read_text() == "run en\n"


def test_a_recovery_action_that_fails_changes_nothing(office):
    office.save(jam())
    office.action("echo out of paper >&2; exit 1")
    reply = office.client().call("PerformRecoveryAction", action="Dry", alertId="jam")
    assert reply["error"]["userInfo"]["NSLocalizedDescription"].startswith("out of paper")
    assert the_alert(office) == jam()


def test_an_action_or_alert_that_is_not_there_is_an_error(office):
    office.save(jam())
    call = office.client().call
    assert call("PerformRecoveryAction", action="Dry", alertId="unheard") == {
        "error": error("VeltoFoundation", 11, "There is no alert 'unheard' to act on.")}
    assert call("PerformRecoveryAction", action="Wipe", alertId="jam")["error"]["code"] == 7
    assert call("PerformRecoveryAction", alertId="jam")["error"]["domain"] == "VeltoFoundation"
    assert the_alert(office) == jam()


def test_a_period_has_what_happened_in_it(office):
    office.save(jam("a", sentDate=10.0), jam("b", sentDate=1.0, readDate=20.0),
                jam("c", sentDate=30.0, resolvedDate=31.0), jam("d"))
    call = office.client().call

    def between(**period):
        return [alert["identifier"] for alert in call("GetAlertsFromDate", **period)["alerts"]]

    assert between(fromDate=1.0, toDate=20.0) == ["a", "b"]
    assert between(fromDate=10.0, toDate=30.0) == ["c", "b"]
    assert between(toDate=5.0) == ["d", "b"] or between(toDate=5.0) == ["b", "d"]
    assert sorted(between()) == ["a", "b", "c", "d"]


def test_what_a_period_finds_resolved_stands_at_its_end(office):
    office.save(jam("a", sentDate=10.0), jam("old", sentDate=1.0), jam("done", resolvedDate=5.0))
    office.action(state=0)
    alerts = office.client().call("GetAlertsFromDate", fromDate=9.0, toDate=11.0)["alerts"]
    assert [alert["identifier"] for alert in alerts] == ["a", "a", "old"]
    assert "resolvedDate" in alerts[0] and "resolvedDate" in alerts[2]
    assert the_alert(office, "old")["resolvedDate"] == alerts[2]["resolvedDate"]
    assert office.client().call("GetAlertsFromDate", fromDate=9.0, toDate=11.0) == {
        "alerts": [alerts[0]]}


def test_an_alert_resolved_in_the_period_is_listed_twice(office):
    office.save(jam())
    office.action(state=0)
    alerts = office.client().call("GetAlertsFromDate", fromDate=0.0)["alerts"]
    assert [alert["identifier"] for alert in alerts] == ["jam", "jam"]
    assert alerts[0] == alerts[1]


def test_every_action_that_says_so_lists_the_alert(office):
    office.save(jam(type="Wet"))
    office.action(state=0)
    alerts = office.client().call("GetAlertsFromDate", toDate=0.5)["alerts"]
    assert [alert["identifier"] for alert in alerts] == ["jam", "jam"]
    assert alerts[0]["resolvedDate"] < alerts[1]["resolvedDate"]


def test_a_period_is_listed_though_an_alert_cannot_be_asked(office):
    office.save(jam(), {"bundle": "Gone", "type": "Lost", "sentDate": 1.0})
    alerts = office.client().call("GetAlertsFromDate", fromDate=0.0)["alerts"]
    assert len(alerts) == 2
    assert sum(line.startswith("UpdateUnresolvedAlerts: ") and "Gone" in line
               for line in office.daemon.log_lines()) == 1


def test_deleting_by_date_counts(office):
    office.save(jam("a", sentDate=1.0), jam("b", sentDate=2.0), jam("c", sentDate=3.0),
                {"identifier": "never sent", "bundle": "Printer", "type": "Jam"})
    call = office.client().call
    assert call("DeleteAlertsBeforeDate", date=2.0) == {"count": 1}
    assert call("DeleteAlertsBeforeDate", date=2.0) == {"count": 0}
    assert call("DeleteAlertsBeforeDate", date=1e9) == {"count": 2}
    assert [alert["identifier"] for alert in
            call("GetAlertsOfBundle", bundle="Printer")["alerts"]] == ["never sent"]


def test_deleting_by_identifier_takes_every_record_of_it(office):
    office.save(jam("a"), jam("a"), jam("b"), jam("c"))
    call = office.client().call
    assert call("DeleteAlertsWithIds", alertIds=["a", "unheard", "c"]) == {}
    for none in ({"alertIds": ["a", "unheard"]}, {"alertIds": []}, {}):
        assert call("DeleteAlertsWithIds", **none) == {}
    assert [alert["identifier"] for alert in
            call("GetAlertsOfBundle", bundle="Printer")["alerts"]] == ["b"]


def test_the_alerts_of_unsupported_bundles_go_on_request(office):
    office.save(jam(), jam("x", bundle="Brennic"), jam("y", bundle="Tamsel"),
                jam("z", bundle="Tamsel"), jam("w", bundle="brennic"))
    call = office.client().call
    assert call("DeleteUnsupportedAlerts") == {"count": 3}
    assert call("DeleteUnsupportedAlerts") == {"count": 0}
    assert len(call("GetAlertsFromDate")["alerts"]) == 2


def refuse(system, table, event):
    """From now on the store refuses this, as a broken disk would."""
    store.execute(system.store_file, f'CREATE TRIGGER refuse_{event} BEFORE {event} ON "{table}"'
                                     " BEGIN SELECT RAISE(FAIL, 'refused'); END")


@pytest.mark.parametrize("method, parameters, expected", [
    ("MarkAlertAsReadWithAlertId", {"alertId": "jam"}, {}),
    ("MarkAlertAsResolvedWithAlertId", {"alertId": "jam"}, {}),
    ("PerformRecoveryAction", {"action": "Dry", "alertId": "jam"}, {}),
    ("DeleteAlertsBeforeDate", {"date": 5.0}, {"count": 1}),
    ("DeleteAlertsWithIds", {"alertIds": ["jam"]}, {}),
])
def test_some_changes_do_not_tell_that_they_were_not_saved(office, method, parameters, expected):
    office.save(jam())
    refuse(office, "ADAlert", "UPDATE")
    refuse(office, "ADAlert", "DELETE")
    assert office.client().call(method, **parameters) == expected
    assert the_alert(office) == jam()


@pytest.mark.parametrize("bundle, expected", [
    ("Printer", {}), ("?", {"error": not_found("Disable Alert Bundle: Bundle '?' not found.")})])
def test_a_bundles_switch_does_not_tell_either(office, bundle, expected):
    refuse(office, "ADAlertBundle", "UPDATE")
    call = office.client().call
    assert call("DisableAlertBundle", bundle=bundle) == expected
    assert call("GetAlertBundleNames") == {"names": ["Printer"]}


@pytest.mark.parametrize("method, parameters, table", [
    ("SetAttributes", {"attributes": {"a": "b"}}, "ADAttribute"),
    ("SaveAlerts", {"alerts": [{}]}, "ADAlert"),
    ("SetMailRecipients", {"recipients": [{"address": "a@x.org"}]}, "ADMailRecipient"),
    ("AddMailRecipients", {"recipients": ["a@x.org"]}, "ADMailRecipient"),
    ("SetPushRecipients", {"recipients": [{"guid": "g", "token": "AAAA"}]}, "ADPushRecipient"),
    ("AddPushRecipients", {"recipients": [{"guid": "g", "token": "AAAA"}]}, "ADPushRecipient"),
])
def test_the_others_do(office, method, parameters, table):
    refuse(office, table, "INSERT")
    failure = office.client().call(method, **parameters)["error"]
    assert failure["domain"] == "VeltoPersistence"
    assert "refused" in failure["userInfo"]["NSLocalizedDescription"]
    assert store.rows(office.store_file, table) == []


def test_bundle_settings_do(office):
    refuse(office, "ADAlertBundle", "UPDATE")
    call = office.client().call
    settings = {"Printer": {"pushEnabled": False, "mailEnabled": False}}
    assert call("SetAlertBundleSettings", settings=settings)["error"]["domain"] == \
        "VeltoPersistence"
