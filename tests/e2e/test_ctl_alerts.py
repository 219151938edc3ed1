# SPDX-License-Identifier: Apache-2.0
"""The verbs of alertsctl about alerts."""

import json
import select
import re
import time

import pytest
from velto.control import Control, ended
from velto.varlink import DEADLINE

pytestmark = pytest.mark.needs_root

UNIX_AT_2001 = 978307200


def ago(seconds):
    return time.time() - UNIX_AT_2001 - seconds


@pytest.fixture(name="ctl")
def _ctl(system):
    """The tool beside a daemon with the bundles Printer and Disk."""
    printer = system.make_bundle("Printer.bundle", {"VLAlertTypes": {"Jam": {"RecoveryOptions": ["Fix"]}}},
                       texts={"en": {"Jam.subject": "Paper jam in %{tray}",
                                     "Jam.message": "Open %{tray}.\nTake the paper out.",
                                     "Fix.title": "Pull harder"},
                              "de": {"Jam.subject": "Papierstau in %{tray}",
                                     "Fix.title": "Fester ziehen"}})
    action = printer / "Contents/Actions/Fix"
    action.parent.mkdir()
    action.write_text("#!/bin/sh\n[ \"$1\" = run ]\n", encoding="utf-8")
    action.chmod(0o755)
    system.make_bundle("Disk.bundle", texts={"en": {"Full.subject": "Full"}})
    system.start()
    return Control(system)


@pytest.fixture(name="three")
def _three(ctl, system):
    """Three stored alerts: a new one, one that was read, one that is resolved."""
    alerts = [
        {"identifier": "Jam:aa11", "bundle": "Printer", "type": "Jam", "sentDate": ago(60),
         "attributes": {"tray": "tray 1", "pages": 7}},
        {"identifier": "Full:bb22", "bundle": "Disk", "type": "Full", "sentDate": ago(7200),
         "readDate": ago(3600)},
        {"identifier": "Full:cc33", "bundle": "Disk", "type": "Full", "sentDate": ago(3 * 86400),
         "readDate": ago(86400), "resolvedDate": ago(7000)}]
    system.client().call("SaveAlerts", alerts=alerts)
    return alerts


def identifiers(ctl, *arguments):
    return ctl.done(*arguments, "-q").lines


def test_without_a_verb_it_shows_what_is_unread_and_unresolved(ctl, three):
    del three
    assert identifiers(ctl) == ["Jam:aa11"]
    assert "1 alert." in ctl.done().output


def test_nothing_to_see_is_said_and_no_error(ctl):
    assert ctl.done().output == "Nothing to see: no alert is unread and unresolved.\n"
    assert ctl.done("list").output == "No alerts.\n"
    assert ctl.json() == {"alerts": []}
    assert ctl.done("-q").output == ""


@pytest.mark.parametrize("arguments, found", [
    ((), ["Jam:aa11", "Full:bb22", "Full:cc33"]),
    (("--reverse",), ["Full:cc33", "Full:bb22", "Jam:aa11"]),
    (("-n", 2), ["Jam:aa11", "Full:bb22"]),
    (("-n", 0), []),
    (("-n", 2, "-r"), ["Full:bb22", "Jam:aa11"]),
    (("--bundle", "Disk"), ["Full:bb22", "Full:cc33"]),
    (("--type", "Jam"), ["Jam:aa11"]),
    (("--unread",), ["Jam:aa11"]),
    (("--unresolved",), ["Jam:aa11", "Full:bb22"]),
    (("--since", "-1h"), ["Jam:aa11"]),
    (("--until", "-1h"), ["Full:bb22", "Full:cc33"]),
    (("--since", "-1d", "--until", "-1h"), ["Full:bb22"]),
    (("--text", "TRAY"), ["Jam:aa11"])], ids=str)
def test_a_list_has_what_was_asked_for(ctl, three, arguments, found):
    del three
    assert identifiers(ctl, "list", *arguments) == found


def test_a_long_list_comes_whole(ctl, system):
    alerts = [{"identifier": f"a{number:04}", "bundle": "Disk", "sentDate": ago(number)}
              for number in range(2500)]
    system.client().call("SaveAlerts", alerts=alerts)
    wanted = [alert["identifier"] for alert in alerts]
    assert identifiers(ctl, "list") == wanted
    assert [alert["identifier"] for alert in ctl.json("list")["alerts"]] == wanted
    assert len(ctl.done("list", "--no-legend").lines) == 2500


def test_subjects_are_in_the_readers_language(ctl, three):
    del three
    assert "Paper jam in tray 1" in ctl.done("list").output
    assert "Papierstau in tray 1" in ctl.done("list", LANGUAGE="de").output
    assert ctl.json("list")["alerts"][0]["subject"] == "Paper jam in tray 1"


def test_show_tells_everything(ctl, three):
    del three
    output = ctl.done("show", "Jam:aa11", "--utc").output
    for part in ("Paper jam in tray 1", "Jam:aa11", "Printer", "tray = tray 1", "pages = 7",
                 "Open tray 1.", "Take the paper out.", "Fix: Pull harder", "UTC"):
        assert part in output
    (alert,) = ctl.json("show", "Jam:aa11", LANGUAGE="de")["alerts"]
    assert alert["actions"] == [{"name": "Fix", "title": "Fester ziehen"}]
    assert alert["attributes"] == {"tray": "tray 1", "pages": 7}
    assert re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z", alert["sentDate"])


