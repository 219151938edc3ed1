# SPDX-License-Identifier: Apache-2.0
"""Alerts on their way to devices, through a real gateway."""

import json

import pytest
from velto import gateway, store
from velto.skipping import skip_or_fail
from velto.system import ALERTSCTL

pytestmark = pytest.mark.needs_root

TEST = {"bundle": "Common", "type": "Test"}


@pytest.fixture(name="office")
def _office(system):
    """A running system with a push gateway, and the push recipients that a test adds."""
    if not gateway.is_available():
        skip_or_fail("needs node and openssl")
    system.install_bundle("Common.bundle")
    system.start()
    system.stop()
    system.gateway = gateway.Gateway(system, requireClient=True)
    try:
        yield system
    finally:
        system.gateway.close()


def add_device(system, device, language, name="Phone"):
    store.execute(system.store_file,
                  'INSERT INTO "ADPushRecipient" (_version, enabled, guid, localization, token,'
                  ' name) VALUES (1, 1, ?, ?, ?, ?)', device, language, device.encode(), name)


def post(system):
    return system.client().call("PostAlert", alert=TEST)


def test_every_device_hears_of_an_alert_in_its_language(office):
    languages = {"en": "Test alert", "fr": "Alerte de test", "de": "Testwarnung",
                 "zh": "测试警报", "ja": "テストアラート", "no": "Testvarsel"}
    for language in languages:
        add_device(office, f"ok {language} 1", language)
        add_device(office, f"ok {language} 2", language)
    office.gateway.install_identity()
    office.start(LANGUAGE="en")
    assert post(office) == {}
    alert = office.client().call("GetLastAlertOfBundle", bundle="Common")["alert"]
    requests = office.gateway.requests()
    assert {request["device"]: json.loads(request["body"]) for request in requests} == {
        f"ok {language} {number}": {"zel": {"alert": text}}
        for language, text in languages.items() for number in (1, 2)}
    assert len(requests) == 12
    assert {request["session"] for request in requests} == {1}
    assert {request["client"] for request in requests} == {"client"}
    assert {request["headers"]["ttl"] for request in requests} == {"2592000"}
    assert alert["sentDate"] > 0


def test_push_and_mail_both_go_out(office):
    add_device(office, "ok", "en")
    office.gateway.install_identity()
    office.start()
    office.client().call("AddMailRecipients", recipients=["ann@example.org"])
    assert post(office) == {}
    assert len(office.mail.mails()) == 1
    assert len(office.gateway.requests()) == 1


def test_a_refused_notification_is_told_and_mail_goes_out_all_the_same(office):
    for device in ("status 410 gone for good", "ok"):
        add_device(office, device, "en")
    office.gateway.install_identity()
    office.start()
    office.client().call("AddMailRecipients", recipients=["ann@example.org"])
    assert post(office) == {"error": {
        "domain": "UlmoraPushProvider", "code": 410,
        "userInfo": {"NSLocalizedDescription": {"$data": "Z29uZSBmb3IgZ29vZA=="}}}}
    assert len(office.mail.mails()) == 1
    assert len(office.gateway.requests()) == 2
    assert len(office.client().call("GetAlertsOfBundle", bundle="Common")["alerts"]) == 1


def test_without_an_identity_file_the_error_says_which(office):
    add_device(office, "ok", "en")
    office.start()
    error = post(office)["error"]
    assert (error["domain"], error["code"]) == ("UlmoraPushProvider", 1001)
    assert error["userInfo"]["ParentDomain"] == "UlmoraPushServiceProvider"
    path = office.root / "etc/velto/push/ovix:com.ulmora.alerts.plist"
    assert error["userInfo"]["NSLocalizedDescription"] == \
        f"Cannot read {path}: No such file or directory"


def test_an_identity_that_others_can_read_is_not_used(office):
    add_device(office, "ok", "en")
    office.gateway.install_identity()
    (office.root / "etc/velto/push/ovix:com.ulmora.alerts.plist").chmod(0o644)
    office.start()
    assert "others than its owner can read or write it" in \
        post(office)["error"]["userInfo"]["NSLocalizedDescription"]
    assert office.gateway.requests() == []


def test_the_tool_names_a_gateways_status_and_the_device(office):
    add_device(office, "ok", "en")
    add_device(office, "status 404 BadDeviceToken", "en", "Ann's phone")
    office.gateway.install_identity()
    daemon = office.start()
    told = "the push gateway answered Not Found (404): BadDeviceToken; it was for the device " \
           "Ann's phone; see alertsctl deliveries, and /etc/velto/push"
    assert office.run(ALERTSCTL, "post", "Common", "Test").stderr == f"alertsctl: {told}\n"
    assert f"Push: {told}\n" in office.run(ALERTSCTL, "test").stdout
    assert "push to Phone, Ann's phone: failed with status 404 (Ann's phone: 404 BadDeviceToken)" \
        in daemon.log()
