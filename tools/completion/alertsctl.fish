# SPDX-License-Identifier: Apache-2.0
# Completion of alertsctl for fish. The tool itself knows what can follow; this only asks it.

function __alertsctl_candidates
    set -l words (commandline -opc)
    set -e words[1]
    alertsctl complete -- $words (commandline -ct) 2>/dev/null
end

complete -c alertsctl -f -a '(__alertsctl_candidates)'
complete -c alertsctl -n '__fish_seen_subcommand_from export import backup check metrics' -F
