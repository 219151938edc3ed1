# SPDX-License-Identifier: Apache-2.0
"""The people who are mailed."""

import pytest

pytestmark = pytest.mark.needs_root


@pytest.fixture
def client(system):
    system.make_bundle("Printer.bundle", texts={"en": {"Jam.subject": "Jam"},
                                                "it": {"Jam.subject": "Inceppamento"}})
    system.start(LANGUAGE="it:en")
    return system.client()


def recipient(address, locale):
    return {"address": address, "locale": locale}


def listed(client):
    reply = client.call("GetMailRecipients")
    assert set(reply) == {"recipients"}
    return reply["recipients"]


def test_at_first_there_are_none(client):
    assert listed(client) == []


@pytest.mark.parametrize("address, locale", [
    ("bo@example.fr", "fr"), ("bo@example.gf", "fr"), ("bo@example.pf", "fr"),
    ("bo@example.tf", "fr"), ("bo@example.de", "de"), ("bo@example.cn", "zh"),
    ("bo@example.jp", "ja"), ("bo@example.no", "no"), ("bo@example.nz", "en"),
    ("bo@example.uk", "en"), ("bo@example.net", "en"), ("bo@example.org", "en"),
    # All others get the language that the system prefers.
    ("bo@example.com", "it"), ("bo@example.ca", "it"), ("bo@example.DE", "it"),
    ("Bo <bo@example.fr>", "it"), ("bo@localhost", "it"), ("", "it"), ("fr", "fr"),
])
def test_the_locale_is_derived_from_the_address(client, address, locale):
    assert client.call("AddMailRecipients", recipients=[address]) == {}
    assert listed(client) == [recipient(address, locale)]


def test_dictionaries_and_addresses_may_be_mixed_and_nested_arrays_are_passed_over(client):
    assert client.call("AddMailRecipients", recipients=[
        recipient("a@example.fr", "en"), "b@example.fr", ["c@example.fr"],
        {"address": "d@example.fr"}, [[recipient("e@example.fr", "en")]],
        {"address": "f@example.fr", "locale": None}, []]) == {}
    assert listed(client) == [
        recipient("a@example.fr", "en"), recipient("b@example.fr", "fr"),
        recipient("d@example.fr", "fr"), recipient("f@example.fr", "fr")]


def test_an_empty_locale_is_a_locale(client):
    assert client.call("AddMailRecipients", recipients=[recipient("a@example.fr", "")]) == {}
    assert listed(client) == [recipient("a@example.fr", "")]


def test_a_dictionary_without_an_address_is_no_recipient(client):
    assert client.call("AddMailRecipients", recipients=[{}, {"locale": "fr"},
                                                        {"address": None}]) == {}
    assert listed(client) == []


def test_a_listed_address_is_left_as_it_is(client):
    client.call("AddMailRecipients", recipients=[recipient("a@example.fr", "en")])
    assert client.call("AddMailRecipients", recipients=[
        recipient("a@example.fr", "de"), "a@example.fr", "A@example.fr"]) == {}
    assert listed(client) == [recipient("a@example.fr", "en"), recipient("A@example.fr", "fr")]


def test_an_address_that_stands_twice_in_one_call_goes_in_twice(client):
    assert client.call("AddMailRecipients", recipients=["a@example.fr", "a@example.fr"]) == {}
    assert listed(client) == [recipient("a@example.fr", "fr")] * 2


@pytest.mark.parametrize("parameters", [{}, {"recipients": None}, {"recipients": []}])
def test_adding_nobody_is_no_error(client, parameters):
    assert client.call("AddMailRecipients", **parameters) == {}
    assert listed(client) == []


@pytest.mark.parametrize("environment, locale", [
    ({"LANG": "pt_BR.UTF-8"}, "pt_BR"), ({"LANG": "C"}, "en"), ({"LANG": "POSIX"}, "en"),
    ({"LANG": "fr_FR.UTF-8", "LC_ALL": "de_DE.UTF-8"}, "de_DE"),
    ({"LANG": "fr_FR.UTF-8", "LC_MESSAGES": "es_ES.UTF-8"}, "es_ES"),
    ({"LANG": "fr_FR.UTF-8", "LANGUAGE": "nl:fr"}, "nl"),
])
def test_without_bundles_the_preferred_language_is_the_users_first(system, environment, locale):
    system.start(**environment)
    client = system.client()
    client.call("AddMailRecipients", recipients=["bo@example.com"])
    assert listed(client) == [recipient("bo@example.com", locale)]


def test_replacing_takes_the_list_as_it_is(client):
    client.call("AddMailRecipients", recipients=["a@example.fr", "b@example.de"])
    assert client.call("SetMailRecipients", recipients=[
        recipient("b@example.de", "en"), {"address": "c@example.no"}]) == {}
    assert listed(client) == [recipient("b@example.de", "en"), recipient("c@example.no", "no")]


def test_a_present_address_that_stands_twice_is_deleted_once_and_inserted_twice(client):
    client.call("AddMailRecipients", recipients=["a@example.fr"])
    assert client.call("SetMailRecipients",
                       recipients=[recipient("a@example.fr", "de")] * 2) == {}
    assert listed(client) == [recipient("a@example.fr", "de")] * 2


@pytest.mark.parametrize("parameters", [{}, {"recipients": None}, {"recipients": []}])
def test_replacing_with_nobody_deletes_all(client, parameters):
    client.call("AddMailRecipients", recipients=["a@example.fr", "b@example.de"])
    assert client.call("SetMailRecipients", **parameters) == {}
    assert listed(client) == []


def test_a_replacement_without_an_address_is_nobody(client):
    client.call("AddMailRecipients", recipients=["a@example.fr"])
    assert client.call("SetMailRecipients", recipients=[{"locale": "fr"}]) == {}
    assert listed(client) == []
