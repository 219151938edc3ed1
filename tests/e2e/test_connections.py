# SPDX-License-Identifier: Apache-2.0
"""Many connections, and descriptors that are used up."""

import contextlib
import resource

import pytest
from velto.callers import acting_as
from velto.skipping import skip_or_fail
from velto.system import ALERTSD
from velto.varlink import Client, connect, message, wait_for

NOBODY = 65534
LIMIT = 300  # of descriptors, for a daemon whose users want more


def is_served(client):
    try:
        return client.call("GetAlertBundleNames") == {"names": []}
    except (ConnectionError, BrokenPipeError):
        return False


@pytest.fixture
def clients(system):
    """Makes connections, so many at a time, which end with the test."""
    with contextlib.ExitStack() as stack:
        yield lambda count: [
            Client(stack.enter_context(connect(system.socket_path))) for _ in range(count)]


def start_with_few_descriptors(system):
    return system.start("/bin/sh", "-c", f"ulimit -n {LIMIT}; exec {ALERTSD}")


@pytest.mark.needs_root
def test_one_user_cannot_use_up_the_descriptors_of_the_others(system, clients):
    daemon = start_with_few_descriptors(system)
    root = clients(1)[0]
    assert is_served(root)
    before = len(daemon.descriptors())
    with acting_as(NOBODY, NOBODY):
        greedy = clients(2 * LIMIT)
    with acting_as(NOBODY - 1, NOBODY - 1):
        modest = clients(20)
    assert all(map(is_served, clients(20) + modest + [root]))

    served = [is_served(client) for client in greedy]
    assert served == sorted(served, reverse=True), "the ones made first stay"
    assert LIMIT / 3 < served.count(True) < LIMIT
    for client in greedy:
        client.close()
    wait_for(lambda: len(daemon.descriptors()) == before + 40, "the descriptors of the greedy user")
    with acting_as(NOBODY, NOBODY):
        assert all(map(is_served, clients(LIMIT // 3)))


@pytest.mark.needs_root
def test_clients_that_say_nothing_or_stop_halfway_make_room_for_others_too(system, clients):
    daemon = start_with_few_descriptors(system)
    with acting_as(NOBODY, NOBODY):
        for client in clients(LIMIT):
            with contextlib.suppress(ConnectionError):
                client.send(message("GetAlertBundleNames")[:-10])
        deaf = clients(LIMIT)
    for client in deaf:
        with contextlib.suppress(ConnectionError, BlockingIOError):
            client.socket.setblocking(False)
            client.send(message("GetAlertBundleNames") * 5000)
    assert all(map(is_served, clients(20)))
    daemon.check()


def test_one_user_may_have_all_connections_that_nobody_else_wants(system, clients):
    start_with_few_descriptors(system)
    assert all(map(is_served, clients(LIMIT // 2)))


def test_idle_connections_cost_no_thread(system, clients):
    count = 10_000
    hard = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
    if hard < count + 200:
        skip_or_fail(f"needs {count + 200} descriptors")
    resource.setrlimit(resource.RLIMIT_NOFILE, (hard, hard))
    daemon = system.start()
    (first,) = clients(1)
    assert is_served(first)
    threads, descriptors = daemon.threads(), len(daemon.descriptors())
    idle = clients(count)
    assert all(map(is_served, idle))
    # Threads that found something to do at the same time, and end again; not one for each.
    assert daemon.threads() <= threads + 20
    assert len(daemon.descriptors()) == descriptors + count
    assert is_served(first)
    for client in idle:
        client.close()
    wait_for(lambda: len(daemon.descriptors()) == descriptors, "the descriptors of the idle clients")
