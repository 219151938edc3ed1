# SPDX-License-Identifier: Apache-2.0
"""A daemon that is handed its socket, as a service manager does it."""

import sys

from .system import ALERTSD

# Becomes the daemon, with the descriptors named on the command line where a service manager would
# put them.
_HAND_OVER = """
import fcntl, os, sys
*numbers, program = sys.argv[1:]
copies = []
for number in map(int, numbers):
    copies.append(fcntl.fcntl(number, fcntl.F_DUPFD_CLOEXEC, 100))
    os.set_inheritable(number, False)
for place, copy in enumerate(copies):
    os.dup2(copy, 3 + place)
os.environ.update(LISTEN_PID=str(os.getpid()), LISTEN_FDS=str(len(copies)))
os.execv(program, [program])
"""


def handed_over(*files):
    """The command that starts a daemon with these files, and their descriptors."""
    numbers = [file.fileno() for file in files]
    return (sys.executable, "-IS", "-c", _HAND_OVER, *map(str, numbers), ALERTSD), numbers
