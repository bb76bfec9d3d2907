# bash completion for tallyfox-relay

_tallyfox_relay() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  COMPREPLY=()
  case $previous in
    --data | --page)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -d -- "$word")
      ;;
    --config | --tls-certificate | --tls-key | --nats-credentials | --nats-ca | --push-key | --push-ca | --make-push-key)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      ;;
    --log-format) mapfile -t COMPREPLY < <(compgen -W "text json" -- "$word") ;;
    --log-level) mapfile -t COMPREPLY < <(compgen -W "debug info warning error" -- "$word") ;;
    --listen | --trusted-proxy | --metrics | --drain-time | --nats | --nats-prefix | --nats-replicas | --push-contact | --push-service) ;;
    *)
      local options="--listen --data --trusted-proxy --page --tls-certificate --tls-key --log-format --log-level --metrics --drain-time --config"
      options+=" --nats --nats-credentials --nats-ca --nats-prefix --nats-replicas"
      options+=" --push-key --push-contact --push-service --push-ca --make-push-key"
      mapfile -t COMPREPLY < <(compgen -W "$options --help --version" -- "$word")
      ;;
  esac
}

complete -F _tallyfox_relay tallyfox-relay
