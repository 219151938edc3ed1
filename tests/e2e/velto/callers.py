"""Connections made by other users."""

import os
import socket

from .varlink import DEADLINE, Client, connect


class OtherUser(Client):
    """A connection made by a child process that became another user, in no further groups. The
    child stays until the connection is closed, as the peer that it is."""

    def __init__(self, path, uid, gid):
        ours, theirs = socket.socketpair()
        ours.settimeout(DEADLINE)
        self._child = os.fork()
        if self._child == 0:
            _connect_and_wait(path, uid, gid, theirs)
        theirs.close()
        self._control = ours
        _, descriptors, _, _ = socket.recv_fds(ours, 1, 1)
        assert descriptors, f"user {uid}, group {gid} could not connect"
        super().__init__(socket.socket(fileno=descriptors[0]))
        self.socket.settimeout(DEADLINE)

    def close(self):
        super().close()
        self._control.close()
        os.waitpid(self._child, 0)


def _connect_and_wait(path, uid, gid, control):
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
        control.recv(1)
    finally:
        os._exit(0)
