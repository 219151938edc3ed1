# SPDX-License-Identifier: Apache-2.0
"""The verbs of alertsctl about the service itself."""

import json
import os
import stat
import time

import pytest
from velto.control import Control
from velto.skipping import skip_or_fail

pytestmark = pytest.mark.needs_root

UNIX_AT_2001 = 978307200

# What stands for the system's journal: entries as its own program prints them.
JOURNAL = """\
#!/bin/sh
printf '%s\\n' "$@" >"$VELTO_ROOT/arguments"
cat "$VELTO_ROOT/journal"
"""


@pytest.fixture(name="ctl")
def _ctl(system):
    system.install_bundle("Common.bundle")
    system.start()
    return Control(system)


def test_status_tells_how_the_daemon_is(ctl):
    ctl.done("post", "Common", "Test")
    status = ctl.json("status")["status"]
    assert status["version"] == "0.1.0"
    assert status["counts"] == {"alerts": 1, "unread": 1, "unresolved": 1}
    assert status["store"]["usable"] is True
    assert [channel["name"] for channel in status["channels"]] == ["mail", "push"]
    assert (status["problems"], status["user"]) == ([], os.geteuid())
    assert "alertsd 0.1.0, running for" in ctl.done("status").output
    assert ctl.done("status", "-q").output == ""


def test_a_failed_mail_is_something_wrong(ctl, system):
    ctl.done("mail", "add", "ann@example.org")
    system.mail.record(status=75)
    assert ctl("post", "Common", "Test").status == 1
    result = ctl("status")
    assert result.status == 3
    assert "mail has failed within the last hour; see alertsctl deliveries" in result.output
    assert ctl("status", "-j").status == 3


def test_without_a_store_status_says_why_and_what_to_do(system):
    system.store_directory.mkdir()
    (system.store_directory / "alertData.db").write_bytes(b"another program's file, quite long")
    system.start()
    result = Control(system)("status")
    assert result.status == 3
    assert "the store is not usable" in result.output
    assert "systemctl restart velto-alerts" in result.output


def test_metrics_are_openmetrics(ctl, system):
    ctl.done("post", "Common", "Test")
    try:
        from prometheus_client.openmetrics.parser import text_string_to_metric_families
    except ImportError:
        skip_or_fail("needs python3-prometheus-client")
    families = {family.name: family
                for family in text_string_to_metric_families(ctl.done("metrics").output)}
    assert families["velto_alerts_up"].samples[0].value == 1
    assert families["velto_alerts_stored"].samples[0].value == 1
    deliveries = families["velto_alerts_deliveries"].samples
    assert {tuple(sample.labels.values()) for sample in deliveries} == {
        (channel, result) for channel in ("mail", "push") for result in ("delivered", "failed")}
    file = system.root / "velto.prom"
    ctl.done("metrics", file)
    assert file.read_text().endswith("# EOF\n")
    assert stat.S_IMODE(file.stat().st_mode) == 0o644
    assert list(system.root.glob("velto.prom.*")) == []


def test_metrics_without_a_daemon_say_so(system):
    result = Control(system)("metrics")
    assert result.status == 7
    assert "velto_alerts_up 0\n" in result.output


