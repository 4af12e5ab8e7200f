#!/usr/bin/env bash
# A long text through `tolvek -t segpos` and through `tvk segpos` on one and on two threads: memory may
# not grow with the text, and the results are the same. Prints a table for Markdown: how much memory is
# resident after each tenth of the text (MB are 10^6 bytes).
#
#   soak.sh BUILD [MB] [SCRATCH]
#
# BUILD is the folder of the programs. The text of so many MB (1000 by default) is written to SCRATCH, or
# to a folder for temporary files, and removed at the end; results are not stored.
set -Eeuo pipefail
build=$(realpath "$1")
size=${2:-1000}
scratch=$(mktemp -d "$(realpath "${3:-${TMPDIR:-/tmp}}")/soak.XXXXXX")
end() {
  local left
  left=$(jobs -pr)
  # shellcheck disable=SC2086 # one word a job
  [ -z "$left" ] || kill $left
  rm -rf "$scratch"
}
trap end EXIT
trap '{ echo "soak.sh: failed in line $LINENO:"; cat "$scratch/messages"; } >&2' ERR
here=$(realpath "$(dirname "$0")")
cd "$here/../.." # where data/ is
export LC_ALL=C

text=$scratch/text
"$here/soak-text.py" "$size" examples/chinese.gbk >"$text"
bytes=$(stat -c %s "$text")
mkfifo "$scratch/in" "$scratch/out" "$scratch/copy"

# memory PID NAME: one of the figures in /proc/PID/status, in kB.
memory() {
  awk -v name="$2:" '$1 == name { print $2 }' "/proc/$1/status"
}

# run NAME COMMAND...: gives the text to the command's standard input. Leaves NAME.memory, which has a
# line for each tenth (resident memory and its peak so far, kB), and NAME.rate (MB a second).
run() {
  local name=$1 begin=$EPOCHREALTIME program feed from tenth
  shift
  "$@" <"$scratch/in" >"$scratch/messages" 2>&1 &
  program=$!
  exec {from}<"$text" {feed}>"$scratch/in"
  for tenth in {1..10}; do
    head -c $((bytes * tenth / 10 - bytes * (tenth - 1) / 10)) <&"$from" >&"$feed"
    echo "$(memory $program VmRSS) $(memory $program VmHWM)"
  done >"$scratch/$name.memory"
  exec {from}<&- {feed}>&-
  wait $program
  awk -v bytes="$bytes" -v begin="$begin" -v end="$EPOCHREALTIME" \
    'BEGIN { printf "%.1f\n", bytes / 1e6 / (end - begin) }' >"$scratch/$name.rate"
}

# What both programs have to agree on: not the blank at the end of lines, which only tolvek writes,
# and not the lines that are marked.
agreed() {
  sed -e '/^#/d' -e 's/ $//' | sha256sum
}

tvk=("$build/tvk" segpos -q --encoding gbk --on-bad-bytes keep --no-fold -o "$scratch/out")

agreed <"$scratch/out" >"$scratch/tolvek.agreed" &
run tolvek "$build/tolvek" -t segpos -i /dev/stdin -o "$scratch/out"
wait

sha256sum <"$scratch/copy" >"$scratch/one.sum" &
tee "$scratch/copy" <"$scratch/out" | agreed >"$scratch/one.agreed" &
run one "${tvk[@]}" -j 1
wait

sha256sum <"$scratch/out" >"$scratch/two.sum" &
run two "${tvk[@]}" -j 2
wait
lines=$(wc -l <"$text")
echo "$((bytes / 1000000)) MB in GBK, $lines lines; resident memory in MB"
echo
echo "| Text done | \`tolvek -t segpos\` | \`tvk segpos -j 1\` | \`tvk segpos -j 2\` |"
echo "|---|---|---|---|"
paste -d ' ' "$scratch"/{tolvek,one,two}.memory | awk '
  function row(name, a, b, c) {
    printf "| %s | %.1f | %.1f | %.1f |\n", name, a * 1.024e-3, b * 1.024e-3, c * 1.024e-3
  }
  { row(NR * 10 " %", $1, $3, $5) }
  END { row("most at any time", $2, $4, $6) }'
paste -d '|' "$scratch"/{tolvek,one,two}.rate | sed 's/|/ | /g; s/.*/| MB a second | & |/'
echo

failed=0
# check CLAIM COMMAND...: the claim is true when the command succeeds.
check() {
  local claim=$1
  shift
  if "$@"; then
    echo "ok: $claim"
  else
    echo "FAILED: $claim"
    failed=1
  fi
}

# bounded NAME: what is resident grows by a tenth and 4 MB at most after the first tenth of the text,
# or the first 8 MB: until then the taggers have not yet met more words than they keep.
bounded() {
  awk -v tenth=$((bytes / 10)) '
    !most && NR * tenth >= 8e6 { most = 1.1 * $1 + 4e6 / 1024 }
    END { exit !(NR == 10 && most && $1 <= most) }' "$scratch/$1.memory"
}

check "memory of tolvek does not grow with the text" bounded tolvek
check "memory of tvk on one thread does not grow with the text" bounded one
check "memory of tvk on two threads does not grow with the text" bounded two
check "tvk writes the same on one thread and on two" cmp -s "$scratch/one.sum" "$scratch/two.sum"
check "tolvek and tvk agree" cmp -s "$scratch/tolvek.agreed" "$scratch/one.agreed"
exit $failed
