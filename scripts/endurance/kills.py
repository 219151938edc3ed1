# SPDX-License-Identifier: Apache-2.0
"""Ends the daemon without warning while it saves, and counts what it had acknowledged."""

import contextlib
import threading

from .activity import Activity
from velto import store
from velto.system import System

_CLIENTS = 4


class Kills(Activity):
    name = "kills"
    promise = "what was acknowledged before kill -9 is there after it"
    needs_root = True
    shortest = 3

    def __init__(self, settings):
        super().__init__(settings)
        self._acknowledged = 0

    def round(self, chance, seconds):
        system = System()
        with contextlib.closing(system):
            acknowledged = set()
            for generation in range(2):
                self._kill_in_between(system, chance, generation, acknowledged)
                found = store.integrity(system.store_file)
                assert found == "ok", f"the store is damaged: {found}"
                system.start()
                alerts = system.client().call("GetAlertsOfBundle", bundle="b")["alerts"]
                lost = acknowledged - {alert["identifier"] for alert in alerts}
                assert not lost, f"{len(lost)} of {len(acknowledged)} acknowledged alerts are lost"
                system.kill()
        self._acknowledged += len(acknowledged)

    def close(self):
        return f"{self._acknowledged} alerts were acknowledged"

    @staticmethod
    def _kill_in_between(system, chance, generation, acknowledged):
        system.start()
        enough = threading.Event()
        wanted = len(acknowledged) + chance.randrange(1, 200)
        size = chance.choice((0, 500, 20000))

        def save(client, number):
            with contextlib.suppress(OSError):
                for count in range(10 ** 9):
                    identifier = f"{generation}.{number}.{count}"
                    alert = {"bundle": "b", "identifier": identifier,
                             "attributes": {"text": "x" * size}}
                    if client.call("SaveAlerts", alerts=[alert]) == {}:
                        acknowledged.add(identifier)
                    if len(acknowledged) >= wanted:
                        enough.set()

        threads = [threading.Thread(target=save, args=(system.client(), number))
                   for number in range(_CLIENTS)]
        for thread in threads:
            thread.start()
        assert enough.wait(60), "saving does not go on"
        system.daemon.process.kill()
        for thread in threads:
            thread.join()
        system.daemon.process.wait()
        system.daemon = None
        system.close_clients()
