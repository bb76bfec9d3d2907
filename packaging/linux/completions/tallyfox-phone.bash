# bash completion for tallyfox-phone

_tallyfox_phone() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} verb='' index
  COMPREPLY=()
  for ((index = 1; index < COMP_CWORD; index++)); do
    case ${COMP_WORDS[index]} in
      --timeout | --name) ((index++)) ;;
      -*) ;;
      *)
        verb=${COMP_WORDS[index]}
        break
        ;;
    esac
  done
  case $previous in
    --timeout | --name) return ;;
  esac
  if [ "$verb" = pair ] && [[ $word != -* ]]; then
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
    return
  fi
  local words='--json --timeout --help --version'
  [ "$verb" = pair ] && words+=' --name'
  [ -z "$verb" ] && words+=' pair list watch answer suppress unsuppress unpair'
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}

complete -F _tallyfox_phone tallyfox-phone
