# SPDX-License-Identifier: Apache-2.0
"""Mail through the mail programs that machines have."""

import email
import email.policy
import re
import subprocess
import sys

import pytest
from support.container import wait_for
from support.machine import SERVICE

# What mail programs take for something else: a mailbox's separator, the end of a message, the end
# of a line, and bytes of eight bits.
MESSAGE = """From here on it burns.
.
..and on a line of its own: Grüße, 火事。
""" + "A long line. " * 100

HEADER = [
    b"To: =?UTF-8?Q?Ann_?=<ann@machine.example>",
    b"Subject: =?UTF-8?Q?Feuer=3A_=E7=81=AB=E4=BA=8B?=",
    b"From: =?UTF-8?Q?Alerts_?=<alerts@machine.example>",  # of /etc/mailname
    b"MIME-Version: 1.0",
    b"Content-Type: text/plain; charset=UTF-8",
    b"Content-Transfer-Encoding: quoted-printable",
    b"Auto-Submitted: auto-generated"]

EXPECTED = re.compile(re.escape(MESSAGE) + r"\n+Bundle: Fire\nType: Alarm\nTime: [^\n]+\n*")

SERVER = """
import asyncio, sys
from aiosmtpd.smtp import SMTP
class Handler:
    async def handle_DATA(self, server, session, envelope):
        with open(sys.argv[1], "ab") as file:
            file.write(envelope.content)
        return "250 OK"
async def main():
    server = await asyncio.get_running_loop().create_server(
        lambda: SMTP(Handler(), hostname="localhost"), "127.0.0.1", 25)
    print("ready", flush=True)
    await server.serve_forever()
asyncio.run(main())
"""


def install_postfix(machine):
    machine.run("debconf-set-selections", text="postfix postfix/main_mailer_type select Local only\n"
                "postfix postfix/mailname string machine.example\n")
    machine.apt("install", "postfix")
    return machine.path("/var/mail/ann")


def install_exim(machine):
    machine.apt("install", "exim4-daemon-light")
    return machine.path("/var/mail/ann")


def install_msmtp(machine, folder):
    """It hands over to a server on the loopback, which files what it takes."""
    machine.apt("install", "msmtp-mta")
    machine.path("/etc/msmtprc").write_text("account default\nhost 127.0.0.1\nfrom alerts@machine.example\n")
    mailbox = folder / "mailbox"
    server = subprocess.Popen(["nsenter", "--target", str(machine.init), "--net", "--",
                               sys.executable, "-c", SERVER, str(mailbox)],
                              stdout=subprocess.PIPE, text=True)
    assert server.stdout.readline() == "ready\n"
    return mailbox, server


def deliver(machine, mailbox):
    """What arrives of an alert."""
    folder = machine.path("/usr/lib/velto/alert-bundles/Fire.bundle/Contents/Resources/en.lproj")
    folder.mkdir(parents=True)
    (folder.parents[1] / "Info.plist").write_text("{ VLAlertTypes = { Alarm = {}; }; }")
    (folder / "Alerts.strings").write_text(
        f'"Alarm.subject" = "Feuer: 火事"; "Alarm.message" = "{MESSAGE}";', encoding="utf-8")
    machine.run("systemctl", "reload", SERVICE)
    assert machine.call("AddMailRecipients", {"recipients": [
        {"address": "Ann <ann@machine.example>", "locale": "en"}]}) == {}
    assert machine.post("Fire", "Alarm") == {}

    def arrived():
        text = mailbox.read_bytes() if mailbox.exists() else b""
        return re.search(rb"\nTime: .*\n", text) and text

    return wait_for(arrived, "the mail")


@pytest.fixture(name="ann")
def _ann(machine):
    machine.run("useradd", "--create-home", "ann")
    machine.path("/etc/mailname").write_text("machine.example\n")
    return machine


def check(text):
    """Every line that the daemon wrote has arrived as it was; others may have been added."""
    text = text.replace(b"\r\n", b"\n")
    header = text.partition(b"\n\n")[0].split(b"\n")
    assert [line for line in HEADER if line not in header] == []
    assert text.count(b"\nSubject: ") == 1
    message = email.message_from_bytes(text, policy=email.policy.default)
    assert EXPECTED.fullmatch(message.get_content()), message.get_content()


def test_postfix(ann):
    check(deliver(ann, install_postfix(ann)))


def test_exim(ann):
    check(deliver(ann, install_exim(ann)))


def test_msmtp(ann, tmp_path):
    mailbox, server = install_msmtp(ann, tmp_path)
    try:
        check(deliver(ann, mailbox))
    finally:
        server.terminate()
        server.wait()
        server.stdout.close()
