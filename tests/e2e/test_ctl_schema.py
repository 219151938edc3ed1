# SPDX-License-Identifier: Apache-2.0
"""What alertsctl prints as JSON has the shape that docs/alertsctl.schema.json describes."""

import json
import pathlib
import select

import pytest
from velto.control import Control, ended
from velto.skipping import skip_or_fail

pytestmark = pytest.mark.needs_root

SCHEMA = json.loads((pathlib.Path(__file__).resolve().parents[2] /
                     "docs/alertsctl.schema.json").read_text(encoding="utf-8"))


def check(kind, document):
    try:
        import jsonschema
    except ImportError:
        skip_or_fail("needs python3-jsonschema")
    validator = jsonschema.validators.validator_for(SCHEMA)
    validator.check_schema(SCHEMA)
    validator({"$ref": f"#/$defs/{kind}", "$defs": SCHEMA["$defs"]}).validate(document)
    validator(SCHEMA).validate(document)


@pytest.fixture(name="ctl")
def _ctl(system):
    system.install_bundle("Common.bundle")
    printer = system.make_bundle("Printer.bundle", {"VLAlertTypes": {
        "Jam": {"RecoveryOptions": ["Fix"]}}}, texts={"en": {"Jam.subject": "Jam"}})
    action = printer / "Contents/Actions/Fix"
    action.parent.mkdir()
    action.write_text("#!/bin/sh\n[ \"$1\" = run ]\n", encoding="utf-8")
    action.chmod(0o755)
    system.start()
    return Control(system)


def test_each_document_has_its_shape(ctl, system):
    seen = set()

    def told(kind, *arguments, **options):
        seen.add(kind)
        document = ctl.json(*arguments, **options)
        assert document
        check(kind, document)
        return document

    jam = told("post", "post", "Printer", "Jam", "n:=1", 'when:={"$date": 1.5}')["identifier"]
    system.client().call("SaveAlerts", alerts=[{"identifier": "bare"}, {"sentDate": 1e300}])
    told("list")
    told("list", "list")
    told("show", "show", jam, "bare")
    told("read", "read", jam)
    told("run", "run", "Fix", jam)
    told("resolve", "resolve", "bare")
    told("delete", "delete", "--dry-run", jam)
    told("delete", "delete", "bare")
    told("prune", "prune", "--older-than", "100y", "--dry-run")
    told("prune", "prune", "--older-than", "100y")
    told("bundles", "bundles")
    told("bundle", "bundle", "set", "Printer", "--mail", "off")
    told("bundle", "bundle", "disable", "Printer")
    told("bundle", "bundle", "enable", "Printer")
    full = told("bundleNew", "bundle", "new", system.root / "Full")["path"]
    told("bundleCheck", "bundle", "check", full)
    told("bundleRender", "bundle", "render", full, "TooManyFiles", "files:=1", "folder=x")
    (system.root / "waiting").mkdir()
    told("bundleRun", "bundle", "run", full, "Empty", "TooManyFiles", f"folder={system.root}/waiting")
    told("recipients", "mail", "add", "ann@example.org", "-l", "fr")
    told("mail", "mail")
    told("recipients", "mail", "set", "ann@example.org")
    told("recipients", "mail", "remove", "ann@example.org")
    told("recipients", "push", "add", "g", "00")
    told("recipients", "push", "disable", "g")
    told("push", "push")
    told("recipients", "push", "remove", "g")
    told("attributesSet", "attributes", "set", "a=b")
    told("attributes", "attributes", "get", "a")
    told("attributesUnset", "attributes", "unset", "a")
    told("test", "test")
    told("stats", "stats")
    told("status", "status")
    told("export", "export", system.root / "all")
    told("import", "import", system.root / "all")
    told("backup", "backup", system.root / "copy")
    told("check", "check")
    assert seen | {"deliveries", "watch", "error"} == {
        reference["$ref"].rpartition("/")[2] for reference in SCHEMA["anyOf"]}


def test_documents_are_the_same_in_both_forms(ctl):
    ctl.done("post", "Printer", "Jam", "n:=1.0")
    pretty, short = ctl.done("list", "--json=pretty"), ctl.done("list", "--json=short")
    assert pretty.json == short.json
    assert len(short.lines) == 1 < len(pretty.lines)
    assert ctl.done("list", "--json=off").output.startswith("SENT")


def test_errors_have_their_shape(ctl):
    for arguments in (("nix", "-j"), ("show", "nothing", "-j"), ("post", "A", "B", "-j"),
                      ("call", "Nothing", "-j"), ("import", "/nowhere", "--json=short")):
        result = ctl(*arguments)
        assert (result.status != 0, result.errors) == (True, "")
        check("error", result.json)
        assert result.json["error"]["status"] == result.status


def test_changes_have_their_shape(ctl):
    with ended(ctl.begin("list", "-f", "--json=short")) as following:
        is_told = False
        while not is_told:  # only what is told shows that it has begun
            (identifier,) = ctl.done("post", "Printer", "Jam").lines
            is_told = bool(select.select([following.stdout], [], [], 0.2)[0])
        check("watch", json.loads(following.stdout.readline()))
        ctl.done("delete", identifier)
        check("watch", json.loads(following.stdout.readline()))


def test_deliveries_have_their_shape(ctl, system):
    program = system.root / "bin/journalctl"
    program.parent.mkdir()
    program.write_text("#!/bin/sh\necho '{\"VELTO_RESULT\": \"failed\", \"VELTO_STATUS\": \"75\"}'\n",
                       encoding="utf-8")
    program.chmod(0o755)
    check("deliveries", ctl.json("deliveries", PATH=f"{program.parent}:/usr/bin:/bin"))
