# SPDX-License-Identifier: Apache-2.0
"""Mail programs of the scratch system, and the mails that they filed."""

import email
import email.policy
import json
import os
import select

from .varlink import DEADLINE

# Files all that there is to know about a run as one JSON file.
_RECORDER = """\
#!/usr/bin/python3 -IS
import json, os, sys, tempfile

def target(descriptor):
    try:
        return os.readlink("/proc/self/fd/" + descriptor)
    except OSError:
        return None

descriptors = {{number: target(number) for number in os.listdir("/proc/self/fd")}}
run = {{
    "arguments": sys.argv[1:],
    "environment": dict(os.environ),
    "descriptors": {{number: path for number, path in descriptors.items() if path}},
    "text": sys.stdin.buffer.read().decode("latin-1"),
}}
handle, name = tempfile.mkstemp(dir={folder!r}, suffix=".part")
with os.fdopen(handle, "w") as file:
    json.dump(run, file)
os.rename(name, name.removesuffix(".part") + ".json")
sys.exit({status})
"""


class Mail:
    """One run of the mail program."""

    def __init__(self, run):
        self.arguments = run["arguments"]
        self.environment = run["environment"]
        self.descriptors = {int(number): path for number, path in run["descriptors"].items()}
        self.bytes = run["text"].encode("latin-1")
        self.lines = self.bytes.split(b"\n")
        self.message = email.message_from_bytes(self.bytes, policy=email.policy.default)

    @property
    def text(self):
        return self.message.get_content()

    @property
    def recipients(self):
        return [address.addr_spec for address in self.message["To"].addresses]


class MailProgram:
    """What stands at /usr/sbin/sendmail below a scratch root."""

    def __init__(self, root):
        self.path = root / "usr/sbin/sendmail"
        self._folder = root / "mails"
        self._folder.mkdir()
        self.path.parent.mkdir(parents=True, exist_ok=True)

    def record(self, status=0):
        """Files every message, and exits with `status`."""
        self.install(_RECORDER.format(folder=str(self._folder), status=status))

    def install_shell(self, *lines):
        self.install("#!/bin/sh\n" + "\n".join(lines) + "\n")

    def install(self, script):
        # Under another name first: a program that runs cannot be written.
        draft = self.path.with_name("draft")
        draft.write_text(script)
        draft.chmod(0o755)
        draft.rename(self.path)

    def remove(self):
        self.path.unlink()

    def mails(self):
        """The mails filed so far."""
        return [Mail(json.loads(path.read_text())) for path in sorted(self._folder.glob("*.json"))]

    def mail_to(self, address):
        """The one mail that went to `address`."""
        found = [mail for mail in self.mails() if address in mail.recipients]
        assert len(found) == 1, f"{len(found)} mails to {address}"
        return found[0]


class Gate:
    """Makes the mail program wait until the test lets it go. Takes the program's place."""

    def __init__(self, root, program, status=0):
        self._reached = _fifo(root / "reached")
        self._opened = _fifo(root / "opened")
        program.install_shell("cat >/dev/null", f"echo >'{root}/reached'",
                              f"read line <'{root}/opened'", f"exit {status}")

    def wait(self):
        """Waits until a mail program stands at the gate."""
        readable, _, _ = select.select([self._reached], [], [], DEADLINE)
        assert readable, "the mail program was not started"
        os.read(self._reached, 1)

    def open(self):
        """Lets one mail program go on."""
        os.write(self._opened, b"\n")

    def close(self):
        os.close(self._reached)
        os.close(self._opened)


def _fifo(path):
    """Opened both ways, so that neither side waits for the other to open it."""
    os.mkfifo(path)
    return os.open(path, os.O_RDWR | os.O_CLOEXEC)
