# SPDX-License-Identifier: Apache-2.0
"""Bundles with bad texts, and alerts with bad attributes: a text or a line in the log, in bounded
time and memory, and the daemon goes on."""

import json

import pytest
from velto.varlink import wait_for

pytestmark = pytest.mark.needs_root

MEBIBYTE = 1 << 20
# What a daemon under a sanitizer may grow by; the texts themselves are small beside it.
MOST_GROWTH = 192 * MEBIBYTE
MOST_LINES = 20
LONGEST = MEBIBYTE - 1000  # of a text, in a file of a megabyte

NESTED = "{a, select, other {" * 500 + "}}" * 500
PLURALS = "{n, plural, one {# file} other {# files}} " * 3000
# Patterns of ICU, and texts in which %{name} stands for an attribute.
PATTERNS = {
    "a megabyte": "x" * LONGEST,
    "a megabyte of braces": "{" * LONGEST,
    "deep nesting": NESTED,
    "thousands of plurals": PLURALS,
    "thousands of styles": "{n, number, ::.000} " * 5000,
    "a long number style": "{n, number, ::." + "0" * 50000 + "}",
    "thousands of names": "".join(f"%{{name {number}}}" for number in range(50000)),
    "names without end": "%{" * 400000,
    "one name again and again": "%{n}" * 200000,
}
DEEP = json.loads("[" * 40 + "]" * 40)
ATTRIBUTES = {
    "none": {},
    "large numbers": {"n": 2 ** 64 - 1, "a": -1.7976931348623157e308},
    "kinds that do not suit": {"n": {"a": [True, {"$date": 1e300}, {"$data": "AAAA"}]}, "a": DEEP},
    "a long text": {"n": "x" * 900000, "a": "\u202e\u0000\n" * 1000},
    "a long list": {"n": list(range(100000))},
    "many names": {f"name {number}": number for number in range(10000)},
}
LOCALES = ("xx", "english", "zz_ZZ.UTF-8@x", "de-" + "x" * 8, "1", "../../etc/passwd", "%n%s", "x" * 500)


@pytest.fixture(scope="module", name="odd")
def _odd(module_system):
    """A daemon with a bundle for each text in both forms, and readers of languages that there are
    not."""
    module_system.install_bundle("Common.bundle")
    for form in ("icu", "plain"):
        for number, text in enumerate(PATTERNS.values()):
            module_system.make_bundle(
                f"{form}{number}.bundle", {"VLTextFormat": "icu"} if form == "icu" else {},
                {"en": {"Odd.subject": "odd", "Odd.message": text[:LONGEST]}})
    module_system.start()
    # There is no events service, which is told at the start, of one bundle after the other.
    wait_for(lambda: sum("Error Loading Alert Bundle" in line for line in module_system.daemon.log_lines())
             == 2 * len(PATTERNS) + 1, "the lines of the start")
    module_system.client().call("AddMailRecipients", recipients=[
        {"address": f"a{number}@example.org", "locale": locale}
        for number, locale in enumerate(LOCALES[:2])])
    return module_system


@pytest.mark.parametrize("form", ("icu", "plain"))
@pytest.mark.parametrize("number", range(len(PATTERNS)), ids=PATTERNS.keys())
def test_a_bad_text_is_a_text_or_a_line(odd, form, number):
    before, lines = odd.daemon.memory("VmRSS"), len(odd.daemon.log_lines())
    mails = len(odd.mail.mails())
    client = odd.client()
    for attributes in ({"n": 1234567.5, "a": "b"}, {}):
        assert client.call("PostAlert", alert={"bundle": f"{form}{number}", "type": "Odd",
                                               "attributes": attributes}) == {}
    wait_for(lambda: len(odd.mail.mails()) == mails + 4, "the mails")
    assert odd.daemon.memory("VmRSS") - before < MOST_GROWTH
    told = [line for line in odd.daemon.log_lines()[lines:] if not line.startswith("MESSAGE=")]
    assert len(told) < MOST_LINES
    assert max(map(len, told), default=0) < 2000


@pytest.mark.parametrize("attributes", ATTRIBUTES.values(), ids=ATTRIBUTES.keys())
def test_attributes_of_every_kind_and_size_make_a_text(odd, attributes):
    client = odd.client()
    for bundle in ("icu3", "plain8"):
        assert client.call("PostAlert", alert={"identifier": f"{bundle}", "bundle": bundle, "type": "Odd",
                                               "attributes": attributes}) == {}
        told = client.call("com.ulmora.velto.AlertsMonitor.GetAlert", identifier=bundle, locale="de")
        assert len(told["message"].encode()) <= MEBIBYTE + 3
        assert client.call("DeleteAlertsWithIds", alertIds=[bundle]) == {}


@pytest.mark.parametrize("locale", LOCALES)
def test_a_language_that_there_is_not_gets_another_one(odd, locale):
    client = odd.client()
    assert client.call("SaveAlerts", alerts=[{"identifier": "1", "bundle": "plain0", "type": "Odd"}]) == {}
    told = client.call("com.ulmora.velto.AlertsMonitor.GetAlert", identifier="1", locale=locale)
    assert told["message"].startswith("xxxx")
    client.call("DeleteAlertsWithIds", alertIds=["1"])


def test_the_daemon_still_serves_and_is_no_larger(odd):
    assert odd.client().call("GetAlertBundleNames")["names"]
    odd.daemon.check()
