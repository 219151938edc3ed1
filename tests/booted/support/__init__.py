# SPDX-License-Identifier: Apache-2.0
"""A whole Debian system that boots, and what an administrator does in it."""
