# SPDX-License-Identifier: Apache-2.0
"""Changes bytes and JSON values at random."""

import json

_STRANGE_BYTES = (b"\0", b"\xff", b"{", b"}", b'"', b"\\", b"<", b"\n", b"\xc3", b"(" * 100)
_STRANGE_VALUES = (None, True, 0, -1, 1e308, 2 ** 63, "", "x" * 5000, "\0", "\ud800", [], {}, [[]],
                   {"$date": "x"}, {"$data": "!"}, {"$absent": True}, {"$dict": {}}, {"": {}})


def mutated_bytes(chance, data, others=(b"",)):
    """The bytes with some changes; `others` are what pieces are taken from."""
    data = bytearray(data)
    for _ in range(chance.randrange(1, 6)):
        place = chance.randrange(len(data) + 1)
        length = chance.randrange(1, 9)
        kind = chance.randrange(5)
        if kind == 0 and data:
            data[place % len(data)] ^= 1 << chance.randrange(8)
        elif kind == 1:
            del data[place:place + length]
        elif kind == 2:
            data[place:place] = chance.choice(_STRANGE_BYTES)
        elif kind == 3:
            other = chance.choice(others)
            begin = chance.randrange(len(other) + 1)
            data[place:place + length] = other[begin:begin + chance.randrange(1, 40)]
        else:
            data[place:place] = data[place:place + length] * chance.randrange(1, 50)
    return bytes(data)


def mutated_value(chance, value):
    """The JSON value with something strange in one place."""
    if isinstance(value, dict) and value and chance.random() < 0.8:
        key = chance.choice(sorted(value))
        changed = {**value, key: mutated_value(chance, value[key])}
        if chance.random() < 0.1:
            changed[key + "x"] = changed.pop(key)
        return changed
    if isinstance(value, list) and value and chance.random() < 0.8:
        place = chance.randrange(len(value))
        return [*value[:place], mutated_value(chance, value[place]), *value[place + 1:]]
    strange = chance.choice(_STRANGE_VALUES)
    return [value] * chance.randrange(300) if strange == [[]] else strange


def mutated_call(chance, method, parameters):
    """The bytes of a call that is wrong in its values, its bytes, or not at all."""
    envelope = {"method": method, "parameters": parameters}
    kind = chance.randrange(10)
    if kind < 6:
        envelope["parameters"] = mutated_value(chance, parameters)
    elif kind == 6:
        envelope = mutated_value(chance, envelope)
    if chance.random() < 0.2:
        envelope = {**envelope, chance.choice(("more", "oneway", "upgrade", "x.y", "z")): True} \
            if isinstance(envelope, dict) else envelope
    data = json.dumps(envelope).encode("utf-8", "surrogatepass")
    return (mutated_bytes(chance, data) if kind == 7 else data).replace(b"\0", b"") + b"\0"
