# Completion of tvk's command line for bash. Everything that can be completed is asked of the program
# itself, so there is nothing here to keep up to date.

# Prints what the first column of the help text names in one of its sections: commands or options.
_tvk_names() {
  awk -v section="$1" '
    /^[A-Z][A-Za-z -]*:$/ { within = (section == "options") == !/ommands:$/; next }
    !within || !/^  [^ ]/ { next }
    section == "commands" { print $1; next }
    $1 ~ /^-/ { gsub(/\{[a-z]*\}/, "", $1); gsub(",", "\n", $1); print $1 }'
}

# Prints the values that the help text lists for an option: "(text, tsv, jsonl, conllu)" at the end.
_tvk_values() {
  awk -v option="$1" '
    /^  -/ && index("," $1 ",", "," option ",") && match($0, /\([a-z0-9-]+(, [a-z0-9-]+)+\)$/) {
      list = substr($0, RSTART + 1, RLENGTH - 2)
      gsub(", ", "\n", list)
      print list
    }'
}

_tvk() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local -a command=("${COMP_WORDS[0]}")
  # "--format=" and what follows come as three words.
  if [[ $current == = ]]; then
    current=
  elif [[ $previous == = && $COMP_CWORD -gt 1 ]]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  local help i names values
  help=$("${command[@]}" --help 2>/dev/null) || return
  for ((i = 1; i < COMP_CWORD; ++i)); do
    _tvk_names commands <<<"$help" | grep -qxF -- "${COMP_WORDS[i]}" || continue
    command+=("${COMP_WORDS[i]}")
    help=$("${command[@]}" --help 2>/dev/null) || return
  done
  values=$(_tvk_values "$previous" <<<"$help")
  names=$(_tvk_names commands <<<"$help")
  if [[ -n $values ]]; then
    names=$values
  elif [[ $current == -* ]]; then
    names=$(_tvk_names options <<<"$help")
  elif [[ -z $names || $previous == -* ]]; then
    compopt -o default 2>/dev/null  # a file
    return
  fi
  mapfile -t COMPREPLY < <(compgen -W "$names" -- "$current")
}

complete -F _tvk tvk
