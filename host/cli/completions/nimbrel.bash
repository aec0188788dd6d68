# Completes nimbrel in bash. Commands and options are those that its help lists.
_nimbrel() {
  local program=${COMP_WORDS[0]} word=${COMP_WORDS[COMP_CWORD]} words=''
  if [ "$COMP_CWORD" -eq 1 ] || { [ "$COMP_CWORD" -eq 2 ] && [ "${COMP_WORDS[1]}" = help ]; }; then
    words=$("$program" --help 2>/dev/null | awk '/^  / { listed = 1; print $1 } listed && !NF { exit }')
    words+=' help --help --version'
  elif [[ $word == -* ]]; then
    words=$("$program" help "${COMP_WORDS[1]}" 2>/dev/null |
      sed -nE 's/^  (-[A-Za-z], )?(--[a-z-]+).*/\2/p')
  fi
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}
# File names are the fallback.
complete -o default -F _nimbrel nimbrel
