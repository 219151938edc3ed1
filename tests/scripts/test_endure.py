# SPDX-License-Identifier: Apache-2.0
"""Each activity of scripts/endure finds the daemon that breaks its promise, and no other."""

import os
import pathlib
import shutil
import subprocess
import xml.etree.ElementTree

import pytest

TREE = pathlib.Path(__file__).resolve().parents[2]
PROGRAMS = ("tests/persistence_test", "tests/persistence_durability_test",
            "tests/daemon_memory_test", "fuzz/AddressFuzz")

# Lists one test, whatever it is asked for.
_PROGRAM = """\
#!/bin/sh
echo Suite.
echo '  Test # of something'
case "$*" in *list*) ;; *) exit {status};; esac
"""


def install(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text)
    path.chmod(0o755)


@pytest.fixture(name="endure")
def _endure(tmp_path):
    """Runs scripts/endure on a build whose daemon, tests and fuzz targets stand in for ours."""
    build = tmp_path / "build"
    (build / "bin").mkdir(parents=True)
    shutil.copy(pathlib.Path(__file__).with_name("stub_alertsd.py"), build / "bin/alertsd")
    (build / "bin/alertsd").chmod(0o755)
    (build / "bundles/Common.bundle").mkdir(parents=True)

    def run(activity, fault="", rounds="1"):
        (build / "bin/fault").write_text(fault)
        for program in PROGRAMS:
            install(build / program, _PROGRAM.format(status=1 if fault == "fails" else 0))
        return subprocess.run(
            [TREE / "scripts/endure", "0", "--seed", "3", "--only", activity, "--rounds", rounds,
             "--build", build, "--folder", tmp_path / "kept"],
            capture_output=True, text=True, timeout=250, check=False)

    return run


def needs_root(activity):
    if activity not in ("fuzzers", "power") and os.geteuid() != 0:
        pytest.skip("needs root, as the activity does")


@pytest.mark.parametrize("activity, fault, rounds, finding", [
    ("fuzzers", "fails", "1", "AddressFuzz ended with 1"),
    ("power", "fails", "1", "_test ended with 1"),
    ("memory", "fails", "1", "daemon_memory_test ended with 1"),
    ("messages", "breaks", "1", "onnection"),
    ("messages", "obeys", "8", "a caller without a role has changed the store"),
    ("kills", "forgets", "1", "acknowledged alerts are lost"),
    ("limit", "half", "1", "alerts are stored"),
    ("disks", "forgets", "1", ""),
    ("deliveries", "forgets", "1", ""),
    ("restarts", "forgets", "1", "lost"),
    ("soak", "leaks", "3", "MiB more after")])
def test_a_broken_promise_is_found_and_a_kept_one_is_not(endure, activity, fault, rounds, finding):
    needs_root(activity)
    broken = endure(activity, fault, rounds)
    assert broken.returncode == 1, broken.stdout + broken.stderr
    assert "FINDING" in broken.stdout and finding in broken.stdout, broken.stdout
    assert f"--seed 3 --only {activity} --round" in broken.stdout
    kept = endure(activity)
    assert kept.returncode == 0 and "FINDING" not in kept.stdout, kept.stdout + kept.stderr


def test_what_cannot_be_done_here_is_left_out_with_a_word(endure):
    if os.geteuid() == 0:
        result = subprocess.run(
            [TREE / "scripts/endure", "0", "--only", "power", "--build", "/nowhere",
             "--folder", "/tmp"], capture_output=True, text=True, check=False)
        assert "power: left out, /nowhere/tests/" in result.stdout
    else:
        result = endure("kills")
        assert "kills: left out, needs root" in result.stdout
    assert result.returncode == 0
    assert " left out " in result.stdout.splitlines()[-1]


def test_an_activity_that_there_is_not_is_named(endure):
    result = endure("nothing")
    assert result.returncode == 1
    assert "no such activity: nothing" in result.stderr


def test_the_soak_is_drawn(endure, tmp_path):
    needs_root("soak")
    assert endure("soak").returncode == 0
    drawing = xml.etree.ElementTree.parse(tmp_path / "kept/soak.svg").getroot()
    lines = [element for element in drawing.iter() if element.tag.endswith("polyline")]
    assert len(lines) == 3
