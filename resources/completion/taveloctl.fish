# SPDX-License-Identifier: MIT
# Completion of taveloctl for fish; taveloctl itself knows the words.
complete -c taveloctl -f -a '(taveloctl complete (commandline -opc)[2..] (commandline -ct) 2>/dev/null)'
complete -c taveloctl -n '__fish_seen_subcommand_from export import snapshot record' -F
