# SPDX-License-Identifier: Apache-2.0
"""The events service, which is asked to monitor new bundles when the daemon starts."""

import pytest
from velto.events import EventsService
from velto.varlink import wait_for

# Beside the first line, once.
NO_MONITORS = "Alerts work, but nothing monitors for their bundles: "

pytestmark = pytest.mark.needs_root


@pytest.fixture
def events(system):
    """Makes an events service of the system."""
    made = []

    def make(*answer):
        made.append(EventsService(system.root, *answer))
        return made[-1]

    yield make
    for service in made:
        service.close()


def test_a_new_bundle_is_loaded_and_then_enabled(system, events):
    bundle = system.make_bundle("Printer.bundle")
    service = events()
    system.start()
    wait_for(lambda: len(service.calls) == 2, "both calls")
    assert service.calls == [("LoadMonitorBundle", {"path": str(bundle)}),
                             ("EnableMonitorBundle", {"name": "Printer"})]
    assert system.daemon.log() == ""


def test_a_known_bundle_is_not_loaded_again(system, events):
    system.make_bundle("Printer.bundle")
    service = events()
    system.start()
    wait_for(lambda: len(service.calls) == 2, "both calls")
    system.stop()
    system.make_bundle("Scanner.bundle")
    system.start()
    wait_for(lambda: len(service.calls) == 4, "the calls for the new bundle")
    assert [list(parameters.values())[0].rpartition("/")[2] for _, parameters in service.calls[2:]] \
        == ["Scanner.bundle", "Scanner"]


@pytest.mark.parametrize("refused, line, count", [
    ("LoadMonitorBundle", "Error Loading Alert Bundle: Printer", 1),
    ("EnableMonitorBundle", "Error Enabling Alert Bundle: Printer", 2),
])
def test_a_refusal_is_logged_and_the_record_stays(system, events, refused, line, count):
    system.make_bundle("Printer.bundle")
    service = events(lambda method, _: b'{"error": "a.B"}' if method == refused else b"{}")
    system.start()
    wait_for(lambda: line in system.daemon.log_lines(), "the log line")
    assert len(service.calls) == count
    assert system.client().call("GetAlertBundleNames") == {"names": ["Printer"]}


def test_nonsense_is_logged_as_a_failure(system, events):
    system.make_bundle("Printer.bundle")
    events(lambda *_: b"nonsense")
    system.start()
    wait_for(lambda: len(system.daemon.log_lines()) == 2, "the lines")
    first, second = system.daemon.log_lines()
    assert first == "Error Loading Alert Bundle: Printer"
    assert second.startswith(NO_MONITORS)


def test_a_service_that_does_not_answer_holds_up_nobody(system, events):
    for number in range(5):
        system.make_bundle(f"Printer{number}.bundle")
    service = events(lambda *_: None)
    system.start()
    assert len(system.client().call("GetAlertBundleNames")["names"]) == 5
    wait_for(lambda: len(service.calls) == 1, "the first call")
    assert system.daemon.log() == ""


def test_without_the_service_there_are_log_lines_and_no_more(system):
    for name in ("Printer", "Scanner"):
        system.make_bundle(f"{name}.bundle")
    system.start()
    wait_for(lambda: len(system.daemon.log_lines()) == 3, "the lines")
    why, *lines = sorted(system.daemon.log_lines())
    assert why.startswith(NO_MONITORS)
    assert lines == ["Error Loading Alert Bundle: Printer", "Error Loading Alert Bundle: Scanner"]
    assert len(system.client().call("GetAlertBundleNames")["names"]) == 2
