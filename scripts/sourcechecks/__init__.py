"""The checks of scripts/check-sources, a module each."""
