# SPDX-License-Identifier: Apache-2.0
"""The verbs of alertsctl for the authors of bundles, without a daemon."""

import json
import os
import pathlib
import re
import subprocess
import textwrap

from velto.system import ALERTSCTL

TEXT = (pathlib.Path(__file__).resolve().parents[2] / "docs/bundles.md").read_text()


def run(folder, *arguments, **environment):
    return subprocess.run([ALERTSCTL.absolute(), "bundle", *arguments], cwd=folder, check=False,
                          capture_output=True, text=True,
                          env={**os.environ, "LC_ALL": "C.UTF-8", "TMPDIR": str(folder), **environment})


def test_a_new_bundle_is_checked_shown_and_run(tmp_path):
    assert run(tmp_path, "new", "Full").stdout == "Full.bundle\n"
    checked = run(tmp_path, "check", "Full.bundle")
    assert (checked.returncode, checked.stdout, checked.stderr) == (0, "", "")
    (tmp_path / "waiting").mkdir()
    (tmp_path / "waiting/file").touch()
    alert = ["TooManyFiles", f"folder={tmp_path}/waiting", "files:=1"]
    shown = run(tmp_path, "render", "Full.bundle", *alert, "--locale", "de")
    assert shown.returncode == 0
    assert f"In {tmp_path}/waiting wartet 1 Datei." in shown.stdout
    assert "Art: Zu viele Dateien" in shown.stdout
    assert run(tmp_path, "run", "Full.bundle", "Empty", *alert, "--ask").stdout == "not resolved\n"
    assert run(tmp_path, "run", "Full.bundle", "Empty", *alert).stdout == "done\n"
    assert run(tmp_path, "run", "Full.bundle", "Empty", *alert, "--ask").stdout == "resolved\n"


def test_what_is_wrong_is_told_with_a_status(tmp_path):
    run(tmp_path, "new", "Full.bundle")
    texts = tmp_path / "Full.bundle/Contents/Resources/de.lproj/Alerts.strings"
    texts.write_text(texts.read_text(encoding="utf-8").replace("{folder}", "{folder", 1),
                     encoding="utf-8")
    result = run(tmp_path, "check", "Full.bundle")
    assert result.returncode == 3
    assert re.search(r"/de\.lproj/Alerts\.strings:2: error: \"TooManyFiles\.subject\" cannot be "
                     r"understood: .*, at character \d+\n", result.stdout)
    unknown = run(tmp_path, "render", "Full.bundle", "Unknown")
    assert unknown.returncode == 3
    assert "has no alert type 'Unknown'" in unknown.stderr


def test_findings_are_in_the_readers_language(tmp_path):
    run(tmp_path, "new", "Full.bundle")
    (tmp_path / "Full.bundle/Contents/Resources/de.lproj/Alerts.strings").write_text(
        '"TooManyFiles.subject" = "{"; "Odd.name" = "x";', encoding="utf-8")
    checked = run(tmp_path, "check", "Full.bundle", LANGUAGE="de", LC_ALL="C.UTF-8", LANG="de_DE")
    assert checked.returncode == 3
    german = sorted(line.partition("Alerts.strings")[2] for line in checked.stdout.splitlines())
    assert german == [
        ": Fehler: „Empty.title“ fehlt", ": Fehler: „TooManyFiles.message“ fehlt",
        ": Fehler: „TooManyFiles.name“ fehlt",
        ":1: Fehler: „TooManyFiles.subject“ ist nicht zu verstehen: eine geschweifte Klammer ohne "
        "ihre andere, beim Zeichen 1",
        ":1: Warnung: „Odd.name“ gehört zu keiner Art und keiner Aktion",
        ":2: Warnung: „TooManyFiles.subject“ nennt das Attribut folder, und zwar in keiner anderen "
        "Sprache"]
    (finding,) = [each for each in json.loads(run(tmp_path, "check", "Full.bundle", "-j").stdout)[
        "findings"] if "Odd" in each["text"]]
    assert finding["kind"] == "warning"
    assert finding["file"].endswith("/de.lproj/Alerts.strings")
    assert (finding["line"], finding["text"]) == (1, '"Odd.name" is of no type and no action')


def test_programs_are_told_of_failures_as_elsewhere(tmp_path):
    run(tmp_path, "new", "Full")
    asked = run(tmp_path, "run", "Full.bundle", "Empty", "TooManyFiles", "folder=/nowhere", "-j")
    assert (asked.returncode, asked.stderr) == (3, "")
    assert json.loads(asked.stdout)["error"]["message"] == "There is no such folder."
    again = run(tmp_path, "new", "Full", "-j")
    assert again.returncode == 1
    assert "File exists" in json.loads(again.stdout)["error"]["message"]
    waiting = run(tmp_path, "run", "Full.bundle", "Empty", "TooManyFiles", f"folder={tmp_path}",
                  "--ask", "-j")
    assert (waiting.returncode, json.loads(waiting.stdout)["result"]) == (3, "unresolved")


def test_names_that_are_missing_are_warned_of(tmp_path):
    run(tmp_path, "new", "Full")
    resources = tmp_path / "Full.bundle/Contents/Resources"
    (resources / "de.lproj/InfoPlist.strings").unlink()
    for language in ("en", "de"):
        texts = resources / f"{language}.lproj/Alerts.strings"
        texts.write_text(re.sub('"TooManyFiles.name".*', "", texts.read_text(encoding="utf-8")),
                         encoding="utf-8")
    checked = run(tmp_path, "check", "Full.bundle")
    assert checked.returncode == 0
    assert [line.partition("Resources/")[2] for line in checked.stdout.splitlines()] == [
        'de.lproj/Alerts.strings: warning: "TooManyFiles.name" is missing',
        "de.lproj/InfoPlist.strings: warning: CFBundleGetInfoString, the name that people see, is "
        "missing",
        'en.lproj/Alerts.strings: warning: "TooManyFiles.name" is missing']


def test_the_first_bundle_of_the_documents_has_no_mistake(tmp_path):
    blocks = [textwrap.dedent(block) for block in re.findall(r"(?:^(?: {4}.*|)\n)+", TEXT, re.M)]
    (script,) = [block for block in blocks if block.lstrip("\n").startswith("mkdir -p Disk.bundle")]
    subprocess.run(["sh", "-eu", "-c", "umask 022; " + script], cwd=tmp_path, check=True)
    result = run(tmp_path, "check", "Disk.bundle")
    assert (result.returncode, result.stdout) == (0, "")
