# SPDX-License-Identifier: Apache-2.0
"""What people do wrong, and what they are told: one line of a table each. Where the reply is fixed,
the log says beside it what to do."""

import contextlib
import json
import pathlib
import plistlib
import shutil
import subprocess

import pytest
from velto.system import ALERTSCTL, ALERTSD
from velto.varlink import DEADLINE, CallFailed, wait_for

pytestmark = pytest.mark.needs_root

SERVICE_USER = 65534
JAM = {"bundle": "Printer", "type": "Jam"}


def invalid(parameter):
    return {"error": "org.varlink.service.InvalidParameter", "parameters": {"parameter": parameter}}


def settings(**members):
    return {"settings": {"Printer": {"name": "Printer", **members}}}


# What is called, with what, and the parameter that the reply names. Nothing is changed by any.
WRONG_CALLS = (
    ("PostAlert", {"alert": {"bundle": "Printer", "type": 3}}, "alert.type"),
    ("PostAlert", {"alert": {"bundel": "Printer", "type": "Jam"}}, "alert.bundel"),
    ("SaveAlerts", {"alerts": [JAM, {"sentDate": "now"}]}, "alerts[1].sentDate"),
    ("SetAlertBundleSettings", settings(mailEnabeld=False), "settings.Printer.mailEnabeld"),
    ("SetMailRecipients", {"recipients": [{"adress": "a@example.org"}]}, "recipients[0].adress"),
    ("AddPushRecipients", {"recipients": [{"guid": "1", "token": "%"}]}, "recipients[0].token"),
    ("GetAlertsFromDate", {"fromDate": "2026-01-01"}, "fromDate"),
    ("DeleteAlertsBeforeDate", {"before": 1}, "before"),
)


@pytest.fixture(scope="module")
def untouched(module_system):
    """A running system whose state a test can compare with."""
    module_system.make_bundle("Printer.bundle", texts={"en": {"Jam.subject": "Jam"}})
    module_system.start()
    client = module_system.client()
    client.call("AddMailRecipients", recipients=["ann@example.org"])
    client.call("SaveAlerts", alerts=[{**JAM, "identifier": "1"}])
    return client


def state(client):
    return [client.call(method) for method in ("GetMailRecipients", "GetPushRecipients",
                                               "GetAlertBundleSettings", "GetAttributes")] + \
        [client.call("GetAlertsOfBundle", bundle="Printer")]


@pytest.mark.parametrize("method, parameters, named", WRONG_CALLS)
def test_a_wrong_call_is_told_where_and_changes_nothing(untouched, method, parameters, named):
    before = state(untouched)
    with pytest.raises(CallFailed) as failure:
        untouched.call(method, **parameters)
    assert (failure.value.name, failure.value.parameters) == \
        (invalid(named)["error"], invalid(named)["parameters"])
    assert state(untouched) == before


def bundle(system):
    return system.make_bundle("Printer.bundle", texts={"en": {"Jam.subject": "Jam"}})


def rule(name, **content):
    """Leaves a rule for the service's user; the file's name and what it holds."""
    def leave(system):
        bundle(system)
        directory = system.root / "etc/velto/entitlements.d"
        directory.mkdir(parents=True)
        file = directory / name
        file.write_bytes(plistlib.dumps(content))
        file.chmod(0o600)
    return leave


def rights(value, key="com.ulmora.velto.alert-bundles"):
    return {key: value}


def info(text):
    def leave(system):
        (bundle(system) / "Contents/Info.plist").write_text(text)
    return leave


def recipients(*addresses):
    def leave(client):
        client.call("AddMailRecipients", recipients=list(addresses))
        client.call("PostAlert", alert=JAM)
    return leave


def post(client):
    client.call("PostAlert", alert=JAM)


def nonsense(client):
    client.send(b"GET / HTTP/1.0\r\nHost: localhost\r\n\r\n\0")
    assert client.is_hung_up()


def too_much(client):
    with contextlib.suppress(BrokenPipeError, ConnectionResetError):
        client.send(b"{" * 200000)
    assert client.is_hung_up()


def action(script):
    def leave(system):
        contents = system.make_bundle(
            "Printer.bundle", {"VLAlertTypes": {"Jam": {"RecoveryOptions": ["Clear"]}}}) / "Contents"
        (contents / "Actions").mkdir(mode=0o755)
        (contents / "Actions/Clear").write_text(script)
        (contents / "Actions/Clear").chmod(0o755)
    return leave


def code(system):
    contents = system.make_bundle("Printer.bundle", {"CFBundleExecutable": "libJam.so"}) / "Contents"
    (contents / "Linux").mkdir(mode=0o755)
    (contents / "Linux/libJam.so").write_text("no library")
    (contents / "Linux/libJam.so").chmod(0o755)


