# SPDX-License-Identifier: Apache-2.0
"""Many clients that save all the time, while the daemon is stopped and started."""

import contextlib
import itertools
import signal
import threading
import time

from .handing_over import handed_over
from .system import listening
from .values import SERVICE
from .varlink import DEADLINE, Client, connect, message, wait_for

# A client that sends its first call later than this after it has connected may find that the daemon has not waited.
AT_ONCE = 0.5


class Crowd:
    """Half of the clients keep their connection as long as it lasts, the others connect anew for
    each save. What became of each save is kept by its identifier."""

    def __init__(self, path, size):
        self.answered = []
        self.errors = []  # that a save was answered with
        self.stops = 0
        self.failed = []  # saves that a stop must not fail
        self._path = path
        self._over = threading.Event()
        self._threads = [threading.Thread(target=self._save_on, args=(number,))
                         for number in range(size)]
        for thread in self._threads:
            thread.start()

    def go_on(self):
        """Waits for some saves."""
        enough = len(self.answered) + len(self._threads)
        wait_for(lambda: len(self.answered) >= enough, "some saves")

    def end(self):
        self._over.set()
        for thread in self._threads:
            thread.join(DEADLINE)
            assert not thread.is_alive(), "a client still waits for its reply"

    def _save_on(self, number):
        client = None
        for count in itertools.count():
            if self._over.is_set():
                break
            is_first = client is None
            if is_first:
                connected = time.monotonic()
                client = Client(connect(self._path))
            identifier = f"{number}.{count}"
            if not self._save(client, identifier, connected if is_first else None) or number % 2 == 0:
                client.close()
                client = None
        if client is not None:
            client.close()

    def _save(self, client, identifier, connected):
        """False when the connection has ended, as it may on a stop once it has been used."""
        begun = time.monotonic()
        try:
            client.send(message("SaveAlerts", {"alerts": [{"bundle": "crowd", "identifier": identifier}]}))
            begun = time.monotonic()
            reply = client.receive()["parameters"]
        except OSError as error:
            if connected is not None and begun - connected < AT_ONCE:
                self.failed.append(f"{identifier}: {error}")
            return False
        self.answered.append(identifier)
        if reply:
            self.errors.append(f"{identifier}: {reply}")
        return True


def start_handed_over(system, listener):
    command, descriptors = handed_over(listener)
    return system.start(*command, descriptors=descriptors, LISTEN_FDNAMES="varlink")


def begin_stop(daemon):
    """Tells the daemon to stop, and waits until it has heard: it catches the signal once."""
    daemon.process.terminate()
    wait_for(lambda: not int(daemon.status()["SigCgt"], 16) >> (signal.SIGTERM - 1) & 1
             or daemon.process.poll() is not None, "the signal to be taken")


def restart_under(system, clients, restarts):
    """Restarts the daemon so often under so many clients, with the socket kept as a service manager
    keeps it. No save failed but on a connection that was kept across the stop, and none was both
    stored and left unanswered."""
    path = system.root / "kept"
    with listening(path) as listener:
        listener.listen(4 * clients)
        start_handed_over(system, listener)
        crowd = Crowd(path, clients)
        try:
            for _ in range(restarts):
                crowd.go_on()
                _restart(system, listener, crowd)
        finally:
            crowd.end()
        with contextlib.closing(Client(connect(path))) as client:
            alerts = client.call("GetAlertsOfBundle", bundle="crowd")["alerts"]
        stored = [alert["identifier"] for alert in alerts]
        failed = crowd.errors + crowd.failed
        assert not failed, f"{len(failed)} saves failed: {failed[:5]}"
        assert len(stored) == len(set(stored)), "stored twice"
        assert set(crowd.answered) == set(stored), \
            f"stored and unanswered: {sorted(set(stored) - set(crowd.answered))[:5]}, " \
            f"lost: {sorted(set(crowd.answered) - set(stored))[:5]}"
        system.stop()
    return crowd


def _restart(system, listener, crowd):
    daemon = system.daemon
    with contextlib.closing(Client(connect(listener.getsockname()))) as idle:
        assert "vendor" in idle.call(f"{SERVICE}.GetInfo")
        daemon.process.terminate()
        assert idle.is_hung_up()
        crowd.stops += 1
    assert daemon.process.wait(DEADLINE) == 0, daemon.log()
    system.daemon = None
    start_handed_over(system, listener)
