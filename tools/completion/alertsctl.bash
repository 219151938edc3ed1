# SPDX-License-Identifier: Apache-2.0
# Completion of alertsctl for bash. The tool itself knows what can follow; this only asks it.

_alertsctl() {
  local cur prev words cword candidate
  # Identifiers have colons, and assignments equal signs.
  _init_completion -n := || return
  COMPREPLY=()
  while IFS= read -r candidate; do
    COMPREPLY+=("$(printf %q "$candidate")")
  done < <(alertsctl complete -- "${words[@]:1:cword}" 2>/dev/null)
  __ltrimcolon_completions "$cur"
} && complete -o default -F _alertsctl alertsctl
