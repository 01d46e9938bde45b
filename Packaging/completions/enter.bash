_enter() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} word
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if [[ $word == -- ]]; then
      COMPREPLY=()  # the command's own arguments: files, by the default of bash
      return
    fi
  done
  local words
  words="$(enter --list 2>/dev/null | cut -d ' ' -f 1) --"
  [[ $current != -* ]] || words='--records --set --user-namespace --print --list --help --'
  [[ $previous != --records && $previous != --set ]] || words=''
  COMPREPLY=()
  while IFS= read -r word; do
    COMPREPLY+=("$word")
  done < <(compgen -W "$words" -- "$current")
}
complete -o default -F _enter enter
