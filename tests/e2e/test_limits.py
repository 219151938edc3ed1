# SPDX-License-Identifier: Apache-2.0
"""How much a caller may send."""

import contextlib

import pytest
from velto.varlink import message

pytestmark = pytest.mark.needs_root

NOBODY = 65534
TRUSTED = 214
KIB = 1024


def call_of(size):
    """A call of GetAlertBundleNames that has so many bytes, its NUL not counted."""
    plain = message("GetAlertBundleNames")
    return plain[:-1] + b" " * (size - len(plain) + 1) + b"\0"


@pytest.mark.parametrize("uid, gid, limit", [
    (NOBODY, NOBODY, 64 * KIB), (TRUSTED, NOBODY, 1024 * KIB),
    (0, NOBODY, 16 * 1024 * KIB), (NOBODY, 0, 16 * 1024 * KIB)])
def test_who_may_do_little_sends_little(shared, uid, gid, limit):
    within = shared.client_as(uid, gid)
    within.send(call_of(limit))
    assert "names" in within.receive()["parameters"]

    for too_long in (call_of(limit + 1), b" " * (limit + 128 * KIB)):
        beyond = shared.client_as(uid, gid)
        with contextlib.suppress(ConnectionError):  # it may end before all has been sent
            beyond.send(too_long)
        assert beyond.is_hung_up()
