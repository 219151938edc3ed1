# SPDX-License-Identifier: Apache-2.0
"""Connections made by other users."""

import contextlib
import os
import signal
import socket

from .varlink import DEADLINE, Client, connect


@contextlib.contextmanager
def acting_as(uid, gid):
    """Connections that this process makes meanwhile are that user's."""
    os.setegid(gid)
    os.seteuid(uid)
    try:
        yield
    finally:
        os.seteuid(0)
        os.setegid(0)


class OtherUser(Client):
    """A connection made by a child process that became another user, in no further groups. The
    child stays until the connection is closed, as the peer that it is."""

    def __init__(self, path, uid, gid, then=None):
        """`then` is the program that the child becomes when it is told to go on."""
        ours, theirs = socket.socketpair()
        ours.settimeout(DEADLINE)
        self.process = os.fork()
        if self.process == 0:
            _connect_and_wait(path, uid, gid, theirs, then)
        theirs.close()
        self._control = ours
        _, descriptors, _, _ = socket.recv_fds(ours, 1, 1)
        assert descriptors, f"user {uid}, group {gid} could not connect"
        super().__init__(socket.socket(fileno=descriptors[0]))
        self.socket.settimeout(DEADLINE)

    def go_on(self):
        self._control.send(b"g")

    def end_process(self):
        """The connection stays."""
        if self.process:
            os.kill(self.process, signal.SIGKILL)
            os.waitpid(self.process, 0)
            self.process = None

    def close(self):
        super().close()
        self._control.close()
        if self.process:
            os.waitpid(self.process, 0)
            self.process = None


def _connect_and_wait(path, uid, gid, control, then):
    """Never returns."""
    try:
        # What this process inherited belongs to other connections, which it must not keep open.
        os.closerange(3, control.fileno())
        os.closerange(control.fileno() + 1, os.sysconf("SC_OPEN_MAX"))
        os.setgroups([])
        os.setresgid(gid, gid, gid)
        os.setresuid(uid, uid, uid)
        with connect(path) as connection:
            socket.send_fds(control, [b"c"], [connection.fileno()])
        if control.recv(1) and then:
            os.execv(then[0], then)
    finally:
        os._exit(0)
