# SPDX-License-Identifier: Apache-2.0
"""Every parser of outside bytes, by libFuzzer where that is built, else by the programs that replay
the seed corpora, with changed seeds."""

import os
import pathlib
import shutil
import tempfile

from .activity import TREE, Activity, run_program
from .mutation import mutated_bytes

_FUZZERS = TREE / "build/fuzz/fuzz"
_SEEDS = TREE / "fuzz/corpus"
_MUTANTS = 300


class Fuzzers(Activity):
    name = "fuzzers"
    promise = "any bytes give a value or an error"
    shortest = 3

    def __init__(self, settings):
        super().__init__(settings)
        self._grown = settings.folder / "corpus"
        self._turn = 0

    def missing(self):
        return None if self._targets() else f"no fuzz targets in {_FUZZERS} or {self._programs()}"

    def _programs(self):
        return self.settings.build / "fuzz"

    def _targets(self):
        names = sorted(path.name for path in _SEEDS.iterdir())
        return [name for name in names if (self._folder() / name).exists()]

    def _folder(self):
        return _FUZZERS if self.settings.has_fuzzers else self._programs()

    def round(self, chance, seconds):
        targets = self._targets()
        name = targets[self._turn % len(targets)]
        self._turn += 1
        if self.settings.has_fuzzers:
            return self._fuzz(name, chance, min(20, max(3, int(seconds))))
        return self._replay(name, chance)

    def _fuzz(self, name, chance, seconds):
        corpus = self._grown / name
        corpus.mkdir(parents=True, exist_ok=True)
        run_program([_FUZZERS / name, corpus, _SEEDS / name, f"-max_total_time={seconds}",
                     f"-seed={chance.randrange(1, 2 ** 31)}", "-timeout=10", "-rss_limit_mb=2048",
                     f"-artifact_prefix={self.settings.folder}/{name}-"], seconds)
        return f"{name}, {len(os.listdir(corpus))} inputs kept"

    def _replay(self, name, chance):
        seeds = [path.read_bytes() for path in sorted((_SEEDS / name).iterdir())]
        kept = self.settings.folder / f"{name}-mutants"
        with tempfile.TemporaryDirectory(prefix="velto-") as folder:
            for number in range(_MUTANTS):
                mutant = mutated_bytes(chance, chance.choice(seeds), seeds)
                (pathlib.Path(folder) / str(number)).write_bytes(mutant)
            try:
                run_program([self._programs() / name, folder], 60)
            except AssertionError:
                shutil.copytree(folder, kept, dirs_exist_ok=True)
                raise
        return None

    def close(self):
        if not (self.settings.into_tree and self.settings.has_fuzzers):
            return None
        for name in self._targets():
            run_program([_FUZZERS / name, "-merge=1", _SEEDS / name, self._grown / name], 600)
        return f"what the corpora have grown by is in {_SEEDS}"
