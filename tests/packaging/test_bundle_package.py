# SPDX-License-Identifier: Apache-2.0
"""The package of a bundle in docs/bundles.md is built as it stands there."""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import textwrap

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "tests/e2e"))

# pylint: disable=wrong-import-position
from velto.skipping import skip_or_fail
from velto.system import ALERTSCTL

TEXT = (ROOT / "docs/bundles.md").read_text(encoding="utf-8")


def recipe():
    blocks = [textwrap.dedent(block).lstrip("\n")
              for block in re.findall(r"(?:^(?: {4}.*|)\n)+", TEXT, re.M)]
    (found,) = [block for block in blocks if "dpkg-buildpackage" in block]
    return found


def test_the_package_of_a_bundle_brings_what_the_daemon_will_use(tmp_path):
    if not shutil.which("dh"):
        skip_or_fail("needs debhelper")
    tree = tmp_path / "printer"
    tree.mkdir()
    subprocess.run(["sh", "-eu", "-c", recipe()], cwd=tree, check=True, capture_output=True,
                   env={**os.environ, "PATH": f"{ALERTSCTL.parent}:{os.environ['PATH']}"})
    (package,) = tmp_path.glob("printer-alerts_1.0_all.deb")
    listing = subprocess.run(["dpkg-deb", "--contents", package], check=True, capture_output=True,
                             text=True).stdout
    modes = {line.split()[-1]: line.split()[0] for line in listing.splitlines()}
    assert modes["./usr/lib/velto/entitlements.d/printer.plist"] == "-rw-------"
    bundle = "./usr/lib/velto/alert-bundles/Printer.bundle/Contents"
    assert modes[f"{bundle}/Info.plist"] == "-rw-r--r--"
    assert modes[f"{bundle}/Actions/Empty"] == "-rwxr-xr-x"
    control = tmp_path / "control"
    subprocess.run(["dpkg-deb", "--control", package, control], check=True)
    assert {file.name for file in control.iterdir()} == {"control", "md5sums"}
