# Completion for kvio(1), which proposes what may stand at the cursor, or prints an empty line where a file may. Nothing
# is proposed inside quotes.
_kvio() {
  local line=${COMP_LINE:0:COMP_POINT} words=() piece current prefix i
  # Bash also splits at characters such as the colon: pieces without a blank between them are one word.
  for piece in "${COMP_WORDS[@]:0:COMP_CWORD+1}"; do
    if [[ ${#words[@]} -gt 0 && $line != [[:blank:]]* ]]; then words[-1]+=$piece; else words+=("$piece"); fi
    line=${line#*"$piece"}
  done
  current=${words[-1]}
  [[ $current == *[\"\']* ]] && return
  words=("${words[@]:1}")
  mapfile -t COMPREPLY < <(kvio --complete "${words[@]//[\\\"\']/}" 2>/dev/null)
  if [[ ${#COMPREPLY[@]} -eq 1 && -z ${COMPREPLY[0]} ]]; then
    COMPREPLY=()
    compopt -o bashdefault -o default
    return
  fi
  prefix=${current%"${current##*["${COMP_WORDBREAKS//[^:=]/}"]}"}
  for i in "${!COMPREPLY[@]}"; do
    printf -v piece %q "${COMPREPLY[i]}"
    COMPREPLY[i]=${piece#"$prefix"}
  done
}
complete -F _kvio kvio
