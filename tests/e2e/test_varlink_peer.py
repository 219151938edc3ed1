# SPDX-License-Identifier: Apache-2.0
"""The wire as a Varlink client sees it that others wrote."""

import json
import os
import pathlib
import shutil
import subprocess

import pytest
from velto.skipping import skip_or_fail
from velto.values import INTERFACE, METHODS, SERVICE, not_found
from velto.varlink import DEADLINE

pytestmark = pytest.mark.needs_root

SOURCE = pathlib.Path(__file__).parent / "peer"
LIBRARIES = pathlib.Path("/usr/share/gocode")


@pytest.fixture(scope="module", name="program")
def _program(tmp_path_factory):
    """The client, built from Debian's packages alone."""
    go = shutil.which("go")
    if not go or not (LIBRARIES / "src/github.com/varlink/go").is_dir():
        skip_or_fail("needs Go and its Varlink library")
    folder = tmp_path_factory.mktemp("peer")
    subprocess.run([go, "build", "-o", folder / "peer", "main.go"], cwd=SOURCE, check=True,
                   timeout=10 * DEADLINE,
                   env={"PATH": os.environ["PATH"], "GO111MODULE": "off", "GOFLAGS": "",
                        "GOPATH": str(LIBRARIES), "GOCACHE": str(folder / "cache"),
                        "HOME": str(folder), "CGO_ENABLED": "0"})
    return folder / "peer"


@pytest.fixture(name="exchange")
def _exchange(system, program):
    """Sends calls to a daemon with the bundle Common; gives the replies to each."""
    system.install_bundle("Common.bundle")
    system.start(LANGUAGE="en")

    def exchange(*calls):
        lines = [json.dumps({"method": method if "." in method else f"{INTERFACE}.{method}", "parameters": parameters, **flags})
                 for method, parameters, *rest in calls for flags in (rest[0] if rest else {},)]
        result = subprocess.run([program, system.socket_path], input="\n".join(lines) + "\n",
                                capture_output=True, text=True, check=False, timeout=DEADLINE)
        replies = [json.loads(line) for line in result.stdout.splitlines()]
        assert len(replies) == len(calls), result.stderr
        return replies

    return exchange


def test_it_is_told_of_the_interface(exchange):
    ((info,), (description,)) = exchange(
        (f"{SERVICE}.GetInfo", {}),
        (f"{SERVICE}.GetInterfaceDescription", {"interface": INTERFACE}))
    assert INTERFACE in info["interfaces"]
    assert all(f"\nmethod {method}(" in description["description"] for method in METHODS)


def test_it_goes_through_an_alerts_life(exchange, system):
    replies = exchange(
        ("GetAlertBundleNames", {}),
        ("SetMailRecipients", {"recipients": [{"address": "ann@example.org"}]}),
        ("GetMailRecipients", {}),
        ("SetPushRecipients", {"recipients": [{"guid": "a", "token": "AAEC", "locale": "de"}]}),
        ("GetPushRecipients", {}),
        ("PostAlert", {"alert": {"identifier": "one", "bundle": "Common", "type": "Test",
                                 "attributes": {"when": {"$date": 1.5}, "raw": {"$data": "AAEC"}}}}),
        ("MarkAlertAsReadWithAlertId", {"alertId": "one"}),
        ("GetLastAlertOfBundle", {"bundle": "Common"}),
        ("SetAttributes", {"attributes": {"site": "Bern"}}),
        ("GetAttributes", {}),
        ("SetAlertBundleSettings", {"settings": {"Common": {"mailEnabled": True}}}),
        ("GetAlertBundleSettings", {}),
        ("DeleteAlertsWithIds", {"alertIds": ["one"]}),
        ("GetAlertsOfType", {"type": "Test"}),
        ("DeleteAlertsBeforeDate", {"date": 1e9}),
        ("EnableAlertBundle", {"bundle": "Tape"}))
    alert = replies[7][0].pop("alert")
    assert alert["readDate"] >= alert["sentDate"]
    assert alert["attributes"] == {"when": {"$date": 1.5}, "raw": {"$data": "AAEC"}}
    assert replies == [
        [{"names": ["Common"]}], [{}],
        [{"recipients": [{"address": "ann@example.org", "locale": "en"}]}], [{}],
        [{"recipients": [{"guid": "a", "token": "AAEC", "name": "Unkown", "locale": "de",
                          "enabled": False}]}],
        [{}], [{}], [{}], [{}], [{"attributes": {"site": "Bern"}}], [{}],
        [{"settings": {"Common": {"name": "Common", "pushEnabled": False, "mailEnabled": True}}}],
        [{}], [{"alerts": []}], [{"count": 0}],
        [{"error": not_found("Enable Alert Bundle: Bundle 'Tape' not found.")}]]
    assert len(system.mail.mails()) == 1


def test_it_takes_a_list_in_pieces(exchange):
    alerts = [{"identifier": f"{number} " + "x" * 200, "bundle": "Common", "type": "Test"}
              for number in range(1000)]
    _, pieces, period = exchange(("SaveAlerts", {"alerts": alerts}),
                                 ("GetAlertsOfBundle", {"bundle": "Common"}, {"more": True}),
                                 ("GetAlertsFromDate", {}, {"more": True}))
    assert len(pieces) > 2
    listed = [alert["identifier"] for piece in pieces for alert in piece["alerts"]]
    assert sorted(listed) == sorted(alert["identifier"] for alert in alerts)
    assert period == [{"alerts": []}], "what was never sent is in no period"


def test_it_understands_errors(exchange):
    unknown, wrong, names = exchange(("Explode", {}), ("GetAlertsOfType", {"kind": "Test"}),
                                     ("GetAlertBundleNames", {}))
    assert unknown[0]["error"].startswith(f"{SERVICE}.MethodNotFound")
    assert wrong[0]["error"].startswith(f"{SERVICE}.InvalidParameter")
    assert wrong[0]["parameters"] == {"parameter": "kind"}
    assert names == [{"names": ["Common"]}]
