# SPDX-License-Identifier: Apache-2.0
"""Reads messages as mail programs do, and writes down what stands in their headers.

Standard input: messages, a NUL behind each. Standard output: a JSON array with an object each.
"""

import email
import email.header
import email.utils
import json
import sys


def decoded(text):
    return str(email.header.make_header(email.header.decode_header(text)))


def seen(text):
    message = email.message_from_bytes(text)
    ((sender, sender_address),) = email.utils.getaddresses(message.get_all("From"))
    recipients = email.utils.getaddresses(message.get_all("To"))
    return {
        "headers": message.keys(),
        "subject": decoded(message.get("Subject", "")),
        "sender": decoded(sender),
        "senderAddress": sender_address,
        "recipients": [address for _, address in recipients],
        "names": [decoded(name) for name, _ in recipients],
        "text": message.get_payload(),
    }


json.dump([seen(text) for text in sys.stdin.buffer.read().split(b"\0")[:-1]], sys.stdout)
