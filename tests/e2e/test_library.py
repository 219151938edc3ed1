# SPDX-License-Identifier: Apache-2.0
"""libvlalerts as it is installed: what it exports, and programs that are built with it."""

import os
import pathlib
import re
import shlex
import subprocess
import textwrap

import pytest
from velto.system import BUILD

ROOT = pathlib.Path(__file__).resolve().parents[2]
EXAMPLES = ROOT / "client/examples"
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Werror"]


def output(*command, **options):
    return subprocess.run(command, check=True, capture_output=True, text=True, **options).stdout


def build_setting(name):
    cache = (BUILD / "CMakeCache.txt").read_text()
    found = re.search(rf"^{name}:\w+=(.*)$", cache, re.M)
    return found[1] if found else ""


def sanitizer():
    """What a program needs that loads a library built with sanitizers."""
    return [f"-fsanitize={names}"] if (names := build_setting("VELTO_SANITIZE")) else []


@pytest.fixture(scope="module", name="prefix")
def _prefix(tmp_path_factory):
    """Where the library is installed; not where it was configured for."""
    prefix = tmp_path_factory.mktemp("prefix")
    for component in ("libvlalerts", "libvlalerts-dev"):
        output("cmake", "--install", BUILD, "--prefix", prefix, "--component", component)
    return prefix


@pytest.fixture(scope="module", name="libraries")
def _libraries(prefix):
    (library,) = prefix.rglob("libvlalerts.so")
    return library.parent


@pytest.fixture(scope="module", name="built")
def _built(prefix, tmp_path_factory):
    """Builds a CMake project with the installed package; gives the folder of its programs."""
    def build(project):
        folder = tmp_path_factory.mktemp("built")
        flags = shlex.join(sanitizer() + WARNINGS)
        output("cmake", "-G", "Ninja", "-S", project, "-B", folder, f"-DCMAKE_PREFIX_PATH={prefix}",
               f"-DCMAKE_C_COMPILER={build_setting('CMAKE_C_COMPILER')}",
               f"-DCMAKE_CXX_COMPILER={build_setting('CMAKE_CXX_COMPILER')}",
               f"-DCMAKE_C_FLAGS={flags}", f"-DCMAKE_CXX_FLAGS={flags}")
        output("cmake", "--build", folder)
        return folder
    return build


@pytest.fixture(scope="module", name="tests")
def _tests(built):
    return built(ROOT / "tests/e2e/library")


@pytest.fixture(scope="module", name="examples")
def _examples(built):
    return built(EXAMPLES)


def listed_symbols():
    lines = (ROOT / "client/libvlalerts.symbols").read_text().splitlines()
    return [line for line in lines if not line.startswith("#")]


def test_exactly_the_listed_symbols_are_exported(libraries):
    lines = output("nm", "-D", "--defined-only", libraries / "libvlalerts.so").splitlines()
    names = [line.split()[-1] for line in lines]
    assert "VLALERTS_0" in names
    assert sorted(name for name in names if name != "VLALERTS_0") == \
        [f"{symbol}@@VLALERTS_0" for symbol in sorted(listed_symbols())]


def test_the_static_library_defines_exactly_the_listed_symbols(libraries):
    lines = output("nm", "-g", "--defined-only", libraries / "libvlalerts.a").splitlines()
    assert sorted(line.split()[-1] for line in lines if len(line.split()) == 3) == \
        sorted(listed_symbols())


def test_the_interface_in_c_has_ten_functions():
    assert sum(name.startswith("velto_post_") for name in listed_symbols()) == 10


def test_nothing_is_needed_but_what_every_system_has(libraries):
    dynamic = output("readelf", "-d", libraries / "libvlalerts.so")
    needed = set(re.findall(r"NEEDED.*\[(.*)\.so", dynamic))
    assert needed <= {"libstdc++", "libm", "libgcc_s", "libc", "libasan", "libubsan", "libtsan"}
    assert re.findall(r"SONAME.*\[(.*)\]", dynamic) == ["libvlalerts.so.0"]


