# SPDX-License-Identifier: Apache-2.0
"""What the daemon says about itself, and calls of what it does not have."""

import pathlib

import pytest
from velto.values import INTERFACE, METHODS, MONITOR, SERVICE

FILES = pathlib.Path(__file__).resolve().parents[2] / "protocol"
DESCRIPTION = FILES / f"{INTERFACE}.varlink"


def test_the_service_tells_its_interfaces(client):
    info = client.call(f"{SERVICE}.GetInfo")
    assert set(info) == {"vendor", "product", "version", "url", "interfaces"}
    assert info["interfaces"] == [SERVICE, INTERFACE, MONITOR]
    assert all(isinstance(info[key], str) for key in ("vendor", "product", "version", "url"))


@pytest.mark.parametrize("interface", [INTERFACE, MONITOR])
def test_the_description_is_the_interface_file(client, interface):
    reply = client.call(f"{SERVICE}.GetInterfaceDescription", interface=interface)
    assert set(reply) == {"description"}
    assert reply["description"].encode() == (FILES / f"{interface}.varlink").read_bytes()


def test_the_description_of_the_service_interface_declares_what_it_answers(client):
    description = client.call(f"{SERVICE}.GetInterfaceDescription",
                              interface=SERVICE)["description"]
    assert f"\ninterface {SERVICE}\n" in f"\n{description}"
    for name in ("method GetInfo", "method GetInterfaceDescription", "error InterfaceNotFound",
                 "error MethodNotFound", "error MethodNotImplemented", "error InvalidParameter"):
        assert f"\n{name}" in description


def test_every_declared_method_is_known_here():
    declared = [line.split("(")[0].removeprefix("method ")
                for line in DESCRIPTION.read_text().splitlines() if line.startswith("method ")]
    assert tuple(declared) == METHODS


@pytest.mark.parametrize("method", [
    f"{INTERFACE}.Explode", f"{INTERFACE}.postAlert", f"{INTERFACE}.", f"{SERVICE}.GetEverything",
    f"{INTERFACE}.Follow", f"{MONITOR}.PostAlert"])
def test_an_unknown_method_is_not_found(client, method):
    assert client.exchange(method, {}) == {
        "error": f"{SERVICE}.MethodNotFound", "parameters": {"method": method}}


@pytest.mark.parametrize("interface", [
    "org.example.other", INTERFACE.lower(), f"{INTERFACE}.x", ""])
def test_an_unknown_interface_is_not_found(client, interface):
    expected = {"error": f"{SERVICE}.InterfaceNotFound", "parameters": {"interface": interface}}
    assert client.exchange(f"{interface}.PostAlert", {}) == expected
    assert client.exchange(f"{SERVICE}.GetInterfaceDescription",
                           {"interface": interface}) == expected


@pytest.mark.parametrize("method, parameters, wrong", [
    ("GetInfo", {"extra": 1}, "extra"),
    ("GetInterfaceDescription", {}, "interface"),
    ("GetInterfaceDescription", {"interface": None}, "interface"),
    ("GetInterfaceDescription", {"interface": 5}, "interface"),
    ("GetInterfaceDescription", {"interface": INTERFACE, "extra": 1}, "extra"),
])
def test_the_service_interface_checks_its_parameters(client, method, parameters, wrong):
    assert client.exchange(f"{SERVICE}.{method}", parameters) == {
        "error": f"{SERVICE}.InvalidParameter", "parameters": {"parameter": wrong}}


def test_an_error_leaves_the_connection_usable(client):
    client.exchange(f"{INTERFACE}.Explode", {})
    client.exchange("org.example.other.Method", {})
    assert client.call("GetAlertBundleNames") == {"names": ["Printer"]}
