# SPDX-License-Identifier: Apache-2.0
"""A system that boots in a folder, and commands run in it."""

import contextlib
import os
import pathlib
import signal
import subprocess
import tempfile
import time

_DEADLINE = 120
_LONGEST_END = 20

# A group of its own for the system's processes, in every hierarchy that systemd uses: several systems
# in one would take each other's services for their own.
_START = """
for hierarchy in /sys/fs/cgroup /sys/fs/cgroup/systemd /sys/fs/cgroup/unified; do
  [ -e "$hierarchy/cgroup.procs" ] || continue
  mkdir -p "$hierarchy/$1" && echo 0 > "$hierarchy/$1/cgroup.procs"
done
exec systemd-nspawn --quiet --directory="$2" --machine="$1" --register=no --keep-unit --boot \\
  --link-journal=no --private-network --console=pipe --hostname=machine --bind-ro="$3:/packages"
"""


class Container:
    """A booted system over a copy of the base that goes with it."""

    def __init__(self, base, packages):
        self._stack = contextlib.ExitStack()
        self.init = None
        try:
            self.root = self._mount(base)
            self._boot(packages)
        except BaseException:
            self._stack.close()
            raise

    def _mount(self, base):
        """Lays a folder in memory over the base."""
        self._scratch = pathlib.Path(self._stack.enter_context(
            tempfile.TemporaryDirectory(prefix="velto-booted-")))
        _host("mount", "-t", "tmpfs", "-o", "size=2g,mode=0755", "tmpfs", self._scratch)
        self._stack.callback(_host, "umount", "--lazy", self._scratch)
        for name in ("upper", "work", "root"):
            (self._scratch / name).mkdir()
        root = self._scratch / "root"
        _host("mount", "-t", "overlay", "overlay", "-o",
              f"lowerdir={base},upperdir={self._scratch}/upper,workdir={self._scratch}/work", root)
        self._stack.callback(_host, "umount", "--lazy", root)
        return root

    def _boot(self, packages):
        name = self._scratch.name.replace("_", "-").strip("-")
        self._console = self._stack.enter_context((self._scratch / "console").open("wb"))
        self._process = subprocess.Popen(
            ["sh", "-ec", _START, "sh", name, str(self.root), str(packages)],
            stdin=subprocess.DEVNULL, stdout=self._console, stderr=subprocess.STDOUT)
        self._stack.callback(_remove_groups, name)
        self._stack.callback(self._end)
        self.init = wait_for(self._find_init, "the system's first process")
        wait_for(self._is_running, "the system's start")

    def _find_init(self):
        assert self._process.poll() is None, self.console()
        children = pathlib.Path(f"/proc/{self._process.pid}/task/{self._process.pid}/children")
        for child in children.read_text().split():
            with contextlib.suppress(FileNotFoundError):
                if pathlib.Path(f"/proc/{child}/comm").read_text().strip() == "systemd":
                    return int(child)
        return None

    def _is_running(self):
        """"degraded" will do: a unit that fails in a container is none of ours."""
        assert self._process.poll() is None, self.console()
        result = self.try_run("systemctl", "is-system-running", "--wait")
        return result.stdout.strip() in ("running", "degraded")

    def _end(self):
        if self._process.poll() is None:
            self._process.terminate()  # which powers the system off
            try:
                self._process.wait(_LONGEST_END)
            except subprocess.TimeoutExpired:
                # With the first process goes the rest of the system, but not with its starter.
                if self.init:
                    os.kill(self.init, signal.SIGKILL)
                self._process.kill()
                self._process.wait()

    def close(self):
        self._stack.close()

    def console(self):
        return (self._scratch / "console").read_text(errors="replace")

    def command(self, *command, user=None):
        """The command of this machine that runs a command in the system."""
        become = ["setpriv", "--reuid", user, "--regid", user, "--init-groups"] if user else []
        return ["nsenter", "--target", str(self.init), "--mount", "--uts", "--ipc", "--net", "--pid",
                "--wd=" + f"/proc/{self.init}/root", "--", *become, *map(str, command)]

    def try_run(self, *command, text="", user=None):
        """What became of a command."""
        environment = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LANG": "C.UTF-8",
                       "DEBIAN_FRONTEND": "noninteractive"}
        return subprocess.run(self.command(*command, user=user), input=text, capture_output=True,
                              text=True, timeout=_DEADLINE * 3, check=False, env=environment)

    def run(self, *command, text="", user=None):
        """The standard output of a command that succeeds."""
        result = self.try_run(*command, text=text, user=user)
        assert result.returncode == 0, \
            f"{command}: {result.returncode}\n{result.stdout[-3000:]}\n{result.stderr[-3000:]}"
        return result.stdout

    def path(self, path):
        """A path of the system, as this machine sees it, with what is mounted there."""
        return pathlib.Path(f"/proc/{self.init}/root") / path.lstrip("/")


def _host(*command):
    subprocess.run([str(word) for word in command], check=True, capture_output=True)


def _remove_groups(name):
    for part in ("", "systemd", "unified"):
        group = pathlib.Path("/sys/fs/cgroup") / part / name
        for folder in sorted([group, *group.glob("**/")], reverse=True):
            with contextlib.suppress(OSError):  # not this hierarchy's
                folder.rmdir()


def wait_for(condition, what, seconds=_DEADLINE):
    """Waits until `condition()` gives something true, and returns that."""
    deadline = time.monotonic() + seconds
    while not (result := condition()):
        assert time.monotonic() < deadline, f"waited in vain for {what}"
        time.sleep(0.05)
    return result
