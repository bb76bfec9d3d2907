# fish completion for tallyfox-relay
complete -c tallyfox-relay -f
complete -c tallyfox-relay -l listen -x -d 'The address and port to listen on'
complete -c tallyfox-relay -l data -x -a '(__fish_complete_directories)' -d 'Where the pairings are kept'
complete -c tallyfox-relay -l trusted-proxy -x -d 'A proxy whose word on its clients is taken'
complete -c tallyfox-relay -l page -x -a '(__fish_complete_directories)' -d 'The phone page to serve, or none'
complete -c tallyfox-relay -l tls-certificate -r -F -d 'Speak TLS with this certificate'
complete -c tallyfox-relay -l tls-key -r -F -d 'The key of the certificate'
complete -c tallyfox-relay -l log-format -x -a 'text json' -d 'What a log line is'
complete -c tallyfox-relay -l log-level -x -a 'debug info warning error' -d 'The least that is logged'
complete -c tallyfox-relay -l metrics -x -d 'Where Prometheus is told how the relay fares'
complete -c tallyfox-relay -l drain-time -x -d 'How long SIGTERM takes to send everybody away'
complete -c tallyfox-relay -l help -d 'Show the options'
complete -c tallyfox-relay -l version -d 'Show the version'
