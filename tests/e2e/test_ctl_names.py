# SPDX-License-Identifier: Apache-2.0
"""The tool calls bundles and kinds of alerts as its reader does, and takes keys as well as names."""

import plistlib
import re

import pytest
from velto.control import Control, ended

pytestmark = pytest.mark.needs_root

JAM = {"identifier": "Jam:aa11", "bundle": "Printer", "type": "Jam", "sentDate": 800000000,
       "attributes": {"tray": "1"}}
GERMAN = {"LANGUAGE": "de"}


@pytest.fixture(scope="module", name="ctl")
def _ctl(module_system):
    printer = module_system.make_bundle(
        "Printer.bundle", {"CFBundleGetInfoString": "Printers"},
        {"en": {"Jam.subject": "Paper jam in %{tray}", "Jam.name": "Paper jam", "Ink.subject": "Ink"},
         "de": {"Jam.subject": "Papierstau in %{tray}", "Jam.name": "Papierstau"}})
    (printer / "Contents/Resources/de.lproj/InfoPlist.strings").write_bytes(
        plistlib.dumps({"CFBundleGetInfoString": "Drucker"}))
    module_system.make_bundle("Disk.bundle", texts={"en": {"Full.subject": "Full"}})
    module_system.start()
    module_system.client().call("SaveAlerts", alerts=[
        JAM, {"identifier": "Full:bb22", "bundle": "Disk", "type": "Full", "sentDate": 700000000}])
    return Control(module_system)


def test_a_list_has_names(ctl):
    lines = ctl.done("list", **GERMAN).lines
    assert re.search(r" Drucker  +Papierstau  +Jam:aa11  +Papierstau in 1$", lines[1])
    assert re.search(r" Disk  +Full  +Full:bb22  +Full$", lines[2]), "keys, where there are no names"
    assert re.search(r" Printers  +Paper jam  ", ctl.done("list").lines[1])
    assert re.search(r" Printers  +Paper jam  ", ctl.done("list", LANGUAGE="ja").lines[1])


def test_one_alert_has_names_and_keys(ctl):
    shown = ctl.done("show", "Jam:aa11", **GERMAN).output
    assert "  Drucker (Printer)\n" in shown
    assert "  Papierstau (Jam)\n" in shown
    assert "  Disk\n" in ctl.done("show", "Full:bb22", **GERMAN).output


def test_bundles_have_both(ctl):
    printer = next(line for line in ctl.done("bundles", **GERMAN).lines if "Printer" in line)
    assert re.match(r"Printer  +Drucker  ", printer)
    assert printer.endswith("  Ink, Papierstau (Jam)")
    assert ctl.done("bundle", "set", "Printer", "--push", "off", **GERMAN).output.startswith(
        "Drucker (Printer): ")


@pytest.mark.parametrize("filters", (
    ("-b", "Printer"), ("-b", "Drucker"), ("-t", "Jam"), ("-t", "Papierstau"),
    ("-b", "Drucker", "-t", "Papierstau"), ("-b", "Printer", "-t", "Jam")))
def test_filters_take_keys_and_names(ctl, filters):
    assert ctl.done("list", "-q", *filters, **GERMAN).lines == ["Jam:aa11"]


def test_programs_are_told_keys(ctl):
    (alert,) = ctl.json("list", "-b", "Printer", **GERMAN)["alerts"]
    assert (alert["bundle"], alert["type"]) == ("Printer", "Jam")
    names = [bundle["name"] for bundle in ctl.json("bundles", **GERMAN)["bundles"]]
    assert names == ["Disk", "Printer"]
    assert ctl.done("bundles", "-q", **GERMAN).lines == names


def test_who_watches_is_told_names(ctl, module_system):
    with ended(ctl.begin("list", "--follow", "-n", "1", **GERMAN)) as process:
        assert "Drucker: Papierstau in 1" in process.stdout.readline()
        module_system.client().call("MarkAlertAsReadWithAlertId", alertId="Jam:aa11")
        assert "Drucker: Papierstau  Jam:aa11" in process.stdout.readline()


def test_a_bundle_that_cannot_be_read_has_its_key(ctl, module_system):
    module_system.client().call("SaveAlerts", alerts=[
        {"identifier": "x", "bundle": "../../etc", "type": "Odd", "sentDate": 1}])
    (line,) = [line for line in ctl.done("list", **GERMAN).lines if "Odd" in line]
    assert " ../../etc " in line
    (module_system.bundles / "Disk.bundle/Contents/Info.plist").write_text("(")
    assert "  Disk\n" in ctl.done("show", "Full:bb22", **GERMAN).output
