# SPDX-License-Identifier: Apache-2.0
"""Bundles that come, change and go while the daemon runs."""

import shutil
import signal
import threading

import pytest
from velto.varlink import DEADLINE, message, wait_for

pytestmark = pytest.mark.needs_root

JAM = {"bundle": "Printer", "type": "Jam"}


def reload(daemon):
    """Tells the daemon to reload, and waits until it says that it has."""
    daemon.process.send_signal(signal.SIGHUP)
    beginning = daemon.notification()
    assert beginning["RELOADING"] == "1"
    assert int(beginning["MONOTONIC_USEC"]) > 0
    assert daemon.notification() == {"READY": "1"}


def make_printer(system, subject, languages=("en",)):
    system.make_bundle("Printer.bundle", texts={language: {"Jam.subject": f"{subject} {language}"}
                                                for language in languages})


def test_what_comes_changes_and_goes_counts_after_a_reload(system):
    daemon = system.start()
    client = system.client()
    client.call("AddMailRecipients", recipients=["ann@example.org"])
    make_printer(system, "Before")
    assert client.call("GetAlertBundleNames") == {"names": []}
    reload(daemon)
    assert client.call("GetAlertBundleNames") == {"names": ["Printer"]}
    assert client.call("PostAlert", alert=JAM) == {}
    make_printer(system, "After")
    reload(daemon)
    assert client.call("PostAlert", alert=JAM) == {}
    assert sorted(mail.message["Subject"] for mail in system.mail.mails()) == \
        ["After en", "Before en"]
    shutil.rmtree(system.bundles / "Printer.bundle")
    reload(daemon)
    assert client.call("GetAlertBundleNames") == {"names": []}


def test_settings_survive_a_reload(system):
    make_printer(system, "Jam")
    daemon = system.start()
    client = system.client()
    settings = {"Printer": {"name": "Printer", "mailEnabled": False, "pushEnabled": True}}
    client.call("SetAlertBundleSettings", settings=settings)
    reload(daemon)
    assert client.call("GetAlertBundleSettings") == {"settings": settings}


def test_an_alert_on_its_way_keeps_the_bundle_that_it_began_with(gated):
    system, poster, gate = gated
    other = system.client()
    assert other.call("SetMailRecipients", recipients=[]) == {}
    gate.open()
    assert poster.receive() == {"parameters": {}}
    make_printer(system, "Before", ("de", "en"))
    reload(system.daemon)
    other.call("SetMailRecipients", recipients=[
        {"address": "ada@example.de", "locale": "de"}, {"address": "ann@example.org", "locale": "en"}])
    poster.send(message("PostAlert", {"alert": JAM}))
    gate.wait()
    make_printer(system, "After", ("de", "en"))
    reload(system.daemon)
    system.mail.record()
    gate.open()
    assert poster.receive() == {"parameters": {}}
    (mail,) = system.mail.mails()
    assert mail.message["Subject"] in ("Before de", "Before en")


def test_nothing_is_lost_when_an_administrator_changes_settings_meanwhile(system):
    make_printer(system, "Jam")
    daemon = system.start()
    ended = threading.Event()
    changes = []

    def change():
        client = system.client()
        while not ended.is_set():
            settings = {"Printer": {"mailEnabled": len(changes) % 2 == 0, "pushEnabled": False}}
            client.call("SetAlertBundleSettings", settings=settings)  # or fails, as beside another's
            changes.append(settings)

    administrator = threading.Thread(target=change)
    administrator.start()
    try:
        for number in range(20):
            wait_for(lambda wanted=len(changes) + 2: len(changes) >= wanted, "changes")
            system.make_bundle(f"New{number}.bundle", texts={"en": {"Jam.subject": "Jam"}})
            system.make_bundle("Printer.bundle", info={"CFBundleGetInfoString": f"Name {number}"},
                               texts={"en": {"Jam.subject": "Jam"}})
            reload(daemon)
    finally:
        ended.set()
        administrator.join()
    names = system.client().call("GetAlertBundleNames")["names"]
    assert set(names) == {"Printer", *(f"New{number}" for number in range(20))}
    assert "could not be looked for" not in daemon.log()


def test_a_directory_that_cannot_be_read_is_logged_and_changes_nothing(system):
    make_printer(system, "Jam")
    daemon = system.start()
    system.bundles.rename(system.root / "elsewhere")
    reload(daemon)
    assert any(line.startswith("Alert bundles could not be looked for again: ")
               for line in daemon.log_lines())
    assert system.client().call("GetAlertBundleNames") == {"names": ["Printer"]}


def test_a_signal_to_reload_during_the_stop_does_not_keep_it(gated):
    system, poster, gate = gated
    daemon = system.daemon
    daemon.process.terminate()
    assert daemon.notification() == {"STOPPING": "1"}
    daemon.process.send_signal(signal.SIGHUP)
    gate.open()
    assert poster.receive() == {"parameters": {}}
    assert daemon.process.wait(DEADLINE) == 0
    system.daemon = None
