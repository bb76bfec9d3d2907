# fish completion for tallyfox-phone
set -l verbs pair list watch answer suppress unsuppress unpair
complete -c tallyfox-phone -f
complete -c tallyfox-phone -n "not __fish_seen_subcommand_from $verbs" -a pair -d 'Pair with a pairing code'
complete -c tallyfox-phone -n "not __fish_seen_subcommand_from $verbs" -a list -d 'Show what waits for an answer'
complete -c tallyfox-phone -n "not __fish_seen_subcommand_from $verbs" -a watch -d 'Show it again at each change'
complete -c tallyfox-phone -n "not __fish_seen_subcommand_from $verbs" -a answer -d 'Press a button and wait for the result'
complete -c tallyfox-phone -n "not __fish_seen_subcommand_from $verbs" -a suppress -d 'Do not show this dialog again'
complete -c tallyfox-phone -n "not __fish_seen_subcommand_from $verbs" -a unsuppress -d 'Show it again'
complete -c tallyfox-phone -n "not __fish_seen_subcommand_from $verbs" -a unpair -d 'End the pairing'
complete -c tallyfox-phone -n '__fish_seen_subcommand_from pair' -F
complete -c tallyfox-phone -n '__fish_seen_subcommand_from pair' -l name -x -d 'What the computer calls this phone'
complete -c tallyfox-phone -l json -d 'One JSON object a line'
complete -c tallyfox-phone -l timeout -x -d 'How long to wait, in seconds'
complete -c tallyfox-phone -l help -d 'Show the commands and options'
complete -c tallyfox-phone -l version -d 'Show the version'
