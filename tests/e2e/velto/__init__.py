# SPDX-License-Identifier: Apache-2.0
"""What the end-to-end tests need to run the alerts daemon and to talk to it."""
