# SPDX-License-Identifier: Apache-2.0
"""Mail through a mail program that others wrote, to a mail server that others wrote."""

import asyncio
import email
import email.policy
import os
import pathlib
import threading

import pytest
from velto.skipping import skip_or_fail

pytestmark = pytest.mark.needs_root

MAIL_PROGRAM = pathlib.Path("/usr/bin/msmtp")


class Letters:
    """Keeps what a mail server is given."""

    def __init__(self):
        self.envelopes = []
        self.answer = "250 OK"

    async def handle_DATA(self, _server, _session, envelope):  # pylint: disable=invalid-name
        self.envelopes.append(envelope)
        return self.answer

    def to(self, address):
        """The one letter that went to `address`, as mail readers see it."""
        (letter,) = [envelope.content for envelope in self.envelopes
                     if address in envelope.rcpt_tos]
        return email.message_from_bytes(letter, policy=email.policy.default)


class MailServer:
    """Speaks SMTP on a port of the loopback."""

    def __init__(self, protocol, letters):
        self._loop = asyncio.new_event_loop()
        self._server = self._loop.run_until_complete(self._loop.create_server(
            lambda: protocol(letters, hostname="localhost", loop=self._loop), "127.0.0.1", 0))
        self.port = self._server.sockets[0].getsockname()[1]
        self._thread = threading.Thread(target=self._loop.run_forever)
        self._thread.start()

    def close(self):
        self._loop.call_soon_threadsafe(self._loop.stop)
        self._thread.join()
        self._server.close()
        self._loop.run_until_complete(self._server.wait_closed())
        self._loop.close()


@pytest.fixture(name="letters")
def _letters(system):
    """A system whose mail program hands over to a mail server."""
    if not MAIL_PROGRAM.exists():
        skip_or_fail("needs msmtp")
    try:
        from aiosmtpd.smtp import SMTP  # pylint: disable=import-outside-toplevel
    except ImportError:
        skip_or_fail("needs aiosmtpd")
    letters = Letters()
    server = MailServer(SMTP, letters)
    try:
        home = system.root / "home"
        home.mkdir()
        settings = home / ".msmtprc"
        settings.write_text(f"account default\nhost 127.0.0.1\nport {server.port}\nfrom daemon@example.org\n")
        settings.chmod(0o600)
        system.mail.remove()
        system.mail.path.symlink_to(MAIL_PROGRAM)
        system.install_bundle("Common.bundle")
        system.start(HOME=str(home))
        yield letters
    finally:
        server.close()


def test_the_test_alert_reaches_people_in_their_languages(system, letters):
    client = system.client()
    assert client.call("AddMailRecipients", recipients=[
        "ann@example.org", {"address": "Bo Böhm <bo@example.de>", "locale": "de"},
        "cy@example.de", {"address": "Quote \"Q\" Mark, Dr. <dr@example.net>", "locale": "en"}]) == {}
    assert client.call("PostAlert", alert={"bundle": "Common", "type": "Test"}) == {}

    assert sorted(sorted(envelope.rcpt_tos) for envelope in letters.envelopes) == [
        ["ann@example.org", "dr@example.net"], ["bo@example.de", "cy@example.de"]]
    assert {envelope.mail_from for envelope in letters.envelopes} == {"daemon@example.org"}

    english, german = letters.to("ann@example.org"), letters.to("bo@example.de")
    assert english["Subject"] == "Test alert"
    assert german["Subject"] == "Testwarnung"
    assert english["From"].addresses[0].display_name.strip() == "Alerts"
    assert german["From"].addresses[0].display_name.strip() == "Warnungen"
    assert {letter["From"].addresses[0].username for letter in (english, german)} == {"alerts"}
    assert [address.display_name.strip() for address in german["To"].addresses] == ["Bo Böhm", ""]
    assert [address.display_name.strip() for address in english["To"].addresses] == \
        ["", 'Quote "Q" Mark, Dr.']
    assert english.get_content().startswith("This alert was sent to test")
    assert "zu prüfen" in german.get_content()


def test_a_server_that_refuses_is_the_mail_programs_status(system, letters):
    letters.answer = "550 no"
    client = system.client()
    assert client.call("AddMailRecipients", recipients=["ann@example.org"]) == {}
    error = client.call("PostAlert", alert={"bundle": "Common", "type": "Test"})["error"]
    assert error == {"domain": "VeltoAlertsMailer", "code": os.EX_UNAVAILABLE, "userInfo": {}}
    assert letters.envelopes
    assert len(client.call("GetAlertsOfBundle", bundle="Common")["alerts"]) == 1