@pytest.mark.parametrize("name", sorted(path.name for path in (ROOT / "client/velto").iterdir()))
def test_a_header_stands_alone_and_needs_no_other_library(prefix, tmp_path, name):
    languages = [("c99", "c")] if name in ("alerts.h", "api.h") else []
    for standard, language in [*languages, ("c++20", "c++")]:
        source = tmp_path / f"use.{language}"
        source.write_text(f"#include <velto/{name}>\nint used;\n")
        output("c++" if language == "c++" else "cc", "-fsyntax-only", "-x", language,
               f"-std={standard}", *WARNINGS, f"-I{prefix}/include", source)
    assert set(re.findall(r'#include ["<](.*?)[/.>]', (ROOT / "client/velto" / name).read_text())
               ) <= STANDARD_HEADERS | {"velto"}


STANDARD_HEADERS = {"chrono", "compare", "cstdint", "functional", "map", "memory", "optional",
                    "stddef", "stdint", "string", "string_view", "type_traits", "utility",
                    "variant", "vector"}


@pytest.fixture(name="served")
def _served(system):
    """A system with a running daemon and a bundle, which only this test uses."""
    system.make_bundle("Printer.bundle", texts={"en": {"Jam.subject": "Jam"}})
    system.start()
    return system


def succeed(result):
    assert (result.returncode, result.stderr) == (0, "")
    return result.stdout


@pytest.mark.needs_root
@pytest.mark.parametrize("program", ["post", "post_static"])
def test_the_examples_post_and_list(served, examples, program):
    identifier = succeed(served.run(examples / program, "Printer", "Jam")).strip()
    client = served.client()
    (alert,) = client.call("GetAlertsOfBundle", bundle="Printer")["alerts"]
    assert (alert["identifier"], alert["type"]) == (identifier, "Jam")
    attributes = alert["attributes"]
    assert attributes.pop("since")["$date"] > 0
    assert attributes == {"device": "/dev/sda1", "bytes": 9007199254740993, "load": 0.93,
                          "digest": {"$data": "3q0A7w=="}}
    assert succeed(served.run(examples / "list", "Printer")) == identifier + "\n"


@pytest.mark.needs_root
def test_the_example_in_cpp_posts(system, examples):
    system.install_bundle("Common.bundle")
    system.start()
    assert succeed(system.run(examples / "post_cpp")) == ""
    (alert,) = system.client().call("GetAlertsOfBundle", bundle="Common")["alerts"]
    assert alert["attributes"] == {"percent": 93, "device": "/srv"}


@pytest.mark.needs_root
@pytest.mark.parametrize("program, said", [("operations", "all operations"),
                                           ("watching", "watched")])
def test_the_daemon_through_the_library(served, tests, program, said):
    assert succeed(served.run(tests / program)) == said + "\n"


@pytest.mark.needs_root
def test_a_program_is_built_with_pkg_config(served, prefix, libraries, tmp_path):
    environment = {**os.environ, "PKG_CONFIG_PATH": str(libraries / "pkgconfig")}
    flags = output("pkg-config", "--cflags", "--libs", "vlalerts", env=environment).split()
    assert f"-I{prefix}/include" in [os.path.normpath(flag) if flag.startswith("/") else
                                     "-I" + os.path.normpath(flag[2:]) for flag in flags]
    program = tmp_path / "post"
    output("cc", "-std=c11", *sanitizer(), *WARNINGS, "-o", program, EXAMPLES / "post.c", *flags,
           f"-Wl,-rpath,{libraries}")
    assert succeed(served.run(program, "Printer", "Jam"))


def test_without_a_daemon_the_examples_say_so(system, examples):
    for program, arguments in (("post", ["Printer", "Jam"]), ("post_cpp", []), ("list", ["x"])):
        result = system.run(examples / program, *arguments)
        assert result.returncode == 1
        assert f"cannot connect to {system.socket_path}: No such file" in result.stderr


def test_the_code_in_the_documentation_is_that_of_the_examples():
    text = (ROOT / "docs/client.md").read_text()
    blocks = [textwrap.dedent(block).strip("\n")
              for block in re.findall(r"(?:^(?: {4}.*|)\n)+", text, re.M) if block.strip()]
    assert len(blocks) == 3
    # Within the main function of an example, two columns in.
    examples = [textwrap.dedent(path.read_text()) for path in EXAMPLES.glob("*.c*")]
    for block in blocks:
        indented = textwrap.indent(block, "  ")
        assert any(indented in example for example in examples), block