def test_stats_count_by_day_and_bundle(ctl, system):
    now = time.time() - UNIX_AT_2001
    system.client().call("SaveAlerts", alerts=[
        {"identifier": str(number), "bundle": "Common" if number % 2 else "Disk",
         "sentDate": now - 86400 * (number // 4)} for number in range(160)])
    stats = ctl.json("stats", "--utc")
    assert len(stats["days"]) == 30
    assert [day["alerts"] for day in stats["days"]] == [4] * 30
    assert stats["days"][-1]["bundles"] == {"Common": 2, "Disk": 2}
    assert stats["days"][-1]["day"] == time.strftime("%Y-%m-%d", time.gmtime())
    assert sum(stats["open"].values()) == 160
    assert stats["open"]["older"] > 0
    lines = ctl.done("stats", "--utc").lines
    assert any("█" in line and "Alerts service 2, Disk 2" in line for line in lines)
    assert any("####" in line for line in ctl.done("stats", LANG="C", LC_ALL="C").lines)


def entry(**fields):
    return json.dumps({"__REALTIME_TIMESTAMP": "1795183200000000", "VELTO_ALERT_ID": "Test:1",
                       "VELTO_BUNDLE": "Common", "VELTO_TYPE": "Test", "VELTO_CHANNEL": "mail",
                       "VELTO_RECIPIENTS": "ann@example.org", "VELTO_LOCALE": "fr",
                       "VELTO_RESULT": "delivered", "VELTO_STATUS": "0",
                       "VELTO_DURATION_USEC": "1500", **fields}) + "\n"


@pytest.fixture(name="journal")
def _journal(system):
    """Entries in a stand-in for the journal: a function that takes them and makes the tool."""
    program = system.root / "bin/journalctl"
    program.parent.mkdir()
    program.write_text(JOURNAL)
    program.chmod(0o755)

    def with_entries(*entries):
        (system.root / "journal").write_text("".join(entries))
        return Control(system, PATH=f"{program.parent}:{os.environ['PATH']}")
    return with_entries


def test_deliveries_come_from_the_journal(journal, system):
    ctl = journal(entry(), entry(VELTO_RESULT="failed", VELTO_STATUS="75",
                                 VELTO_RECIPIENTS=list(b"bob\x1b[31m@example.org")))
    first, second = ctl.json("deliveries", "--since", "@0", "-n", 5)["deliveries"]
    assert first == {"date": "2026-11-20T14:00:00.000000Z", "identifier": "Test:1",
                     "bundle": "Common", "type": "Test", "channel": "mail",
                     "recipients": "ann@example.org", "language": "fr", "result": "delivered",
                     "status": 0, "seconds": 0.0015}
    assert (second["result"], second["status"]) == ("failed", 75)
    arguments = (system.root / "arguments").read_text().splitlines()
    assert "MESSAGE_ID=5b948e18490f447ab8f28cf86e632cd0" in arguments
    assert "--lines=5" in arguments and "--since=@0" in arguments
    output = ctl.done("deliveries", "Test:1").output
    assert "failed: 75" in output and "\\x1b[31m" in output and "\x1b" not in output
    assert "VELTO_ALERT_ID=Test:1" in (system.root / "arguments").read_text()


def test_no_deliveries_are_no_error(journal):
    assert journal().done("deliveries").output == "No deliveries.\n"


def test_a_journal_that_cannot_be_asked_is_an_error(system):
    result = Control(system, PATH="/nowhere")("deliveries")
    assert result.status == 1
    assert "cannot run journalctl" in result.errors


def test_test_tells_what_each_channel_made_of_it(ctl, system):
    result = ctl.json("test")
    assert [(one["name"], one["delivered"]) for one in result["channels"]] == [
        ("mail", False), ("push", False)]
    assert "nobody to tell" in ctl.done("test").output
    assert ctl("test", "--mail").status == 1
    ctl.done("mail", "add", "ann@example.org")
    assert "Mail: handed over for 1 recipient" in ctl.done("test", "--mail").output
    assert len(system.mail.mails()) == 1
    system.mail.record(status=75)
    result = ctl("test", "--mail")
    assert result.status == 1
    assert "the mail program ended with status 75" in result.output
    ctl.done("bundle", "set", "Common", "--mail", "off")
    assert "Mail: off for Common" in ctl.done("test").output


def test_a_call_can_be_made_by_hand(ctl):
    assert ctl.json("call", "GetAlertBundleNames") == {"names": ["Common"]}
    result = ctl("call", "PostAlerts")
    assert result.status == 1
    assert "no method" in result.errors and "did you mean PostAlert?" in result.errors
    result = ctl("call", "GetAlertsFromDate", '{"fromDate": "2026-01-01"}')
    assert "2026-01-01 is 788918400" in result.errors
