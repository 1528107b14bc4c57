# Completion of planloc for bash. Subcommands and options are those that the program's help tells.
_planloc() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} word help
  local subcommand=
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    case $word in
      -*) ;;
      *) subcommand=$word; break ;;
    esac
  done
  COMPREPLY=()
  case $previous in
    --gauge)
      mapfile -t COMPREPLY < <(compgen -W "l1 linf euclid octagon lp: regular: speed:" -- "$current"
                               compgen -f -- "$current")
      return ;;
    --objective)
      mapfile -t COMPREPLY < <(compgen -W "median centre k-centrum: cent-dian: trimmed: anti-centrum:
        range order-statistic: quantile: weights:" -- "$current")
      return ;;
    --format)
      mapfile -t COMPREPLY < <(compgen -W "text json csv" -- "$current")
      return ;;
  esac
  if [[ -z $subcommand || $subcommand == help ]]; then
    help=$("${COMP_WORDS[0]}" --help 2>/dev/null)
    mapfile -t COMPREPLY < <(compgen -W "--help --version help $(sed -n '/^Subcommands:/,/^$/s/^  \([a-z][a-z-]*\) .*/\1/p' <<<"$help")" -- "$current")
  elif [[ $current == -* ]]; then
    help=$("${COMP_WORDS[0]}" "$subcommand" --help 2>/dev/null)
    mapfile -t COMPREPLY < <(compgen -W "$(grep -o -E -- '^  (-h,)?--[a-z][a-z-]*' <<<"$help" | grep -o -E -- '--[a-z][a-z-]*')" -- "$current")
  else
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
  fi
}
complete -o filenames -F _planloc planloc
