# bash completion for tallyfox

_tallyfox() {
  local word=${COMP_WORDS[COMP_CWORD]} words=()
  if [ "$COMP_CWORD" -eq 1 ]; then
    words=(status show pause resume quit doctor --help --version)
  elif [ "$COMP_CWORD" -eq 2 ]; then
    case ${COMP_WORDS[1]} in
      status | doctor) words=(--json) ;;
      pause) words=(2h 4h tomorrow forever) ;;
    esac
  fi
  mapfile -t COMPREPLY < <(compgen -W "${words[*]}" -- "$word")
}

complete -F _tallyfox tallyfox
