# SPDX-License-Identifier: Apache-2.0
"""Tests of the build that take a seed: power failures, running out of memory."""

from .activity import Activity, run_program


class SeededTests(Activity):
    """Some tests of a program, with another seed each round."""

    program = ""
    filters = ()
    shortest = 4

    def __init__(self, settings):
        super().__init__(settings)
        self._path = settings.build / "tests" / self.program

    def missing(self):
        return super().missing() or (None if self._path.exists() else f"{self._path} is not built")

    def round(self, chance, seconds):
        wanted = chance.choice(self.filters)
        said = run_program([self._path, f"--gtest_filter={wanted}", "--gtest_brief=1"], 300,
                           VELTO_RANDOM_SEED=str(chance.randrange(2 ** 31)),
                           VELTO_RANDOM_OPERATIONS="10000")
        assert " 0 tests" not in said, f"{self.program} has no test {wanted}"


class PowerFailures(SeededTests):
    name = "power"
    promise = "what was acknowledged before a power failure is there after it"
    program = "persistence_test"
    filters = ("*/PowerFailure.*", "*/NewStorePowerFailure.*", "RandomOperations.*")


class NoMemory(SeededTests):
    name = "memory"
    promise = "an allocation that fails ends at most the call or its connection"
    needs_root = True
    program = "daemon_memory_test"
    filters = ("*/PostAlert*", "*/S*", "*/Get*", "*/Add*", "*/Delete*", "*/Mark*", "*/Perform*")
