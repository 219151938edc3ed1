# SPDX-License-Identifier: Apache-2.0
"""Fixtures: systems that boot, with the packages installed in them."""

import os
import pathlib
import shutil
import sys

import pytest

sys.path.append(str(pathlib.Path(__file__).resolve().parents[1] / "e2e"))

# pylint: disable=wrong-import-position
from support.base import PACKAGES, base
from support.machine import Machine
from velto.skipping import skip_or_fail


@pytest.fixture(scope="session")
def debian():
    """The folder that every system is laid over."""
    if os.geteuid() != 0:
        skip_or_fail("needs root, to boot a system in a folder")
    for program in ("systemd-nspawn", "debootstrap", "nsenter"):
        if shutil.which(program) is None:
            skip_or_fail(f"needs {program}")
    if not any(PACKAGES.glob("velto-alerts_*.deb")):
        skip_or_fail("needs the packages, which packaging/build-deb makes")
    return base()


def _boot(debian):
    machine = Machine(debian, PACKAGES)
    try:
        yield machine
    finally:
        machine.close()


@pytest.fixture
def bare(debian):
    """A booted system without our packages."""
    yield from _boot(debian)


@pytest.fixture
def machine(bare):
    """A booted system with our packages, of the test's own."""
    bare.install()
    return bare


@pytest.fixture(scope="module")
def shared(debian):
    """The same, for the tests of a module together."""
    for booted in _boot(debian):
        booted.install()
        yield booted
