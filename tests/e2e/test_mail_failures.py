# SPDX-License-Identifier: Apache-2.0
"""Mail programs that fail: the caller learns of it, and the alert is stored all the same."""

import pytest
from velto.values import error

pytestmark = pytest.mark.needs_root

# More than a pipe takes before somebody reads.
LARGE = "x" * 300_000
LOG_LINE = "Error sending alert email: "


@pytest.fixture(scope="module")
def office(module_system):
    """A system with a daemon, a mail recipient and a bundle whose mails are of any length."""
    module_system.make_bundle("Printer.bundle", texts={
        "en": {"Jam.subject": "Jam", "Jam.message": "%{text}"}})
    module_system.install_bundle("Common.bundle")
    module_system.start()
    module_system.client().call("AddMailRecipients", recipients=["ann@example.org"])
    return module_system


def post(office, text):
    """The reply to posting, and the alert as it was stored."""
    client = office.client()
    reply = client.call("PostAlert", alert={"bundle": "Printer", "type": "Jam",
                                            "attributes": {"text": text}})
    return reply, client.call("GetLastAlertOfBundle", bundle="Printer")["alert"]


def assert_failed(office, text, code):
    last = office.client().call("GetLastAlertOfBundle", bundle="Printer").get("alert", {})
    reply, stored = post(office, text)
    assert reply == {"error": error("VeltoAlertsMailer", code)}
    assert stored["identifier"] != last.get("identifier")
    assert stored["sentDate"] > last.get("sentDate", 0)
    office.daemon.check()


@pytest.mark.parametrize("script, code", [
    ("cat >/dev/null; exit 75", 75),
    ("cat >/dev/null; exit 255", 255),
    ("cat >/dev/null; kill -9 $$", 137),
    ("exit 3", 3),
    ("exec <&-; exit 4", 4),
])
@pytest.mark.parametrize("text", ["short", LARGE], ids=["short", "large"])
def test_the_status_of_the_mail_program_is_the_errors_code(office, script, code, text):
    office.mail.install_shell(script)
    assert_failed(office, text, code)


@pytest.mark.parametrize("script", ["exit 0", "exec <&-; exit 0"])
def test_a_mail_program_that_does_not_take_the_mail_has_failed_whatever_it_says(office, script):
    office.mail.install_shell(script)
    lines = office.daemon.log().count(LOG_LINE)
    assert_failed(office, LARGE, -1)
    assert office.daemon.log().count(LOG_LINE) == lines + 1


def test_a_missing_mail_program_is_a_failure(office):
    office.mail.remove()
    lines = office.daemon.log().count(LOG_LINE)
    assert_failed(office, "short", -1)
    assert office.daemon.log().count(LOG_LINE) == lines + 1


def test_a_mail_program_that_cannot_be_run_is_a_failure(office):
    office.mail.record()
    office.mail.path.chmod(0o644)
    assert_failed(office, "short", -1)


def test_an_address_that_no_header_can_hold_keeps_the_mail_from_being_sent(system):
    system.make_bundle("Printer.bundle", texts={"en": {"Jam.subject": "Jam"}})
    system.start()
    client = system.client()
    client.call("AddMailRecipients", recipients=["ann@example.org\nBcc: eve@example.org"])
    assert client.call("PostAlert", alert={"bundle": "Printer", "type": "Jam"}) == {
        "error": error("VeltoAlertsMailer", -1)}
    assert LOG_LINE in system.daemon.log()
    assert all(b"eve" not in mail.bytes for mail in system.mail.mails())


def test_mail_goes_out_again_once_the_program_works(office):
    office.mail.install_shell("exit 1")
    assert_failed(office, "short", 1)
    office.mail.record()
    count = len(office.mail.mails())
    reply, _ = post(office, "It works.")
    assert reply == {}
    assert len(office.mail.mails()) == count + 1


def test_of_several_failures_the_first_one_counts_and_every_language_is_tried(system):
    system.make_bundle("Printer.bundle", texts={"en": {"Jam.subject": "Jam"}})
    system.start()
    client = system.client()
    client.call("AddMailRecipients", recipients=[
        {"address": f"{locale}@example.org", "locale": locale} for locale in ("de", "en", "fr")])
    runs = system.root / "runs"
    system.mail.install_shell("cat >/dev/null", f"echo run >>'{runs}'",
                              f"exit $((10 + $(wc -l <'{runs}')))")
    assert client.call("PostAlert", alert={"bundle": "Printer", "type": "Jam"}) == {
        "error": error("VeltoAlertsMailer", 11)}
    assert runs.read_text() == "run\n" * 3
