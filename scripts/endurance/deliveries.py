# SPDX-License-Identifier: Apache-2.0
"""Push gateways and mail programs that do whatever they like."""

import contextlib
import threading
import time

from .activity import Activity
from velto import gateway, store
from velto.system import System
from velto.varlink import Client, connect

_MAIL_PROGRAMS = (
    "cat >/dev/null", "exit 0", "exit 75", "exec <&-; exit 3", "cat >/dev/null; kill -9 $$",
    "cat >/dev/null; head -c 3000000 /dev/zero", "sleep 2; cat >/dev/null",
    "head -c 10 >/dev/null; exit 1", "cat >/dev/null; sleep 5 & exit 0", "sleep 5 <&0 & exit 0",
    "cat >/dev/null; printf '\\033[2J\\000\\377\\n\\n' >&2; exit 1")
_DEVICES = ("ok {}", "status 410 gone {}", "status 500 {}", "large 200000", "cut 200", "reset {}",
            "refuse {}", "refuse-once {}", "goaway {}", "close {}", "destroy {}", "slow 300",
            "retry 503 1 1", "retry 429 1 soon")
_SLOW_DEVICES = ("hang", "unfinished 200", "retry 503 100 1")
_LONGEST_DELIVERY = 60
_LONGEST_OTHER = 20
_POSTERS = 3


class Deliveries(Activity):
    name = "deliveries"
    promise = "every post is answered and stored once, and holds up nobody else"
    needs_root = True
    shortest = 6

    def round(self, chance, seconds):
        system = System()
        with contextlib.ExitStack() as stack:
            stack.callback(system.close)
            self._furnish(system)
            devices = list(_DEVICES) + list(_SLOW_DEVICES if seconds > 45 else ())
            if gateway.is_available():
                served = gateway.Gateway(system, maxStreams=chance.choice((1, 3, 100)))
                stack.callback(served.close)
                served.install_identity()
                _add_devices(system, [chance.choice(devices).format(number)
                                      for number in range(chance.randrange(1, 12))])
            system.start()
            system.mail.install_shell(chance.choice(_MAIL_PROGRAMS))
            system.client().call("AddMailRecipients", recipients=[
                f"user{number}@example.{chance.choice(('org', 'fr', 'de'))}"
                for number in range(chance.randrange(1, 5))])
            self._post_at_once(system)

    @staticmethod
    def _furnish(system):
        system.install_bundle("Common.bundle")
        system.start()
        system.stop()

    @staticmethod
    def _post_at_once(system):
        replies = {}

        def post(number):
            with contextlib.closing(Client(connect(system.socket_path))) as client:
                client.socket.settimeout(_LONGEST_DELIVERY)
                replies[number] = client.call("PostAlert", alert={
                    "bundle": "Common", "type": "Test", "identifier": f"post {number}"})

        threads = [threading.Thread(target=post, args=(number,)) for number in range(_POSTERS)]
        for thread in threads:
            thread.start()
        longest = 0
        while any(thread.is_alive() for thread in threads):
            begin = time.monotonic()
            assert "names" in system.client().call("GetAlertBundleNames")
            longest = max(longest, time.monotonic() - begin)
            system.close_clients()
            time.sleep(0.05)
        assert longest < _LONGEST_OTHER, f"another caller waited {longest:.1f} s"
        assert len(replies) == _POSTERS, f"only {sorted(replies)} were answered"
        alerts = system.client().call("GetAlertsOfBundle", bundle="Common")["alerts"]
        assert sorted(alert["identifier"] for alert in alerts) == \
            [f"post {number}" for number in range(_POSTERS)]


def _add_devices(system, devices):
    for device in devices:
        store.execute(system.store_file,
                      'INSERT INTO "ADPushRecipient" (_version, enabled, guid, localization, token,'
                      ' name) VALUES (1, 1, ?, ?, ?, ?)', device, "en", device.encode(), "Phone")
