# SPDX-License-Identifier: Apache-2.0
"""How alertsctl speaks: terminals, languages, JSON, errors and exit statuses."""

import os
import pathlib
import re
import subprocess
import unicodedata

import pytest
from velto.control import Control, ended, shown
from velto.skipping import skip_or_fail
from velto.system import ALERTSCTL

pytestmark = pytest.mark.needs_root

ROOT = pathlib.Path(__file__).resolve().parents[2]
EVIL = "\x1b[31mred\x1b]0;title\x07\r\n\x9b2J\u202e"


@pytest.fixture(name="ctl")
def _ctl(system):
    system.make_bundle("Printer.bundle", texts={
        "en": {"Jam.subject": "Paper jam in %{tray}, which is a long text that does not fit"},
        "ja": {"Jam.subject": "%{tray}に紙が詰まりました、取り除いてください、よろしくお願いします"}})
    system.install_bundle("Common.bundle")
    system.start()
    system.client().call("SaveAlerts", alerts=[
        {"identifier": f"Jam:{number:020x}", "bundle": "Printer", "type": "Jam",
         "sentDate": 790000000.0 + number, "attributes": {"tray": f"tray {number}"}}
        for number in range(12)])
    return Control(system)


def columns(text):
    return sum(0 if unicodedata.combining(character) else
               2 if unicodedata.east_asian_width(character) in "WF" else 1 for character in text)


@pytest.mark.parametrize("width", [40, 80, 200])
@pytest.mark.parametrize("language", ["en", "ja"])
def test_tables_fit_the_terminal(ctl, width, language):
    for verb in (("list",), ("bundles",), ("stats",), ()):
        result = ctl.terminal(*verb, columns=width, COLUMNS=str(width), LANGUAGE=language)
        assert result.status == 0
        lines = shown(result.output).split("\n")
        assert max(map(columns, lines)) <= width, result.output
        assert len(lines) > 2
    wide = shown(ctl.terminal("list", columns=width, COLUMNS=str(width)).output)
    assert ("KIND" in wide) == (width > 40)
    assert "Jam:" in wide


def test_the_terminal_tells_its_width(ctl):
    lines = shown(ctl.terminal("list", columns=60).output).split("\n")
    assert 50 < max(map(columns, lines)) <= 60


def test_colours_are_for_terminals(ctl):
    assert "\x1b[" in ctl.terminal("list").output
    assert "\x1b[" not in ctl.terminal("list", NO_COLOR="1").output
    assert "\x1b[" not in ctl.terminal("list", TERM="dumb").output
    assert "\x1b" not in ctl.done("list").output


def test_a_terminal_without_utf8_gets_ascii(ctl):
    output = ctl.terminal("list", columns=40, COLUMNS="40", LANG="C", LC_ALL="C").output
    assert output.isascii()
    assert "..." in output


def test_long_output_goes_through_the_pager(ctl, system):
    pager = f"tr a-z A-Z >{system.root}/paged; cat {system.root}/paged"
    assert "PAPER JAM" in ctl.terminal("list", PAGER=pager).output
    assert "Paper jam" in ctl.terminal("list", "--no-pager", PAGER=pager).output
    assert "Paper jam" in ctl.terminal("list", PAGER="").output
    assert "Paper jam" in ctl.terminal("list", PAGER="/nowhere/pager -x").output
    assert "Paper jam" in ctl.done("list", PAGER=pager).output  # no terminal, no pager


def test_whoever_leaves_the_pager_has_seen_enough(ctl):
    result = ctl.terminal("list", PAGER="head -n 1")
    assert result.status == 0
    assert result.output.count("\n") == 1


def test_questions_are_asked_on_a_terminal(ctl):
    result = ctl.terminal("delete", "Jam:0000000000000000000a", answer="n\n")
    assert result.status == 1
    assert "Delete 1 alert? [y/N]" in result.output and "nothing was done" in result.output
    assert len(ctl.done("list", "-q").lines) == 12
    assert "Deleted 1 alert." in ctl.terminal("delete", "Jam:0000000000000000000a",
                                              answer="y\n").output
    german = ctl.terminal("delete", "Jam:0000000000000000000b", answer="j\n", LANGUAGE="de").output
    assert "1 Meldung löschen? [j/N]" in german and "1 Meldung gelöscht." in german
    result = ctl.terminal("prune", "--older-than", "1d", "--yes")
    assert "?" not in result.output and "Deleted 10 alerts" in result.output


