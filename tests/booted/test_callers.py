# SPDX-License-Identifier: Apache-2.0
"""Who may do what, by user, by unit and by program."""

import json
import platform

import pytest
from support.machine import SERVICE
from velto.skipping import skip_or_fail

TEST = json.dumps({"alert": {"bundle": "Common", "type": "Test"}})


@pytest.fixture(scope="module", name="users")
def _users(shared):
    for user in ("ann", "printer"):
        shared.run("useradd", "--create-home", user)
    return shared


def rule(machine, text):
    path = machine.path("/etc/velto/entitlements.d/test.plist")
    path.write_text(f'{{ {text} Entitlements = {{ "com.ulmora.velto.alert-bundles" = (Common); }}; }}')
    path.chmod(0o600)


def is_denied(reply):
    return "entitlements" in reply["error"]["userInfo"]["NSLocalizedDescription"]


def test_a_user_without_a_role_sees_the_names_and_no_more(users):
    names = users.call("GetAlertBundleNames", user="ann")["names"]
    assert set(names) == {"Common", "Disk", "Load"}
    assert is_denied(users.post(user="ann"))
    assert "error" in users.call("GetMailRecipients", user="ann")


def test_the_same_user_with_sudo_is_the_administrator(users):
    path = users.path("/etc/sudoers.d/ann")
    path.write_text("ann ALL=(ALL) NOPASSWD: ALL\n")
    path.chmod(0o440)
    text = users.run("sudo", "--non-interactive", "alertsctl", "call", "GetMailRecipients", user="ann")
    assert json.loads(text) == {"recipients": []}
    assert users.call("GetMailRecipients") == {"recipients": []}


def test_a_rule_by_user(users):
    rule(users, "User = printer;")
    assert users.post(user="printer") == {}
    assert is_denied(users.post(user="ann"))
    assert is_denied(users.post("Disk", "AlmostFull", user="printer"))


def test_a_rule_narrowed_by_the_program(users):
    rule(users, "User = printer; Executable = \"/usr/bin/alertsctl\";")
    assert users.post(user="printer") == {}
    users.run("cp", "/usr/bin/alertsctl", "/usr/local/bin/another")
    result = users.try_run("/usr/local/bin/another", "call", "PostAlert", TEST, user="printer")
    assert is_denied(json.loads(result.stdout))


def run_in_unit(machine, unit):
    return json.loads(machine.try_run(
        "systemd-run", "--quiet", "--wait", "--pipe", "--uid=printer", f"--unit={unit}",
        "alertsctl", "call", "PostAlert", TEST).stdout)


def test_a_rule_by_unit(users):
    if tuple(map(int, platform.release().split(".")[:2])) < (6, 5):
        skip_or_fail("needs Linux 6.5, to know a caller's unit")
    rule(users, "Unit = \"printer.service\";")
    assert run_in_unit(users, "printer.service") == {}
    assert is_denied(run_in_unit(users, "other.service"))


def test_a_rule_that_others_can_read_is_not_used(users):
    rule(users, "User = printer;")
    users.path("/etc/velto/entitlements.d/test.plist").chmod(0o644)
    assert is_denied(users.post(user="printer"))
    assert any("test.plist" in entry["MESSAGE"] for entry in users.journal("-u", SERVICE))


def test_a_delivery_is_an_entry_of_the_journal_with_fields(shared):
    program = shared.path("/usr/sbin/sendmail")
    program.write_text("#!/bin/sh\ncat >/dev/null\nexit 75\n")
    program.chmod(0o755)
    shared.call("SetMailRecipients", {"recipients": [{"address": "ann@example.org", "locale": "en"}]})
    failure = shared.post(identifier="journal.1")["error"]
    assert failure["code"] == 75
    (entry,) = shared.journal("VELTO_ALERT_ID=journal.1")
    assert {name: value for name, value in entry.items()
            if name.startswith("VELTO_") and name != "VELTO_DURATION_USEC"} == {
        "VELTO_ALERT_ID": "journal.1", "VELTO_BUNDLE": "Common", "VELTO_TYPE": "Test",
        "VELTO_CHANNEL": "mail", "VELTO_RECIPIENTS": "ann@example.org", "VELTO_LOCALE": "en",
        "VELTO_RESULT": "failed", "VELTO_STATUS": "75"}
    assert int(entry["VELTO_DURATION_USEC"]) > 0
    assert entry["PRIORITY"] == "4"
    assert entry["_SYSTEMD_UNIT"] == SERVICE
