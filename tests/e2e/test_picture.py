# SPDX-License-Identifier: Apache-2.0
"""The picture of a terminal in the README is one of a real run."""

import os
import pathlib
import subprocess
import xml.etree.ElementTree

from velto.system import BUILD

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts/trial/picture"
SVG = "{http://www.w3.org/2000/svg}"


def test_the_picture_shows_what_the_tool_has_printed(tmp_path):
    file = tmp_path / "picture.svg"
    subprocess.run([SCRIPT, file], check=True, env={**os.environ, "VELTO_BUILD": str(BUILD)})
    lines = [["".join(span.itertext()) for span in row]
             for row in xml.etree.ElementTree.parse(file).iter(f"{SVG}text")]
    assert lines[0][0] == "#" and lines[0][1].startswith("alertsctl post ")
    (posted,) = lines[1]
    (new,) = [row for row in lines if "new" in row]
    assert posted in new and "The volume /home is almost full" in new
    assert ["Identifier", posted] in lines and ["5 alerts."] in lines
