# SPDX-License-Identifier: Apache-2.0
"""One kind of hardship, in rounds that a seed repeats."""

import os
import pathlib
import subprocess
import sys

TREE = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TREE / "tests/e2e"))


class Activity:
    """A subclass says what it does in `name`, and what must hold in `promise`. A round raises
    AssertionError where that does not hold."""

    name = ""
    promise = ""
    needs_root = False
    # What a subclass does at least in this time, in seconds, so that a share is worth beginning.
    shortest = 1

    def __init__(self, settings):
        self.settings = settings

    def missing(self):
        """Why it cannot be done here; nothing when it can."""
        return "needs root" if self.needs_root and os.geteuid() != 0 else None

    def round(self, chance, seconds):
        """One round with the chance given, in about so much time or less. Returns what to say of
        it, if anything."""
        raise NotImplementedError

    def close(self):
        """Ends what is left of it. Returns what to say at the end, if anything."""


def run_program(command, seconds, **environment):
    """Runs a program of the build that fails by its exit status, and fails with what it said."""
    result = subprocess.run([str(word) for word in command], capture_output=True, text=True,
                            errors="replace", check=False, timeout=seconds + 120,
                            env={**os.environ, **environment})
    said = (result.stdout + result.stderr).strip()
    assert result.returncode == 0, f"{pathlib.Path(command[0]).name} ended with " \
        f"{result.returncode}:\n{said[-4000:]}"
    return said
