# SPDX-License-Identifier: Apache-2.0
"""Sockets that a service manager hands over."""

import contextlib
import socket

import pytest
from velto.handing_over import handed_over
from velto.system import answers, listening
from velto.values import SERVICE
from velto.varlink import Client, connect, message


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
