# SPDX-License-Identifier: Apache-2.0
"""The folder with a minimal Debian 12 that every booted system is laid over, made once."""

import hashlib
import os
import pathlib
import shutil
import subprocess

ROOT = pathlib.Path(__file__).resolve().parents[3]
BUILD = ROOT / "build"
PACKAGES = BUILD / "packages"

# What is in every system.
_INCLUDED = "systemd,systemd-sysv,dbus,sudo"

# What tests install, with what it needs: a booted system has no network.
_FETCHED = ("postfix", "exim4-daemon-light", "msmtp-mta")


def _run(*command, **options):
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                            check=False, stdin=subprocess.DEVNULL, **options)
    assert result.returncode == 0, f"{' '.join(command)}: {result.stdout[-2000:]}"
    return result.stdout


def _dependencies(package):
    """The packages that one of ours depends on."""
    field = _run("dpkg-deb", "--field", str(package), "Depends")
    names = [entry.split()[0].split(":")[0] for entry in field.split(",") if entry.strip()]
    return [name for name in names if not name.startswith(("velto-", "libvlalerts"))]


def packages(version=None):
    """The files of our packages, the later version's where one is named."""
    folder = PACKAGES / version if version else PACKAGES
    found = {path.name.split("_")[0]: path for path in folder.glob("*.deb")
             if "-dbgsym_" not in path.name}
    assert "velto-alerts" in found, f"packaging/build-deb has not been run: nothing in {folder}"
    return found


def _make(folder, needed):
    in_folder = ("env", "DEBIAN_FRONTEND=noninteractive", "chroot", str(folder))
    _run("debootstrap", "--variant=minbase", f"--include={_INCLUDED}", "bookworm", str(folder))
    _run(*in_folder, "apt-get", "update")
    _run(*in_folder, "apt-get", "install", "-y", "--no-install-recommends", *needed)
    for package in _FETCHED:
        _run(*in_folder, "apt-get", "install", "-y", "--no-install-recommends", "--download-only",
             package)
    # Every system is told its name; nobody logs in on a console, nor waits for a network.
    (folder / "etc/machine-id").write_text("")
    (folder / "etc/hostname").unlink(missing_ok=True)
    (folder / "etc/hosts").write_text("127.0.0.1 localhost\n127.0.1.1 machine.example machine\n")
    for unit in ("console-getty.service", "systemd-networkd-wait-online.service"):
        (folder / "etc/systemd/system").mkdir(parents=True, exist_ok=True)
        (folder / "etc/systemd/system" / unit).symlink_to("/dev/null")


def base():
    """The folder, made anew when what belongs in it has changed."""
    needed = sorted({name for package in packages().values() for name in _dependencies(package)})
    recipe = pathlib.Path(__file__).read_bytes() + " ".join(needed).encode()
    folder = BUILD / "booted" / hashlib.sha256(recipe).hexdigest()[:12]
    if not (folder / "complete").exists():
        shutil.rmtree(BUILD / "booted", ignore_errors=True)
        os.makedirs(folder / "root")
        _make(folder / "root", needed)
        (folder / "complete").touch()
    return folder / "root"