def nothing(_):
    pass


# What the tool says of the same calls.
TOLD_BY_THE_TOOL = (
    ("PostAlert", {"alert": {"bundle": "Printer", "type": 3}}, "alert.type must be a string"),
    ("PostAlert", {"alert": {"bundel": "Printer"}}, "there is no alert.bundel; did you mean bundle?"),
    ("SetAlertBundleSettings", settings(mailEnabeld=False),
     "there is no settings.Printer.mailEnabeld; did you mean mailEnabled?"),
    ("AddPushRecipients", {"recipients": [{"guid": "1", "token": "%"}]},
     "recipients[0].token is not base64"),
    ("AddPushRecipients", {"recipients": [{"guid": 5}]}, "recipients[0].guid must be a string"),
    ("AddPushRecipients", {"recipients": [{"uuid": "5"}]},
     "there is no recipients[0].uuid; did you mean guid?"),
    ("AddMailRecipients", {"recipients": [{"adress": "x"}]},
     "there is no recipients[0].adress; did you mean address?"),
    ("SetAttributes", {"attributes": {"a": [None]}}, "attributes.a[0] must be a text, a number, true "
     'or false, a list, an object, {"$date": seconds} or {"$data": "base64"}'),
    ("com.ulmora.velto.AlertsMonitor.List", {"limit": 0},
     "limit must be a whole number from 1 to 1000"),
    ("GetAlertsFromDate", {"fromDate": "2026-01-01"}, "fromDate must be a number; dates are seconds "
     "since 2001-01-01 00:00:00 UTC; 2026-01-01 is 788918400"),
    ("SetMailRecipients", {}, "recipients is missing, and without it all there are would go; write "
     '{"recipients": []} for none'),
    ("DeleteAlertsBeforeDate", {"date": 1787000000}, "the date is 2057-08-17 20:53:20 UTC, and all "
     "alerts would go: dates count seconds from 2001; use alertsctl prune, or --yes if you mean it"),
)


@pytest.mark.parametrize("method, parameters, told", TOLD_BY_THE_TOOL)
def test_the_tool_says_what_is_wanted(untouched, module_system, method, parameters, told):
    before = state(untouched)
    result = module_system.run(ALERTSCTL, "call", method, json.dumps(parameters))
    assert result.returncode in (1, 2)
    assert result.stderr == f"alertsctl: {told}\n"
    assert state(untouched) == before


# What a call does without a word, and what the tool says beside it.
TOLD_BESIDE = (
    ("AddPushRecipients", {"recipients": ["x", {"guid": "g"}]},
     ["recipients[0] has no guid, and is passed over", "recipients[1] has no token, and is passed over"]),
    ("AddMailRecipients", {"recipients": [{"locale": "de"}]},
     ["recipients[0] has no address, and is passed over"]),
    ("SetAlertBundleSettings", {"settings": {"Printr": {"mailEnabled": True, "pushEnabled": True}}},
     ["there is no bundle Printr, and nothing is set"]),
    ("GetAlertsOfBundle", {"bundle": "Printr"},
     ["there is no bundle Printr; did you mean Printer?"]),
)
# Errors in fixed words, and what the tool adds to them.
TOLD_BEHIND = (
    ("EnableAlertBundle", {"bundle": "Printr"}, "did you mean Printer?"),
    ("DisableAlertBundle", {"bundle": "Nosuch"}, "see alertsctl bundles"),
    ("MarkAlertAsReadWithAlertId", {"alertId": "Jam:5"}, "there is no alert Jam:5"),
    ("MarkAlertAsResolvedWithAlertId", {"alertId": "Jam:5"}, "there is no alert Jam:5"),
)


@pytest.mark.parametrize("method, parameters, lines", TOLD_BESIDE)
def test_the_tool_says_what_happens_silently(untouched, module_system, method, parameters, lines):
    before = state(untouched)
    result = module_system.run(ALERTSCTL, "call", method, json.dumps(parameters))
    assert (result.returncode, result.stderr) == \
        (0, "".join(f"alertsctl: {line}\n" for line in lines))
    assert state(untouched) == before


def test_a_switch_that_is_left_out_is_told(untouched, module_system):
    client, off = untouched, {"Printer": {"mailEnabled": True}}
    result = module_system.run(ALERTSCTL, "call", "SetAlertBundleSettings", json.dumps({"settings": off}))
    assert result.stderr == "alertsctl: settings.Printer.pushEnabled is left out, and that is off\n"
    whole = {"Printer": {"mailEnabled": True, "pushEnabled": True}}
    assert module_system.run(ALERTSCTL, "call", "SetAlertBundleSettings",
                             json.dumps({"settings": whole})).stderr == ""
    assert client.call("GetAlertBundleSettings")["settings"]["Printer"]["pushEnabled"] is True


