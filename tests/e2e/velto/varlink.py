# SPDX-License-Identifier: Apache-2.0
"""A Varlink client that can also send what no client should."""

import json
import socket
import struct
import time

from .values import INTERFACE

# How long anything may take before a test gives up on it; a slow machine is not a failure.
DEADLINE = 60


class CallFailed(Exception):
    """A call was answered with a Varlink error."""

    def __init__(self, reply):
        super().__init__(json.dumps(reply))
        self.name = reply["error"]
        self.parameters = reply.get("parameters")


def connect(path):
    """A socket connected to the service at `path`."""
    connection = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    # With a time limit of Python's own, a full queue would be an error at once.
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_SNDTIMEO, struct.pack("ll", DEADLINE, 0))
    connection.connect(str(path))
    connection.settimeout(DEADLINE)
    return connection


def message(method, parameters=None, **flags):
    """The bytes of a call; `method` is the full name or one of the alerts daemon's."""
    envelope = {"method": method if "." in method else f"{INTERFACE}.{method}", **flags}
    if parameters is not None:
        envelope["parameters"] = parameters
    return json.dumps(envelope).encode() + b"\0"


class Client:
    """One connection. Waits at most DEADLINE for anything."""

    def __init__(self, connection):
        self.socket = connection
        self._received = b""

    def close(self):
        self.socket.close()

    def call(self, method, **parameters):
        """The parameters of the reply; raises CallFailed for a Varlink error."""
        reply = self.exchange(method, parameters)
        if "error" in reply:
            raise CallFailed(reply)
        return reply["parameters"]

    def exchange(self, method, parameters=None, **flags):
        """The whole reply to a call."""
        self.send(message(method, parameters, **flags))
        return self.receive()

    def pieces(self, method, **parameters):
        """All replies to a call with the flag `more`."""
        self.send(message(method, parameters, more=True))
        replies = [self.receive()]
        while replies[-1].get("continues"):
            replies.append(self.receive())
        return replies

    def send(self, data):
        self.socket.sendall(data)

    def receive(self):
        """The next message."""
        return json.loads(self.receive_bytes())

    def receive_bytes(self):
        """The next message as it came, without its NUL."""
        chunks = [self._received]
        while b"\0" not in chunks[-1]:
            chunk = self.socket.recv(1 << 18)
            if not chunk:
                raise ConnectionError(f"hung up after {b''.join(chunks)!r}")
            chunks.append(chunk)
        text, _, self._received = b"".join(chunks).partition(b"\0")
        return text

    def end(self):
        """Ends the connection, and waits until the daemon has done with it."""
        self.socket.shutdown(socket.SHUT_WR)
        assert self.is_hung_up()
        self.close()

    def is_hung_up(self):
        """Waits for the daemon to end the connection; false if it says anything before."""
        try:
            return not self._received and self.socket.recv(1) == b""
        except ConnectionResetError:
            return True


def wait_for(condition, what):
    """Waits until `condition()` gives something true, and returns that."""
    deadline = time.monotonic() + DEADLINE
    while not (result := condition()):
        assert time.monotonic() < deadline, f"waited in vain for {what}"
        time.sleep(0.01)
    return result
