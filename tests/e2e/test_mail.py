# SPDX-License-Identifier: Apache-2.0
"""The mails that go out, line by line."""

import pytest

pytestmark = pytest.mark.needs_root

TEXTS = {"en": {
    "Plain.subject": "a=b_c", "Blank.subject": "Disk full", "Accent.subject": "Caf\u00e9",
    "Empty.subject": "", "Signs.subject": "1=2_3\t(100%)", "Name.subject": "%{name}",
    "Long.subject": "x " * 300,
}}


@pytest.fixture
def post(system):
    """Posts an alert of a type above to one recipient, and gives the mail."""
    system.make_bundle("Printer.bundle", texts=TEXTS)
    system.start()
    client = system.client()

    def post_to(recipients, alert_type="Plain", **attributes):
        assert client.call("AddMailRecipients", recipients=recipients) == {}
        assert client.call("PostAlert", alert={"bundle": "Printer", "type": alert_type,
                                               "attributes": attributes}) == {}
        return system.mail.mails()

    return post_to


@pytest.mark.parametrize("alert_type, line", [
    ("Plain", b"Subject: a=b_c"),
    ("Blank", b"Subject: =?UTF-8?Q?Disk_full?="),
    ("Accent", b"Subject: =?UTF-8?Q?Caf=C3=A9?="),
    ("Signs", b"Subject: =?UTF-8?Q?1=3D2=5F3=09=28100=25=29?="),
    ("Long", b"Subject: =?UTF-8?Q?" + b"x_" * 300 + b"?="),
])
def test_the_subject_is_one_line_in_ascii(post, alert_type, line):
    (mail,) = post(["ann@example.org"], alert_type)
    assert mail.lines == [b"To: ann@example.org", line, b""]


def test_an_empty_subject_has_no_line(post):
    (mail,) = post(["ann@example.org"], "Empty")
    assert mail.lines == [b"To: ann@example.org", b""]


def test_an_attribute_cannot_add_header_lines(post):
    (mail,) = post(["ann@example.org"], "Name", name="a\nBcc: eve@example.org\r\nX: y")
    assert len(mail.lines) == 3
    assert mail.lines[1].startswith(b"Subject: =?UTF-8?Q?a_Bcc=3A_eve")


def test_the_recipients_of_one_language_share_one_mail(post):
    (mail,) = post([{"address": address, "locale": "en"} for address in
                    ("ann@example.org", "Jane Doe <jane@example.com>", "<bo@example.fr>")])
    assert mail.arguments == ["-t"]
    assert mail.lines[0] == (
        b"To: ann@example.org,=?UTF-8?Q?Jane_Doe_?=<jane@example.com>,<bo@example.fr>")
    assert mail.recipients == ["ann@example.org", "jane@example.com", "bo@example.fr"]


def test_each_language_has_a_mail_of_its_own(post):
    mails = post(["ann@example.org", "bo@example.fr", "cy@example.de", "di@example.gf"])
    assert sorted(mail.recipients for mail in mails) == [
        ["ann@example.org"], ["bo@example.fr", "di@example.gf"], ["cy@example.de"]]


def test_without_recipients_no_mail_program_is_started(post):
    assert post([]) == []


def test_the_mail_program_gets_no_descriptor_but_the_three_standard_ones(post):
    (mail,) = post(["ann@example.org"])
    assert set(mail.descriptors) == {0, 1, 2}
    assert mail.descriptors[0].startswith("pipe:")


def test_the_mail_program_starts_with_every_signal_at_its_default(post, system):
    status = system.root / "status"
    # Without a child: the shell blocks signals while it starts one.
    system.mail.install_shell(
        f"while read -r line; do echo \"$line\"; done </proc/self/status >'{status}'",
        "cat >/dev/null")
    post(["ann@example.org"])
    masks = dict(line.split(":", 1) for line in status.read_text().splitlines())
    assert int(masks["SigBlk"], 16) == 0
    # Beyond 31 the C library has signals of its own.
    assert int(masks["SigIgn"], 16) & 0x7fffffff == 0
