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
# line for each tenth (resident memory and its peak so far, kB), NAME.rate (MB a second), and NAME.cpu
# (the same of CPU time, of all threads).
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
  awk -v bytes="$bytes" -v ticks="$(getconf CLK_TCK)" \
    '{ printf "%.1f\n", bytes / 1e6 / (($14 + $15) / ticks) }' "/proc/$program/stat" >"$scratch/$name.cpu"
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
paste -d '|' "$scratch"/{tolvek,one,two}.cpu | sed 's/|/ | /g; s/.*/| MB a second of CPU time | & |/'
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

# bounded NAME MB: at no time so much is resident, and the end of the text finds at most a fifth and 4 MB
# more than its first tenth did. The second only for a tenth of at least 32 MB: until then the taggers of
# two threads have not yet met more words than they keep.
bounded() {
  awk -v tenth=$((bytes / 10)) -v most="$2" '
    NR == 1 { first = $1 }
    { last = $1; peak = $2 }
    END {
      grows = tenth >= 32e6 && last > 1.2 * first + 4e6 / 1024
      exit NR != 10 || grows || peak * 1024 > most * 1e6
    }' "$scratch/$1.memory"
}

check "memory of tolvek does not grow with the text" bounded tolvek 160
check "memory of tvk on one thread does not grow with the text" bounded one 160
check "memory of tvk on two threads does not grow with the text" bounded two 260
check "tvk writes the same on one thread and on two" cmp -s "$scratch/one.sum" "$scratch/two.sum"
check "tolvek and tvk agree" cmp -s "$scratch/tolvek.agreed" "$scratch/one.agreed"
exit $failed
