# Completion for kvio(1), which itself tells what may come next.
_kvio() {
  local IFS=$'\n' word
  COMPREPLY=()
  for word in $(kvio --complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null); do
    COMPREPLY+=("$(printf '%q' "$word")")
  done
  [ ${#COMPREPLY[@]} -eq 1 ] && [[ ${COMPREPLY[0]} == */ ]] && compopt -o nospace
  return 0
}
complete -o default -F _kvio kvio
