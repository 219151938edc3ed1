# SPDX-License-Identifier: Apache-2.0
"""The verbs of alertsctl about bundles, recipients and attributes."""

import pytest
from velto.control import Control

pytestmark = pytest.mark.needs_root


@pytest.fixture(name="ctl")
def _ctl(system):
    for name in ("Printer", "Disk"):
        system.make_bundle(f"{name}.bundle", {"CFBundleGetInfoString": name + "s"},
                           texts={"en": {"Jam.subject": "Jam", "Empty.subject": "Empty"}})
    system.start()
    return Control(system)


def refused(result, *words):
    """It did not do it, and said so in one line."""
    assert result.status in (1, 2)
    assert result.output == ""
    assert result.errors.count("\n") == 1
    for word in words:
        assert word in result.errors


def test_bundles_tell_switches_kinds_and_counts(ctl):
    ctl.done("post", "Printer", "Jam")
    disk, printer = ctl.json("bundles")["bundles"]
    assert printer == {"name": "Printer", "title": "Printers", "enabled": True, "mail": True,
                       "push": True, "types": ["Empty", "Jam"], "alerts": 1}
    assert "alerts" not in disk
    assert ctl.done("bundles", "-q").lines == ["Disk", "Printer"]
    assert "Empty, Jam" in ctl.done("bundles").output


def test_switches_are_set_one_by_one(ctl):
    assert ctl.done("bundle", "set", "Disk", "--mail", "off").output == \
        "Disks (Disk): mail off, push on.\n"
    ctl.done("bundle", "set", "Disk", "--push", "off", "--mail", "on")
    disk = ctl.json("bundles")["bundles"][0]
    assert (disk["mail"], disk["push"]) == (True, False)
    refused(ctl("bundle", "set", "Disk"), "needs --mail or --push")
    refused(ctl("bundle", "set", "Disk", "--mail", "maybe"), '--mail is on or off')
    refused(ctl("bundle", "set", "Dsik", "--mail", "on"), "no bundle Dsik", "did you mean Disk?")


def test_a_bundle_is_disabled_and_enabled(ctl, system):
    assert ctl.done("bundle", "disable", "Disk").output == "Disabled Disks (Disk).\n"
    assert system.client().call("GetAlertBundleNames")["names"] == ["Printer"]
    assert ctl.json("bundles")["bundles"][0]["enabled"] is False
    refused(ctl("bundle", "set", "Disk", "--mail", "on"), "Disk is disabled",
            "alertsctl bundle enable Disk")
    ctl.done("bundle", "enable", "Disk")
    assert ctl.json("bundles")["bundles"][0]["enabled"] is True
    refused(ctl("bundle", "enable", "Nothing"), "there is no bundle Nothing")
    refused(ctl("bundle"), "bundle needs a verb, such as enable")


def test_mail_recipients_come_and_go(ctl):
    assert ctl.done("mail", "list").output == "Nobody gets mail.\n"
    ctl.done("mail", "add", "ann@example.org", "-l", "fr_ca")
    ctl.done("mail", "add", "bob@example.de", '"carla c"@example.org')
    listed = ctl.json("mail", "list")["recipients"]
    assert listed[0] == {"address": "ann@example.org", "language": "fr-CA"}
    assert [one["address"] for one in listed[1:]] == [
        "bob@example.de", '"carla c"@example.org']
    assert "French (Canada)" in ctl.done("mail").output
    assert "Französisch (Kanada)" in ctl.done("mail", LANGUAGE="de").output
    ctl.done("mail", "remove", "--dry-run", "bob@example.de")
    assert len(ctl.json("mail")["recipients"]) == 3
    assert ctl.done("mail", "remove", "bob@example.de").output == "Removed 1 recipient.\n"
    ctl.done("mail", "set", "ann@example.org", "dora@example.org")
    listed = ctl.json("mail")["recipients"]
    assert [one["address"] for one in listed] == ["ann@example.org", "dora@example.org"]
    assert listed[0]["language"] == "fr-CA"
    refused(ctl("mail", "set"), "--none")
    ctl.done("mail", "set", "--none")
    assert ctl.json("mail") == {"recipients": []}


