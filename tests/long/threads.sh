#!/usr/bin/env bash
# All tasks and formats of tvk on several threads, for a build with ThreadSanitizer: fails when that
# finds something, or when the result is another one than on one thread.
#
#   threads.sh BUILD [MB]
#
# BUILD is the folder of tvk, MB about the size of each text (1 by default).
set -euo pipefail
build=$(realpath "$1")
size=${2:-1}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
here=$(realpath "$(dirname "$0")")
cd "$here/../.." # where data/ is

"$here/soak-text.py" "$size" examples/chinese.gbk >"$scratch/chinese"
"$build/tvk" seg -q --encoding gbk "$scratch/chinese" -o "$scratch/words"
for ((i = 0; i < size * 75; ++i)); do
  cat examples/english.txt
done >"$scratch/english"

# both TEXT ARGUMENT...: what tvk makes of the text, which comes in many small pieces, does not depend on
# the number of threads.
both() {
  local text=$scratch/$1
  shift
  echo "tvk $*"
  # shellcheck disable=SC2002 # a pipe is read in other portions
  cat "$text" | "$build/tvk" "$@" -q -j 1 -o "$scratch/one"
  # shellcheck disable=SC2002
  cat "$text" | "$build/tvk" "$@" -q -j 4 -o "$scratch/many"
  cmp "$scratch/one" "$scratch/many"
}

for format in text tsv jsonl conllu; do
  both chinese seg --format $format --keep-spaces --encoding gbk
  both chinese segpos --format $format --keep-spaces --encoding gbk
  both words pos --format $format --keep-spaces --encoding gbk
  both english tok --format $format
  both english tokpos --format $format
done
