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


def start_with_reader(system, locale):
    """A client of a running system with a recipient of mails."""
    system.install_bundle("Common.bundle")
    system.start()
    client = system.client()
    client.call("AddMailRecipients", recipients=[{"address": "ann@example.org", "locale": locale}])
    return client


def test_the_bundle_in_ten_minutes(system):
    subprocess.run(["sh", "-eu", "-c", example("mkdir -p Disk.bundle")], cwd=system.bundles,
                   check=True)
    start_with_reader(system, "de")
    program, *arguments = example("alertsctl post").split()
    assert program == "alertsctl"
    result = system.run(ALERTSCTL, *arguments)
    assert (result.returncode, result.stderr) == (0, "")
    (mail,) = system.mail.mails()
    assert mail.message["Subject"] == "/home ist fast voll"
    # Nothing of it is English.
    assert re.fullmatch("Auf /home sind 1,5 GB frei.\n\nModul: Platten\nArt: Platte fast voll\n"
                        r"Zeit: \d+\. \w+ \d{4} um \d\d:\d\d:\d\d UTC\n", mail.text), mail.text
    assert mail.message["From"].addresses[0].display_name.strip() == "Warnungen"


@pytest.mark.parametrize("language, standard, marker", [
    ("cc", "-std=c11", "#include <velto/alert_bundle.h>"),
    ("c++", "-std=c++17", "#include <velto/alert_bundle.hpp>")])
def test_the_code(system, tmp_path, language, standard, marker):
    source = tmp_path / ("load.c" if language == "cc" else "load.cpp")
    source.write_text(example(marker))
    contents = system.make_bundle(
        "Load.bundle", {"CFBundleExecutable": "libLoad.so"},
        texts={"en": {"HighLoad.subject": "The processors are overloaded"},
               "de": {"HighLoad.subject": "Die Prozessoren sind überlastet"}}) / "Contents"
    (contents / "Linux").mkdir(mode=0o755)
    sanitizer = ["-fsanitize=address,undefined"] if BUILD.name == "asan" else []
    subprocess.run([language, standard, *sanitizer, "-shared", "-fPIC", "-fvisibility=hidden", "-Wall",
                    "-Wextra", "-Werror", "-o", contents / "Linux/libLoad.so", source, f"-I{ROOT}/alerts"],
                   check=True)
    (contents / "Linux/libLoad.so").chmod(0o755)
    client = start_with_reader(system, "de-DE")
    assert client.call("PostAlert", alert={"bundle": "Load", "type": "HighLoad",
                                           "attributes": {"load": 1234.56}}) == {}
    (mail,) = system.mail.mails()
    assert mail.message["Subject"] == "1.234,6: Die Prozessoren sind überlastet"
    for load in (1e28, -1.7976931348623157e308, 5e-324, 2 ** 64 - 1, True, "x" * 1000, [1], {"a": 1}, None):
        assert client.call("PostAlert", alert={"bundle": "Load", "type": "HighLoad",
                                               "attributes": {"load": load}}) == {}
    subjects = [mail.message["Subject"] for mail in system.mail.mails()]
    assert "10.000.000.000.000.000.000.000.000.000: Die" in "".join(subjects).replace("\n ", " ")
