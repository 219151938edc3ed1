# SPDX-License-Identifier: Apache-2.0
"""The examples of docs/bundles.md work as they stand there."""

import pathlib
import re
import subprocess
import textwrap

import pytest
from velto.system import ALERTSCTL, BUILD

pytestmark = pytest.mark.needs_root

ROOT = pathlib.Path(__file__).resolve().parents[2]
TEXT = (ROOT / "docs/bundles.md").read_text()


def examples():
    """The indented blocks, in order."""
    return [textwrap.dedent(block) for block in re.findall(r"(?:^(?: {4}.*|)\n)+", TEXT, re.M)
            if block.strip()]


def example(start):
    (found,) = [block for block in examples() if block.lstrip("\n").startswith(start)]
    return found


def test_the_bundle_in_ten_lines(system):
    subprocess.run(["sh", "-eu", "-c", example("mkdir -p Disk.bundle")], cwd=system.bundles,
                   check=True)
    system.install_bundle("Common.bundle")
    system.start()
    client = system.client()
    client.call("AddMailRecipients", recipients=["ann@example.org"])
    program, *arguments = example("alertsctl post").split()
    assert program == "alertsctl"
    result = system.run(ALERTSCTL, *arguments)
    assert (result.returncode, result.stderr) == (0, "")
    (mail,) = system.mail.mails()
    assert mail.message["Subject"] == "/home is almost full"
    assert "/home is 93 percent full. Delete what you do not need." in mail.text


def test_the_code_in_c(system, tmp_path):
    source = tmp_path / "load.c"
    source.write_text(example("#include <velto/alert_bundle.h>"))
    contents = system.make_bundle(
        "Load.bundle", {"CFBundleExecutable": "libLoad.so"},
        texts={"en": {"HighLoad.subject": "The processors are overloaded"}}) / "Contents"
    (contents / "Linux").mkdir(mode=0o755)
    sanitizer = ["-fsanitize=address,undefined"] if BUILD.name == "asan" else []
    subprocess.run(["cc", *sanitizer, "-shared", "-fPIC", "-Wall", "-Werror", "-o",
                    contents / "Linux/libLoad.so", source, f"-I{ROOT}/alerts"],
                   check=True)
    (contents / "Linux/libLoad.so").chmod(0o755)
    system.install_bundle("Common.bundle")
    system.start()
    client = system.client()
    client.call("AddMailRecipients", recipients=["ann@example.org"])
    assert client.call("PostAlert", alert={"bundle": "Load", "type": "HighLoad",
                                           "attributes": {"load": 12.5}}) == {}
    (mail,) = system.mail.mails()
    assert mail.message["Subject"] == "12.5: The processors are overloaded"
    for load in (1e28, -1.7976931348623157e308, 5e-324, 2 ** 64 - 1, True, "x" * 1000, [1], {"a": 1}, None):
        assert client.call("PostAlert", alert={"bundle": "Load", "type": "HighLoad",
                                               "attributes": {"load": load}}) == {}
    subjects = [mail.message["Subject"] for mail in system.mail.mails()]
    assert f"{1e28:.1f}: The processors are overloaded" in "".join(subjects).replace("\n ", " ")