@pytest.mark.parametrize("address, reason", [
    ("", "it is empty"), ("ann", "it has no @"), ("@example.org", "nothing stands before the @"),
    ("ann@", "nothing stands behind the @"), ("a@example.org, b@example.org", "one mailbox"),
    ("a@example.org\nBcc: b@example.org", "control characters"),
    ("<ann@example.org", "one mailbox")])
def test_an_address_that_will_not_do_is_refused(ctl, address, reason):
    refused(ctl("mail", "add", "good@example.org", address), "will not do as an address", reason)
    assert ctl.json("mail") == {"recipients": []}


@pytest.mark.parametrize("language, nearest", [
    ("english", "did you mean en?"), ("xx_!! 7", ""), ("de-XX", "did you mean de?")])
def test_a_language_that_there_is_not_is_refused(ctl, language, nearest):
    refused(ctl("mail", "add", "ann@example.org", "-l", language), "is no language", nearest)


def test_who_is_to_be_removed_has_to_be_there(ctl):
    ctl.done("mail", "add", "ann@example.org")
    refused(ctl("mail", "remove", "anna@example.org"), "did you mean ann@example.org?")


def test_devices_come_and_go(ctl, system):
    assert ctl.done("push").output == "No device gets notifications.\n"
    ctl.done("push", "add", "g1", "00ff", "--name", "Ann's phone", "-l", "fr")
    ctl.done("push", "add", "g2", "base64:AAE=")
    stored = system.client().call("GetPushRecipients")["recipients"]
    assert [(one["guid"], one["token"]) for one in stored] == [("g1", "AP8="), ("g2", "AAE=")]
    assert ctl.json("push")["recipients"][0] == {
        "guid": "g1", "name": "Ann's phone", "language": "fr", "enabled": True}
    assert "AP8" not in ctl.done("push").output  # a token is a secret
    assert ctl.done("push", "disable", "Ann's phone").output == "Disabled 1 device.\n"
    assert [one["enabled"] for one in ctl.json("push")["recipients"]] == [False, True]
    ctl.done("push", "enable", "g1")
    refused(ctl("push", "disable", "g3"), "there is no device g3")
    ctl.done("push", "remove", "g2", "--dry-run")
    ctl.done("push", "remove", "g2")
    assert ctl.done("push", "-q").lines == ["g1"]
    stored = system.client().call("GetPushRecipients")["recipients"]
    assert stored[0]["token"] == "AP8="
    refused(ctl("push", "add", "g4", "0xff"), "not hexadecimal at character 1")
    refused(ctl("push", "add", "g4", "abc"), "not hexadecimal at character 3")
    refused(ctl("push", "add", "g4", "base64:?"), "not base64")


def test_attributes_are_set_and_told(ctl):
    assert ctl.done("attributes").output == "No attributes.\n"
    assert ctl.done("attributes", "set", "site=Ber=lin", "floor=").output == "Set 2 attributes.\n"
    assert ctl.done("attributes").output == "floor=\nsite=Ber=lin\n"
    assert ctl.done("attributes", "get", "site").output == "Ber=lin\n"
    assert ctl.json("attributes") == {"attributes": {"site": "Ber=lin", "floor": ""}}
    refused(ctl("attributes", "get", "sit"), "did you mean site?")
    refused(ctl("attributes", "set", "=x"), "is no attribute")
    refused(ctl("attributes", "set", "x"), "attributes are NAME=VALUE")
    refused(ctl("attributes", "unset", "site", "other"), "there is no attribute other")
    ctl.done("attributes", "unset", "--dry-run", "site")
    assert ctl.json("attributes", "unset", "site") == {"unset": ["site"]}
    assert ctl.done("attributes", "-q").lines == ["floor"]
