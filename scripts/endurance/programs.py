# SPDX-License-Identifier: Apache-2.0
"""Tests of the build that take a seed: power failures, running out of memory."""

from .activity import Activity, run_program


class SeededTests(Activity):
    """A test of the build's programs, with another seed, each round."""

    # Pairs of a program and a filter of its tests.
    tests = ()
    shortest = 4

    def missing(self):
        paths = {self.settings.build / "tests" / program for program, _ in self.tests}
        absent = sorted(str(path) for path in paths if not path.exists())
        return super().missing() or (f"{absent[0]} is not built" if absent else None)

    def round(self, chance, seconds):
        program, wanted = chance.choice(self.tests)
        path = self.settings.build / "tests" / program
        names = _names(run_program([path, f"--gtest_filter={wanted}", "--gtest_list_tests"], 60))
        assert names, f"{program} has no test {wanted}"
        run_program([path, f"--gtest_filter={chance.choice(names)}", "--gtest_brief=1"], 300,
                    VELTO_RANDOM_SEED=str(chance.randrange(2 ** 31)),
                    VELTO_RANDOM_OPERATIONS="10000")


def _names(listing):
    """The full names of the tests in a program's listing: suites, and indented below them tests."""
    names = []
    suite = ""
    for line in listing.splitlines():
        name = line.partition("#")[0].rstrip()
        if line.startswith("  "):
            names.append(suite + name.strip())
        elif name.endswith("."):
            suite = name
    return names


class PowerFailures(SeededTests):
    name = "power"
    promise = "what was acknowledged before a power failure is there after it"
    tests = (("persistence_durability_test", "*/PowerFailure.*"),
             ("persistence_durability_test", "*/NewStorePowerFailure.*"),
             ("persistence_test", "RandomOperations.*"))


class NoMemory(SeededTests):
    name = "memory"
    promise = "an allocation that fails ends at most the call or its connection"
    needs_root = True
    tests = tuple(("daemon_memory_test", f"*/{begin}*")
                  for begin in ("Add", "D", "Enable", "Get", "Mark", "Perform", "PostAlert", "S"))
