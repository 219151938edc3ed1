# SPDX-License-Identifier: Apache-2.0
"""A daemon with a limit of memory, and calls that take more."""

import contextlib
import sys

from .activity import TREE, Activity
from velto.system import System
from velto.varlink import Client, connect

_LIMITED = """
import os, resource, sys
resource.setrlimit(resource.RLIMIT_AS, (int(sys.argv[1]),) * 2)
os.execv(sys.argv[2], sys.argv[2:])
"""
_MIB = 1 << 20
_CALLS = 8


class AddressSpace(Activity):
    name = "limit"
    promise = "with RLIMIT_AS a call too large fails, and the next is answered"
    needs_root = True
    shortest = 4

    def __init__(self, settings):
        super().__init__(settings)
        plain = [TREE / "build" / preset / "bin/alertsd" for preset in ("release", "debug")]
        self._alertsd = next((path for path in [settings.build / "bin/alertsd", *plain]
                              if path.exists() and not _is_sanitized(path)), None)

    def missing(self):
        return super().missing() or (None if self._alertsd else "needs a daemon without a "
                                     "sanitizer, which takes all addresses: scripts/build release")

    def round(self, chance, seconds):
        system = System()
        with contextlib.closing(system):
            limit = chance.randrange(150, 400) * _MIB
            system.start(sys.executable, "-IS", "-c", _LIMITED, str(limit), self._alertsd)
            kept = system.client()
            answered = 0
            for number in range(_CALLS):
                answered += self._large_call(system, chance, number)
                with contextlib.closing(Client(connect(system.socket_path))) as client:
                    assert "names" in client.call("GetAlertBundleNames")
            assert "names" in kept.call("GetAlertBundleNames"), "a bystander has lost out"
            self._check_stored(system)
        return f"{limit // _MIB} MiB, {answered} of {_CALLS} large calls answered" \
            if chance.random() < 0.3 else None

    @staticmethod
    def _large_call(system, chance, number):
        """Whether it was answered; either all of it is stored, or nothing."""
        count = chance.choice((1000, 10_000, 60_000))
        alerts = [{"bundle": f"b{number}", "identifier": str(one)} for one in range(count)]
        if chance.random() < 0.3:
            alerts = [{"bundle": f"b{number}", "attributes": {"a": [[]] * count}}]
        with contextlib.closing(Client(connect(system.socket_path))) as client:
            try:
                reply = client.exchange("SaveAlerts", {"alerts": alerts})
            except ConnectionError:
                return False
        system.saved = {**getattr(system, "saved", {}), number: (len(alerts), reply)}
        return True

    @staticmethod
    def _check_stored(system):
        system.stop()
        system.start()
        for number, (count, reply) in getattr(system, "saved", {}).items():
            with contextlib.closing(Client(connect(system.socket_path))) as client:
                pieces = client.pieces("GetAlertsOfBundle", bundle=f"b{number}")
            stored = sum(len(piece["parameters"]["alerts"]) for piece in pieces)
            whole = (count,) if reply == {"parameters": {}} else (0, count)
            assert stored in whole, f"{stored} of {count} alerts are stored, the reply was {reply}"


def _is_sanitized(path):
    with open(path, "rb") as file:
        return b"__asan_init" in file.read()

