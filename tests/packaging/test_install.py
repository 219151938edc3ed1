# SPDX-License-Identifier: Apache-2.0
"""What `cmake --install` installs is what docs/administration.md lists, and works from there."""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import xml.etree.ElementTree

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "tests/e2e"))

# pylint: disable=wrong-import-position
from velto.skipping import skip_or_fail
from velto.system import BUILD, System

SCORE = re.compile(r"Overall exposure level for velto-alerts.service: ([0-9.]+)")


@pytest.fixture(scope="module", name="installed")
def _installed(tmp_path_factory):
    """A folder that everything is installed into, below usr."""
    folder = tmp_path_factory.mktemp("installed")
    subprocess.run(["cmake", "--install", BUILD], check=True, capture_output=True,
                   env={**os.environ, "DESTDIR": str(folder)})
    return folder


@pytest.fixture(scope="module", name="page")
def _page(tmp_path_factory):
    """A folder that the page in Cockpit is installed into, below usr."""
    if not all(map(shutil.which, ("node", "npm"))):
        skip_or_fail("needs node and npm, to build the page")
    built = subprocess.run([ROOT / "console/build"], check=False, capture_output=True, text=True)
    if built.returncode != 0:
        skip_or_fail(f"the page cannot be built: {built.stderr}")
    folder = tmp_path_factory.mktemp("page")
    subprocess.run(["cmake", "--install", BUILD, "--component", "console"], check=True,
                   capture_output=True, env={**os.environ, "DESTDIR": str(folder)})
    return folder


def listed():
    """The paths of the table, which may have a * in them."""
    text = (ROOT / "docs/administration.md").read_text(encoding="utf-8")
    table = text.partition("| What is installed | For |")[2].partition("\n\n")[0]
    return re.findall(r"^\| `(/[^`]+)`", table, re.MULTILINE)


def test_what_is_installed_is_what_is_listed(installed, page):
    rows = [re.compile(re.escape(row).replace(r"\*", "[^/]+") + "(/.*)?") for row in listed()]
    files = ["/" + str(path.relative_to(folder)) for folder in (installed, page)
             for path in folder.rglob("*") if not path.is_dir()]
    assert [file for file in files if not any(row.fullmatch(file) for row in rows)] == []
    assert [row.pattern for row in rows if not any(row.fullmatch(file) for file in files)] == []


def test_whose_code_is_in_the_page_is_told(page):
    text = (page / "usr/share/cockpit/velto/index.js.LEGAL.txt").read_text(encoding="utf-8")
    names = re.findall(r"^== (\S+)$", text, re.MULTILINE)
    assert {"react", "tslib", "@patternfly/react-core"} <= set(names)
    told = (ROOT / "packaging/debian/copyright").read_text(encoding="utf-8").split()
    assert [name for name in names if name not in {word.strip(",;") for word in told}] == []


def test_cockpit_knows_the_page_by_the_name_that_its_metadata_has(page):
    (file,) = (page / "usr/share/metainfo").iterdir()
    component = xml.etree.ElementTree.parse(file).getroot()
    assert file.name == f"{component.findtext('id')}.metainfo.xml"
    (launchable,) = component.findall("launchable[@type='cockpit-manifest']")
    assert (page / "usr/share/cockpit" / launchable.text / "manifest.json").is_file()


@pytest.mark.parametrize("compiler, source", [("cc", "bundles/Backup/Code/Backup.c"),
                                              ("c++", "bundles/Load/Code/Load.cpp")])
def test_the_code_of_a_bundle_is_compiled_with_what_is_installed(installed, tmp_path, compiler, source):
    (package,) = installed.glob("usr/lib/*/pkgconfig/velto-alert-bundle.pc")
    flags = subprocess.run(["pkg-config", "--cflags", package], check=True, capture_output=True,
                           text=True).stdout.split()
    subprocess.run([compiler, "-shared", "-fPIC", "-fvisibility=hidden", *flags, "-Wall", "-Werror",
                    "-o", tmp_path / "code.so", ROOT / source], check=True)
    symbols = subprocess.run(["nm", "-D", "--defined-only", tmp_path / "code.so"], check=True,
                             capture_output=True, text=True).stdout
    assert {"velto_alert_bundle_interface", "velto_alert_bundle_register"} <= set(symbols.split())
    assert not re.search(r" u .*velto", symbols)  # would be one with that of another bundle


def test_nobody_but_the_owner_can_write_what_is_installed(installed):
    modes = {path: path.stat().st_mode for path in (installed / "usr").rglob("*")}
    assert [path for path, mode in modes.items() if mode & 0o022] == []


def test_the_daemon_runs_with_what_is_installed_beside_it(installed):
    system = System()
    try:
        for bundle in (installed / "usr/lib/velto/alert-bundles").iterdir():
            (system.bundles / bundle.name).symlink_to(bundle)
        system.start(installed / "usr/sbin/alertsd")
        assert set(system.client().call("GetAlertBundleNames")["names"]) == {"Common", "Disk", "Load"}
    finally:
        system.close()


def test_the_units_name_programs_that_are_installed(installed):
    unit = (installed / "usr/lib/systemd/system/velto-alerts.service").read_text()
    programs = re.findall(r"/usr/\S*bin/\w+", unit)
    assert {pathlib.Path(program).name for program in programs} == {"alertsd", "alertsctl"}
    for program in programs:
        assert (installed / program.lstrip("/")).is_file()


def test_old_alerts_are_deleted_only_when_the_timer_is_switched_on(installed):
    units = installed / "usr/lib/systemd/system"
    service = (units / "velto-alerts-prune.service").read_text()
    (program,) = re.findall(r"^ExecStart=(/\S+) prune --older-than 400d$", service, re.MULTILINE)
    assert (installed / program.lstrip("/")).is_file()
    assert "[Install]" not in service
    rules = (ROOT / "packaging/debian/rules").read_text()
    assert "--no-enable --no-start velto-alerts-prune.timer" in rules
    timer = (units / "velto-alerts-prune.timer").read_text()
    (calendar,) = re.findall("^OnCalendar=(.*)$", timer, re.MULTILINE)
    subprocess.run(["systemd-analyze", "calendar", calendar], check=True, capture_output=True)


def test_translations_and_pages_are_found_where_they_are_installed(installed):
    result = subprocess.run([installed / "usr/bin/alertsctl", "nix"], check=False, text=True,
                            capture_output=True, env={"LANG": "C.UTF-8", "LANGUAGE": "de"})
    assert result.returncode == 2
    assert "es gibt kein" in result.stderr
    pages = sorted(path.name for path in (installed / "usr/share/man").rglob("*.[158]"))
    assert pages == ["alertsctl.1", "alertsd.8", "velto-alert-bundle.5", "velto-entitlements.5",
                     "velto-push.5"]


def test_the_sandbox_is_as_tight_as_the_documents_say(installed):
    unit = installed / "usr/lib/systemd/system/velto-alerts.service"
    result = subprocess.run(["systemd-analyze", "security", "--offline=true", unit], check=False,
                            capture_output=True, text=True)
    text = (ROOT / "docs/administration.md").read_text(encoding="utf-8")
    (score,) = SCORE.findall(result.stdout)
    assert float(score) <= 3.6
    assert f"gives {score} in `systemd-analyze security`" in text
    settings = re.findall(r"^([A-Z]\w+)=", unit.read_text(), re.MULTILINE)
    refused = ("NoNewPrivileges", "ProtectHome", "PrivateUsers", "PrivateNetwork", "ProcSubset")
    for setting in refused:
        assert f"| `{setting}` |" in text
        assert setting not in settings
