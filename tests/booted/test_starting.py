# SPDX-License-Identifier: Apache-2.0
"""The first post, the end, and starts after it."""

import signal

from support.container import wait_for
from support.load import Load, check_stored
from support.machine import SERVICE, SOCKET


def test_a_post_before_the_daemon_has_ever_run_starts_it(bare):
    policy = bare.path("/usr/sbin/policy-rc.d")
    policy.write_text("#!/bin/sh\nexit 101\n")
    policy.chmod(0o755)
    bare.install()
    assert not bare.is_active(SERVICE) and not bare.is_active(SOCKET)
    bare.run("systemctl", "start", SOCKET)
    assert not bare.is_active(SERVICE)
    assert bare.post() == {}
    assert bare.is_active(SERVICE)
    assert len(bare.alerts()) == 1
    for interface in ("AlertsDaemon", "AlertsMonitor"):
        assert bare.path(f"/run/varlink/registry/com.ulmora.velto.{interface}").is_symlink()


def test_the_packages_start_it_and_the_next_start_of_the_machine_does(shared):
    assert shared.is_active(SERVICE) and shared.is_active(SOCKET)
    for unit in (SERVICE, SOCKET):
        assert shared.run("systemctl", "is-enabled", unit).strip() == "enabled"
    assert shared.show(SERVICE, "StatusText") == "Serving"
    assert shared.names() == {"Common", "Disk", "Load"}


def test_systemd_has_nothing_to_say_against_the_units(shared):
    result = shared.try_run("systemd-analyze", "verify", "--man=no", SERVICE, SOCKET)
    assert (result.returncode, result.stdout, result.stderr) == (0, "", "")


def test_a_hundred_restarts_under_a_hundred_clients(shared):
    with Load(shared.socket_path(), clients=100) as load:
        for _ in range(100):
            wait_for(lambda wanted=len(load.answered) + 1: len(load.answered) >= wanted, "a save")
            shared.run("systemctl", "restart", SERVICE)
    check_stored(load, shared.client())
    assert shared.show(SERVICE, "NRestarts") == "0"


def test_a_crash_is_followed_by_a_start(shared):
    before = shared.show(SERVICE, "MainPID")
    restarts = int(shared.show(SERVICE, "NRestarts"))
    shared.run("systemctl", "kill", "--kill-whom=main", f"--signal={signal.SIGSEGV.name}", SERVICE)
    wait_for(lambda: shared.show(SERVICE, "MainPID") not in (before, "0"), "another process")
    assert shared.post() == {}
    assert int(shared.show(SERVICE, "NRestarts")) == restarts + 1


def test_a_process_that_hangs_is_ended_by_the_watchdog(machine):
    folder = machine.path(f"/etc/systemd/system/{SERVICE}.d")
    folder.mkdir()
    (folder / "watchdog.conf").write_text("[Service]\nWatchdogSec=2s\n")
    machine.run("systemctl", "daemon-reload")
    machine.run("systemctl", "restart", SERVICE)
    before = machine.show(SERVICE, "MainPID")
    machine.run("systemctl", "kill", "--kill-whom=main", "--signal=SIGSTOP", SERVICE)
    wait_for(lambda: machine.show(SERVICE, "MainPID") not in (before, "0"), "another process")
    assert machine.post() == {}


def test_stopped_without_its_socket_it_starts_with_the_next_call(shared):
    shared.run("systemctl", "stop", SERVICE)
    assert not shared.is_active(SERVICE)
    assert shared.post() == {}
    assert shared.is_active(SERVICE)


def test_stopped_with_its_socket_it_stays_so(shared):
    shared.run("systemctl", "stop", SERVICE, SOCKET)
    result = shared.try_run("alertsctl", "call", "GetAlertBundleNames")
    assert result.returncode == 7 and result.stderr
    assert not shared.is_active(SERVICE)
    assert not shared.socket_path().exists()
    shared.run("systemctl", "start", SERVICE)
    assert shared.post() == {}
