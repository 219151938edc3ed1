# SPDX-License-Identifier: Apache-2.0
"""Callers that a rule entitles to bundles, and attempts to get more than a rule gives."""

import os
import plistlib
import sys

import pytest
from velto.callers import OtherUser
from velto.varlink import wait_for

pytestmark = pytest.mark.needs_root

ENTITLED, OTHER, GROUP = 12345, 23456, 34567
ALERT = {"bundle": "Printer", "type": "Jam"}
KEY = "com.ulmora.velto.alert-bundles"
NO_RIGHTS = "Connection attempt with insufficient privileges"


@pytest.fixture
def ruled(system):
    """A running system with two bundles, and a way to write rules for it."""
    for name in ("Printer", "Scanner"):
        system.make_bundle(f"{name}.bundle", texts={"en": {"Jam.subject": "Jam"}})
    directory = system.root / "etc/velto/entitlements.d"
    directory.mkdir(parents=True)
    system.start()

    def rule(bundles=("Printer",), name="50.plist", mode=0o600, **conditions):
        path = directory / name
        path.write_bytes(plistlib.dumps({**conditions, "Entitlements": {KEY: bundles}}))
        path.chmod(mode)
        return path

    system.rule = rule
    return system


def may_post(client, **changes):
    """Whether the caller is admitted for the alert's bundle."""
    reply = client.call("PostAlert", alert={**ALERT, **changes})
    assert not reply or reply["error"]["code"] == 150, reply
    return not reply


def logged(system, line):
    return sum(line in each for each in system.daemon.log_lines())


def test_a_rule_entitles_to_its_bundles_and_to_no_more(ruled):
    ruled.rule(User=ENTITLED)
    client = ruled.client_as(ENTITLED, GROUP)
    assert may_post(client)
    assert not may_post(client, bundle="Scanner")
    assert client.call("GetAlertsOfBundle", bundle="Printer")["alerts"]
    assert client.call("GetAlertsOfBundle", bundle="Scanner")["error"]["code"] == 103
    assert client.call("SaveAlerts", alerts=[ALERT])["error"]["code"] == 103
    assert not may_post(ruled.client_as(OTHER, GROUP))
    assert logged(ruled, NO_RIGHTS) == 1


@pytest.mark.parametrize("bundles, entitled", [
    ("Printer", True), (["Scanner", "Printer"], True), (["Scanner"], False), ([], False),
    (7, False), ({"Printer": True}, False), (True, False)])
def test_the_entitlement_is_a_list_or_one_name(ruled, bundles, entitled):
    ruled.rule(bundles, User=ENTITLED)
    assert may_post(ruled.client_as(ENTITLED, GROUP)) == entitled


def test_a_rule_counts_from_the_next_connection_on(ruled):
    before = ruled.client_as(ENTITLED, GROUP)
    assert not may_post(before)
    path = ruled.rule(User=ENTITLED)
    during = ruled.client_as(ENTITLED, GROUP)
    assert may_post(during)
    assert not may_post(before), "a role is fixed when the caller connects"
    path.unlink()
    assert may_post(during)
    assert not may_post(ruled.client_as(ENTITLED, GROUP))


@pytest.mark.parametrize("mode", [0o644, 0o620, 0o666])
def test_a_file_that_others_can_read_or_write_counts_for_nothing(ruled, mode):
    path = ruled.rule(User=ENTITLED, mode=mode)
    assert not may_post(ruled.client_as(ENTITLED, GROUP))
    assert logged(ruled, f"Entitlements in {path} ignored") == 1


def test_a_file_of_somebody_else_counts_for_nothing(ruled):
    os.chown(ruled.rule(User=ENTITLED), ENTITLED, GROUP)
    assert not may_post(ruled.client_as(ENTITLED, GROUP))


def test_the_first_rule_that_holds_decides(ruled):
    ruled.rule(["Scanner"], name="10.plist", User=ENTITLED)
    ruled.rule(["Printer"], name="20.plist", User=ENTITLED)
    client = ruled.client_as(ENTITLED, GROUP)
    assert may_post(client, bundle="Scanner")
    assert not may_post(client)


def test_the_executable_narrows_further(ruled):
    ruled.rule(User=ENTITLED, Executable="/bin/true")
    assert not may_post(ruled.client_as(ENTITLED, GROUP))
    running = os.path.realpath(sys.executable)
    ruled.rule(User=ENTITLED, Executable=running)
    assert not may_post(ruled.client_as(ENTITLED, GROUP)), "there is none in the daemon's root"
    (ruled.root / "python").symlink_to(running)
    ruled.rule(User=ENTITLED, Executable="/python")
    assert may_post(ruled.client_as(ENTITLED, GROUP))


@pytest.mark.parametrize("condition", [
    {"Unit": "postfix.service"}, {"Label": "postfix"}, {"Group": GROUP}, {"User": "nobody-here"}])
def test_a_condition_that_does_not_hold_or_is_not_known_gives_nothing(ruled, condition):
    ruled.rule(**{"User": ENTITLED, **condition})
    assert not may_post(ruled.client_as(ENTITLED, GROUP))


def test_another_program_after_connecting_gains_nothing(ruled):
    ruled.rule(User=ENTITLED, Executable=os.path.realpath("/bin/sleep"))
    client = OtherUser(ruled.socket_path, ENTITLED, GROUP, then=["/bin/sleep", "600"])
    try:
        assert not may_post(client), "admitted as the program that connected"
        client.go_on()
        wait_for(lambda: os.path.realpath(f"/proc/{client.process}/exe").endswith("sleep"),
                 "the other program")
        assert not may_post(client)
    finally:
        client.end_process()
        client.close()


def test_a_connection_handed_on_keeps_the_rights_of_who_made_it(ruled):
    # The test itself, as root, speaks over what other users have connected.
    ruled.rule(User=ENTITLED)
    assert os.geteuid() == 0
    role_less = ruled.client_as(OTHER, GROUP)
    assert not may_post(role_less)
    assert role_less.call("GetAlertsOfBundle", bundle="Printer")["error"]["code"] == 103
    entitled = ruled.client_as(ENTITLED, GROUP)
    assert may_post(entitled)
    assert entitled.call("SaveAlerts", alerts=[ALERT])["error"]["code"] == 103


def test_the_end_of_the_process_that_connected_changes_nothing(ruled):
    ruled.rule(User=ENTITLED)
    client = ruled.client_as(ENTITLED, GROUP)
    assert may_post(client)
    client.end_process()
    assert may_post(client)
    assert not may_post(client, bundle="Scanner")
