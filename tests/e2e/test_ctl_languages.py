# SPDX-License-Identifier: Apache-2.0
"""The translations of alertsctl are whole and fit its texts."""

import pathlib
import re
import string
import subprocess

import pytest

TOOLS = pathlib.Path(__file__).resolve().parents[2] / "tools"
KEYWORDS = ("tr", "trLater", "say", "sayCount:1,2")


def entries(text):
    """The messages of a catalogue: the original, its plural, and the translations."""
    found = {}
    for block in text.split("\n\n"):
        parts = re.findall(r'^(msgid|msgid_plural|msgstr(?:\[\d\])?) ((?:".*"\n?)+)', block, re.MULTILINE)
        values = {name: "".join(re.findall('"(.*)"', lines)) for name, lines in parts}
        if values.get("msgid"):
            found[values["msgid"]] = (values.get("msgid_plural"), [
                text for name, text in values.items() if name.startswith("msgstr")])
    return found


def fields(text):
    try:
        return sorted(name or "" for _, name, _, _ in string.Formatter().parse(text)
                      if name is not None)
    except ValueError:  # braces of JSON, in a text that nothing is filled into
        return None


@pytest.fixture(scope="module", name="texts")
def _texts():
    sources = sorted([*TOOLS.glob("*.cpp"), *TOOLS.glob("*/*.cpp"), *TOOLS.glob("*/*.h")])
    result = subprocess.run(
        ["xgettext", "--from-code=UTF-8", "-k", *(f"--keyword={word}" for word in KEYWORDS),
         "--language=C++", "--no-location", "--no-wrap", "-o", "-", *sources],
        check=True, capture_output=True, text=True)
    return entries(result.stdout)


@pytest.mark.parametrize("catalogue", sorted((TOOLS / "po").glob("*.po")), ids=lambda path: path.stem)
def test_each_text_is_translated_and_no_other(catalogue, texts):
    translations = entries(catalogue.read_text(encoding="utf-8"))
    assert len(texts) > 300
    assert set(translations) == set(texts)
    assert "fuzzy" not in catalogue.read_text(encoding="utf-8")
    for original, (plural, forms) in translations.items():
        assert plural == texts[original][0]
        assert len(forms) == (2 if plural else 1)
        for form in forms:
            assert form, original
            assert fields(form) == fields(original), original
