# SPDX-FileCopyrightText: 2026 the history-convert authors
# SPDX-License-Identifier: MIT

# Completion of history-convert for fish.

function __history_convert_has
    set -l words (string match -v -- '-*' (commandline -opc))
    test (count $words) -eq (math $argv[1] + 1)
end

complete -c history-convert -f -s h -d 'Print the usage and end'
complete -c history-convert -f -s q -d 'Print no messages but those about fatal errors'
complete -c history-convert -f -n '__history_convert_has 1' -a 0 -d 'Its schema'
complete -c history-convert -f -n '__history_convert_has 3' -a 1 -d 'Its schema'
complete -c history-convert -n '__history_convert_has 0; or __history_convert_has 2' -F
