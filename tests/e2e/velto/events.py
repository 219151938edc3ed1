# SPDX-License-Identifier: Apache-2.0
"""An events service of the tests' own."""

import json
import socket
import threading

from .system import listening

INTERFACE = "com.ulmora.velto.EventsDaemon"


class EventsService:
    """Answers each call with what `answer(method, parameters)` gives, bytes without their NUL; with
    nothing for None. `calls` has what came, in order."""

    def __init__(self, root, answer=lambda method, parameters: b"{}"):
        directory = root / "run/velto"
        directory.mkdir(parents=True, exist_ok=True)
        self.calls = []
        self._answer = answer
        self._open = []
        self._listener = listening(directory / INTERFACE)
        self._thread = threading.Thread(target=self._serve)
        self._thread.start()

    def _serve(self):
        while True:
            try:
                connection, _ = self._listener.accept()
            except OSError:
                return
            self._open.append(connection)
            message = b""
            while not message.endswith(b"\0"):
                message += connection.recv(4096)
            call = json.loads(message[:-1])
            method = call["method"].removeprefix(INTERFACE + ".")
            self.calls.append((method, call["parameters"]))
            answer = self._answer(*self.calls[-1])
            if answer is not None:
                connection.sendall(answer + b"\0")

    def close(self):
        self._listener.shutdown(socket.SHUT_RDWR)
        self._thread.join()
        self._listener.close()
        for connection in self._open:
            connection.close()
