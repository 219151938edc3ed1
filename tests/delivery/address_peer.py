# SPDX-License-Identifier: Apache-2.0
"""Reads lists of addresses as mail programs do.

Standard input: header values, a NUL behind each. Standard output: a JSON array with an array of
addresses each.
"""

import email.utils
import inspect
import json
import sys

# By default newer versions do not read at all what they find odd.
_LENIENT = ({"strict": False}
            if "strict" in inspect.signature(email.utils.getaddresses).parameters else {})


def addresses(value):
    return [address for _, address in email.utils.getaddresses([value], **_LENIENT)]


json.dump([addresses(value.decode("ascii")) for value in sys.stdin.buffer.read().split(b"\0")[:-1]],
          sys.stdout)
