# SPDX-License-Identifier: Apache-2.0
"""One daemon that serves mixed calls as long as the regime runs; what it takes is drawn."""

import time

from .activity import Activity
from .plot import plot
from velto.system import System
from velto.traffic import Caller
from velto.varlink import wait_for

# Freed memory goes back at once, as far as the sanitizer can; otherwise its keeping would hide ours.
_SANITIZER = "quarantine_size_mb=0:thread_local_quarantine_size_kb=0:malloc_context_size=0"
_CALLS = 400
_CALLERS = 4
# Until the daemon has all that it makes once and keeps.
_ROUNDS_TO_WARM_UP = 2
_MIB = 1 << 20
_MOST_GROWTH = 8 * _MIB


class Soak(Activity):
    name = "soak"
    promise = f"at rest it takes no more than before: {_MOST_GROWTH // _MIB} MiB, no descriptor"
    needs_root = True
    shortest = 2

    def __init__(self, settings):
        super().__init__(settings)
        self._system = None
        self._callers = []
        self._start = time.monotonic()
        self._samples = []  # (seconds, bytes, descriptors, threads)

    def round(self, chance, seconds):
        self._begin()
        for caller in self._callers:
            caller.random = chance
        for number in range(_CALLS):
            self._callers[number % _CALLERS].call()
        self._come_to_rest()
        daemon = self._system.daemon
        daemon.check()
        self._samples.append((time.monotonic() - self._start, daemon.memory("VmRSS"),
                              self._descriptors(), daemon.threads()))
        self._compare()

    def _begin(self):
        if self._system is None:
            self._system = System()
            self._system.make_bundle("Printer.bundle",
                                     info={"VLAlertTypes": {"Jam": {}, "Ink": {}}},
                                     texts={"en": {"Jam.subject": "Jam"}})
            self._system.install_bundle("Common.bundle")
            self._system.start(ASAN_OPTIONS=_SANITIZER)
            self._callers = [Caller(self._system, number) for number in range(_CALLERS)]

    def _come_to_rest(self):
        client = self._callers[0].client
        client.call("DeleteAlertsBeforeDate", date=1e12)
        client.call("SetMailRecipients", recipients=[])
        client.call("EnableAlertBundle", bundle="Printer")
        self._system.daemon.wait_for_rest()
        # Of the clients that came and went, which are kept for a test's end.
        kept = [caller.client for caller in self._callers]
        self._system._clients[:] = kept  # pylint: disable=protected-access

    def _descriptors(self):
        """Besides the connections to the store that are kept for readers."""
        return len([target for target in self._system.daemon.descriptors()
                    if "alertData.db" not in target])

    def _compare(self):
        if len(self._samples) <= _ROUNDS_TO_WARM_UP:
            return
        _, memory, descriptors, _ = self._samples[_ROUNDS_TO_WARM_UP - 1]
        _, memory_now, _, _ = self._samples[-1]
        wait_for(lambda: self._descriptors() <= descriptors, "descriptors that are not needed")
        grown = memory_now - memory
        assert grown < _MOST_GROWTH, \
            f"{grown / _MIB:.1f} MiB more after {len(self._samples)} rounds"

    def close(self):
        system, self._system = self._system, None
        samples, self._samples = self._samples, []
        if system is not None:
            system.close()
        return self._draw(samples) if samples else None

    def _draw(self, samples):
        path = self.settings.folder / "soak.svg"
        path.write_text(plot(f"{len(samples) * _CALLS} calls", [
            ("memory at rest, MiB", [(s[0], s[1] / _MIB) for s in samples]),
            ("descriptors at rest", [(s[0], s[2]) for s in samples]),
            ("threads at rest", [(s[0], s[3]) for s in samples])]))
        compared = max(0, len(samples) - _ROUNDS_TO_WARM_UP)
        return f"{len(samples) * _CALLS} calls, compared {compared} times; drawn in {path}"
