# SPDX-License-Identifier: Apache-2.0
"""A bundle as its author writes it: two kinds, three languages with plurals, two actions and code. It
is checked, installed, posted for by a service with a rule, and read in each language."""

import json
import os
import pathlib
import plistlib
import re
import subprocess

import pytest
from velto.control import Control
from velto.system import BUILD
from velto.values import MONITOR

pytestmark = pytest.mark.needs_root

HEADERS = pathlib.Path(__file__).resolve().parents[2] / "alerts"
SERVICE = 65534
INFO = """{
  CFBundleGetInfoString = "Vault"; CFBundleDevelopmentRegion = en; VLTextFormat = icu;
  CFBundleExecutable = "libVault.so";
  VLAlertTypes = { BackupLate = { RecoveryOptions = (BackUp, Forget); }; KeysExpire = {}; };
}
"""
TEXTS = {
    "en": """
        "BackupLate.name" = "Late backup";
        "BackupLate.subject" = "{host}: no backup for {days, plural, one {# day} other {# days}}";
        "BackupLate.message" = "Last: {since, date, long}. Complete: {full}. Left out: {volumes}.";
        "KeysExpire.name" = "Expiring keys";
        "KeysExpire.subject" = "{keys, plural, =0 {No key expires} one {# key expires} other {# keys expire}}";
        "KeysExpire.message" = "Renew {keys, plural, one {it} other {them}}.";
        "BackUp.title" = "Back up now"; "Forget.title" = "Forget it";
        """,
    "de": """
        "BackupLate.name" = "Verspätete Sicherung";
        "BackupLate.subject" = "{host}: seit {days, plural, one {# Tag} other {# Tagen}} keine Sicherung";
        "BackupLate.message" = "Zuletzt: {since, date, long}. Vollständig: {full}. Ausgelassen: {volumes}.";
        "KeysExpire.name" = "Ablaufende Schlüssel";
        "KeysExpire.subject" = "{keys, plural, =0 {Kein Schlüssel läuft ab} one {# Schlüssel läuft ab} other {# Schlüssel laufen ab}}";
        "KeysExpire.message" = "Erneuern Sie {keys, plural, one {ihn} other {sie}}.";
        "BackUp.title" = "Jetzt sichern"; "Forget.title" = "Vergessen";
        """,
    "fr": """
        "BackupLate.name" = "Sauvegarde en retard";
        "BackupLate.subject" = "{host} : aucune sauvegarde depuis {days, plural, one {# jour} other {# jours}}";
        "BackupLate.message" = "Dernière : {since, date, long}. Complète : {full}. Omis : {volumes}.";
        "KeysExpire.name" = "Clés expirantes";
        "KeysExpire.subject" = "{keys, plural, =0 {Aucune clé n''expire} one {# clé expire} other {# clés expirent}}";
        "KeysExpire.message" = "Renouvelez-{keys, plural, one {la} other {les}}.";
        "BackUp.title" = "Sauvegarder"; "Forget.title" = "Oublier";
        """}
NAMES = {"de": "Tresor", "fr": "Coffre"}
CODE = """
#include <velto/alert_bundle.hpp>

using namespace velto::bundle;

struct BackupLate : AlertClass {
  bool subject(const Alert& alert, Text& text) const override {
    if (const auto days = alert.attribute("days").number(); days && *days > 7) text.append("!! ");
    return alert.appendSubject(text);
  }
};

VELTO_ALERT_BUNDLE(classes) { classes.alert<BackupLate>("BackupLate"); }
"""
ACTIONS = {
    "BackUp": "#!/bin/sh\n[ \"$1\" = run ]\n",
    "Forget": "#!/usr/bin/python3\nimport json, sys\n"
              "sys.exit('cannot forget ' + json.load(sys.stdin)['attributes']['host'])\n"}
LATE = {"host": "db1", "days": 1234, "since": {"$date": 816912000}, "full": False,
        "volumes": ["/home", "/srv"]}


def write(file, text, mode=0o644):
    file.parent.mkdir(parents=True, exist_ok=True, mode=0o755)
    file.write_text(text, encoding="utf-8")
    file.chmod(mode)


