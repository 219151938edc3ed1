# SPDX-License-Identifier: Apache-2.0
"""The devices that are pushed to."""

import pytest

pytestmark = pytest.mark.needs_root


@pytest.fixture(name="call")
def _call(system):
    system.make_bundle("Printer.bundle", texts={"en": {"Jam.subject": "Jam"},
                                                "it": {"Jam.subject": "Inceppamento"}})
    system.start(LANGUAGE="it:en")
    return system.client().call


def device(guid, enabled=True, name="Phone", locale="en", token="AAEC"):
    return {"guid": guid, "token": token, "name": name, "locale": locale, "enabled": enabled}


def listed(call):
    reply = call("GetPushRecipients")
    assert set(reply) == {"recipients"}
    return reply["recipients"]


def test_what_is_left_out_is_filled_in(call):
    assert call("AddPushRecipients", recipients=[{"guid": "a", "token": "3q2+7w=="}]) == {}
    assert listed(call) == [device("a", name="Unkown", locale="it", token="3q2+7w==")]


def test_added_devices_are_enabled_whatever_they_say(call):
    assert call("AddPushRecipients", recipients=[device("a", enabled=False)]) == {}
    assert listed(call) == [device("a")]


def test_replaced_devices_are_enabled_only_if_they_say_so(call):
    plain = {"guid": "b", "token": "AAEC", "name": "Phone", "locale": "en"}
    assert call("SetPushRecipients", recipients=[
        device("a"), plain, device("c", enabled=False), {**plain, "guid": "d", "enabled": None}]) == {}
    assert listed(call) == [device("a"), device("b", enabled=False), device("c", enabled=False),
                            device("d", enabled=False)]


def test_what_is_no_device_is_skipped(call):
    assert call("AddPushRecipients", recipients=["a", 5, None, True, [device("b")],
                                                 device("c")]) == {}
    assert listed(call) == [device("c")]


def test_a_device_without_guid_or_token_is_not_added(call):
    assert call("AddPushRecipients", recipients=[{"guid": "a"}, {"token": "AAEC"}, {}]) == {}
    assert listed(call) == []


def test_a_known_device_is_left_as_it_is(call):
    call("SetPushRecipients", recipients=[device("a", enabled=False)])
    assert call("AddPushRecipients", recipients=[device("a", name="Other"), device("A")]) == {}
    assert listed(call) == [device("a", enabled=False), device("A")]


def test_replacing_deletes_those_that_are_not_named(call):
    call("SetPushRecipients", recipients=[device("a"), device("b", enabled=False)])
    assert call("SetPushRecipients", recipients=[device("b"), device("c")]) == {}
    assert listed(call) == [device("b"), device("c")]


def test_a_present_device_that_stands_twice_is_deleted_once_and_inserted_twice(call):
    call("SetPushRecipients", recipients=[device("a")])
    assert call("SetPushRecipients", recipients=[device("a", name="1"), device("a", name="2")]) == {}
    assert listed(call) == [device("a", name="1"), device("a", name="2")]


@pytest.mark.parametrize("parameters", [{}, {"recipients": None}, {"recipients": []}])
def test_replacing_with_none_deletes_all(call, parameters):
    call("SetPushRecipients", recipients=[device("a"), device("b", enabled=False)])
    assert call("SetPushRecipients", **parameters) == {}
    assert listed(call) == []


def test_replacing_with_a_device_that_cannot_be_stored_says_so(call):
    error = call("SetPushRecipients", recipients=[{"guid": "a"}])["error"]
    assert (error["domain"], error["code"]) == ("VeltoAlertsStore", 100)
    assert listed(call) == []
