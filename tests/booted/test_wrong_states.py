# SPDX-License-Identifier: Apache-2.0
"""What an administrator sees of a machine that is not as it should be: one line that says what is wrong, and no haste."""

import pytest
from support.container import wait_for
from support.machine import SERVICE, SOCKET
from velto.varlink import message

STORE = "/Library/Velto/Alerts/alertData.db"
DROP_IN = f"/etc/systemd/system/{SERVICE}.d/mine.conf"


def other_file(machine):
    machine.path(STORE).write_text("somebody's notes\n" * 1000)


def other_model(machine):
    with machine.path(STORE).open("r+b") as file:
        file.seek(60)  # the version of who made it
        file.write(bytes(4))


def no_folder(machine):
    machine.run("rm", "-r", "/Library/Velto")


def file_for_folder(machine):
    machine.run("rm", "-r", "/Library/Velto/Alerts")
    machine.path("/Library/Velto/Alerts").write_text("mine")


def full_disk(machine):
    machine.run("rm", "-r", "/Library/Velto/Alerts")
    machine.run("mount", "-t", "tmpfs", "-o", "size=16k", "tmpfs", "/Library/Velto")
    machine.try_run("dd", "if=/dev/zero", "of=/Library/Velto/ballast")


def without_its_rights(machine):
    drop_in(machine, "[Service]\nUser=nobody\n")


def drop_in(machine, text):
    machine.path(DROP_IN).parent.mkdir(exist_ok=True)
    machine.path(DROP_IN).write_text(text)
    machine.run("systemctl", "daemon-reload")


def shown(machine):
    """What `systemctl status` shows, whatever the state is."""
    return machine.try_run("systemctl", "status", "--no-pager", "--full", SERVICE).stdout


def wrong(machine):
    """The exit status of `alertsctl status`, and its one line about what is wrong."""
    result = machine.try_run("alertsctl", "status", "--quiet")
    (line,) = (result.stdout + result.stderr).splitlines()
    return result.returncode, line


@pytest.fixture(name="whole")
def _whole(shared):
    """The system of the module, mended after the test."""
    yield shared
    shared.try_run("systemctl", "stop", SERVICE, SOCKET)
    shared.try_run("umount", "/Library/Velto")
    shared.run("rm", "-rf", "/Library/Velto", DROP_IN)
    shared.run("systemctl", "daemon-reload")
    shared.run("systemd-tmpfiles", "--create", "velto-alerts.conf")
    shared.run("systemctl", "reset-failed")
    shared.run("systemctl", "start", SERVICE)
    assert shared.post() == {}


@pytest.mark.parametrize("spoil", [other_file, other_model, no_folder, file_for_folder, full_disk,
                                   without_its_rights])
def test_a_store_that_cannot_be_opened_shows(whole, spoil):
    whole.run("systemctl", "stop", SERVICE, SOCKET)
    spoil(whole)
    whole.run("systemctl", "start", SERVICE)
    status = whole.show(SERVICE, "StatusText")
    reason = status.removeprefix("No store: ")
    assert status != reason and "/Library/Velto" in reason
    assert status in shown(whole)
    assert reason in [entry["MESSAGE"] for entry in whole.journal("-u", SERVICE)]
    code, line = wrong(whole)
    assert code == 3 and reason in line and "systemctl restart velto-alerts" in line
    assert "error" in whole.post()
    assert whole.is_active(SERVICE) and whole.show(SERVICE, "NRestarts") == "0"


@pytest.mark.parametrize("text, result", [
    ("[Service]\nExecStart=\nExecStart=/bin/false\n", "status=1/FAILURE"),
    ("[Service]\nExecStart=\nExecStart=/etc/hostname\n", "status=203/EXEC")], ids=["ends", "no program"])
def test_a_start_that_fails_is_tried_once_a_second_and_callers_wait(whole, text, result):
    whole.run("systemctl", "stop", SERVICE)
    drop_in(whole, text)
    client = whole.client()
    client.send(message("GetAlertBundleNames"))
    code, line = wrong(whole)
    assert code == 1 and "does not answer" in line and "systemctl status velto-alerts" in line
    wait_for(lambda: result in shown(whole), "the reason")  # which is not shown while a start goes on
    wait_for(lambda: int(whole.show(SERVICE, "NRestarts")) >= 4, "some restarts")
    assert whole.is_active(SOCKET)
    whole.path(DROP_IN).unlink()
    whole.run("systemctl", "daemon-reload")
    assert set(client.receive()["parameters"]["names"]) == {"Common", "Disk", "Load"}
    ends = [int(entry["__MONOTONIC_TIMESTAMP"]) for entry in whole.journal("-u", SERVICE)
            if "Main process exited" in entry["MESSAGE"] and result in entry["MESSAGE"]]
    assert len(ends) >= 4
    assert min(later - sooner for sooner, later in zip(ends, ends[1:])) >= 1_000_000


def test_a_drop_in_that_no_unit_can_have_is_named_and_callers_are_told_at_once(whole):
    whole.run("systemctl", "stop", SERVICE)
    drop_in(whole, "[Service]\nExecStart=\n")
    code, line = wrong(whole)
    assert code == 7 and line.endswith("systemctl start velto-alerts")
    told = whole.try_run("systemctl", "start", "velto-alerts").stderr
    assert "has a bad unit file setting" in told and "systemctl status" in told
    assert "Service has no ExecStart=" in shown(whole) and "mine.conf" in shown(whole)
    assert whole.show(SERVICE, "NRestarts") == "0"


def test_a_drop_in_that_makes_no_sense_is_passed_over_and_named(whole):
    drop_in(whole, "[Servic]\nWatchdogSec=1\n")
    whole.run("systemctl", "restart", SERVICE)
    assert whole.post() == {}
    assert f"{DROP_IN}:1: Unknown section 'Servic'. Ignoring." in [
        entry["MESSAGE"] for entry in whole.journal("_PID=1")]


def test_a_missing_directory_of_bundles_is_told_at_the_start(whole):
    whole.run("mv", "/usr/lib/velto/alert-bundles", "/root")
    whole.run("systemctl", "restart", SERVICE)
    assert "No alert bundles are looked for: " in shown(whole)
    assert "/usr/lib/velto/alert-bundles" in shown(whole)
    whole.run("mv", "/root/alert-bundles", "/usr/lib/velto")
    whole.run("systemctl", "reload", SERVICE)
    assert whole.names() == {"Common", "Disk", "Load"}


def test_a_socket_behind_a_closed_folder_is_told_to_whom_it_keeps_out(whole):
    whole.path("/run/velto").chmod(0o700)
    result = whole.try_run("alertsctl", "status", user="daemon")
    assert result.returncode == 4 and "/run/velto/" in result.stderr and "sudo" in result.stderr
    whole.path("/run/velto").chmod(0o755)


def test_a_store_that_others_could_write_is_told_at_the_start(whole):
    whole.path("/Library/Velto/Alerts").chmod(0o777)
    whole.run("systemctl", "restart", SERVICE)
    assert "/Library/Velto/Alerts" in shown(whole)
    assert whole.post() == {}
