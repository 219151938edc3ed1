# SPDX-License-Identifier: Apache-2.0
"""The table of errors in docs/posting.md names every domain and code that the sources do."""

import pathlib
import re

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PRODUCT = ("alerts", "daemon", "delivery", "store", "platform")
# What no caller is told: lines of the log, reasons not to start, and what becomes an error of
# VeltoEventsDaemon.
INTERNAL = {"Entitlements", "Listener", "VarlinkClient"}
# It stands in the user information of an error of this other one.
PARENTS = {"UlmoraPushServiceProvider": "UlmoraPushProvider"}

# The daemon's own errors have the name of their class.
DOMAIN = re.compile(r'(?:constexpr std::string_view k\w*ErrorDomain = |className\(\) const { return )"(\w+)"')
CODE = re.compile(r"constexpr (?:int|std::int64_t) (?:k\w+)Code = (-?\d+);")


def sources():
    for folder in PRODUCT:
        for path in sorted((ROOT / folder).rglob("*")):
            if path.suffix in (".h", ".cpp"):
                yield path.read_text(encoding="utf-8")


def codes_in_the_sources():
    """Of each domain, those that stand beside it in a file."""
    found = {}
    for text in sources():
        domains = DOMAIN.findall(text)
        assert len(domains) < 2, domains
        codes = set(map(int, CODE.findall(text)))
        if domains:
            found.setdefault(PARENTS.get(domains[0], domains[0]), set()).update(codes)
        else:
            assert not codes, f"codes without a domain: {codes}"
    return {domain: codes for domain, codes in found.items() if domain not in INTERNAL}


def codes_in_the_table():
    """Of each domain, a function that says whether a code is in it."""
    text = (ROOT / "docs/posting.md").read_text(encoding="utf-8")
    rows = re.findall(r"^\| (`\w+`)? *\| ([^|]*) \|", text, re.MULTILINE)
    found, domain = {}, None
    for name, codes in rows:
        domain = name.strip("`") or domain
        if domain:
            found.setdefault(domain, []).append(codes)
    return found


def covers(cells, code):
    for cell in cells:
        for first, last in re.findall(r"(-?\d+)(?: to (\d+))?", cell):
            if int(first) <= code <= int(last or first):
                return True
    return False


@pytest.mark.parametrize("domain, codes", sorted(codes_in_the_sources().items()))
def test_each_code_is_in_the_table(domain, codes):
    table = codes_in_the_table()
    assert domain in table
    assert [code for code in codes if not covers(table[domain], code)] == []


def test_the_table_has_no_domain_that_there_is_not():
    names = set(codes_in_the_table()) - {"VeltoMemory"}
    assert names == set(codes_in_the_sources())


@pytest.mark.parametrize("domain", ("POSIX", "VeltoMemory"))
def test_domains_with_the_systems_codes_are_there(domain):
    assert domain in codes_in_the_table()
    assert any(f'"{domain}"' in text for text in sources())
