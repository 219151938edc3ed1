# SPDX-License-Identifier: Apache-2.0
"""Calls that wait for a mail program: so many of one user at a time, and the others as before."""

import contextlib
import os

import pytest
from test_stop import begin_stop
from velto.callers import acting_as
from velto.mail import Gate
from velto.varlink import DEADLINE, Client, connect, message, wait_for

pytestmark = pytest.mark.needs_root

TRUSTED = 214
SHARE = 16  # of a user; what waits beyond it waits without a thread
POST = message("PostAlert", {"alert": {"bundle": "Printer", "type": "Jam"}})
NAMES = message("GetAlertBundleNames")


def children(daemon):
    """The ids of the processes that the daemon has started."""
    found = []
    for name in filter(str.isdigit, os.listdir("/proc")):
        with contextlib.suppress(FileNotFoundError, ProcessLookupError):
            with open(f"/proc/{name}/stat", encoding="utf-8") as file:
                if int(file.read().rpartition(")")[2].split()[1]) == daemon.pid:
                    found.append(int(name))
    return found


@pytest.fixture
def post_office(system):
    """A system whose mail program waits at a gate, the gate, and a way to connect as somebody."""
    system.make_bundle("Printer.bundle", texts={"en": {"Jam.subject": "Jam"}})
    system.start()
    system.client().call("AddMailRecipients", recipients=["ann@example.org"])
    with contextlib.ExitStack() as stack:
        gate = stack.enter_context(contextlib.closing(Gate(system.root, system.mail)))

        def clients(uid, count):
            with acting_as(uid, uid):
                made = [stack.enter_context(connect(system.socket_path)) for _ in range(count)]
            for each in made:
                each.settimeout(DEADLINE)
            return [Client(each) for each in made]

        yield system, gate, clients


def post(gate, posters, begun):
    """Has all of them post, and waits until so many mail programs have been started. A quick call
    before each post tells that it has been looked at."""
    for poster in posters:
        poster.send(NAMES + POST)
    for poster in posters:
        assert "names" in poster.receive()["parameters"]
    for _ in range(begun):
        gate.wait()


def test_many_posts_of_a_service_have_a_share_of_threads_and_processes(post_office):
    system, gate, clients = post_office
    daemon = system.daemon
    threads = daemon.threads()
    posters = clients(TRUSTED, 300)
    post(gate, posters, SHARE)
    assert len(children(daemon)) == SHARE
    assert daemon.threads() <= threads + SHARE + 4

    # Neither another user's post nor other calls of the same user wait for them.
    others = clients(0, 10)
    post(gate, others, 10)
    assert len(children(daemon)) == SHARE + 10
    quick = clients(TRUSTED, 20)
    for client in quick:
        assert client.call("GetAlertBundleNames") == {"names": ["Printer"]}

    for _ in posters + others:
        gate.open()
    assert all(one.receive() == {"parameters": {}} for one in posters + others)
    stored = system.client().call("GetAlertsOfBundle", bundle="Printer")["alerts"]
    assert len(stored) == len(posters + others)


def test_posts_that_have_no_place_yet_are_not_begun_by_a_stop(post_office):
    system, gate, clients = post_office
    daemon = system.daemon
    posters = clients(TRUSTED, SHARE + 20)
    post(gate, posters, SHARE)
    begin_stop(daemon)
    for _ in posters:
        gate.open()
    answered = 0
    for poster in posters:
        with contextlib.suppress(ConnectionError):
            assert poster.receive() == {"parameters": {}}
            answered += 1
    assert answered == SHARE
    assert daemon.process.wait(DEADLINE) == 0, daemon.log()
    system.daemon = None
    system.start()
    assert len(system.client().call("GetAlertsOfBundle", bundle="Printer")["alerts"]) == SHARE


def test_a_client_that_hangs_up_before_its_post_is_begun_has_posted(post_office):
    system, gate, clients = post_office
    posters = clients(TRUSTED, SHARE)
    post(gate, posters, SHARE)
    (gone,) = clients(TRUSTED, 1)
    post(gate, [gone], 0)
    gone.close()
    for _ in range(SHARE + 1):
        gate.open()
    listing = system.client()
    wait_for(lambda: len(listing.call("GetAlertsOfBundle", bundle="Printer")["alerts"]) == SHARE + 1,
             "the alert to be stored")
