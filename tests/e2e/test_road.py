# SPDX-License-Identifier: Apache-2.0
"""The whole road of an alert: from the bundles on disk to the people and the store."""

import email.header
import plistlib
import socket

import pytest
from velto import store

pytestmark = pytest.mark.needs_root

ATTRIBUTES = {"volume": "/home", "percent": 93, "share": 0.93, "full": False,
              "checked": {"$date": 700000000.5}, "label": {"$data": "3q2+7w=="},
              "largest": ["a", 2**64 - 1, {"name": "Ünïcode"}], "limits": {"soft": 90, "hard": 95}}
ENGLISH = "The volume /home is almost full"
FRENCH = "Le volume /home est presque plein"


@pytest.fixture(scope="module")
def posted(module_system):
    """A system in which an alert has gone its road, and the alert as it came back."""
    system = module_system
    for bundle in ("Common.bundle", "Disk.bundle"):
        system.install_bundle(bundle)
    system.start(LANGUAGE="fr")
    client = system.client()
    assert sorted(client.call("GetAlertBundleNames")["names"]) == ["Common", "Disk"]
    assert client.call("AddMailRecipients", recipients=[
        {"address": "Ann Smith <ann@example.net>", "locale": "en"}, "bo@example.org",
        "cy@example.fr", "Di <di@example.net>", {"address": "emi@example.jp"}]) == {}
    assert client.call("GetMailRecipients") == {"recipients": [
        {"address": "Ann Smith <ann@example.net>", "locale": "en"},
        {"address": "bo@example.org", "locale": "en"},
        {"address": "cy@example.fr", "locale": "fr"},
        {"address": "Di <di@example.net>", "locale": "fr"},
        {"address": "emi@example.jp", "locale": "ja"}]}
    assert client.call("PostAlert", alert={"bundle": "Disk", "type": "AlmostFull",
                                           "creationDate": 700000000.25,
                                           "attributes": ATTRIBUTES}) == {}
    alert = client.call("GetLastAlertOfBundle", bundle="Disk")["alert"]
    system.stop()
    return system, alert


def test_the_alert_is_stored_as_it_was_posted(posted):
    _, alert = posted
    sent = alert["sentDate"]
    assert alert == {"bundle": "Disk", "type": "AlmostFull", "creationDate": 700000000.25,
                     "attributes": ATTRIBUTES, "sentDate": sent,
                     "identifier": f"AlmostFull:{int(sent * 1000000.0):x}"}


def test_the_file_holds_the_alert(posted):
    system, alert = posted
    (row,) = store.rows(system.store_file, "ADAlert")
    for key in ("bundle", "type", "identifier", "creationDate", "sentDate"):
        assert row[key] == alert[key]
    stored = plistlib.loads(row["attributes"])
    assert set(stored) == set(ATTRIBUTES)
    assert stored["label"] == bytes.fromhex("deadbeef")
    assert stored["largest"] == ["a", 2**64 - 1, {"name": "Ünïcode"}]
    assert stored["full"] is False


def test_there_is_a_mail_for_each_language(posted):
    system, _ = posted
    assert sorted(mail.recipients for mail in system.mail.mails()) == [
        ["ann@example.net", "bo@example.org"], ["cy@example.fr", "di@example.net"],
        ["emi@example.jp"]]


@pytest.mark.parametrize("address, to_line, subject, message, labels", [
    ("ann@example.net", "=?UTF-8?Q?Ann_Smith_?=<ann@example.net>,bo@example.org", ENGLISH,
     "The volume /home is 93% full. Delete files", ("Bundle: Disk space", "Type: Volume almost full", "Time: ")),
    ("cy@example.fr", "cy@example.fr,=?UTF-8?Q?Di_?=<di@example.net>", FRENCH,
     "Le volume /home est plein à 93 %. Supprimez", ("Module\u00a0: Espace disque",
                                                     "Type\u00a0: Volume presque plein",
                                                     "Date\u00a0: ")),
    # The bundle knows no Japanese, but the mail's own words are Japanese all the same.
    ("emi@example.jp", "emi@example.jp", ENGLISH, "The volume /home is 93% full. Delete files",
     ("モジュール：Disk space", "種類：Volume almost full", "日時：")),
])
def test_a_mail_is_written_in_the_language_of_its_readers(posted, address, to_line, subject,
                                                          message, labels):
    system, _ = posted
    mail = system.mail.mail_to(address)
    assert mail.arguments == ["-t"]
    assert mail.lines[0].decode() == f"To: {to_line}"
    assert mail.message["Subject"] == subject
    assert mail.text.startswith(message)
    for label, line in zip(labels, mail.text.rstrip("\n").split("\n")[-3:], strict=True):
        assert line.startswith(label)


@pytest.mark.parametrize("address, name", [
    ("ann@example.net", "Alerts "), ("cy@example.fr", "Alertes "), ("emi@example.jp", "アラート ")])
def test_the_sender_is_named_in_the_language(posted, address, name):
    system, _ = posted
    line = system.mail.mail_to(address).lines[2].decode()
    word, _, rest = line.removeprefix("From: ").partition("<")
    assert word.startswith("=?UTF-8?Q?") and word.endswith("_?=")
    assert str(email.header.make_header(email.header.decode_header(word))) == name
    assert rest in (f"alerts@{socket.gethostname()}>", "alerts@localhost>")


def test_the_header_is_that_of_a_mail_made_by_a_machine(posted):
    system, _ = posted
    mail = system.mail.mail_to("ann@example.net")
    assert mail.lines[1] == b"Subject: =?UTF-8?Q?The_volume_/home_is_almost_full?="
    assert mail.message["MIME-Version"] == "1.0"
    assert mail.message.get_content_type() == "text/plain"
    assert mail.message.get_content_charset() == "utf-8"
    assert mail.message["Auto-Submitted"] == "auto-generated"
    assert [name for name, _ in mail.message.items()][:3] == ["To", "Subject", "From"]
    assert mail.message.defects == []


def test_every_line_of_a_mail_is_short_ascii(posted):
    system, _ = posted
    for mail in system.mail.mails():
        body = mail.lines[mail.lines.index(b""):]
        assert mail.bytes.isascii() and b"\r" not in mail.bytes
        assert max(map(len, body)) <= 76
