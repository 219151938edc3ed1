# SPDX-License-Identifier: Apache-2.0
"""What an administrator does in a booted system."""

import json

from support.base import packages
from support.container import Container
from velto.values import INTERFACE
from velto.varlink import Client, connect

SERVICE = "velto-alerts.service"
SOCKET = "velto-alerts.socket"
BUNDLES = "/usr/lib/velto/alert-bundles"


class Machine(Container):
    """A booted system. Our packages are in its folder /packages."""

    def install(self, version=None):
        """Installs our packages, or installs those of a later version over them."""
        folder = f"/packages/{version}" if version else "/packages"
        self.apt("install", *(f"{folder}/{path.name}" for path in packages(version).values()))

    def apt(self, *arguments):
        """Runs apt without a network, on what the base has fetched."""
        return self.run("apt-get", "-y", "--no-install-recommends",
                        "-o", "Dpkg::Options::=--force-confold", *arguments)

    def show(self, unit, name):
        """A property of a unit."""
        return self.run("systemctl", "show", "--value", f"--property={name}", unit).strip()

    def is_active(self, unit):
        return self.try_run("systemctl", "is-active", unit).stdout.strip() == "active"

    def call(self, method, parameters=None, user=None):
        """What `alertsctl call` prints, as a value."""
        result = self.try_run("alertsctl", "call", method, json.dumps(parameters or {}), user=user)
        assert result.returncode in (0, 1, 4), result.stderr
        return json.loads(result.stdout)

    def post(self, bundle="Common", kind="Test", user=None, **alert):
        return self.call("PostAlert", {"alert": {"bundle": bundle, "type": kind, **alert}}, user)

    def alerts(self, bundle="Common"):
        return self.call("GetAlertsOfBundle", {"bundle": bundle})["alerts"]

    def names(self):
        return set(self.call("GetAlertBundleNames")["names"])

    def client(self):
        """A connection from this machine, as user 0."""
        return Client(connect(self.socket_path()))

    def socket_path(self):
        return self.path(f"/run/velto/{INTERFACE}")

    def journal(self, *matches):
        """The entries of the system's journal."""
        self.run("journalctl", "--sync")
        return [json.loads(line) for line in self.run(
            "journalctl", "--output=json", "--quiet", *matches).splitlines()]
