# SPDX-License-Identifier: Apache-2.0
"""Alert bundles made by tests."""

import plistlib


def make_bundle(path, info=None, texts=None, form=plistlib.FMT_XML):
    """Makes a bundle without code. `texts` is {language: {key: text}}; every type that has a
    subject is declared."""
    types = {key.removesuffix(".subject"): {} for strings in (texts or {}).values()
             for key in strings if key.endswith(".subject")}
    contents = path / "Contents"
    contents.mkdir(parents=True, exist_ok=True)
    with (contents / "Info.plist").open("wb") as file:
        plistlib.dump({"VLAlertTypes": types, **(info or {})}, file, fmt=form)
    for language, strings in (texts or {}).items():
        folder = contents / "Resources" / f"{language}.lproj"
        folder.mkdir(parents=True, exist_ok=True)
        with (folder / "Alerts.strings").open("wb") as file:
            plistlib.dump(strings, file, fmt=form)
    return path
