# SPDX-License-Identifier: Apache-2.0
"""What a test does without what it needs."""

import os

import pytest


def skip_or_fail(reason):
    """Skips the running test, with the reason as its word; fails it where the environment variable
    CI is set. Does not return."""
    if "CI" in os.environ:
        pytest.fail(reason)
    pytest.skip(reason)
