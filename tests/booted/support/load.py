# SPDX-License-Identifier: Apache-2.0
"""Many clients that save alerts all the time, whatever becomes of the daemon."""

import threading

from velto.varlink import Client, connect


class Load:
    """Clients of which each connects, saves one alert, and hangs up, again and again."""

    def __init__(self, path, clients):
        self.answered = []
        self.refused = []
        self._path = path
        self._ended = threading.Event()
        self._threads = [threading.Thread(target=self._save, args=(number,))
                         for number in range(clients)]

    def __enter__(self):
        for thread in self._threads:
            thread.start()
        return self

    def __exit__(self, *exception):
        self._ended.set()
        for thread in self._threads:
            thread.join()

    def _save(self, number):
        count = 0
        while not self._ended.is_set():
            identifier = f"{number}.{count}"
            count += 1
            try:
                connection = connect(self._path)
            except OSError as error:
                self.refused.append(error)
                continue
            with connection:
                try:
                    reply = Client(connection).call(
                        "SaveAlerts", alerts=[{"bundle": "crowd", "identifier": identifier}])
                except OSError:
                    continue  # the daemon ended before it began the call
                assert reply == {}
                self.answered.append(identifier)


def check_stored(load, client):
    """What was answered is stored, once; and nobody met a closed door."""
    stored = [alert["identifier"]
              for alert in client.call("GetAlertsOfBundle", bundle="crowd")["alerts"]]
    assert len(stored) == len(set(stored))
    assert set(load.answered) <= set(stored)
    assert not load.refused
