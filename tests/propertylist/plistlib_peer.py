# SPDX-License-Identifier: Apache-2.0
"""Compares property lists with Python's own plistlib.

    plistlib_peer.py make DIRECTORY SEED   writes N.binary, N.xml and what they hold, N.text
    plistlib_peer.py check DIRECTORY       reads every N.binary and compares it with its N.text

The text is one line in which every type has its own mark, so that both sides can make it and
nothing is compared through the coding that is being tested.
"""

import datetime
import pathlib
import plistlib
import random
import struct
import sys

REFERENCE = datetime.datetime(2001, 1, 1)


def bits(number):
    return struct.pack(">d", number).hex()


def describe(value):
    if isinstance(value, bool):
        return "T" if value else "F"
    if isinstance(value, int):
        return f"i{value}"
    if isinstance(value, float):
        return "r" + bits(value)
    if isinstance(value, datetime.datetime):
        return "d" + bits((value - REFERENCE).total_seconds())
    if isinstance(value, str):
        return "s" + value.encode().hex()
    if isinstance(value, bytes):
        return "x" + value.hex()
    if isinstance(value, (list, tuple)):
        return "(" + ",".join(map(describe, value)) + ")"
    entries = sorted((key.encode(), entry) for key, entry in value.items())
    return "{" + ",".join(f"{key.hex()}={describe(entry)}" for key, entry in entries) + "}"


ALPHABETS = ["abc XYZ-09", "<&>\"'\n", "\u00e9\u00df\u4e2d\ufffd", "a\U0001f600\U0010ffff"]


def some_string(source):
    alphabet = source.choice(ALPHABETS)
    size = source.choice([0, 1, 3, 14, 15, 16, 255, 256])
    return "".join(source.choice(alphabet) for _ in range(size))


def some_integer(source):
    edge = 2 ** source.choice([0, 7, 8, 15, 16, 31, 32, 62, 63, 64])
    number = source.choice([1, -1]) * edge + source.choice([-1, 0, 1])
    return max(-(2**63), min(2**64 - 1, number))


def some_date(source, fractions):
    seconds = source.randrange(-(10**10), 10**10)
    parts = source.randrange(64) if fractions else 0
    # 64ths of a second, which microseconds hold exactly.
    return REFERENCE + datetime.timedelta(seconds=seconds, microseconds=parts * 15_625)


def some_value(source, depth, fractions=False):
    """Dates have fractions only where asked for: XML has whole seconds."""
    kinds = [
        lambda: some_string(source),
        lambda: some_integer(source),
        lambda: source.uniform(-1e9, 1e9),
        lambda: source.choice([True, False]),
        lambda: some_date(source, fractions),
        lambda: source.randbytes(source.choice([0, 1, 14, 15, 300])),
    ]
    if depth > 0:
        size = source.choice([0, 1, 2, 5])
        kinds.append(lambda: [some_value(source, depth - 1, fractions) for _ in range(size)])
        kinds.append(lambda: {some_string(source): some_value(source, depth - 1, fractions)
                              for _ in range(size)})
    return source.choice(kinds)()


def particular_values():
    shared = [1, "shared", {"k": 2.5}]
    return [
        {},
        [],
        "",
        b"",
        {"": ""},
        [shared, shared, {"again": shared}],
        [0.0, float("inf"), float("-inf"), 5e-324, 1.7976931348623157e308],
        -0.0,
        [2**64 - 1, 2**63, 2**63 - 1, -(2**63)],
        list(range(10_000)),
        ["same"] * 10_000,
        [str(number) for number in range(70_000)],
        {f"key {number}": number for number in range(10_000)},
        b"x" * 70_000,
        "\U0001f600" * 40_000,
    ]


def make(directory, seed):
    source = random.Random(seed)
    values = particular_values() + [some_value(source, 5) for _ in range(400)]
    for number, value in enumerate(values):
        name = str(directory / str(number))
        pathlib.Path(name + ".binary").write_bytes(plistlib.dumps(value, fmt=plistlib.FMT_BINARY))
        pathlib.Path(name + ".xml").write_bytes(plistlib.dumps(value, fmt=plistlib.FMT_XML))
        pathlib.Path(name + ".text").write_text(describe(value))
    for number in range(len(values), len(values) + 200):
        value = some_value(source, 5, fractions=True)
        name = str(directory / str(number))
        pathlib.Path(name + ".binary").write_bytes(plistlib.dumps(value, fmt=plistlib.FMT_BINARY))
        pathlib.Path(name + ".text").write_text(describe(value))


def check(directory):
    paths = sorted(directory.glob("*.binary"))
    differing = []
    for path in paths:
        with path.open("rb") as stream:
            found = describe(plistlib.load(stream, fmt=plistlib.FMT_BINARY))
        if found != path.with_suffix(".text").read_text():
            differing.append(path.name)
    if differing or not paths:
        sys.exit(f"{len(differing)} of {len(paths)} differ: {differing[:10]}")


if __name__ == "__main__":
    if sys.argv[1] == "make":
        make(pathlib.Path(sys.argv[2]), int(sys.argv[3]))
    else:
        check(pathlib.Path(sys.argv[2]))
