_enter() {
  local current=${COMP_WORDS[COMP_CWORD]} word scenario='' isValue=''
  COMPREPLY=()
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    case $isValue$word in
      --) return ;;  # the command's own arguments: files, by the default of bash
      --records | --set | =) isValue=yes ;;  # bash splits words at "="
      yes*) isValue='' ;;
      -*) ;;
      *) scenario=$word ;;
    esac
  done
  [[ -z $isValue ]] || return 0
  while IFS= read -r word; do
    [[ $word != "$current"* ]] || COMPREPLY+=("$(printf %q "$word")")
  done < <(
    if [[ $current == -* ]]; then
      printf '%s\n' --records --set --user-namespace --print --list --help --
    elif [[ -n $scenario ]]; then
      echo --
    else
      enter --list 2>/dev/null | sed 's/  .*//'
    fi
  )
}
complete -o default -F _enter enter
