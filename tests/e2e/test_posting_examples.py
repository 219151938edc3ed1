# SPDX-License-Identifier: Apache-2.0
"""The clients in docs/posting.md work as they stand there, and its table knows every error."""

import os
import pathlib
import re
import subprocess
import sys
import textwrap

import pytest
from velto.system import ALERTSCTL, BUILD

pytestmark = pytest.mark.needs_root

ROOT = pathlib.Path(__file__).resolve().parents[2]
TEXT = (ROOT / "docs/posting.md").read_text()
# Domains that no reply carries: they are told in the log, or by the client library.
INNER_DOMAINS = {"Entitlements", "VarlinkClient", "Listener"}


def example(start):
    """The indented block that begins so."""
    blocks = [textwrap.dedent(block).lstrip("\n")
              for block in re.findall(r"(?:^(?: {4}.*|)\n)+", TEXT, re.M)]
    (found,) = [block for block in blocks if block.startswith(start)]
    return found


def in_python(_folder):
    return sys.executable, "-c", example("import json")


def in_a_shell(_folder):
    return "sh", "-c", example("printf")


def in_c(folder):
    (folder / "post.c").write_text(example("#include <stdio.h>"))
    sanitizer = ["-fsanitize=address,undefined"] if BUILD.name == "asan" else []
    library = BUILD / "client"
    subprocess.run(["cc", *sanitizer, "-Wall", "-Werror", "-o", folder / "post", folder / "post.c",
                    f"-I{ROOT}/client", f"-L{library}", "-lvlalerts", f"-Wl,-rpath,{library}"], check=True)
    return (folder / "post",)


@pytest.mark.parametrize("make", [in_python, in_a_shell, in_c])
def test_it_posts_and_says_so(system, tmp_path, make):
    command = make(tmp_path)

    def posted():
        result = system.run(*command, PATH=f"{ALERTSCTL.parent}:{os.environ['PATH']}")
        return result.stdout.endswith("posted\n")

    assert not posted()  # there is no daemon
    system.start()
    assert not posted()  # the bundle is not there
    system.stop()
    system.install_bundle("Common.bundle")
    system.start()
    assert posted()
    assert len(system.client().call("GetAlertsOfBundle", bundle="Common")["alerts"]) == 1


def rows():
    """The codes of each domain in the table, as pairs of a first and a last number."""
    codes, domain = {}, None
    for line in re.findall(r"^\|(.*)\|$", TEXT, re.M):
        cells = line.split("|")
        domain = cells[0].strip(" `") or domain
        numbers = codes.setdefault(domain, [])
        for first, last in re.findall(r"(-?\d+)(?: to (\d+))?", cells[1]):
            numbers.append((int(first), int(last or first)))
    return codes


def constants():
    """The domains and codes of the headers: each code belongs to the domain in its file."""
    for path in ROOT.glob("*/**/*.h"):
        text = path.read_text() if path.parts[len(ROOT.parts)] in (
            "alerts", "daemon", "delivery", "platform", "store") else ""
        domains = re.findall(r'string_view k\w*ErrorDomain = "(\w+)"', text)
        for domain in set(domains) - INNER_DOMAINS:
            yield domain, [int(code) for code in re.findall(r"int\w* k\w*Code = (\d+);", text)]


def test_the_table_has_every_error():
    table = rows()
    found = dict(constants())
    assert {"VeltoFoundation", "VeltoPersistence", "UlmoraPushProvider", "VeltoAlertsMailer"} <= set(found)
    found["UlmoraPushProvider"] += found.pop("UlmoraPushServiceProvider")
    missing = [(domain, code) for domain, codes in found.items() for code in codes or [None]
               if domain not in table or (code is not None and not any(
                   first <= code <= last for first, last in table[domain]))]
    assert missing == []
