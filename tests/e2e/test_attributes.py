# SPDX-License-Identifier: Apache-2.0
"""An alert's attributes on their way over the wire, into the file and back."""

import json
import math
import plistlib

import pytest
from velto import store

pytestmark = pytest.mark.needs_root


def round_trip(client, attributes):
    """What comes back of an alert with these attributes."""
    # A reply's key is a bundle of its own, so that the alerts of other tests are not met.
    bundle = json.dumps(attributes)[:200]
    alert = {"bundle": bundle, "attributes": attributes}
    assert client.call("SaveAlerts", alerts=[alert]) == {}
    found = client.call("GetLastAlertOfBundle", bundle=bundle)["alert"]
    assert found.pop("bundle") == bundle
    return found


def text(value):
    """A form in which values of different kinds differ: 1, 1.0 and true."""
    return json.dumps(value, sort_keys=True)


@pytest.mark.parametrize("value", [
    "", "text", "été \u0000 \U0001f600", "true", "5",
    0, 1, -1, 127, 128, 255, 256, 65536, 2**31, 2**32, 2**53 + 1, 2**63 - 1, -2**63, 2**63,
    2**64 - 1,
    0.0, 1.0, -1.5, 0.1, 1e308, 5e-324, math.pi, 9007199254740993.0,
    True, False,
    [], [1, 1.0, True, "1"], [[], [[]], {}], ["x"] * 300,
    {}, {"a": {"b": {"c": [1, {"d": 2.5}]}}}, {"key with blank": 1, "": 2, "ключ": 3},
    {"$date": 0.0}, {"$date": -0.5}, {"$date": 123456789.123456},
    {"$data": ""}, {"$data": "AA=="}, {"$data": "/+7dzLuqmYg="}, {"$data": "QUJD" * 500},
    {"$dict": {"$date": 5}}, {"$dict": {"$data": "?", "plain": {"$date": 1.0}}},
    {"$dict": {"$dict": {"$dict": {"$x": 1}}}},
    [{"$date": 1.0}, {"$data": "AA=="}],
], ids=lambda value: text(value)[:40])
def test_a_value_comes_back_as_it_was(client, value):
    found = round_trip(client, {"value": value})
    assert text(found) == text({"attributes": {"value": value}})


def test_none_and_empty_attributes_stay_different(client):
    assert round_trip(client, None) == {}
    assert round_trip(client, {}) == {"attributes": {}}


def test_the_whole_dictionary_may_need_the_escape(client):
    attributes = {"$dict": {"$date": 5, "b": 1}}
    assert round_trip(client, attributes) == {"attributes": attributes}


def test_an_escape_that_is_not_needed_is_dropped(client):
    assert round_trip(client, {"a": {"$dict": {"b": 1}}}) == {"attributes": {"a": {"b": 1}}}


def test_a_whole_number_is_a_date_among_attributes(client):
    assert text(round_trip(client, {"at": {"$date": 5}})) == text(
        {"attributes": {"at": {"$date": 5.0}}})


@pytest.mark.parametrize("attributes, kept", [
    ({"a": None}, {}), ({"a": 1, "b": {"c": None}}, {"a": 1, "b": {}}),
    ({"a": {"$absent": True}, "b": 2}, {"b": 2}), ({"a": [{"b": None}, 3]}, {"a": [{}, 3]})],
    ids=text)
def test_absent_values_among_the_attributes_are_left_out(client, attributes, kept):
    assert round_trip(client, attributes) == {"attributes": kept}


def test_attributes_may_be_nested_as_deep_as_a_message(client):
    # Around the value stand the message, its parameters, the list, the alert and the attributes.
    value = 1
    for _ in range(64 - 5):
        value = [value]
    assert round_trip(client, {"a": value}) == {"attributes": {"a": value}}


def test_many_attributes_come_back(client):
    attributes = {f"key {number}": number for number in range(5000)}
    assert round_trip(client, attributes) == {"attributes": attributes}


def test_bytes_in_the_file_that_are_no_property_list_cost_the_attributes_only(system):
    system.start()
    system.client().call("SaveAlerts", alerts=[
        {"bundle": "b", "type": "t", "sentDate": 1.0, "attributes": {"a": 1}}])
    system.stop()
    store.execute(system.store_file, "UPDATE ADAlert SET attributes = ?", b"bplist00nonsense")
    system.start()
    assert system.client().call("GetLastAlertOfBundle", bundle="b") == {
        "alert": {"bundle": "b", "type": "t", "sentDate": 1.0}}


@pytest.mark.parametrize("form", [plistlib.FMT_XML, plistlib.FMT_BINARY])
def test_property_lists_of_another_writer_are_read(system, form):
    system.start()
    system.client().call("SaveAlerts", alerts=[{"bundle": "b"}])
    system.stop()
    stored = {"n": 2**64 - 1, "t": "é", "d": b"\x00", "l": [True, -1, 0.5]}
    store.execute(system.store_file, "UPDATE ADAlert SET attributes = ?",
                  plistlib.dumps(stored, fmt=form))
    system.start()
    assert system.client().call("GetLastAlertOfBundle", bundle="b")["alert"]["attributes"] == {
        "n": 2**64 - 1, "t": "é", "d": {"$data": "AA=="}, "l": [True, -1, 0.5]}
