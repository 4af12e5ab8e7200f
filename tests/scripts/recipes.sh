#!/usr/bin/env bash
# Runs the recipes of a Markdown file one after another in one folder and compares what each writes
# with the block that follows it:
#
#   recipes.sh FILE.md PROJECT PROGRAMS...
#
# A recipe is a block of the language "sh"; a block of the language "text" or "json" behind it is its
# output. PROJECT is the folder with data/, examples/ and resources/, PROGRAMS are tvk and tolvek.
set -euo pipefail
recipes=$(realpath "$1") project=$(realpath "$2")
shift 2
for program in "$@"; do
  PATH=$(dirname "$(realpath "$program")"):$PATH
done
export PATH TOLVEK_DATA=$project/data LC_ALL=C.UTF-8

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
mkdir work blocks
ln -s "$project/examples" "$project/resources" work/

# NN.recipe, and NN.expected where there is one.
awk '
  /^```/ && language == "" {
    language = substr($0, 4)
    if (language == "") language = "none"
    file = ""
    if (language == "sh") file = sprintf("blocks/%02d.recipe", ++count)
    if ((language == "text" || language == "json") && !answered[count]++) {
      file = sprintf("blocks/%02d.expected", count)
    }
    if (file != "") printf "" > file
    next
  }
  /^```/ { language = ""; next }
  language != "" && file != "" { print > file }' "$recipes"

failed=0 passed=0
for recipe in blocks/*.recipe; do
  expected=${recipe%.recipe}.expected
  output=${recipe%.recipe}.output
  status=0
  (cd work && bash -euo pipefail "../$recipe") >"$output" 2>&1 || status=$?
  if [ $status -ne 0 ]; then
    echo "FAILED with status $status:"
  elif [ -e "$expected" ] && ! diff -u "$expected" "$output"; then
    echo "FAILED, as its output differs (above):"
  else
    passed=$((passed + 1))
    continue
  fi
  failed=$((failed + 1))
  cat "$recipe" "$output"
done
echo "$passed recipes passed, $failed failed"
[ $failed -eq 0 ] && [ $passed -gt 0 ]