def test_nothing_in_an_alert_moves_the_cursor(ctl, system):
    system.client().call("SaveAlerts", alerts=[
        {"identifier": f"x{EVIL}", "bundle": EVIL, "type": EVIL, "sentDate": 790001000.0,
         "attributes": {f"name{EVIL}": EVIL, "list": [EVIL]}}])
    system.client().call("SetAttributes", attributes={f"a{EVIL}": EVIL})
    system.client().call("AddMailRecipients", recipients=[f"a{EVIL}@example.org"])
    for arguments in (("list",), ("show", f"x{EVIL}"), ("list", "-q"), ("attributes",),
                      ("mail",), ("stats",), ("list", "-j"), ("resolve", f"x{EVIL}"),
                      ("attributes", "get", EVIL), ("nothing" + EVIL,), ("--" + EVIL,)):
        result = ctl(*arguments)
        text = result.output + result.errors
        assert not set(text) & set("\x1b\x07\x9b\u202e\r"), arguments
        on_terminal = ctl.terminal(*arguments, NO_COLOR="1").output.replace("\r\n", "\n")
        assert not set(on_terminal.replace("\r", "")) & set("\x1b\x07\x9b\u202e"), arguments


@pytest.mark.parametrize("arguments, words", [
    (("explode",), 'there is no "alertsctl explode"'),
    (("lsit",), "did you mean list?"),
    (("bundle", "enabel", "x"), "did you mean enable?"),
    (("list", "--bundel", "x"), "did you mean --bundle?"),
    (("list", "extra"), '"extra" is one argument too many'),
    (("show",), "alertsctl show needs ID; see alertsctl show --help"),
    (("prune",), "alertsctl prune needs --older-than"),
    (("prune", "--older-than"), "--older-than needs a value"),
    (("prune", "--older-than", "soon"), '"soon" is no span of time'),
    (("prune", "--older-than", "-1d"), '"-1d" is no span of time'),
    (("list", "--since", "2026-02-30"), '--since: "2026-02-30" is no date'),
    (("list", "-n", "many"), "is no number"),
    (("list", "-n", "-1"), "-1 is no number of alerts"),
    (("list", "--json=xml"), "--json is one of pretty, short and off"),
    (("-n", "3", "list"), "stands before the verb"),
    (("post", "Printer", "Jam", "x:={bad"), "x: no JSON: a name in quotes expected at character 2"),
    (("post", "Printer", "Jam", "x:=null"), "no value of an attribute"),
    (("post", "Printer", "Jam", "novalue"), '"novalue" is no attribute'),
    (("call", "PostAlert", "{bad"), "a name in quotes expected at character 2"),
    (("call", "PostAlert", "[]"), "no JSON object"),
    (("call",), "needs METHOD"),
    (("read",), "read needs identifiers, or --all"),
    (("read", "--all", "x"), "read needs identifiers, or --all"),
    (("bundle", "rnder", "x"), "did you mean render?"),
    (("bundle", "render", "x", "Jam", "-l", "english"), '"english" is no language; did you mean en?'),
    (("bundle", "set", "Printer", "--mail", "of"), '--mail is on or off, and not "of"'),
    (("mail", "ad", "x"), "did you mean add?"),
    (("mail", "add", ""), "it is empty"),
    (("mail", "add", "a@example.org", "-l", "english"), "did you mean en?"),
    (("push", "add", "g", "zz"), "the token is not hexadecimal at character 1"),
    (("attributes", "set", "a"), "attributes are NAME=VALUE"),
    (("test", "--mial"), "did you mean --mail?"),
    (("deliveries", "--since", "foo"), '"foo" is no date'),
    (("stats", "--utcc"), "did you mean --utc?"),
    (("status", "-x"), "there is no option -x"),
    (("metrics", "-j"), "see alertsctl status -j")], ids=str)
def test_wrong_usage_is_one_line_and_status_2(ctl, arguments, words):
    result = ctl(*arguments)
    if "-j" not in arguments:
        assert (result.status, result.output) == (2, "")
        assert result.errors.startswith("alertsctl: ") and result.errors.count("\n") == 1
        assert words in result.errors
    result = ctl("-j", *arguments)
    assert (result.status, result.errors) == (2, "")
    error = result.json["error"]
    assert words in "; ".join([error["message"], error.get("advice", "")])


@pytest.mark.parametrize("filters, words", [
    (("-b", "Prnter"), "there is no bundle Prnter; did you mean Printer?"),
    (("-b", "Nosuch"), "there is no bundle Nosuch; see alertsctl bundles"),
    (("-b", "Printer", "-t", "Jma"), "there is no kind Jma; did you mean Jam?"),
    (("-t", "Jma"), "there is no kind Jma; did you mean Jam?"),
    (("-b", "Printer", "--until", "2002-01-01"), ""), (("-t", "Jam", "-b", "Printer", "-g", "no"), "")],
    ids=str)
def test_a_filter_by_a_name_that_there_is_not_says_so(ctl, filters, words):
    result = ctl("list", *filters)
    assert (result.status, result.output) == (0, "No alerts.\n")
    assert result.errors == (f"alertsctl: {words}\n" if words else "")
    assert ctl("list", "-q", *filters) == (0, "", "")


