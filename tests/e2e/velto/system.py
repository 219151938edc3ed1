# SPDX-License-Identifier: Apache-2.0
"""A whole system in a scratch folder."""

import os
import pathlib
import shutil
import socket
import subprocess
import tempfile

from .bundles import make_bundle
from .callers import OtherUser
from .daemon import Daemon, check_output
from .mail import MailProgram
from .values import INTERFACE, SERVICE
from .varlink import DEADLINE, Client, connect

BUILD = pathlib.Path(os.environ.get(
    "VELTO_BUILD", pathlib.Path(__file__).resolve().parents[3] / "build/asan"))
ALERTSD = BUILD / "bin/alertsd"
ALERTSCTL = BUILD / "bin/alertsctl"


class System:
    """The folders, programs and bundles below one root, the daemons started there and the
    connections to them. Nothing is started when it is made; `close` ends what is left."""

    def __init__(self):
        # Below /tmp whatever TMPDIR says: the path of a socket must be short.
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="velto-", dir="/tmp"))
        self.root.chmod(0o755)  # for callers that are other users
        self.bundles = self.root / "usr/lib/velto/alert-bundles"
        self.bundles.mkdir(parents=True)
        self.library = self.root / "Library/Velto"
        self.library.mkdir(parents=True)
        self.store_directory = self.library / "Alerts"
        self.store_file = self.store_directory / "alertData.db"
        self.socket_path = self.root / "run/velto" / INTERFACE
        self.mail = MailProgram(self.root)
        self.mail.record()
        self.daemon = None
        self._clients = []

    def install_bundle(self, name):
        """One of the bundles that the build made."""
        shutil.copytree(BUILD / "bundles" / name, self.bundles / name, symlinks=True)

    def make_bundle(self, name, info=None, texts=None, **options):
        return make_bundle(self.bundles / name, info, texts, **options)

    def environment(self, **changes):
        """What the programs of the system find in their environment."""
        return {"VELTO_ROOT": str(self.root), "LANG": "C.UTF-8", "PATH": os.environ["PATH"],
                **changes}

    def start(self, *command, descriptors=(), **environment):
        """Starts the daemon, or a command that becomes it; one at a time."""
        self.daemon = Daemon(command or [ALERTSD], self.root, self.root / "log",
                             self.environment(**environment), descriptors)
        return self.daemon

    def run(self, *command, text=None, descriptors=(), **environment):
        """Runs a command to its end. A sanitizer's report fails the test."""
        result = subprocess.run(command, input=text or "", capture_output=True, text=True,
                                timeout=DEADLINE, check=False, pass_fds=descriptors,
                                env=self.environment(**environment))
        check_output(result.stderr)
        return result

    def stop(self):
        self.close_clients()
        daemon, self.daemon = self.daemon, None
        daemon.stop()

    def kill(self):
        self.close_clients()
        daemon, self.daemon = self.daemon, None
        daemon.kill()

    def restart(self):
        self.stop()
        return self.start()

    def client(self):
        """A connection of the test's own user."""
        return self._remember(Client(connect(self.socket_path)))

    def client_as(self, uid, gid):
        return self._remember(OtherUser(self.socket_path, uid, gid))

    def close_clients(self):
        while self._clients:
            self._clients.pop().close()

    def close(self):
        try:
            if self.daemon:
                self.stop()
        finally:
            self.close_clients()
            shutil.rmtree(self.root)

    def _remember(self, client):
        self._clients.append(client)
        return client


def listening(path):
    """A socket of the test's own that takes connections at `path`."""
    listener = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    listener.bind(str(path))
    listener.listen(10)
    return listener


def answers(path):
    """Whether the daemon answers at `path`, for the whole life of a connection."""
    client = Client(connect(path))
    info = client.call(f"{SERVICE}.GetInfo")
    client.end()
    return "interfaces" in info
