# SPDX-License-Identifier: Apache-2.0
"""alertsctl as its users run it: in a pipe, and in a terminal."""

import contextlib
import errno
import json
import os
import pty
import re
import select
import signal
import struct
import subprocess
import termios
import time
from fcntl import ioctl
from typing import NamedTuple

from .daemon import check_output
from .system import ALERTSCTL
from .varlink import DEADLINE

# What a terminal does not show: colours, and the rest of a line that is cleared.
_SEQUENCE = re.compile(r"\x1b\[[0-9;]*[mK]")


class Result(NamedTuple):
    status: int
    output: str
    errors: str

    @property
    def lines(self):
        return self.output.splitlines()

    @property
    def json(self):
        return json.loads(self.output)


class Control:
    """Runs the tool in a system."""

    def __init__(self, system, **environment):
        self._system = system
        self._environment = environment

    def __call__(self, *arguments, text=None, **environment):
        result = self._system.run(ALERTSCTL, *map(str, arguments), text=text,
                                  **{**self._environment, **environment})
        return Result(result.returncode, result.stdout, result.stderr)

    def done(self, *arguments, **options):
        """What it prints when it succeeds, without a word of complaint."""
        result = self(*arguments, **options)
        assert (result.status, result.errors) == (0, ""), result
        return result

    def json(self, *arguments, **options):
        return self.done(*arguments, "-j", **options).json

    def begin(self, *arguments, **environment):
        """Starts it, for what does not end by itself."""
        return subprocess.Popen([ALERTSCTL, *map(str, arguments)], stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, text=True,
                                env=self._system.environment(**self._environment, **environment))

    def terminal(self, *arguments, columns=80, answer="", **environment):
        """What a terminal of that width shows, its lines, and the exit status."""
        process, terminal = pty.fork()
        if process == 0:
            try:
                os.execve(ALERTSCTL, [ALERTSCTL, *map(str, arguments)],
                          {**self._system.environment(), "TERM": "xterm", "PAGER": "cat",
                           **self._environment, **environment})
            finally:
                os._exit(127)  # never the test's own code, in two processes
        ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        os.kill(process, signal.SIGWINCH)
        os.write(terminal, answer.encode())
        text = _read_all(terminal)
        _, status = os.waitpid(process, 0)
        check_output(text)
        return Result(os.waitstatus_to_exitcode(status), text.replace("\r\n", "\n"), "")


def shown(text):
    """What is seen of a terminal's text."""
    return _SEQUENCE.sub("", text)


def _read_all(terminal):
    text = b""
    deadline = time.monotonic() + DEADLINE
    with os.fdopen(terminal, "rb", buffering=0) as file:
        while time.monotonic() < deadline:
            readable, _, _ = select.select([file], [], [], 1)
            if not readable:
                continue
            try:
                part = file.read(65536)
            except OSError as error:  # what Linux says when the other side has gone
                assert error.errno == errno.EIO
                part = b""
            if not part:
                return text.decode()
            text += part
    raise AssertionError(f"it does not end: {text!r}")


@contextlib.contextmanager
def ended(process):
    """Ends a process that was begun."""
    try:
        yield process
    finally:
        process.terminate()
        process.communicate(timeout=DEADLINE)
