# SPDX-License-Identifier: Apache-2.0
"""The process: its socket, its signals and its descriptors."""

import resource
import signal
import stat

import pytest
from velto.system import ALERTSCTL, ALERTSD, answers, listening
from velto.values import SERVICE
from velto.varlink import Client, connect


def test_the_socket_is_open_to_everyone(system):
    system.start()
    status = system.socket_path.stat()
    assert stat.S_ISSOCK(status.st_mode)
    assert stat.S_IMODE(status.st_mode) == 0o666


def ignored_signals(process):
    line = next(line for line in open(f"/proc/{process}/status") if line.startswith("SigIgn:"))
    return {signal.Signals(number) for number in range(1, 32)
            if int(line.split()[1], 16) & 1 << number - 1}


def test_signals_that_only_tell_of_a_failed_write_are_ignored_and_others_are_not(system):
    daemon = system.start()
    of_failed_writes = {signal.SIGPIPE, signal.SIGXFSZ}
    inherited = ignored_signals("self") - of_failed_writes
    assert ignored_signals(daemon.process.pid) - inherited == of_failed_writes


def test_a_second_daemon_gives_up_and_says_why(system):
    system.start()
    result = system.run(ALERTSD)
    assert result.returncode == 1
    assert result.stderr.startswith("alertsd: ")
    assert str(system.socket_path) in result.stderr
    assert answers(system.socket_path)


def test_a_socket_that_somebody_else_answers_is_not_replaced(system):
    system.socket_path.parent.mkdir(parents=True)
    with listening(system.socket_path):
        result = system.run(ALERTSD)
        assert result.returncode == 1
        assert str(system.socket_path) in result.stderr
        connect(system.socket_path).close()


def test_what_is_no_socket_is_not_replaced(system):
    system.socket_path.parent.mkdir(parents=True)
    system.socket_path.write_text("mine")
    result = system.run(ALERTSD)
    assert result.returncode == 1
    assert str(system.socket_path) in result.stderr
    assert system.socket_path.read_text() == "mine"


def test_the_socket_of_a_crashed_daemon_is_replaced(system):
    system.start()
    system.kill()
    assert system.socket_path.is_socket()
    system.start()
    assert answers(system.socket_path)


def test_a_path_that_no_socket_can_have_is_explained(system):
    result = system.run(ALERTSD, VELTO_ROOT=str(system.root / ("x" * 100)))
    assert result.returncode == 1
    assert "x" * 100 in result.stderr


@pytest.mark.parametrize("arguments", [["--now"], [""], ["--version", "--help"]])
def test_other_arguments_are_wrong_usage(system, arguments):
    result = system.run(ALERTSD, *arguments)
    assert result.returncode == 2
    assert "takes no arguments" in result.stderr
    assert not system.socket_path.exists()


def test_it_tells_its_version_and_how_it_is_used(system):
    version = system.run(ALERTSD, "--version")
    assert (version.returncode, version.stderr) == (0, "")
    program = system.run(ALERTSCTL, "--version").stdout
    assert version.stdout.split()[1] in program.split()
    usage = system.run(ALERTSD, "--help")
    assert (usage.returncode, usage.stderr) == (0, "")
    assert usage.stdout.startswith("Usage: alertsd\n")


def test_the_watchdog_is_fed_as_long_as_the_run_loop_turns(system):
    daemon = system.start(WATCHDOG_USEC="60000")
    for _ in range(5):
        assert daemon.notification() == {"WATCHDOG": "1"}


def test_the_watchdog_of_another_process_is_not_ours(system):
    daemon = system.start(WATCHDOG_USEC="60000", WATCHDOG_PID="1")
    daemon.process.send_signal(signal.SIGHUP)
    assert "RELOADING" in daemon.notification()


def test_readiness_tells_that_calls_are_served(system):
    assert system.start().readiness == {"READY": "1", "STATUS": "Serving"}


def test_readiness_tells_why_there_is_no_store(system):
    system.library.rmdir()
    daemon = system.start()
    assert daemon.readiness["STATUS"].startswith("No store: ")
    assert str(system.store_file) in daemon.readiness["STATUS"]


def test_a_closed_connection_leaves_no_descriptor_behind(system):
    daemon = system.start()
    assert answers(system.socket_path)
    before = len(daemon.descriptors())
    for _ in range(100):
        assert answers(system.socket_path)
    assert len(daemon.descriptors()) == before


def test_more_clients_than_descriptors_do_not_end_the_daemon(system):
    daemon = system.start()
    # A sanitizer needs a descriptor when it meets an object of a class that is new to it.
    assert answers(system.socket_path)

    limit = len(daemon.descriptors()) + 10
    resource.prlimit(daemon.pid, resource.RLIMIT_NOFILE, (limit, limit))
    clients = [Client(connect(system.socket_path)) for _ in range(50)]
    assert "interfaces" in clients[0].call(f"{SERVICE}.GetInfo")
    for client in clients:
        client.close()
    assert answers(system.socket_path)
