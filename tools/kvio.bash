# Completion for kvio(1), which itself reads the line and tells what may come next: an empty line for the name of a file.
_kvio() {
  mapfile -t COMPREPLY < <(kvio --complete "${COMP_LINE:0:COMP_POINT}" "$COMP_WORDBREAKS" "$COMP_TYPE" 2>/dev/null)
  if [[ ${#COMPREPLY[@]} -eq 1 && -z ${COMPREPLY[0]} ]]; then
    COMPREPLY=()
    compopt -o bashdefault -o default
  fi
}
complete -F _kvio kvio
