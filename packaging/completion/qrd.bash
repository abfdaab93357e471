# Completion of qrd for bash. What a word could become, the program knows.
_qrd() {
  local current=${COMP_WORDS[COMP_CWORD]} before= word found
  local -a words=()
  COMPREPLY=()
  for word in "${COMP_WORDS[@]:1:COMP_CWORD}"; do
    word=${word//[\\\"\']/}
    # bash cuts words at these.
    if [[ $word == [=:]* || $before == *[=:] ]] && ((${#words[@]})); then
      words[-1]+=$word
    else
      words+=("$word")
    fi
    before=$word
  done
  found=$(qrd complete "${words[@]}" 2>/dev/null) || {
    compopt -o default 2>/dev/null
    return
  }
  local cut=${words[-1]%"${current//[\\\"\']/}"}
  [[ $cut == *[=:] ]] || cut=
  while IFS= read -r word; do
    [[ -n $word ]] || continue
    word=${word#"$cut"}
    [[ $current == [\"\']* ]] || printf -v word '%q' "$word"
    COMPREPLY+=("$word")
  done <<<"$found"
}
complete -F _qrd qrd
