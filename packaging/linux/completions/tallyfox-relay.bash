# bash completion for tallyfox-relay

_tallyfox_relay() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  COMPREPLY=()
  case $previous in
    --data | --page)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -d -- "$word")
      ;;
    --listen | --trusted-proxy) ;;
    *) mapfile -t COMPREPLY < <(compgen -W "--listen --data --trusted-proxy --page --help --version" -- "$word") ;;
  esac
}

complete -F _tallyfox_relay tallyfox-relay
