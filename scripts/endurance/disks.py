# SPDX-License-Identifier: Apache-2.0
"""Disks that are full, or cannot be written any more."""

import contextlib
import random
import subprocess
import sys

from .activity import Activity
from velto.system import ALERTSD, System

_LIMITED = """
import os, resource, sys
resource.setrlimit(resource.RLIMIT_FSIZE, (int(sys.argv[1]),) * 2)
os.execv(sys.argv[2], sys.argv[2:])
"""
_KIB = 1024


def _mount(*arguments):
    return subprocess.run(["mount", *map(str, arguments)], capture_output=True, text=True,
                          check=False)


class Disks(Activity):
    name = "disks"
    promise = "a full or read-only disk fails the save and loses nothing"
    needs_root = True
    shortest = 3

    def __init__(self, settings):
        super().__init__(settings)
        self._mounts = None

    def round(self, chance, seconds):
        system = System()
        with contextlib.closing(system):
            system.store_directory.mkdir()
            if self._mounts is not False:
                self._mounts = _mount("-t", "tmpfs", "-o", f"size={chance.randrange(2, 9)}m",
                                      "velto-endure", system.store_directory).returncode == 0
            if not self._mounts:
                return self._limited(system, chance)
            try:
                kind = chance.choice((self._full, self._read_only))
                kind(system, chance)
            finally:
                if system.daemon:
                    system.stop()
                subprocess.run(["umount", system.store_directory], check=True)
        return None

    def close(self):
        return "no mount was allowed: limits of the size of files instead" \
            if self._mounts is False else None

    def _full(self, system, chance):
        system.start()
        saved = _Saves(system, chance)
        for _ in range(chance.randrange(1, 4)):
            filler = system.store_directory / "filler"
            _fill(filler)
            saved.until_one_fails()
            filler.unlink()
            saved.one()
        saved.check()

    @staticmethod
    def _read_only(system, chance):
        system.start()
        saved = _Saves(system, chance)
        for _ in range(chance.randrange(1, 20)):
            saved.one()
        # A file system with open files is not made read-only: its files are, at the next start.
        system.stop()
        assert _mount("-o", "remount,ro", system.store_directory).returncode == 0
        system.start()
        reply = system.client().call("SaveAlerts", alerts=[{"identifier": "no"}])
        assert "error" in reply, f"saved on a read-only disk: {reply}"
        system.stop()
        assert _mount("-o", "remount,rw", system.store_directory).returncode == 0
        system.start()
        saved.one()
        saved.check()

    @staticmethod
    def _limited(system, chance):
        system.start(sys.executable, "-IS", "-c", _LIMITED,
                     str(chance.randrange(300, 2000) * _KIB), ALERTSD)
        saved = _Saves(system, chance)
        saved.until_one_fails()
        saved.check()


def _fill(path):
    with path.open("wb", buffering=0) as filler, contextlib.suppress(OSError):
        while True:
            filler.write(bytes(4096))


class _Saves:
    """Saves alerts of one bundle, and knows which were acknowledged."""

    def __init__(self, system, chance):
        self._system = system
        self._chance = random.Random(chance.random())
        self._number = 0
        self._acknowledged = set()

    def _save(self):
        self._number += 1
        text = "x" * self._chance.randrange(60_000)
        alert = {"bundle": "b", "identifier": str(self._number), "attributes": {"text": text}}
        reply = self._system.client().call("SaveAlerts", alerts=[alert])
        if reply == {}:
            self._acknowledged.add(str(self._number))
        return reply

    def one(self):
        reply = self._save()
        assert reply == {}, f"there is room, and yet {reply}"

    def until_one_fails(self):
        for _ in range(2000):
            reply = self._save()
            if reply:
                assert reply["error"]["domain"] == "VeltoPersistence", reply
                break
        else:
            raise AssertionError("nothing fails on a full disk")

    def check(self):
        """All of them are there, at once and after a start without any limit."""
        for is_new in (False, True):
            if is_new:
                self._system.stop()
                self._system.start()
            alerts = self._system.client().call("GetAlertsOfBundle", bundle="b")["alerts"]
            stored = [alert["identifier"] for alert in alerts]
            assert sorted(stored) == sorted(self._acknowledged), \
                f"{len(stored)} are stored, {len(self._acknowledged)} were acknowledged"
