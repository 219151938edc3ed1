# SPDX-License-Identifier: Apache-2.0
"""The store's file, seen from outside while no daemon writes it."""

import contextlib
import sqlite3


def rows(path, table):
    """The rows of a table, in the order in which they were inserted, as dictionaries."""
    with contextlib.closing(sqlite3.connect(path)) as database:
        database.row_factory = sqlite3.Row
        return [dict(row) for row in database.execute(f'SELECT * FROM "{table}" ORDER BY _id')]


def integrity(path):
    """What SQLite's own check says of the file."""
    with contextlib.closing(sqlite3.connect(path)) as database:
        return database.execute("PRAGMA integrity_check").fetchone()[0]


def execute(path, statement, *arguments):
    with contextlib.closing(sqlite3.connect(path)) as database, database:
        database.execute(statement, arguments)


def execute_many(path, statement, arguments):
    with contextlib.closing(sqlite3.connect(path)) as database, database:
        database.executemany(statement, arguments)


def copy(path, to):
    """Copies the store of a running daemon, as an administrator would."""
    with contextlib.closing(sqlite3.connect(f"file:{path}?mode=ro", uri=True)) as database:
        database.execute("VACUUM INTO ?", (str(to),))
