# SPDX-License-Identifier: Apache-2.0
"""What is not a call ends its connection, and no other."""

import socket

import pytest
from velto.values import SERVICE
from velto.varlink import message

pytestmark = pytest.mark.needs_root

LARGEST = 16 * 1024 * 1024
INFO = f'"method": "{SERVICE}.GetInfo"'.encode()


def nested(depth):
    """A call whose arrays and objects lie `depth` deep, the message itself included."""
    return b'{%s, "x.deep": %s}' % (INFO, b"[" * (depth - 1) + b"]" * (depth - 1))


def padded(size):
    """A call of so many bytes."""
    start, end = b'{%s, "x.filler": "' % INFO, b'"}'
    return start + b"x" * (size - len(start) - len(end)) + end


@pytest.fixture
def witness(shared):
    """Another client, who must not notice anything."""
    other = shared.client()
    yield other
    for served in (other, shared.client()):
        assert served.call("GetAlertBundleNames") == {"names": ["Printer"]}


NO_CALLS = {
    "empty": b"", "blank": b"  \n", "text": b"hello", "cut": b'{%s' % INFO,
    "more after": b'{%s} {}' % INFO, "array": b'[{%s}]' % INFO, "string": b'"GetInfo"',
    "number": b"5", "null": b"null", "no method": b'{"parameters": {}}', "nothing": b"{}",
    "method number": b'{"method": 5}', "method null": b'{"method": null}',
    "method list": b'{"method": ["%s.GetInfo"]}' % SERVICE.encode(),
    "parameters list": b'{%s, "parameters": []}' % INFO,
    "parameters text": b'{%s, "parameters": "{}"}' % INFO,
    "parameters number": b'{%s, "parameters": 0}' % INFO,
    "more number": b'{%s, "more": 1}' % INFO, "oneway text": b'{%s, "oneway": "false"}' % INFO,
    "upgrade object": b'{%s, "upgrade": {}}' % INFO,
    "unknown member": b'{%s, "extra": null}' % INFO, "reply": b'{"parameters": {}, "error": "x"}',
    "continues": b'{%s, "continues": true}' % INFO, "empty name": b'{%s, "": 1}' % INFO,
    "too large": b'{%s, "parameters": {"n": 1e400}}' % INFO,
    "too small": b'{%s, "x.n": -1e400}' % INFO, "not a number": b'{%s, "x.n": NaN}' % INFO,
    "infinity": b'{%s, "x.n": Infinity}' % INFO, "leading zero": b'{%s, "x.n": 01}' % INFO,
    "bare point": b'{%s, "x.n": 1.}' % INFO, "hexadecimal": b'{%s, "x.n": 0x1}' % INFO,
    "comment": b'{%s /* */}' % INFO, "trailing comma": b'{%s,}' % INFO,
    "single quotes": b"{'method': 'x'}", "bare key": b'{method: "x"}',
    "byte order mark": b"\xef\xbb\xbf{%s}" % INFO,
    "lone byte": b'{%s, "x.t": "\xff"}' % INFO, "overlong": b'{%s, "x.t": "\xc0\xaf"}' % INFO,
    "surrogate": b'{%s, "x.t": "\xed\xa0\x80"}' % INFO, "cut letter": b'{%s, "x.t": "\xc3"}' % INFO,
    "beyond": b'{%s, "x.t": "\xf4\x90\x80\x80"}' % INFO,
    "half a pair": b'{%s, "x.t": "\\ud800"}' % INFO, "bad escape": b'{%s, "x.t": "\\x"}' % INFO,
    "control": b'{%s, "x.t": "\n"}' % INFO,
    "too deep": nested(65), "much too deep": nested(100_000), "only open": b"[" * 100_000,
    "open objects": b'{"a":' * 100_000,
}


@pytest.mark.parametrize("text", NO_CALLS.values(), ids=NO_CALLS.keys())
def test_what_is_no_call_ends_the_connection(client, witness, text):
    client.send(text + b"\0")
    assert client.is_hung_up()


GOOD_CALLS = {
    "dotted member": b'{%s, "org.example.trace": {"id": [1]}}' % INFO,
    "blanks": b' \t\r\n{ %s } \n' % INFO, "deep": nested(64),
    "null parameters": b'{%s, "parameters": null}' % INFO,
    "large number": b'{%s, "x.n": 1e308}' % INFO, "tiny number": b'{%s, "x.n": 1e-400}' % INFO,
    "escapes": b'{%s, "x.t": "\\u00e9\\ud83d\\ude00\\/\\b"}' % INFO,
    "escaped name": b'{"\\u006dethod": "%s.GetInfo"}' % SERVICE.encode(),
    "last letter": b'{%s, "x.t": "\xf4\x8f\xbf\xbf"}' % INFO,
}


@pytest.mark.parametrize("text", GOOD_CALLS.values(), ids=GOOD_CALLS.keys())
def test_what_is_a_call_is_answered(client, text):
    client.send(text + b"\0")
    assert "interfaces" in client.receive()["parameters"]


def test_calls_before_the_bad_one_are_answered(client, witness):
    client.send(message("GetAlertBundleNames") * 3 + b"nonsense\0" + message("GetAlertBundleNames"))
    for _ in range(3):
        assert client.receive() == {"parameters": {"names": ["Printer"]}}
    assert client.is_hung_up()


def test_a_message_may_have_sixteen_mebibytes(client, witness):
    client.send(padded(LARGEST) + b"\0")
    assert "interfaces" in client.receive()["parameters"]


@pytest.mark.parametrize("end", [b"\0", b""], ids=["ended", "not ended"])
def test_a_larger_message_ends_the_connection(client, witness, end):
    try:
        client.send(padded(LARGEST + 1) + end)
    except ConnectionError:
        pass  # hung up before all of it was sent
    assert client.is_hung_up()


def test_the_size_counts_for_each_message_of_its_own(client, witness):
    client.send((padded(LARGEST // 2) + b"\0") * 3)
    for _ in range(3):
        assert "interfaces" in client.receive()["parameters"]


@pytest.mark.parametrize("text", [b"", b"{", b'{%s}' % INFO, padded(1 << 20)],
                         ids=["nothing", "little", "all but the end", "much"])
def test_a_client_may_hang_up_in_the_middle_of_a_message(client, witness, text):
    client.send(text)
    client.close()


def test_a_client_that_ends_sending_still_gets_its_replies(client):
    client.send(message("GetAlertBundleNames") * 2 + b'{"method')
    client.socket.shutdown(socket.SHUT_WR)
    for _ in range(2):
        assert client.receive() == {"parameters": {"names": ["Printer"]}}
    assert client.is_hung_up()


def test_a_client_may_hang_up_without_reading_its_replies(client, witness):
    client.send(message("GetAlertBundleNames") * 1000)
    client.close()


def test_half_a_message_holds_up_nobody(client, witness):
    client.send(b'{"method"')
    assert witness.call("GetAlertBundleNames") == {"names": ["Printer"]}
    client.send(b': "%s.GetInfo"}\0' % SERVICE.encode())
    assert "interfaces" in client.receive()["parameters"]


def test_many_bad_clients_leave_a_good_daemon(shared, witness):
    for number in range(300):
        bad = shared.client()
        bad.send((b"nonsense\0", b"{", message("GetAlertBundleNames"), b"\0\0\0")[number % 4])
        bad.close()