@pytest.mark.parametrize("method, parameters, behind", TOLD_BEHIND)
def test_the_tool_adds_to_fixed_words(untouched, module_system, method, parameters, behind):
    del untouched
    result = module_system.run(ALERTSCTL, "call", method, json.dumps(parameters))
    assert result.returncode == 1
    assert result.stderr.endswith(f"(VeltoAlertsStore 100); {behind}\n")


def texts(**strings):
    """Texts in the old form, less the bundle's languages without any."""
    def leave(system):
        system.make_bundle("Printer.bundle", {"VLAlertTypes": {"Jam": {}}},
                           {"en": strings} if strings else None)
    return leave


def mail_twice(client):
    client.call("AddMailRecipients", recipients=["ann@example.org"])
    for _ in range(2):
        client.call("PostAlert", alert=JAM)


FULL = {"Jam.subject": "Jam", "Jam.message": "Jam", "Jam.name": "Jam"}

# What is there when the daemon starts, who does what then, and what the log says.
WRONG_SYSTEMS = {
    "a right that there is not": (
        rule("a.plist", User=SERVICE_USER, Entitlements=rights(["Printer"], "com.ulmora.alerts")),
        SERVICE_USER, post,
        "a.plist gives no right that there is: its Entitlements have com.ulmora.alerts"),
    "one text for two bundles": (
        rule("a.plist", User=SERVICE_USER, Entitlements=rights("Printer, Disk")), SERVICE_USER, post,
        "a.plist names a bundle that there is not: Printer, Disk"),
    "a user that there is not": (
        rule("a.plist", User="nosuch", Entitlements=rights("Printer")), SERVICE_USER, post,
        "a.plist ignored: there is no user nosuch"),
    "a condition that there is not": (
        rule("a.plist", Groop="staff", Entitlements=rights("Printer")), SERVICE_USER, post,
        "a.plist ignored: it has none of User, Unit and Label, and it has a condition that is not "
        "known, Groop"),
    "a rule's file of another name": (
        rule("a", User=SERVICE_USER, Entitlements=rights("Printer")), SERVICE_USER, post,
        "entitlements.d/a ignored: its name does not end in .plist"),
    "a rule that nearly holds": (
        rule("a.plist", User=SERVICE_USER, Executable="/nowhere", Entitlements=rights("Printer")),
        SERVICE_USER, post, "a.plist, but for its Executable"),
    "nobody with rights": (
        bundle, SERVICE_USER, post, f"of user {SERVICE_USER}: /usr/bin/python3"),
    "no events service": (
        bundle, 0, nothing, "Alerts work, but nothing monitors for their bundles: "),
    "no alerts directory": (
        lambda system: system.bundles.rmdir(), 0, nothing,
        "No alert bundles are looked for: "),
    "a syntax error": (
        info("{ a = 1;\n b = ; }"), 0, nothing, "Info.plist: unexpected character at line 2"),
    "an Info.plist that is a list": (
        info("(1, 2)"), 0, nothing, "Info.plist: it holds no dictionary"),
    "an empty address": (
        bundle, 0, recipients("", "ann@example.org"), 'alert email: "" is empty and is left out'),
    "a recipient of no language": (
        bundle, 0, recipients({"address": "ann@example.org", "locale": "english"}),
        'Mail for ann@example.org: there is no language "english"'),
    "a recipient of no locale": (
        bundle, 0, recipients({"address": "ann@example.org", "locale": "xx_!! 7"}),
        'Mail for ann@example.org: there is no language "xx_!! 7"'),
    "no Common": (
        bundle, 0, recipients("ann@example.org"), "put Common.bundle into "),
    "what is no call": (
        bundle, 0, nonsense, 'has sent what is no call: "GET / HTTP/1.0 Host: localhost"'),
    "a call that is too long": (
        bundle, SERVICE_USER, too_much,
        "has sent a call that is longer than its client's may be"),
    "a name without its end": (
        texts(**{**FULL, "Jam.message": "%{tray} jams in %{printer"}), 0, mail_twice,
        'Printer.bundle/Contents/Resources/en.lproj/Alerts.strings stands as it is: a %{ without its '
        '}, at character 17'),
    "an attribute that is not given": (
        texts(**{**FULL, "Jam.subject": "%{tray} jams"}), 0, mail_twice,
        'Printer.bundle/Contents/Resources/en.lproj/Alerts.strings has a hole: an alert has no '
        'attribute "tray"'),
    "no language": (
        texts(), 0, mail_twice,
        'Alert text "Jam.subject" of '),
    "a text that no language has": (
        texts(**{"Jam.message": "Jam"}), 0, mail_twice,
        'Printer.bundle is missing: no language has it, and "Jam" stands there'),
    "no Info.plist": (
        lambda system: (bundle(system) / "Contents/Info.plist").unlink(), 0, nothing,
        "Entry 'Printer.bundle' of the alerts directory passed over: Cannot read "),
    "a mail program that fails without a word": (
        lambda system: (bundle(system), system.mail.install_shell("cat >/dev/null", "exit 75")), 0,
        recipients("ann@example.org"),
        "mail to ann@example.org: failed with status 75 (the mail program ended with status 75)"),
    "kinds that are a list": (
        info("{ VLAlertTypes = (Jam); }"), 0, nothing,
        "Info.plist of 'Printer.bundle': VLAlertTypes is no dictionary"),
    "a misspelt key": (
        info("{ VLAlertTyps = { Jam = {}; }; }"), 0, nothing,
        "Info.plist of 'Printer.bundle': VLAlertTyps means nothing"),
    "code that is no library": (
        code, 0, post, "/Contents/Linux/libJam.so: "),
    "no directory for the store": (
        lambda system: system.library.rmdir(), 0, nothing,
        "/Library/Velto does not exist; create it"),
    "another program's file": (
        lambda system: (system.store_directory.mkdir(mode=0o700),
                        system.store_file.write_bytes(b"x" * 4096)), 0, nothing,
        "alertData.db: not a store of this program"),
}


