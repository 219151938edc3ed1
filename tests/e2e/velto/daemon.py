# SPDX-License-Identifier: Apache-2.0
"""The running daemon."""

import contextlib
import os
import re
import socket
import subprocess

from .varlink import DEADLINE, wait_for

_SANITIZER_REPORT = re.compile(r"(Address|Leak|Thread|UndefinedBehavior)Sanitizer|runtime error:")


def check_output(text):
    """No sanitizer has complained in what a program said."""
    assert not _SANITIZER_REPORT.search(text), text


class Daemon:
    """A daemon that has told that it is ready. Its standard error stands in `log_file`."""

    def __init__(self, command, root, log_file, environment, descriptors=()):
        self.log_file = log_file
        ready = root / "ready"
        ready.unlink(missing_ok=True)
        self._notifications = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self._notifications.bind(str(ready))
        self._notifications.settimeout(0.2)
        with log_file.open("ab") as log:
            self.process = subprocess.Popen(
                command, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                pass_fds=descriptors, env={**environment, "NOTIFY_SOCKET": str(ready)})
        try:
            self.readiness = self.notification()
            assert self.readiness["READY"] == "1"
        except BaseException:
            self.process.kill()
            self.process.wait(DEADLINE)
            self._notifications.close()
            raise

    def notification(self):
        """What the daemon tells the service manager next, by name."""
        def told():
            assert self.process.poll() is None, f"the daemon ended: {self.log()}"
            try:
                return self._notifications.recv(4096)
            except TimeoutError:
                return b""

        text = wait_for(told, "the daemon's notification").decode()
        return dict(line.split("=", 1) for line in text.splitlines())

    @property
    def pid(self):
        return self.process.pid

    def status(self):
        """What the kernel tells of the process, by name."""
        with open(f"/proc/{self.pid}/status", encoding="ascii") as file:
            return {name: value.strip() for name, _, value in (line.partition(":") for line in file)}

    def threads(self):
        return int(self.status()["Threads"])

    def wait_for_rest(self):
        """Until the threads that have nothing to do are gone, but for those that stay: the run
        loop's, and the three of the queue of commits."""
        wait_for(lambda: self.threads() <= 5, "the threads that have nothing to do")

    def memory(self, name):
        """One of the status's sizes, in bytes."""
        return int(self.status()[name].removesuffix(" kB")) * 1024

    def descriptors(self):
        """What its descriptors are of."""
        folder = f"/proc/{self.pid}/fd"
        found = []
        for name in os.listdir(folder):
            with contextlib.suppress(FileNotFoundError):  # closed meanwhile
                found.append(os.readlink(f"{folder}/{name}"))
        return found

    def log(self):
        return self.log_file.read_text(errors="replace")

    def log_lines(self):
        return self.log().splitlines()

    def check(self):
        """The daemon still runs, and no sanitizer has complained."""
        assert self.process.poll() is None, \
            f"the daemon ended with {self.process.returncode}: {self.log()}"
        check_output(self.log())

    def stop(self):
        """Ends the daemon the way a service manager does."""
        try:
            self.check()
        finally:
            self.process.terminate()
            status = self.process.wait(DEADLINE)
            self._notifications.close()
        assert status == 0, f"ended with {status}: {self.log()}"
        check_output(self.log())

    def kill(self):
        """Ends the daemon as a crash would."""
        self.check()
        self.process.kill()
        self.process.wait(DEADLINE)
        self._notifications.close()
