"""Starting, ending, and what the service manager hands over."""

import contextlib
import os
import resource
import signal
import socket
import stat
import sys

import pytest
from velto.system import ALERTSD
from velto.values import SERVICE
from velto.varlink import Client, connect, message, wait_for

# Becomes the daemon, with the descriptors named on the command line where a service manager would
# put them.
HAND_OVER = """
import fcntl, os, sys
*numbers, program = sys.argv[1:]
copies = []
for number in map(int, numbers):
    copies.append(fcntl.fcntl(number, fcntl.F_DUPFD_CLOEXEC, 100))
    os.set_inheritable(number, False)
for place, copy in enumerate(copies):
    os.dup2(copy, 3 + place)
os.environ.update(LISTEN_PID=str(os.getpid()), LISTEN_FDS=str(len(copies)))
os.execv(program, [program])
"""


def handed_over(*files):
    """The command that starts a daemon with these files, and their descriptors."""
    numbers = [file.fileno() for file in files]
    return (sys.executable, "-IS", "-c", HAND_OVER, *map(str, numbers), ALERTSD), numbers


def listening(path):
    listener = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    listener.bind(str(path))
    listener.listen(10)
    return listener


def answers(path):
    with contextlib.closing(Client(connect(path))) as client:
        return "interfaces" in client.call(f"{SERVICE}.GetInfo")


def test_the_socket_is_open_to_everyone(system):
    system.start()
    status = system.socket_path.stat()
    assert stat.S_ISSOCK(status.st_mode)
    assert stat.S_IMODE(status.st_mode) == 0o666


def test_a_broken_pipe_is_ignored_and_other_signals_are_not(system):
    daemon = system.start()
    with open(f"/proc/{daemon.pid}/status", encoding="ascii") as file:
        masks = dict(line.split(":\t") for line in file if ":\t" in line)
    assert int(masks["SigIgn"], 16) == 1 << signal.SIGPIPE - 1


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


def test_arguments_are_wrong_usage(system):
    result = system.run(ALERTSD, "--now")
    assert result.returncode == 2
    assert result.stderr


def test_a_socket_handed_over_is_served(system):
    path = system.root / "handed"
    with listening(path) as listener:
        command, descriptors = handed_over(listener)
        system.start(*command, descriptors=descriptors, LISTEN_FDNAMES="varlink")
        assert answers(path)
    # It is the daemon's from now on.
    assert answers(path)
    assert not system.socket_path.exists()


def test_a_client_that_was_there_before_the_daemon_is_served(system):
    path = system.root / "handed"
    with listening(path) as listener, contextlib.closing(Client(connect(path))) as early:
        early.send(message(f"{SERVICE}.GetInfo"))
        command, descriptors = handed_over(listener)
        system.start(*command, descriptors=descriptors, LISTEN_FDNAMES="varlink")
        assert "interfaces" in early.receive()["parameters"]


def test_of_several_sockets_the_one_of_the_name_is_served(system):
    paths = [system.root / name for name in ("first", "second", "third")]
    with contextlib.ExitStack() as stack:
        command, descriptors = handed_over(*(stack.enter_context(listening(path))
                                             for path in paths))
        system.start(*command, descriptors=descriptors, LISTEN_FDNAMES="other:varlink:third")
        assert answers(paths[1])


@pytest.mark.parametrize("open_file", [
    lambda path: path.open("w"), lambda path: socket.socket(socket.AF_UNIX, socket.SOCK_STREAM),
    lambda path: socket.socket(socket.AF_INET, socket.SOCK_STREAM)],
    ids=["file", "not listening", "other family"])
def test_what_is_no_listening_socket_is_refused(system, open_file):
    with open_file(system.root / "file") as file:
        command, descriptors = handed_over(file)
        result = system.run(*command, descriptors=descriptors, LISTEN_FDNAMES="varlink")
    assert result.returncode == 1
    assert result.stderr.startswith("alertsd: ")


def test_sockets_handed_to_another_process_are_not_ours(system):
    system.start(LISTEN_FDS="1", LISTEN_PID="1", LISTEN_FDNAMES="varlink")
    assert answers(system.socket_path)


@pytest.mark.needs_root
def test_children_learn_nothing_of_what_was_handed_over(system):
    system.make_bundle("Printer.bundle", texts={"en": {"Jam.subject": "Jam"}})
    path = system.root / "handed"
    with listening(path) as listener:
        command, descriptors = handed_over(listener)
        system.start(*command, descriptors=descriptors, LISTEN_FDNAMES="varlink", KEPT="yes")
        with contextlib.closing(Client(connect(path))) as client:
            client.call("AddMailRecipients", recipients=["ann@example.org"])
            assert client.call("PostAlert", alert={"bundle": "Printer", "type": "Jam"}) == {}
    (mail,) = system.mail.mails()
    assert mail.environment["KEPT"] == "yes"
    assert not [name for name in mail.environment if name.startswith(("LISTEN_", "NOTIFY_"))]
    assert set(mail.descriptors) == {0, 1, 2}


def open_descriptors(daemon):
    return len(os.listdir(f"/proc/{daemon.pid}/fd"))


def test_a_closed_connection_leaves_no_descriptor_behind(system):
    daemon = system.start()
    before = open_descriptors(daemon)
    for _ in range(100):
        assert answers(system.socket_path)
    wait_for(lambda: open_descriptors(daemon) <= before, "the descriptors to be closed")


def test_more_clients_than_descriptors_do_not_end_the_daemon(system):
    daemon = system.start()
    before = open_descriptors(daemon)
    # The sanitizer needs a descriptor when it meets an object of a class that is new to it.
    assert answers(system.socket_path)
    wait_for(lambda: open_descriptors(daemon) == before, "the connection to be closed")

    resource.prlimit(daemon.pid, resource.RLIMIT_NOFILE, (before + 10, before + 10))
    clients = [Client(connect(system.socket_path)) for _ in range(50)]
    assert "interfaces" in clients[0].call(f"{SERVICE}.GetInfo")
    for client in clients:
        client.close()
    wait_for(lambda: answers(system.socket_path), "the daemon to serve again")
