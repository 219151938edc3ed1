# SPDX-License-Identifier: Apache-2.0
"""Reads a message as mail programs do, and writes down what they see of it."""

import email
import email.policy
import sys

message = email.message_from_binary_file(sys.stdin.buffer, policy=email.policy.default)
lines = [f"{name}: {value}" for name, value in message.items()]
lines += [f"defect: {defect}" for defect in message.defects]
sys.stdout.buffer.write("\n".join(lines + ["", message.get_content()]).encode())
