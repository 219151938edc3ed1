# SPDX-License-Identifier: Apache-2.0
"""Fixtures: scratch systems with and without a running daemon."""

import os

import pytest

from velto.skipping import skip_or_fail
from velto.mail import Gate
from velto.system import System
from velto.varlink import message


def pytest_configure(config):
    config.addinivalue_line("markers", "needs_root: acts as root or as several users")


def pytest_runtest_setup(item):
    if item.get_closest_marker("needs_root") and os.geteuid() != 0:
        skip_or_fail("needs root, to call as root and as other users")


def _scratch_system():
    scratch = System()
    try:
        yield scratch
    finally:
        scratch.close()


@pytest.fixture
def system():
    """A system of the test's own; nothing runs in it yet."""
    yield from _scratch_system()


@pytest.fixture(scope="module")
def module_system():
    """A system that the tests of a module share; nothing runs in it yet."""
    yield from _scratch_system()


@pytest.fixture(scope="module")
def _printer(module_system):
    module_system.make_bundle("Printer.bundle", texts={"en": {"Jam.subject": "Jam"}})
    module_system.start()
    return module_system


@pytest.fixture
def shared(_printer):
    """A system with a running daemon and the bundle Printer, which the tests of a module share."""
    yield _printer
    _printer.close_clients()
    _printer.daemon.check()


@pytest.fixture
def client(shared):
    """A new connection to the shared daemon."""
    return shared.client()


@pytest.fixture
def gated(system):
    """A system whose mail program waits at a gate, and a posting that waits for it."""
    system.make_bundle("Printer.bundle", texts={"en": {"Jam.subject": "Jam"}})
    system.start()
    poster = system.client()
    poster.call("AddMailRecipients", recipients=["ann@example.org"])
    gate = Gate(system.root, system.mail)
    poster.send(message("PostAlert", {"alert": {"bundle": "Printer", "type": "Jam"}}))
    gate.wait()
    yield system, poster, gate
    gate.close()
