# Completes the command line of pellix in bash. Source this, or put it where bash-completion looks.

_pellix() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local commands='ask doctor settings resolve reject'
  local options='--account-url --application-id --client-id --locale --token-file
    --certificate-authorities --resources --timeout --verbose --help'
  local reports='--interaction --article --article-id'
  COMPREPLY=()

  # What the option before this word takes.
  case $previous in
    --token-file | --certificate-authorities | --interaction | --report)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      return
      ;;
    --resources)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -d -- "$word")
      return
      ;;
    --reason)
      mapfile -t COMPREPLY < <(compgen -W '0 1 2' -- "$word")
      return
      ;;
    --account-url | --application-id | --client-id | --locale | --timeout | --article | --article-id) return ;;
  esac

  # The command, past options and what they take.
  local command='' at
  for ((at = 1; at < COMP_CWORD; ++at)); do
    case ${COMP_WORDS[at]} in
      --verbose | --json | --timings) ;;
      --*)
        ((++at))
        [[ ${COMP_WORDS[at]} == = ]] && ((++at)) # bash splits --option=value there
        ;;
      *)
        command=${COMP_WORDS[at]}
        break
        ;;
    esac
  done

  local offered
  case $command in
    '') offered="$commands $options --version" ;;
    ask) offered="$options --json --timings" ;;
    doctor) offered="$options --json --report" ;;
    resolve) offered="$options $reports" ;;
    reject) offered="$options $reports --reason" ;;
    *) offered=$options ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$offered" -- "$word")
}

complete -F _pellix pellix
