# SPDX-License-Identifier: Apache-2.0
"""The clients in docs/protocol.md work as they stand there."""

import os
import pathlib
import re
import shutil
import sys
import textwrap

import pytest
from velto.skipping import skip_or_fail
from velto.system import ALERTSCTL

pytestmark = pytest.mark.needs_root

TEXT = (pathlib.Path(__file__).resolve().parents[2] / "docs/protocol.md").read_text()


def example(start):
    """The indented block that begins so."""
    blocks = [textwrap.dedent(block).lstrip("\n")
              for block in re.findall(r"(?:^(?: {4}.*|)\n)+", TEXT, re.M)]
    (found,) = [block for block in blocks if block.startswith(start)]
    return found


def in_python(_folder):
    return sys.executable, "-c", example("import json")


def in_a_shell(_folder):
    return "sh", "-c", example("if alertsctl post")


def in_go(folder):
    go = shutil.which("go")
    if not go:
        skip_or_fail("needs Go")
    (folder / "main.go").write_text(example("package main"))
    return go, "run", folder / "main.go"


@pytest.mark.parametrize("make", [in_python, in_a_shell, in_go])
def test_it_posts_and_says_what_is_wrong(system, tmp_path, make):
    command = make(tmp_path)
    environment = {"PATH": f"{ALERTSCTL.parent}:{os.environ['PATH']}", "HOME": str(tmp_path),
                   "GOCACHE": str(tmp_path / "cache"), "GO111MODULE": "off"}

    def outcome():
        result = system.run(*command, **environment)
        return result.returncode == 0 and result.stdout.endswith("posted\n"), result.stderr

    assert outcome()[0] is False  # there is no daemon
    system.start()
    posted, words = outcome()  # the bundle is not there
    assert not posted and words
    system.stop()
    system.install_bundle("Common.bundle")
    system.start()
    assert outcome() == (True, "")
    assert len(system.client().call("GetAlertsOfBundle", bundle="Common")["alerts"]) == 1


def test_it_prints_what_is_unresolved_page_by_page(system):
    system.install_bundle("Common.bundle")
    system.start()
    alerts = [{"identifier": str(number), "bundle": "Common", "type": "Test",
               "sentDate": float(number)} for number in range(25)]
    alerts[7]["resolvedDate"] = 100.0
    alerts[8]["bundle"] = "Nowhere"
    system.client().call("SaveAlerts", alerts=alerts)
    result = system.run(sys.executable, "-c", example("# Prints what is unresolved"))
    assert result.stderr == ""
    lines = result.stdout.splitlines()
    assert [line.split()[0] for line in lines] == [
        str(number) for number in range(24, -1, -1) if number != 7]
    assert lines[-8] == "8 (no text)"
    assert lines[0] != "24 (no text)"
