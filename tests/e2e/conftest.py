"""Fixtures: scratch systems with and without a running daemon."""

import os

import pytest

from velto.system import System


def pytest_configure(config):
    config.addinivalue_line("markers", "needs_root: acts as root or as several users")


def pytest_runtest_setup(item):
    if item.get_closest_marker("needs_root") and os.geteuid() != 0:
        refuse = pytest.fail if os.environ.get("CI") else pytest.skip
        refuse("needs root, to call as root and as other users")


@pytest.fixture
def system():
    """A system of the test's own; nothing runs in it yet."""
    scratch = System()
    try:
        yield scratch
    finally:
        scratch.close()


@pytest.fixture(scope="module")
def _shared_system():
    scratch = System()
    try:
        scratch.make_bundle("Printer.bundle", texts={"en": {"Jam.subject": "Jam"}})
        scratch.start()
        yield scratch
    finally:
        scratch.close()


@pytest.fixture
def shared(_shared_system):
    """A system with a running daemon and the bundle Printer, which the tests of a module share."""
    yield _shared_system
    _shared_system.daemon.check()


@pytest.fixture
def client(shared):
    """A new connection to the shared daemon."""
    return shared.client()
