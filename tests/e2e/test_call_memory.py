# SPDX-License-Identifier: Apache-2.0
"""What the longest call of an administrator costs the daemon in memory."""

import pytest
from velto.system import ALERTSD
from velto.values import INTERFACE, SERVICE

pytestmark = pytest.mark.needs_root

MIB = 1 << 20
LONGEST = 16 * MIB
# AddressSanitizer keeps what is freed for a while, and has margins around everything.
ROOM_FOR_SANITIZER = 1024 * MIB
DONE = {"parameters": {}}


def call_of(method, parameter, element, before="[", behind="]"):
    """The longest call whose elements `element` makes, each from its number, and how many it has."""
    head = f'{{"method":"{INTERFACE}.{method}","parameters":{{"{parameter}":{before}'
    tail = f"{behind}}}}}"
    left = LONGEST - len(head) - len(tail)
    elements = []
    while left > (length := len((text := element(len(elements))).encode()) + 1):
        elements.append(text)
        left -= length
    return f"{head}{','.join(elements)}{tail}".encode() + b"\0", len(elements)


def one_text(character):
    """An element that is so long that the call has no place for another."""
    return lambda number: f'"{character * (LONGEST // len(character.encode()) - 1000)}"' \
        if number == 0 else "0" * LONGEST


def ordinary_alert(number):
    return (f'{{"identifier":"DiskFull:{number:013x}","type":"DiskFull","bundle":"Disk",'
            f'"creationDate":817344000.25,"sentDate":{817344000 + number}.5,"attributes":'
            f'{{"volume":"/dev/sda1","free":{number},"host":"server.example.org"}}}}').ljust(199)


def invalid(path):
    return {"error": f"{SERVICE}.InvalidParameter", "parameters": {"parameter": path}}


def growth(daemon, client, call):
    """How far the call raises the daemon's memory above what it was, and its reply."""
    with open(f"/proc/{daemon.pid}/clear_refs", "w", encoding="ascii") as file:
        file.write("5")  # the peak is what there is now
    before = daemon.memory("VmHWM")
    client.send(call)
    reply = client.receive()
    return daemon.memory("VmHWM") - before, reply


def assert_costs_less(system, call, limit, reply):
    is_sanitized = b"__asan_init" in ALERTSD.read_bytes()
    client = system.client()
    client.call("GetAlertBundleNames")
    grown, answer = growth(system.daemon, client, call)
    assert answer == reply
    # The text alone is in memory, so a smaller figure would not be one.
    assert len(call) // 2 < grown < limit + (ROOM_FOR_SANITIZER if is_sanitized else 0)


SAVED_ATTRIBUTE = ('[{"attributes":{"a":', "}}]")
POSTED_ATTRIBUTE = ('{"bundle":"Printer","type":"Jam","attributes":{"a":', "}}")


@pytest.mark.parametrize("method, parameter, element, reply", [
    ("SaveAlerts", "alerts", "{}", invalid("alerts")),
    ("SaveAlerts", "alerts", "[]", DONE),
    ("SaveAlerts", "alerts", "[{}]", DONE),
    ("SaveAlerts", "alerts", "0", invalid("alerts[0]")),
    ("SaveAlerts", "alerts", '""', invalid("alerts[0]")),
    ("SaveAlerts", "alerts", '{"attributes":{}}', invalid("alerts")),
    ("SaveAlerts", "alerts", '{"attributes":{"a":' + "[" * 58 + "]" * 58 + "}}", invalid("alerts")),
    ("AddPushRecipients", "recipients", "0", DONE),
    ("AddPushRecipients", "recipients", "[]", DONE),
    ("AddPushRecipients", "recipients", "{}", invalid("recipients")),
    ("SetPushRecipients", "recipients", "{}", invalid("recipients")),
    ("AddMailRecipients", "recipients", "[]", DONE),
    ("AddMailRecipients", "recipients", '""', invalid("recipients")),
    ("AddMailRecipients", "recipients", "{}", invalid("recipients")),
    ("SetMailRecipients", "recipients", "{}", invalid("recipients"))])
def test_many_small_elements_cost_little(system, method, parameter, element, reply):
    system.start()
    call, _ = call_of(method, parameter, lambda _: element)
    assert_costs_less(system, call, 32 * MIB, reply)


@pytest.mark.parametrize("method, parameter, around, element, reply", [
    ("SaveAlerts", "alerts", SAVED_ATTRIBUTE, one_text("x"), DONE),
    ("SaveAlerts", "alerts", SAVED_ATTRIBUTE, one_text("é"), DONE),
    ("SaveAlerts", "alerts", SAVED_ATTRIBUTE, one_text(r"\n"), DONE),
    ("SaveAlerts", "alerts", ('[{"type":', "}]"), one_text("x"), DONE),
    ("PostAlert", "alert", POSTED_ATTRIBUTE, one_text("x"), DONE),
    ("SetAttributes", "attributes", ("{", "}"), lambda i: f'"a{i:07}":"x"', invalid("attributes")),
    ("SetAlertBundleSettings", "settings", ("{", "}"),
     lambda i: f'"b{i:07}":{{}}', invalid("settings")),
], ids=["ascii", "not ascii", "escapes", "type", "post", "attributes", "settings"])
def test_long_values_cost_less_than_100_MiB(system, method, parameter, around, element, reply):
    system.make_bundle("Printer.bundle", texts={"en": {"Jam.subject": "Jam"}})
    system.start()
    call, _ = call_of(method, parameter, element, *around)
    assert_costs_less(system, call, 100 * MIB, reply)


def test_eighty_thousand_ordinary_alerts_are_saved(system):
    system.start()
    call, count = call_of("SaveAlerts", "alerts", ordinary_alert)
    assert count > 80_000
    assert_costs_less(system, call, 100 * MIB, DONE)


@pytest.mark.parametrize("digits, least", [(11, 1_000_000), (20, 700_000), (24, 600_000)])
def test_a_million_identifiers_are_looked_for(system, digits, least):
    system.start()
    call, count = call_of("DeleteAlertsWithIds", "alertIds", lambda i: f'"{i:0{digits}x}"')
    assert count > least
    assert_costs_less(system, call, 100 * MIB, DONE)


def test_what_would_cost_too_much_changes_nothing(system):
    system.start()
    client = system.client()
    call, _ = call_of("SaveAlerts", "alerts", lambda _: '{"bundle":"x"}')
    client.send(call)
    assert client.receive() == invalid("alerts")
    assert client.call("GetAlertsOfBundle", bundle="x") == {"alerts": []}
