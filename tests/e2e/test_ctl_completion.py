# SPDX-License-Identifier: Apache-2.0
"""Completion of alertsctl, in the shells themselves."""

import os
import pathlib
import shutil
import subprocess

import pytest
from velto.control import Control
from velto.skipping import skip_or_fail
from velto.system import ALERTSCTL
from velto.varlink import DEADLINE

pytestmark = pytest.mark.needs_root

SCRIPTS = pathlib.Path(__file__).resolve().parents[2] / "tools/completion"

BASH = """\
. /usr/share/bash-completion/bash_completion
. {scripts}/alertsctl.bash
COMP_LINE="$*" COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMP_POINT=${{#COMP_LINE}}
_alertsctl
printf '%s\\n' "${{COMPREPLY[@]}}"
"""

# Outside of its line editor zsh has no compadd.
ZSH = """\
compadd() {{ print -rl -- "${{(@P)@[-1]}}" }}
_files() {{ print FILES }}
words=("$@") CURRENT=$#
. {scripts}/_alertsctl
"""

FISH = """\
source {scripts}/alertsctl.fish
complete -C (string join ' ' -- $argv)
"""

SHELLS = {"bash": (["bash", "--norc", "-c", BASH, "bash"]),
          "zsh": (["zsh", "-f", "-c", ZSH, "zsh"]),
          "fish": (["fish", "--no-config", "-c", FISH])}


@pytest.fixture(name="complete", params=SHELLS)
def _complete(request, system):
    """What a shell proposes for the last of some words."""
    if shutil.which(request.param) is None:
        skip_or_fail(f"needs {request.param}")
    system.make_bundle("Printer.bundle", {"VLAlertTypes": {
        "Jam": {"RecoveryOptions": ["Fix"]}, "Empty": {}}}, texts={"en": {"Fix.title": "Fix it"}})
    system.make_bundle("Disk.bundle", {"VLAlertTypes": {"Full": {}}})
    system.start()
    ctl = Control(system)
    system.client().call("SaveAlerts", alerts=[
        {"identifier": "Jam:aa11", "bundle": "Printer", "type": "Jam", "sentDate": 1.0}])
    ctl.done("mail", "add", "ann@example.org")

    def complete(*words):
        command = [part.format(scripts=SCRIPTS) for part in SHELLS[request.param]]
        result = subprocess.run(
            [*command, "alertsctl", *words], check=False, capture_output=True, text=True,
            timeout=DEADLINE, stdin=subprocess.DEVNULL,
            env={**system.environment(), "HOME": str(system.root), "TERM": "dumb",
                 "PATH": f"{ALERTSCTL.parent}:{os.environ['PATH']}"})
        found = {line.split("\t")[0] for line in result.stdout.splitlines() if line}
        # bash takes what stands before a colon for a word of its own.
        return {"Jam:" + word if word == "aa11" else word for word in found}
    return complete


def test_shells_propose_what_can_follow(complete):
    assert {"list", "show", "watch", "bundle", "call"} <= complete("")
    assert "complete" not in complete("")
    assert complete("bundl") == {"bundle", "bundles"}
    assert complete("bundle", "") == {"enable", "disable", "set", "check", "render", "run", "new"}
    assert complete("bundle", "enable", "") == {"Disk", "Printer"}
    assert complete("list", "--bundle", "P") == {"Printer"}
    assert complete("list", "--bundle", "Disk", "--type", "") == {"Full"}
    assert complete("list", "--unr") == {"--unread", "--unresolved"}
    assert complete("list", "--json", "p") == {"pretty"}
    assert complete("post", "Printer", "") == {"Empty", "Jam"}
    assert complete("show", "Ja") == {"Jam:aa11"}
    assert complete("run", "") == {"Fix"}
    assert complete("run", "Fix", "") == {"Jam:aa11"}
    assert complete("mail", "remove", "") == {"ann@example.org"}
    assert complete("call", "PostA") == {"PostAlert"}


def test_completion_is_silent_without_a_daemon(system):
    result = Control(system)("complete", "--", "show", "")
    assert (result.status, result.output, result.errors) == (0, "", "")