def test_short_beginnings_of_identifiers_do(ctl, three):
    del three
    assert identifiers(ctl, "show", "Ja", "Full:b") == ["Jam:aa11", "Full:bb22"]
    result = ctl("show", "Full:")
    assert (result.status, result.output) == (1, "")
    assert "more than one alert begins with Full:" in result.errors
    assert "Full:bb22, Full:cc33" in result.errors
    result = ctl("show", "nothing")
    assert (result.status, result.output) == (1, "")
    assert "there is no alert nothing; see alertsctl list" in result.errors


def test_post_prints_the_identifier(ctl):
    (identifier,) = ctl.done("post", "Printer", "Jam", "tray=t=1", "pages:=7", "real:=1.0",
                             'nested:={"a": [true]}').lines
    (alert,) = ctl.json("show", identifier)["alerts"]
    assert alert["attributes"] == {"tray": "t=1", "pages": 7, "real": 1.0, "nested": {"a": [True]}}
    assert "creationDate" in alert
    assert ctl.json("post", "Printer", "Jam").keys() == {"identifier"}


def test_marks_say_how_many(ctl, three):
    del three
    assert ctl.done("read", "Jam:aa").output == "Marked 1 alert as read.\n"
    assert ctl.done("resolve", "Jam", "Full:b").output == "Marked 2 alerts as resolved.\n"
    assert identifiers(ctl, "list", "--unresolved") == []
    assert ctl.done("read", "--all").output == "Marked 0 alerts as read.\n"


def test_all_can_be_read_at_once(ctl, system):
    system.client().call("SaveAlerts", alerts=[
        {"identifier": f"i{number}", "bundle": "Disk", "sentDate": ago(number)}
        for number in range(1200)])
    assert ctl.json("read", "--all")["read"] == [f"i{number}" for number in range(1200)]
    assert identifiers(ctl, "list", "--unread") == []


def test_nothing_is_done_when_one_of_several_is_not_there(ctl, three):
    del three
    assert ctl("read", "Jam:aa11", "nothing").status == 1
    assert identifiers(ctl, "list", "--unread") == ["Jam:aa11"]
    assert ctl("delete", "Jam:aa11", "nothing").status == 1
    assert len(identifiers(ctl, "list")) == 3


def test_run_runs_an_action(ctl, three):
    del three
    assert ctl.done("run", "Fix", "Jam").output == "Done: Fix for Jam:aa11.\n"
    assert "resolvedDate" in ctl.json("show", "Jam")["alerts"][0]
    result = ctl("run", "Fox", "Jam")
    assert result.status == 1
    assert "alert Jam has no action Fox; did you mean Fix?" in result.errors


def test_delete_deletes_and_can_only_tell(ctl, three):
    del three
    assert "Would delete 2 alerts." in ctl.done("delete", "--dry-run", "Jam", "Full:b").output
    assert ctl.json("delete", "--dry-run", "Jam") == {"deleted": ["Jam:aa11"], "dryRun": True}
    assert len(identifiers(ctl, "list")) == 3
    assert ctl.done("delete", "Jam", "Full:b").output == "Deleted 2 alerts.\n"
    assert identifiers(ctl, "list") == ["Full:cc33"]


def test_prune_deletes_what_is_old(ctl, three):
    del three
    assert ctl.json("prune", "--older-than", "2d", "--dry-run") == {"deleted": 1, "dryRun": True}
    assert len(identifiers(ctl, "list")) == 3
    assert ctl.done("prune", "--older-than", "2d").output.startswith("Deleted 1 alert sent before")
    assert identifiers(ctl, "list") == ["Jam:aa11", "Full:bb22"]
    assert ctl.json("prune", "--older-than", "1h") == {"deleted": 1, "dryRun": False}


def lines_of(process, count):
    return [process.stdout.readline() for _ in range(count)]


def wait_until_told(ctl, watching):
    """Posts until the watcher tells of something: nothing else says that it has begun to watch. That
    may be that a change is lost to it, which was under way when it began."""
    is_told = False
    while not is_told:
        ctl.done("post", "Printer", "Jam")
        is_told = bool(select.select([watching.stdout], [], [], 0.2)[0])
    (identifier,) = ctl.done("post", "Printer", "Jam").lines
    while identifier not in watching.stdout.readline():
        pass


def test_watch_tells_what_comes(ctl, three):
    del three
    with ended(ctl.begin("watch", "--json=short")) as watching:
        wait_until_told(ctl, watching)
        ctl.done("post", "Printer", "Jam")
        ctl.done("resolve", "Full:bb22")
        ctl.done("delete", "Full:cc33")
        events = [json.loads(line) for line in lines_of(watching, 3)]
    assert [event["kind"] for event in events] == ["added", "changed", "deleted"]
    assert events[0]["alert"]["type"] == "Jam"
    assert "resolvedDate" in events[1]["alert"]
    assert events[2]["identifier"] == "Full:cc33"


def test_following_a_list_begins_with_what_is_there(ctl, three):
    del three
    with ended(ctl.begin("list", "-f", "--bundle", "Printer")) as following:
        assert "Jam:aa11" in following.stdout.readline()
        (identifier,) = ctl.done("post", "Printer", "Jam", "tray=2").lines
        line = following.stdout.readline()
    assert identifier in line
    assert "Paper jam in 2" in line


def test_watch_goes_on_with_the_next_daemon(ctl, three, system):
    del three
    with ended(ctl.begin("watch", "-q")) as watching:
        wait_until_told(ctl, watching)
        system.restart()
        assert "waiting for the next one" in watching.stderr.readline()
        assert "there is a daemon again" in watching.stderr.readline()
        (identifier,) = ctl.done("post", "Printer", "Jam").lines
        assert watching.stdout.readline() == identifier + "\n"
        watching.send_signal(2)
        watching.wait(DEADLINE)
