# SPDX-License-Identifier: Apache-2.0
"""The package with the page in Cockpit."""


def pages(machine):
    """The folder of each page that Cockpit finds, by its name."""
    lines = map(str.split, machine.run("cockpit-bridge", "--packages").splitlines())
    return {words[0]: words[-1] for words in lines}


def test_cockpit_finds_the_page_as_long_as_its_package_is_installed(shared):
    assert pages(shared)["velto"] == "/usr/share/cockpit/velto"
    shared.apt("remove", "cockpit-velto-alerts")
    assert "base1" in pages(shared) and "velto" not in pages(shared)
    assert not shared.path("/usr/share/cockpit/velto").exists()
    assert shared.names() == {"Common", "Disk", "Load"}
