# SPDX-License-Identifier: Apache-2.0
"""The checks of scripts/check-sources, a module each."""
