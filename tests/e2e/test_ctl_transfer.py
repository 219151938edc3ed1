# SPDX-License-Identifier: Apache-2.0
"""export and import, backup and check."""

import json
import sqlite3
import stat
import subprocess
import threading

import pytest
from velto.control import Control
from velto.system import ALERTSCTL

pytestmark = pytest.mark.needs_root


@pytest.fixture(name="ctl")
def _ctl(system):
    system.make_bundle("Printer.bundle", texts={"en": {"Jam.subject": "Jam"}})
    system.start()
    return Control(system)


def alert(number, **more):
    return {"identifier": f"i{number:05}", "bundle": "Printer", "type": "Jam",
            "sentDate": 790000000.0 - number, "attributes": {"n": number, "t": "ü\n\u001b"}, **more}


def stored(system):
    alerts = system.client().call("GetAlertsOfBundle", bundle="Printer").get("alerts", [])
    return sorted(alerts, key=lambda one: one["identifier"])


def test_what_was_exported_can_be_imported(ctl, system):
    alerts = [alert(number) for number in range(2500)]
    alerts[7].update(readDate=790000001.5, attributes={
        "date": {"$date": 790000000.125}, "data": {"$data": "AP8="}, "big": 2**64 - 1,
        "real": 1.0, "odd": {"$dict": {"$x": 1}}})
    system.client().call("SaveAlerts", alerts=alerts)
    text = ctl.done("export").output
    lines = text.splitlines()
    assert json.loads(lines[0]) == {"export": {"version": 1}}
    assert len(lines) == 2501
    ctl.done("prune", "--older-than", "1s")
    assert stored(system) == []
    assert ctl.done("import", text=text).output == "Imported 2500 alerts.\n"
    assert stored(system) == alerts


def test_what_is_there_is_not_imported_twice(ctl, system):
    system.client().call("SaveAlerts", alerts=[alert(1), alert(2)])
    text = ctl.done("export").output
    ctl.done("delete", "i00001")
    assert ctl.json("import", text=text) == {
        "imported": 1, "known": 1, "settings": 0, "bad": 0, "dryRun": False}
    assert stored(system) == [alert(1), alert(2)]


def test_settings_are_exported_when_wanted(ctl, system):
    ctl.done("mail", "add", "ann@example.org", "-l", "fr")
    ctl.done("push", "add", "g1", "00ff")
    ctl.done("push", "disable", "g1")
    ctl.done("attributes", "set", "site=Berlin")
    ctl.done("bundle", "set", "Printer", "--push", "off")
    file = system.root / "all.jsonl"
    ctl.done("export", "--settings", file)
    assert stat.S_IMODE(file.stat().st_mode) == 0o600
    ctl.done("mail", "set", "--none")
    ctl.done("push", "remove", "g1")
    ctl.done("attributes", "unset", "site")
    ctl.done("bundle", "set", "Printer", "--push", "on")
    assert "Imported 4 settings." in ctl.done("import", file).output
    assert ctl.json("mail")["recipients"] == [{"address": "ann@example.org", "language": "fr"}]
    assert ctl.json("push")["recipients"][0]["enabled"] is False
    assert ctl.json("attributes")["attributes"] == {"site": "Berlin"}
    assert ctl.json("bundles")["bundles"][0]["push"] is False
    assert "attributes" not in ctl.done("export").output


@pytest.mark.parametrize("line, problem", [
    ("{bad", "a name in quotes expected at character 2"),
    ('{"alert": {"bundel": "x"}}', "did you mean bundle?"),
    ('{"alert": {"sentDate": "now"}}', "alert.sentDate")])
def test_a_bad_line_is_named_and_nothing_is_imported(ctl, system, line, problem):
    good = json.dumps({"alert": alert(1)})
    text = f"{good}\n\n{line}\n"
    result = ctl("import", text=text)
    assert (result.status, result.output) == (1, "")
    assert "line 3:" in result.errors and problem in result.errors
    assert result.errors.count("\n") == 1
    assert stored(system) == []
    result = ctl("import", "--keep-going", text=text)
    assert (result.status, result.output) == (1, "Imported 1 alert.\n")
    assert "line 3:" in result.errors and "1 line was left out" in result.errors
    assert stored(system) == [alert(1)]


def test_an_import_can_be_tried(ctl, system):
    text = json.dumps({"alert": alert(1)})
    assert ctl.done("import", "--dry-run", text=text).output == "Would import 1 line.\n"
    assert stored(system) == []


def test_files_that_are_not_there_are_named(ctl):
    result = ctl("import", "/nowhere/file")
    assert result.status == 1
    assert "cannot read /nowhere/file" in result.errors
    result = ctl("export", "/nowhere/file")
    assert result.status == 1
    assert "cannot write /nowhere/file" in result.errors


def test_an_export_that_fails_leaves_the_file_as_it_was(ctl, system):
    file = system.root / "file"
    file.write_text("before")
    system.kill()
    assert ctl("export", file).status == 7
    assert file.read_text() == "before"
    assert [path.name for path in system.root.glob("file*")] == ["file"]


def test_a_full_disk_is_told(ctl, system):
    system.client().call("SaveAlerts", alerts=[alert(1)])
    with open("/dev/full", "w", encoding="ascii") as full:
        result = subprocess.run([ALERTSCTL, "export"], stdout=full, stderr=subprocess.PIPE,
                                env=system.environment(), check=False)
    assert result.returncode == 1
    assert b"cannot write to standard output" in result.stderr


def test_a_backup_is_whole_while_others_save(ctl, system):
    system.client().call("SaveAlerts", alerts=[alert(number) for number in range(1000)])
    stop = threading.Event()
    poster = system.client()

    def save():
        number = 1000
        while not stop.is_set():
            poster.call("SaveAlerts", alerts=[alert(number)])
            number += 1
    saving = threading.Thread(target=save)
    saving.start()
    copy = system.root / "copy.db"
    try:
        assert "Copied the store to" in ctl.done("backup", copy).output
    finally:
        stop.set()
        saving.join()
    assert stat.S_IMODE(copy.stat().st_mode) == 0o600
    with sqlite3.connect(copy) as database:
        assert database.execute("PRAGMA integrity_check").fetchall() == [("ok",)]
        (count,) = database.execute("SELECT count(*) FROM ADAlert").fetchone()
    assert count >= 1000
    assert ctl.json("check", copy) == {"file": str(copy), "whole": True, "alerts": count,
                                       "problems": []}


def test_a_backup_replaces_nothing(ctl, system):
    file = system.root / "file"
    file.write_text("mine")
    result = ctl("backup", file)
    assert result.status == 1
    assert "File exists" in result.errors
    assert file.read_text() == "mine"


def test_check_needs_no_daemon(ctl, system):
    system.client().call("SaveAlerts", alerts=[alert(1)])
    assert "is whole, with 1 alert." in ctl.done("check").output
    system.kill()  # what was saved is still in the log
    assert ctl.json("check")["alerts"] == 1


def test_check_tells_what_is_broken(ctl, system):
    system.client().call("SaveAlerts", alerts=[alert(number) for number in range(500)])
    copy = system.root / "copy.db"
    ctl.done("backup", copy)
    data = bytearray(copy.read_bytes())
    data[8192:12288] = b"\xff" * 4096
    copy.write_bytes(data)
    result = ctl("check", copy)
    assert result.status == 3
    assert "is not whole" in result.output
    copy.write_bytes(b"something else")
    assert ctl("check", copy).status == 3
    copy.unlink()
    assert ctl("check", copy).status == 1
