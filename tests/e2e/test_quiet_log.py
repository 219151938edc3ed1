# SPDX-License-Identifier: Apache-2.0
"""The log of a sound system: what a day of ordinary traffic leaves in it."""

import plistlib
import signal

import pytest
from velto.control import Control

pytestmark = pytest.mark.needs_root

SERVICE, DESKTOP = 65534, 12345
JAM = {"bundle": "Printer", "type": "Jam", "attributes": {"tray": "tray 1", "pages": 7}}
# What callers and bundles are told of in fixed words, one for each that it happens to, and the
# deliveries, one for each.
FIXED = ("Connection attempt with insufficient privileges", "Error Loading Alert Bundle: ",
         "Error Enabling Alert Bundle: ", "UpdateUnresolvedAlerts: ", "MESSAGE=Alert ")
MOST_BESIDE = 10
HOURS = 24
POSTS_AN_HOUR = 4


@pytest.fixture(name="sound")
def _sound(system):
    """A running system: mails in two languages, a service with a rule, and no events service."""
    for name in ("Common.bundle", "Disk.bundle", "Load.bundle"):
        system.install_bundle(name)
    system.make_bundle("Printer.bundle", {"VLAlertTypes": {"Jam": {"RecoveryOptions": ["Clear"]}}}, {
        language: {"Jam.subject": "%{tray}", "Jam.message": "%{pages}", "Jam.name": "Jam",
                   "Clear.title": "Clear"} for language in ("en", "de")})
    action = system.bundles / "Printer.bundle/Contents/Actions/Clear"
    action.parent.mkdir(mode=0o755)
    action.write_text("#!/bin/sh\n[ \"$1\" = run ]\n", encoding="ascii")
    action.chmod(0o755)
    rule = system.root / "etc/velto/entitlements.d/printer.plist"
    rule.parent.mkdir(parents=True)
    rule.write_bytes(plistlib.dumps({"User": SERVICE, "Entitlements": {
        "com.ulmora.velto.alert-bundles": ["Printer"]}}))
    rule.chmod(0o600)
    system.mail.install_shell("cat >/dev/null")
    system.start()
    system.client().call("AddMailRecipients", recipients=[
        {"address": "ann@example.org", "locale": "en"}, {"address": "bert@example.org", "locale": "de"}])
    return system


def post(system):
    client = system.client_as(SERVICE, SERVICE)
    for _ in range(POSTS_AN_HOUR):
        assert client.call("PostAlert", alert=JAM) == {}


def look(system):
    """What a desktop's program asks for, and is denied but for the names."""
    client = system.client_as(DESKTOP, DESKTOP)
    assert "Printer" in client.call("GetAlertBundleNames")["names"]
    assert client.call("GetAlertsOfBundle", bundle="Printer")["error"]["code"] == 103
    assert client.call("PostAlert", alert=JAM)["error"]["code"] == 150


def read(system):
    """What an administrator and a monitoring program ask for."""
    client = system.client()
    assert client.call("GetAlertsFromDate", fromDate=0, toDate=1e9)["alerts"]
    client.call("MarkAlertAsReadWithAlertId",
                alertId=client.call("GetLastAlertOfBundle", bundle="Printer")["alert"]["identifier"])


def beside(daemon):
    return [line for line in daemon.log_lines() if not line.startswith(FIXED)]


def test_a_day_of_ordinary_traffic_leaves_ten_lines_at_most(sound):
    for hour in range(HOURS):
        post(sound)
        look(sound)
        read(sound)
        sound.close_clients()
        if hour == HOURS // 2:
            sound.daemon.process.send_signal(signal.SIGHUP)
            Control(sound).done("list", "--unresolved")
            Control(sound).done("metrics")
    lines = beside(sound.daemon)
    assert len(lines) <= MOST_BESIDE, lines
    deliveries = [line for line in sound.daemon.log_lines() if line.startswith("MESSAGE=Alert ")]
    assert len(deliveries) == HOURS * POSTS_AN_HOUR * 2
    assert any("No rights for process" in line for line in lines)


def test_a_day_of_one_mistake_leaves_ten_lines_at_most(sound):
    """An alert whose bundle has a hole, mailed to somebody who reads no language that there is."""
    sound.client().call("AddMailRecipients", recipients=[{"address": "eve@example.org", "locale": "english"}])
    client = sound.client_as(SERVICE, SERVICE)
    for _ in range(HOURS):
        assert client.call("PostAlert", alert={"bundle": "Printer", "type": "Jam"}) == {}
    lines = beside(sound.daemon)
    assert len(lines) <= MOST_BESIDE, lines
    assert any("has a hole" in line for line in lines)
