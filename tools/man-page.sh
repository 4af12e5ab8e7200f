#!/usr/bin/env bash
# Writes the manual page of tvk: a template whose line "@COMMANDS@" is replaced by all commands and
# their options, as the program's help texts tell them.
#
#   tools/man-page.sh TEMPLATE TVK > tvk.1
set -euo pipefail
template=$1 tvk=$2

# The help text of one command, from the standard input, as a subsection.
subsection() {
  awk -v title="$1" '
    # Text with what has a meaning to the formatter taken away.
    function plain(text) {
      gsub(/\\/, "\\e", text)
      gsub(/-/, "\\-", text)
      return text ~ /^[.\047]/ ? "\\&" text : text
    }
    function finish() {
      if (item != "") print ".TP\n.B " plain(item) "\n" plain(meaning)
      item = meaning = ""
    }
    BEGIN { print ".SS " title }
    /^Usage: / { isDescribed = 1; next }
    !isDescribed { if ($0 != "") print plain($0) (/[.:]$|^Example/ ? "" : ".") "\n.br"; next }
    /^Subcommands:$/ { exit }
    /^[A-Z].*:$/ { finish(); if ($0 != "Options:" && $0 != "Positionals:") print ".PP\n" plain($0); next }
    /^  [^ ]/ {
      finish()
      item = substr($0, 3)
      if (match(item, /  +/)) {
        meaning = substr(item, RSTART + RLENGTH)
        item = substr(item, 1, RSTART - 1)
      } else if (length(item) > 31 && substr(item, 32, 1) == " ") {
        meaning = substr(item, 33)
        item = substr(item, 1, 31)
      }
      if (item ~ /^-h,--help/) item = meaning = ""
      next
    }
    item != "" && /^   / { sub(/^ +/, ""); meaning = meaning (meaning == "" ? "" : " ") $0 }
    END { finish() }'
}

# All commands below the given one, which is left out when it is only a name for others. Options
# that are those of the command before are not repeated.
previous= previous_options=
walk() {
  local help name names options
  help=$("$tvk" "$@" --help)
  names=$(awk '/^Subcommands:$/ { within = 1 } within && /^  [a-z]/ { print $1 }' <<<"$help")
  if [ -z "$names" ]; then
    options=${help#*Usage: }
    options=${options#*$'\n'}
    if [ "$options" = "$previous_options" ]; then
      subsection "tvk $*" <<<"${help%Usage: *}"
      echo "The options are those of $previous."
    else
      subsection "tvk $*" <<<"$help"
      previous="tvk $*" previous_options=$options
    fi
  fi
  for name in $names; do
    walk "$@" "$name"
  done
}

while IFS= read -r line; do
  if [ "$line" = @COMMANDS@ ]; then walk; else printf '%s\n' "$line"; fi
done <"$template"