@pytest.mark.parametrize("left, user, act, line", WRONG_SYSTEMS.values(), ids=WRONG_SYSTEMS.keys())
def test_the_log_says_what_is_wrong_and_where(system, left, user, act, line):
    left(system)
    daemon = system.start()
    act(system.client_as(user, user) if user else system.client())
    wait_for(lambda: any(line in each for each in daemon.log_lines()), f"'{line}'\n{daemon.log()}")
    assert len([each for each in daemon.log_lines() if line in each]) == 1


# The part of each line that an administrator would search the documents for.
SAID = ("gives no right that there is", "names a bundle that there is not", "there is no user",
        "a condition that is not known", "its name does not end in .plist", "No rights for process",
        "nearest comes", "nothing monitors for their bundles", "No alert bundles are looked for",
        "of the alerts directory passed over", "is empty and is left out", "there is no language",
        "put Common.bundle into", "has sent what is no call", "longer than its client's may be",
        "VLAlertTypes is no dictionary", "means nothing", "does not exist; create it",
        "not a store of this program", "its interpreter", "its lines end in CR LF", "has a hole", "a %{ without its }",
        "is missing: no language has it", "is missing: there are no texts",
        "run it as root, or in a system of your own (VELTO_ROOT)")


@pytest.mark.parametrize("said", SAID)
def test_the_troubleshooting_has_what_is_said(said):
    document = pathlib.Path(__file__).resolve().parents[2] / "docs/administration.md"
    assert said in document.read_text(encoding="utf-8")


def test_a_reply_without_a_store_says_why(system):
    system.library.rmdir()
    system.start()
    reply = system.client().call("SaveAlerts", alerts=[JAM])
    why = reply["error"]["userInfo"]["NSLocalizedDescription"]
    assert why == f"The store cannot be used: {system.store_file} cannot be made: " \
                  f"{system.library} does not exist; create it"


@pytest.mark.parametrize("script, why", [
    ("#!/usr/bin/nosuch -x\n", "its interpreter /usr/bin/nosuch does not exist"),
    ("#!/bin/sh\r\nexit 0\r\n", "its lines end in CR LF")])
def test_an_action_without_its_interpreter_says_so(system, script, why):
    action(script)(system)
    system.start()
    client = system.client()
    client.call("SaveAlerts", alerts=[{**JAM, "identifier": "1"}])
    reply = client.call("PerformRecoveryAction", action="Clear", alertId="1")
    assert why in reply["error"]["userInfo"]["NSLocalizedDescription"]


def test_an_ordinary_user_is_told_how_to_run_it(system):
    program = shutil.copy(ALERTSD, system.root)
    result = subprocess.run([program], user=SERVICE_USER, group=SERVICE_USER, capture_output=True,
                            text=True, timeout=DEADLINE, check=False, extra_groups=[],
                            env=system.environment())
    assert result.returncode == 1
    assert result.stderr.endswith("run it as root, or in a system of your own (VELTO_ROOT)\n"), \
        result.stderr


def test_who_has_no_rights_is_named_once_a_day(system):
    bundle(system)
    daemon = system.start()
    for _ in range(5):
        post(system.client_as(SERVICE_USER, SERVICE_USER))
    lines = daemon.log_lines()
    assert lines.count("Connection attempt with insufficient privileges") == 5
    named = [line for line in lines if line.startswith("No rights for process ")]
    assert len(named) == 1