def test_who_watches_what_there_is_not_is_told(ctl):
    with ended(ctl.begin("watch", "-b", "Prnter")) as process:
        assert process.stderr.readline() == \
            "alertsctl: there is no bundle Prnter; did you mean Printer?\n"


def test_errors_of_the_daemon_say_what_to_do(ctl):
    result = ctl("post", "Prnter", "Jam")
    assert result.status == 1
    assert "there is no bundle Prnter; did you mean Printer?" in result.errors
    result = ctl("post", "Printer", "Jma")
    assert result.status == 1
    assert "its kinds are Jam" in result.errors


def test_without_a_daemon_it_says_which_socket(system):
    ctl = Control(system)
    for verb in (("list",), ("status",), ("post", "A", "B"), ("call", "GetAttributes"),
                 ("bundles",), ("mail",), ("export",), ("watch",), ()):
        result = ctl(*verb)
        assert result.status == 7, verb
        assert str(system.socket_path) in result.errors
        assert "is alertsd running with the same?" in result.errors
        assert result.errors.count("\n") == 1


def run_as(uid, ctl_system, *arguments):
    return subprocess.run([ALERTSCTL, *arguments], env=ctl_system.environment(), check=False,
                          capture_output=True, text=True, user=uid, group=uid, extra_groups=[])


def test_who_may_not_is_told_what_to_do(ctl, system):
    del ctl
    for verb in (("list",), ("status",), ("mail",), ("read", "x"), ("attributes", "set", "a=b"),
                 ("post", "Printer", "Jam"), ("backup", "/tmp/nothing")):
        result = run_as(65534, system, *verb)
        assert result.returncode == 4, (verb, result)
        assert "sudo" in result.stderr
    assert run_as(65534, system, "bundles", "-q").stdout == "Common\nPrinter\n"
    assert "alertsd 0.1.0" in run_as(65534, system, "status").stdout


def test_a_socket_that_lets_nobody_in_is_told(ctl, system):
    del ctl
    system.socket_path.chmod(0o600)
    result = run_as(65534, system, "list")
    assert result.returncode == 4
    assert "the socket does not let user 65534 in" in result.stderr


def verbs():
    """All verbs, with those of groups."""
    def below(words):
        result = subprocess.run([ALERTSCTL, "complete", "--", *words, ""], check=True, text=True,
                                capture_output=True)
        names = [name for name in result.stdout.splitlines() if name.isalpha()]
        return [[*words, name] for name in names]
    return [verb for top in below([]) for verb in [top, *(
        below(top) if top[0] in ("bundle", "mail", "push", "attributes") else [])]]


def test_help_of_each_verb_has_an_example():
    found = verbs()
    assert len(found) > 35
    for verb in found:
        result = subprocess.run([ALERTSCTL, *verb, "--help"], check=True, capture_output=True,
                                text=True)
        assert f"Usage: alertsctl {' '.join(verb)}" in result.stdout
        example = result.stdout.split("Example:\n")[1]
        assert example.startswith(f"  alertsctl {verb[0]}")


def test_the_manual_knows_every_verb_and_option():
    page = (ROOT / "tools/man/alertsctl.1").read_text(encoding="utf-8")
    for verb in verbs():
        assert re.search(rf"^\.It Nm Cm .*\b{verb[0]}\b", page, re.MULTILINE), verb
        listed = subprocess.run([ALERTSCTL, "complete", "--", *verb, "--"], check=True, text=True,
                                capture_output=True).stdout.splitlines()
        for option in listed:
            if option.startswith("--"):
                assert re.search(rf"Fl .*-{option[2:]}\b", page), (verb, option)


@pytest.mark.parametrize("page", sorted((ROOT / "tools/man").iterdir()), ids=lambda page: page.name)
def test_manual_pages_are_well_formed(page):
    for tool in ("mandoc", "groff"):
        if not any((pathlib.Path(folder) / tool).exists()
                   for folder in os.environ["PATH"].split(":")):
            skip_or_fail(f"needs {tool}")
    lint = subprocess.run(["mandoc", "-Tlint", "-Wstyle", page], check=False, capture_output=True,
                          text=True).stdout.splitlines()
    # Whether other pages are installed is not this one's matter.
    assert [line for line in lint if "referenced manual not found" not in line] == []
    result = subprocess.run(["groff", "-ww", "-mandoc", "-Tutf8", page], check=True,
                            capture_output=True, text=True)
    assert result.stderr == ""
    names = {path.name for path in (ROOT / "tools/man").iterdir()}
    for name, section in re.findall(r"^\.Xr (\S*(?:velto|alerts)\S*) (\d)",
                                    page.read_text(encoding="utf-8"), re.MULTILINE):
        assert f"{name}.{section}" in names
