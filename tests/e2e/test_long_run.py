# SPDX-License-Identifier: Apache-2.0
"""An hour of calls at random, one a second, in as little time as they take."""

import pytest
from velto.traffic import Caller
from velto.varlink import wait_for

pytestmark = pytest.mark.needs_root

CALLS = 3600
# Freed memory goes back at once, as far as the sanitizer can; otherwise its keeping would hide ours.
SANITIZER = "quarantine_size_mb=0:thread_local_quarantine_size_kb=0:malloc_context_size=0"


def make_calls(system, callers, count):
    for number in range(count):
        callers[number % len(callers)].call()
    # Where the calls began.
    client = callers[0].client
    client.call("DeleteAlertsBeforeDate", date=1e12)
    client.call("SetMailRecipients", recipients=[])
    client.call("EnableAlertBundle", bundle="Printer")
    system.daemon.wait_for_rest()


def descriptors(daemon):
    """How many it has besides the connections to the store that it keeps for readers."""
    return len([target for target in daemon.descriptors() if "alertData.db" not in target])


def test_after_an_hour_of_calls_memory_and_descriptors_are_where_they_were(system):
    system.make_bundle("Printer.bundle", info={"VLAlertTypes": {"Jam": {}, "Ink": {}}},
                       texts={"en": {"Jam.subject": "Jam"}})
    system.install_bundle("Common.bundle")
    daemon = system.start(ASAN_OPTIONS=SANITIZER)
    callers = [Caller(system, seed) for seed in range(4)]
    # Until it has all that it makes once and keeps.
    make_calls(system, callers, CALLS * 2 // 3)
    before = descriptors(daemon)
    memory = daemon.memory("VmRSS")
    make_calls(system, callers, CALLS)
    wait_for(lambda: descriptors(daemon) == before, "the descriptors that are not needed")
    grown = daemon.memory("VmRSS") - memory
    assert grown < 4_000_000, f"{grown} bytes more"
