# SPDX-License-Identifier: Apache-2.0
"""Tests that lack something skip, and fail where CI is set."""

import pytest
from velto.skipping import skip_or_fail


def test_a_test_that_lacks_something_is_skipped_with_the_reason(monkeypatch):
    monkeypatch.delenv("CI", raising=False)
    with pytest.raises(pytest.skip.Exception, match="^needs a cow$"):
        skip_or_fail("needs a cow")


@pytest.mark.parametrize("value", ["1", "true", ""])
def test_it_fails_with_the_reason_where_ci_is_set(monkeypatch, value):
    monkeypatch.setenv("CI", value)
    with pytest.raises(pytest.fail.Exception, match="^needs a cow$"):
        skip_or_fail("needs a cow")
