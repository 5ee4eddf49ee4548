# bash completion for kestrune-host
_kestrune_host() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command='' log='' used=' ' each
  local options='--module --dist --verbose --trace --sel --sensors --sel-log --ipmi --ipmi-user --ipmi-password-file
    --ipmi-fallback --ipmi-privilege --ipmi-timeout --no-controller --help'
  COMPREPLY=()
  for each in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    case $each in
      logs | show | follow | write | settings | dump-sel | save | pack-sel) command=${command:-$each} ;;
      application | secure | messages | agent | sel | all) log=$each ;;
      -n) used+='-n --lines ' ;;
      --lines) used+='-n --lines ' ;;
      --sel) used+='--sel --ipmi --no-controller ' ;;
      --ipmi | --no-controller) used+="$each --sel " ;;&
      --ipmi) used+='--no-controller ' ;;
      --no-controller) used+='--ipmi ' ;;
      -*) used+="$each " ;;
    esac
  done
  case $before in
    --module | --trace | --sel | --sensors | --sel-log | --ipmi-password-file | --state)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      return ;;
    --format) mapfile -t COMPREPLY < <(compgen -W 'table csv json jsonl' -- "$word"); return ;;
    --level) mapfile -t COMPREPLY < <(compgen -W '0 1 2 3' -- "$word"); return ;;
    --dist) mapfile -t COMPREPLY < <(compgen -W '0 103 106' -- "$word"); return ;;
    --ipmi-privilege) mapfile -t COMPREPLY < <(compgen -W 'user operator administrator' -- "$word"); return ;;
    --since | --until) mapfile -t COMPREPLY < <(compgen -W 'today yesterday' -- "$word"); return ;;
    --severity)
      mapfile -t COMPREPLY < <(compgen -W 'non-recoverable critical failure non-critical information' -- "$word")
      return ;;
    --to) mapfile -t COMPREPLY < <(compgen -W 'journal' -- "$word"); return ;;
    --from) mapfile -t COMPREPLY < <(compgen -W 'now' -- "$word"); return ;;
    -n | --lines | --interval | --sensor-type | --columns | --set | --ipmi | --ipmi-user | --ipmi-timeout) return ;;
  esac
  case $command in
    '') options+=' --version logs show follow write settings dump-sel save pack-sel' ;;
    logs) options+=' --all --format' ;;
    show)
      options+=' --lines -n --since --until --sensor-type --severity --reverse --columns --format'
      [[ $word == -* || $log ]] || options='application secure messages agent sel all' ;;
    follow)
      options+=' -n --interval --columns --format --to --state --from'
      [[ $word == -* ]] || options='application secure messages agent sel all' ;;
    write) options+=' --level' ;;
    save)
      used=${used/ --sel --ipmi --no-controller / --sel }  # here it is the file that is written
      options+=' --force' ;;
    settings) options+=' --set --format' ;;
    pack-sel)
      options+=' --force'
      if [[ $word != -* ]]; then
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        return
      fi ;;
  esac
  local left=''
  for each in $options; do [[ $used == *" $each "* ]] || left+=" $each"; done
  mapfile -t COMPREPLY < <(compgen -W "$left" -- "$word")
}
complete -F _kestrune_host kestrune-host
