# SPDX-License-Identifier: Apache-2.0
"""alertsctl, the administrator's tool."""

import json

import pytest
from velto.system import ALERTSCTL
from velto.values import SERVICE

pytestmark = pytest.mark.needs_root


def control(system, *arguments, **options):
    result = system.run(ALERTSCTL, *arguments, **options)
    return result.returncode, result.stdout, result.stderr


def test_a_reply_is_printed_as_json(shared):
    status, output, errors = control(shared, "call", "GetAlertBundleNames")
    assert (status, json.loads(output), errors) == (0, {"names": ["Printer"]}, "")


def test_parameters_come_from_the_command_line_or_from_standard_input(shared):
    alert = {"bundle": "é", "identifier": "i", "sentDate": 0.1, "attributes": {"a": 2**64 - 1}}
    saved = json.dumps({"alerts": [alert]})
    assert control(shared, "call", "SaveAlerts", saved) == (0, "{}\n", "")
    assert control(shared, "call", "SaveAlerts", "-", text=saved) == (0, "{}\n", "")
    status, output, _ = control(shared, "call", "GetAlertsOfBundle", '{"bundle": "é"}')
    assert (status, json.loads(output)) == (0, {"alerts": [alert, alert]})


def test_a_full_name_is_a_method_too(shared):
    status, output, _ = control(shared, "call", f"{SERVICE}.GetInfo")
    assert status == 0
    assert SERVICE in json.loads(output)["interfaces"]


def test_a_long_list_may_come_in_pieces(shared, client):
    alerts = [{"bundle": "long", "identifier": str(number), "sentDate": float(-number),
               "attributes": {"a": "x" * 1000}} for number in range(300)]
    client.call("SaveAlerts", alerts=alerts)
    status, output, _ = control(shared, "call", "--more", "GetAlertsOfBundle", '{"bundle": "long"}')
    assert status == 0
    pieces = documents(output)
    assert len(pieces) > 1
    assert [alert for piece in pieces for alert in piece["alerts"]] == alerts


def documents(text):
    """The JSON documents that stand one after the other in a text."""
    found, decoder = [], json.JSONDecoder()
    while text := text.lstrip():
        document, end = decoder.raw_decode(text)
        found.append(document)
        text = text[end:]
    return found


def test_an_error_in_the_reply_is_told_and_has_its_status(shared):
    status, output, errors = control(shared, "call", "PostAlert")
    assert status == 1
    assert json.loads(output)["error"]["code"] == 203
    assert "No alert to post (AlertsDaemon 203)" in errors


@pytest.mark.parametrize("arguments, name", [
    (("Explode",), "no method com.ulmora.velto.AlertsDaemon.Explode"),
    (("GetAlertsOfType", '{"type": 5}'), "type must be a string"),
    (("org.example.other.Method",), "no interface org.example.other")])
def test_a_call_that_the_daemon_cannot_take_has_the_same_status(shared, arguments, name):
    status, output, errors = control(shared, "call", *arguments)
    assert (status, output) == (1, "")
    assert name in errors


@pytest.mark.parametrize("arguments", [
    ("call",), ("explode",), ("call", "--explode", "GetAlertBundleNames"),
    ("call", "GetAlertBundleNames", "{"), ("call", "GetAlertBundleNames", "[]"),
    ("call", "GetAlertBundleNames", "{}", "{}")], ids=str)
def test_wrong_usage_has_a_status_of_its_own(shared, arguments):
    status, output, errors = control(shared, *arguments)
    assert (status, output) == (2, "")
    assert errors


@pytest.mark.parametrize("arguments", [("--help",), ("call", "--help"), ("--version",)], ids=str)
def test_help_and_version_are_no_mistakes(shared, arguments):
    status, output, errors = control(shared, *arguments)
    assert (status, errors) == (0, "")
    assert output


def test_without_a_daemon_it_says_so(system):
    status, output, errors = control(system, "call", "GetAlertBundleNames")
    assert (status, output) == (7, "")
    assert str(system.socket_path) in errors


def test_it_says_when_the_daemon_hangs_up(shared):
    deep = '{"alert": {"attributes": {"a": ' + "[" * 61 + "]" * 61 + "}}}"
    status, output, errors = control(shared, "call", "PostAlert", deep)
    assert (status, output) == (1, "")
    assert "look before you repeat it" in errors


