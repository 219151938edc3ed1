# SPDX-License-Identifier: Apache-2.0
"""Upgrades and removals, and stores that are put back."""

import pathlib
import re
import textwrap

from support.container import wait_for
from support.load import Load, check_stored
from support.machine import SERVICE, SOCKET

LATER = "0.1.1"


def version(machine):
    return machine.run("dpkg-query", "--show", "--showformat=${Version}", "velto-alerts")


def test_an_upgrade_under_load_closes_no_door(machine):
    before = {unit: machine.show(unit, "InvocationID") for unit in (SERVICE, SOCKET)}
    earlier = version(machine)
    with Load(machine.socket_path(), clients=100) as load:
        wait_for(lambda: len(load.answered) > 100, "some saves")
        machine.install(LATER)
        wait_for(lambda wanted=len(load.answered) + 100: len(load.answered) > wanted, "more saves")
    check_stored(load, machine.client())
    assert version(machine) == LATER != earlier
    assert machine.show(SERVICE, "InvocationID") != before[SERVICE]
    assert machine.show(SOCKET, "InvocationID") == before[SOCKET]


def test_a_removal_keeps_the_alerts_and_a_purge_removes_them(machine):
    store = machine.path("/Library/Velto/Alerts/alertData.db")
    rule = machine.path("/etc/velto/entitlements.d/mine.plist")
    rule.write_text("{}")
    assert machine.post(identifier="kept") == {}
    machine.apt("remove", "velto-alerts")
    assert store.exists() and rule.exists()
    assert not machine.path("/usr/sbin/alertsd").exists()
    assert not machine.socket_path().exists()
    assert not machine.is_active(SERVICE) and not machine.is_active(SOCKET)

    machine.install()
    assert [alert["identifier"] for alert in machine.alerts()] == ["kept"]

    machine.apt("purge", "velto-alerts")
    for left in ("/Library", "/etc/velto", "/usr/lib/velto", "/usr/share/velto",
                 "/run/velto/com.ulmora.velto.AlertsDaemon"):
        assert not machine.path(left).exists(), left
    assert not machine.try_run("systemctl", "list-unit-files", "--no-legend", "velto-*").stdout


def test_a_backup_is_put_back_as_the_documents_say(machine):
    text = (pathlib.Path(__file__).resolve().parents[2] / "docs/administration.md").read_text(encoding="utf-8")
    (recipe,) = re.findall(r"^(?: {6}\S.*\n)+", text[text.index("**Backup**"):text.index("**Upgrade**")], re.M)
    machine.post(identifier="kept")
    machine.run("mkdir", "/backup")
    machine.run("alertsctl", "backup", "/backup/alertData.db")
    machine.post(identifier="later")
    machine.run("sh", "-euc", textwrap.dedent(recipe))
    assert [alert["identifier"] for alert in machine.alerts()] == ["kept"]
    assert machine.show(SERVICE, "StatusText") == "Serving"
