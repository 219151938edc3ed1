# SPDX-License-Identifier: Apache-2.0
"""Bundles that come and go while the daemon runs."""

import email.header
import subprocess

from support.machine import BUNDLES, SERVICE

CONTROL = """Package: printer-alerts
Version: {version}
Architecture: all
Maintainer: A printer's maker <printer@example.org>
Description: alerts of a printer
"""


def package(folder, version, subject):
    """A package with a bundle and without a script."""
    root = folder / version
    contents = root / BUNDLES.lstrip("/") / "Printer.bundle/Contents"
    (contents / "Resources/en.lproj").mkdir(parents=True)
    (contents / "Info.plist").write_text("{ VLAlertTypes = { Jam = {}; }; }")
    (contents / "Resources/en.lproj/Alerts.strings").write_text(f'"Jam.subject" = "{subject}";')
    (root / "DEBIAN").mkdir()
    (root / "DEBIAN/control").write_text(CONTROL.format(version=version))
    file = folder / f"printer-alerts_{version}_all.deb"
    subprocess.run(["dpkg-deb", "--build", "--root-owner-group", root, file], check=True,
                   capture_output=True)
    return file


def copy_in(machine, file):
    machine.path(f"/root/{file.name}").write_bytes(file.read_bytes())
    return f"/root/{file.name}"


def subject_of_mail(machine):
    machine.path("/root/mail").unlink(missing_ok=True)
    assert machine.post("Printer", "Jam") == {}
    lines = machine.path("/root/mail").read_text().splitlines()
    subject = next(line for line in lines if line.startswith("Subject: "))
    return str(email.header.make_header(email.header.decode_header(subject)))


def test_a_package_with_a_bundle_needs_no_script_and_no_restart(shared, tmp_path):
    program = shared.path("/usr/sbin/sendmail")
    program.write_text("#!/bin/sh\nexec cat >/root/mail\n")
    program.chmod(0o755)
    shared.call("AddMailRecipients", {"recipients": [{"address": "ann@example.org", "locale": "en"}]})
    before = shared.show(SERVICE, "MainPID")

    shared.run("dpkg", "--install", copy_in(shared, package(tmp_path, "1.0", "Jammed")))
    assert "Printer" in shared.names()
    assert subject_of_mail(shared) == "Subject: Jammed"
    shared.run("dpkg", "--install", copy_in(shared, package(tmp_path, "1.1", "Paper jam")))
    assert subject_of_mail(shared) == "Subject: Paper jam"
    shared.run("dpkg", "--remove", "printer-alerts")
    assert "Printer" not in shared.names()
    assert shared.show(SERVICE, "MainPID") == before


def test_a_reload_has_happened_when_systemctl_returns(shared):
    for number in range(20):
        contents = shared.path(f"{BUNDLES}/New{number}.bundle/Contents")
        contents.mkdir(parents=True)
        (contents / "Info.plist").write_text("{ VLAlertTypes = {}; }")
        shared.run("systemctl", "reload", SERVICE)
        assert f"New{number}" in shared.names()
