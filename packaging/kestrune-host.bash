# bash completion for kestrune-host
_kestrune_host() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command='' each
  local options='--module --dist --verbose --trace --sel --sensors --sel-log --ipmi --ipmi-user --ipmi-password-file
    --ipmi-privilege --ipmi-timeout --no-controller --help'
  COMPREPLY=()
  for each in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    case $each in
      logs | show | write | settings | dump-sel | save | pack-sel) command=$each ;;
    esac
  done
  case $before in
    --module | --trace | --sel | --sensors | --sel-log | --ipmi-password-file)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      return ;;
    --format) mapfile -t COMPREPLY < <(compgen -W 'table csv json' -- "$word"); return ;;
    --level) mapfile -t COMPREPLY < <(compgen -W '0 1 2 3' -- "$word"); return ;;
    --dist) mapfile -t COMPREPLY < <(compgen -W '0 103 106' -- "$word"); return ;;
    --ipmi-privilege) mapfile -t COMPREPLY < <(compgen -W 'user operator administrator' -- "$word"); return ;;
    --lines | --set | --ipmi | --ipmi-user | --ipmi-timeout) return ;;
  esac
  case $command in
    '') options+=' --version logs show write settings dump-sel save pack-sel' ;;
    logs) options+=' --format' ;;
    show) options+=' --lines --format'; [[ $word == -* ]] || options='application secure messages agent sel' ;;
    write) options+=' --level' ;;
    save) options+=' --force' ;;
    settings) options+=' --set --format' ;;
    pack-sel)
      if [[ $word != -* ]]; then
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        return
      fi ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
}
complete -F _kestrune_host kestrune-host