@pytest.fixture(scope="module", name="vault")
def _vault(module_system):
    """A running system with the bundle, its service's rule, and a reader of each language."""
    contents = module_system.bundles / "Vault.bundle/Contents"
    write(contents / "Info.plist", INFO)
    for language, texts in TEXTS.items():
        write(contents / f"Resources/{language}.lproj/Alerts.strings", texts)
    for language, name in NAMES.items():
        write(contents / f"Resources/{language}.lproj/InfoPlist.strings",
              f'"CFBundleGetInfoString" = "{name}";')
    for name, script in ACTIONS.items():
        write(contents / f"Actions/{name}", script, 0o755)
    write(module_system.root / "vault.cpp", CODE)
    (contents / "Linux").mkdir(mode=0o755)
    sanitizer = ["-fsanitize=address,undefined"] if BUILD.name == "asan" else []
    subprocess.run(["c++", "-std=c++17", *sanitizer, "-shared", "-fPIC", "-fvisibility=hidden", "-Wall",
                    "-Wextra", "-Werror", f"-I{HEADERS}", "-o", contents / "Linux/libVault.so",
                    module_system.root / "vault.cpp"], check=True)
    os.chmod(contents / "Linux/libVault.so", 0o755)
    rule = module_system.root / "etc/velto/entitlements.d/vault.plist"
    write(rule, "", 0o600)
    rule.write_bytes(plistlib.dumps({"User": SERVICE, "Entitlements": {
        "com.ulmora.velto.alert-bundles": ["Vault"]}}))
    module_system.install_bundle("Common.bundle")
    module_system.start()
    module_system.client().call("SetMailRecipients", recipients=[
        {"address": f"{language}@example.org", "locale": language} for language in TEXTS])
    return module_system


def test_nothing_is_wrong_with_it(vault):
    checked = Control(vault)("bundle", "check", vault.bundles / "Vault.bundle")
    assert checked == (0, "", "")


def test_each_reader_gets_a_mail_in_one_language(vault):
    before = len(vault.mail.mails())
    alert = {"bundle": "Vault", "type": "BackupLate", "attributes": LATE}
    assert vault.client_as(SERVICE, SERVICE).call("PostAlert", alert=alert) == {}
    mails = {mail.recipients[0][:2]: mail for mail in vault.mail.mails()[before:]}
    assert set(mails) == {"en", "de", "fr"}
    assert mails["de"].message["Subject"] == "!! db1: seit 1.234 Tagen keine Sicherung"
    assert re.fullmatch(
        "Zuletzt: 21\\. November 2026\\. Vollständig: nein\\. Ausgelassen: /home und /srv\\.\n\n"
        "Modul: Tresor\nArt: Verspätete Sicherung\nZeit: \\d+\\. \\w+ \\d{4} um [\\d:]+ UTC\n",
        mails["de"].text), mails["de"].text
    assert mails["de"].message["From"].addresses[0].display_name.strip() == "Warnungen"
    assert re.search(r"Module\s: Coffre\nType\s: Sauvegarde en retard", mails["fr"].text)
    assert "Bundle: Vault\nType: Late backup" in mails["en"].text


@pytest.mark.parametrize("keys, english, german", [
    (0, "No key expires", "Kein Schlüssel läuft ab"), (1, "1 key expires", "1 Schlüssel läuft ab"),
    (1000, "1,000 keys expire", "1.000 Schlüssel laufen ab")])
def test_plurals_are_those_of_the_language(vault, keys, english, german):
    render = ("bundle", "render", vault.bundles / "Vault.bundle", "KeysExpire", f"keys:={keys}", "-j")
    control = Control(vault)
    assert control.json(*render[:-1])["subject"] == english
    assert control.json(*render[:-1], "-l", "de")["subject"] == german


def test_its_actions_are_offered_in_the_readers_words(vault):
    client = vault.client()
    client.call("SaveAlerts", alerts=[{"identifier": "late", "bundle": "Vault", "type": "BackupLate",
                                       "attributes": LATE}])
    told = client.call(f"{MONITOR}.GetAlert", identifier="late", locale="fr")
    assert told["actions"] == [{"name": "BackUp", "title": "Sauvegarder"},
                               {"name": "Forget", "title": "Oublier"}]
    refused = client.call("PerformRecoveryAction", action="Forget", alertId="late")["error"]
    assert "cannot forget db1" in json.dumps(refused)
    assert client.call("PerformRecoveryAction", action="BackUp", alertId="late") == {}
    assert client.call("GetLastAlertOfBundle", bundle="Vault")["alert"]["bundle"] == "Vault"
