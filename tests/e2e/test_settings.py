# SPDX-License-Identifier: Apache-2.0
"""The global attributes, and the switches of bundles."""

import pytest
from velto.values import not_found

pytestmark = pytest.mark.needs_root


@pytest.fixture(name="call")
def _call(system):
    """Calls a daemon with the bundles Fax and Printer."""
    for name in ("Fax", "Printer"):
        system.make_bundle(f"{name}.bundle", texts={"en": {"Jam.subject": "Jam"}})
    system.start()
    return system.client().call


def test_attributes_are_merged(call):
    assert call("GetAttributes") == {"attributes": {}}
    assert call("SetAttributes", attributes={"site": "Bern", "floor": 3, "open": True}) == {}
    assert call("GetAttributes") == {
        "attributes": {"site": "Bern", "floor": "3", "open": "1"}}
    assert call("SetAttributes", attributes={"floor": None, "site": "Basel", "new": ""}) == {}
    assert call("GetAttributes") == {"attributes": {"site": "Basel", "open": "1", "new": ""}}


def test_an_attribute_goes_with_an_absent_value_however_it_is_written(call):
    call("SetAttributes", attributes={"a": "1", "b": "2"})
    assert call("SetAttributes", attributes={"a": {"$absent": True}, "b": None}) == {}
    assert call("GetAttributes") == {"attributes": {}}


@pytest.mark.parametrize("value", [[1], {"a": 1}, {"$date": 1.0}, {"$data": "AAAA"}])
def test_an_attribute_without_a_text_form_sets_nothing(call, value):
    failure = call("SetAttributes", attributes={"good": "1", "odd": value})["error"]
    assert failure["domain"] == "VeltoAlertsStore"
    assert "odd" in failure["userInfo"]["NSLocalizedDescription"]
    assert call("GetAttributes") == {"attributes": {}}


def test_a_disabled_bundle_is_in_no_list(call):
    assert sorted(call("GetAlertBundleNames")["names"]) == ["Fax", "Printer"]
    assert call("DisableAlertBundle", bundle="Fax") == {}
    assert call("GetAlertBundleNames") == {"names": ["Printer"]}
    assert set(call("GetAlertBundleSettings")["settings"]) == {"Printer"}
    assert call("EnableAlertBundle", bundle="Fax") == {}
    assert sorted(call("GetAlertBundleNames")["names"]) == ["Fax", "Printer"]


@pytest.mark.parametrize("verb", ["Enable", "Disable"])
def test_a_bundle_that_is_not_there_cannot_be_switched(call, verb):
    for parameters, name in (({"bundle": "Tape"}, "Tape"), ({}, "(null)")):
        assert call(f"{verb}AlertBundle", **parameters) == {
            "error": not_found(f"{verb} Alert Bundle: Bundle '{name}' not found.")}


def test_switches_decide_what_posting_does(system, call):
    call("AddMailRecipients", recipients=["ann@example.org"])
    alert = {"bundle": "Printer", "type": "Jam"}
    assert call("SetAlertBundleSettings", settings={
        "Printer": {"name": "ignored", "mailEnabled": True}, "Tape": {"pushEnabled": True}}) == {}
    assert call("GetAlertBundleSettings") == {"settings": {
        "Fax": {"name": "Fax", "pushEnabled": True, "mailEnabled": True},
        "Printer": {"name": "Printer", "pushEnabled": False, "mailEnabled": True}}}
    assert call("PostAlert", alert=alert) == {}
    assert len(system.mail.mails()) == 1
    assert call("SetAlertBundleSettings", settings={"Printer": {}}) == {}
    assert call("PostAlert", alert=alert) == {}
    assert len(system.mail.mails()) == 1
    assert len(call("GetAlertsOfBundle", bundle="Printer")["alerts"]) == 1, "the second is dropped"


def test_settings_survive_a_restart(system, call):
    call("SetAttributes", attributes={"site": "Bern"})
    call("SetAlertBundleSettings", settings={"Fax": {"pushEnabled": True}})
    call("DisableAlertBundle", bundle="Printer")
    system.restart()
    client = system.client()
    assert client.call("GetAttributes") == {"attributes": {"site": "Bern"}}
    assert client.call("GetAlertBundleSettings") == {"settings": {
        "Fax": {"name": "Fax", "pushEnabled": True, "mailEnabled": False}}}
