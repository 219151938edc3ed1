# SPDX-License-Identifier: Apache-2.0
"""Restarts under many clients."""

import contextlib

from .activity import Activity
from velto.crowd import restart_under
from velto.system import System

_CLIENTS = 100


class Restarts(Activity):
    name = "restarts"
    promise = "a restart fails no new connection's call, and none is stored and unanswered"
    needs_root = True
    shortest = 8

    def __init__(self, settings):
        super().__init__(settings)
        self._restarts = 0
        self._saves = 0

    def round(self, chance, seconds):
        restarts = max(2, min(20, int(seconds)))
        system = System()
        with contextlib.closing(system):
            crowd = restart_under(system, _CLIENTS, restarts)
        self._restarts += restarts
        self._saves += len(crowd.answered)

    def close(self):
        return f"{self._restarts} restarts under {_CLIENTS} clients, {self._saves} saves"
