# SPDX-License-Identifier: Apache-2.0
"""The alerts directory at the daemon's start, and the store's records of its bundles."""

import plistlib
import shutil

import pytest
from velto import store

pytestmark = pytest.mark.needs_root


def records(system):
    """Key and display name of every bundle that the store knows, once the daemon has ended."""
    if system.daemon:
        system.stop()
    return {row["bundle"]: row["name"] for row in store.rows(system.store_file, "ADAlertBundle")}


def names(system):
    return sorted(system.client().call("GetAlertBundleNames")["names"])


@pytest.mark.parametrize("form", [plistlib.FMT_XML, plistlib.FMT_BINARY])
def test_a_new_bundle_is_recorded_with_its_display_name(system, form):
    system.make_bundle("X.bundle", {"CFBundleGetInfoString": "Exämple"}, form=form)
    system.start()
    assert names(system) == ["X"]
    system.stop()
    (row,) = store.rows(system.store_file, "ADAlertBundle")
    del row["_id"], row["_version"]
    assert row == {"bundle": "X", "name": "Exämple", "enabled": 1, "pushEnabled": 1,
                   "mailEnabled": 1}


def test_the_old_text_form_is_read_too(system):
    bundle = system.make_bundle("Old.bundle")
    (bundle / "Contents/Info.plist").write_text(
        '/* old */ { CFBundleGetInfoString = "Old \\"form\\""; }')
    system.start()
    assert records(system) == {"Old": 'Old "form"'}


@pytest.mark.parametrize("info", [{}, {"CFBundleGetInfoString": ""}, {"CFBundleGetInfoString": 5}])
def test_a_bundle_without_a_display_name_goes_by_its_key(system, info):
    system.make_bundle("Y.bundle", info)
    system.start()
    assert records(system) == {"Y": "Y"}


def test_every_entry_with_bundle_in_its_name_qualifies(system):
    for entry in ("a.bundle", "b.bundle.old", "c.bundles", "notes.bundle.txt", ".bundle",
                  "d.BUNDLE", "e.bundl", "f", "ebundle"):
        system.make_bundle(entry)
    system.start()
    assert set(records(system)) == {"a", "b.bundle", "c", "notes.bundle", ".bundle"}


def test_what_does_not_open_as_a_bundle_is_no_bundle(system):
    (system.bundles / "notes.bundle.txt").write_text("notes")
    (system.bundles / "Empty.bundle").mkdir()
    (system.bundles / "Hollow.bundle/Contents").mkdir(parents=True)
    for name, info in (("Broken", b"nonsense {"), ("List", plistlib.dumps([1]))):
        bundle = system.make_bundle(f"{name}.bundle")
        (bundle / "Contents/Info.plist").write_bytes(info)
    (system.bundles / "Dangling.bundle").symlink_to("nowhere")
    system.make_bundle("Good.bundle")
    system.start()
    assert records(system) == {"Good": "Good"}


def test_a_name_that_is_not_utf8_hides_no_other(system):
    system.make_bundle("Good.bundle")
    bad = bytes(system.bundles) + b"/caf\xe9.bundle"
    shutil.copytree(bytes(system.bundles / "Good.bundle"), bad)
    system.start()
    assert names(system) == ["Good"]
    assert "Entry 'caf?.bundle' of the alerts directory passed over" in system.daemon.log()


def test_a_bundle_may_be_a_link(system):
    shutil.move(system.make_bundle("Real.bundle"), system.root / "elsewhere")
    (system.bundles / "Link.bundle").symlink_to(system.root / "elsewhere")
    system.start()
    assert records(system) == {"Link": "Link"}


def test_only_direct_entries_are_read(system):
    system.make_bundle("folder/Inner.bundle")
    system.make_bundle("Outer.bundle/Contents/Resources/Inner.bundle")
    system.make_bundle("Outer.bundle")
    system.start()
    assert records(system) == {"Outer": "Outer"}


def test_a_later_start_brings_the_records_into_line(system):
    for name in ("Kept", "Renamed", "Gone", "Broken"):
        system.make_bundle(f"{name}.bundle", {"CFBundleGetInfoString": f"{name} 1"})
    system.start()
    assert names(system) == ["Broken", "Gone", "Kept", "Renamed"]
    system.stop()
    store.execute(system.store_file, "UPDATE ADAlertBundle SET mailEnabled = 0")

    system.make_bundle("Renamed.bundle", {"CFBundleGetInfoString": "Renamed 2"})
    system.make_bundle("New.bundle")
    shutil.rmtree(system.bundles / "Gone.bundle")
    (system.bundles / "Broken.bundle/Contents/Info.plist").unlink()
    system.start()
    assert names(system) == ["Kept", "New", "Renamed"]
    assert records(system) == {"Kept": "Kept 1", "Renamed": "Renamed 2", "New": "New"}
    switches = {row["bundle"]: row["mailEnabled"]
                for row in store.rows(system.store_file, "ADAlertBundle")}
    assert switches == {"Kept": 0, "Renamed": 0, "New": 1}


def test_a_disabled_bundle_is_not_named_and_stays_disabled(system):
    system.make_bundle("On.bundle")
    system.make_bundle("Off.bundle")
    system.start()
    system.stop()
    store.execute(system.store_file, "UPDATE ADAlertBundle SET enabled = 0 WHERE bundle = 'Off'")
    system.start()
    assert names(system) == ["On"]
    assert set(records(system)) == {"On", "Off"}


def test_an_empty_directory_deletes_every_record(system):
    system.make_bundle("X.bundle")
    system.start()
    system.stop()
    shutil.rmtree(system.bundles / "X.bundle")
    system.start()
    assert names(system) == []
    assert records(system) == {}


def test_a_missing_directory_leaves_the_records_alone(system):
    system.make_bundle("X.bundle")
    system.start()
    system.stop()
    shutil.rmtree(system.bundles)
    system.start()
    assert names(system) == ["X"]
    assert records(system) == {"X": "X"}


def test_without_a_directory_at_the_first_start_the_daemon_serves(system):
    system.bundles.rmdir()
    system.start()
    assert names(system) == []
    assert system.client().call("SaveAlerts", alerts=[{"bundle": "b"}]) == {}


def test_bundles_are_not_discovered_while_the_daemon_runs(system):
    system.make_bundle("X.bundle")
    system.start()
    system.make_bundle("Late.bundle")
    shutil.rmtree(system.bundles / "X.bundle")
    assert names(system) == ["X"]


def test_records_of_one_start_stand_once(system):
    system.make_bundle("X.bundle")
    for _ in range(3):
        system.start()
        system.stop()
    assert len(store.rows(system.store_file, "ADAlertBundle")) == 1


def test_several_hundred_bundles_are_found(system):
    for number in range(300):
        system.make_bundle(f"B{number}.bundle")
    system.start()
    assert len(names(system)) == 300
