# SPDX-License-Identifier: Apache-2.0
"""Administrative access without a password: a program that runs as root starts the bridge that an ordinary user's session
asks for, with the session's own descriptors, over which the two bridges pass descriptors of theirs.

usage: grants.py serve SOCKET   starts a bridge for whoever asks; prints a line once it can be asked
       grants.py ask SOCKET     becomes, as far as the session can tell, that bridge
"""

import os
import socket
import subprocess
import sys
import threading


def serve(path):
    with socket.socket(socket.AF_UNIX) as listener:
        listener.bind(path)
        os.chmod(path, 0o666)
        listener.listen()
        print("ready", flush=True)
        while True:
            peer, _ = listener.accept()
            threading.Thread(target=grant, args=(peer,), daemon=True).start()


def grant(peer):
    with peer:
        streams = socket.recv_fds(peer, 1, 3)[1]
        bridge = ["setpriv", "--pdeathsig", "TERM", "cockpit-bridge", "--privileged"]
        with subprocess.Popen(bridge, stdin=streams[0], stdout=streams[1], stderr=streams[2]):
            for stream in streams:
                os.close(stream)


def ask(path):
    with socket.socket(socket.AF_UNIX) as peer:
        peer.connect(path)
        socket.send_fds(peer, [b"\n"], [0, 1, 2])
        peer.recv(1)


if __name__ == "__main__":
    {"serve": serve, "ask": ask}[sys.argv[1]](sys.argv[2])
