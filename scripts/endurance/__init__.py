# SPDX-License-Identifier: Apache-2.0
"""What scripts/endure does to the daemon."""
