# fish completion for tallyfox
complete -c tallyfox -f
complete -c tallyfox -n __fish_is_first_arg -a status -d 'Show what the status window shows'
complete -c tallyfox -n __fish_is_first_arg -a show -d 'Bring the status window forward'
complete -c tallyfox -n __fish_is_first_arg -a pause -d 'Pause alerts'
complete -c tallyfox -n __fish_is_first_arg -a resume -d 'End the pause'
complete -c tallyfox -n __fish_is_first_arg -a quit -d 'End the agent, and wait until it has ended'
complete -c tallyfox -n __fish_is_first_arg -a doctor -d 'Look for what keeps Tallyfox from working'
complete -c tallyfox -n __fish_is_first_arg -l help -d 'Show the commands'
complete -c tallyfox -n __fish_is_first_arg -l version -d 'Show the version'
complete -c tallyfox -n '__fish_seen_subcommand_from status doctor' -l json -d 'One JSON object, for programs'
complete -c tallyfox -n '__fish_prev_arg_in pause' -a '2h 4h' -d 'For so many hours'
complete -c tallyfox -n '__fish_prev_arg_in pause' -a tomorrow -d 'Until 9 in the morning'
complete -c tallyfox -n '__fish_prev_arg_in pause' -a forever -d 'Until they are resumed'
