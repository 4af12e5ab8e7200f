#!/usr/bin/env bash
# What bash offers for a command line of tvk:
#
#   completion.sh COMPLETION TVK
set -euo pipefail
# shellcheck source=/dev/null
source "$1"
tvk=$2

# offers LAST-WORD... : the offers for a line that ends in these words, on one line.
offers() {
  COMP_WORDS=("$tvk" "$@")
  COMP_CWORD=$#
  COMPREPLY=()
  _tvk
  echo "${COMPREPLY[*]}"
}

failed=0
# check EXPECTED WORD... ; EXPECTED is a pattern.
check() {
  local expected=$1 found
  shift
  found=$(offers "$@")
  # shellcheck disable=SC2053
  if [[ $found != $expected ]]; then
    echo "tvk $*: expected $expected, found $found"
    failed=1
  fi
}

check "seg segpos" s
check "seg segpos pos tok tokpos *train*" ""
check "text tsv jsonl conllu" seg --format ""
check "text tsv jsonl conllu" seg --format =
check "tsv" seg --format = ts
check "keep" tok --on-bad-bytes k
check "--keep-spaces" segpos --k
check "--dev --dev-every --discount" train seg --d
check "chars seg pos *" train ""
check "seg pos segpos tok tokpos" eval ""
check "" seg "" # a file

# Every option of every command is offered.
commands=0
walk() {
  local help option name offered
  help=$("$tvk" "$@" --help)
  offered=$(offers "$@" --)
  for option in $(grep -oE '^  -[^ ]+' <<<"$help" | grep -oE -- '--[a-z0-9-]+'); do
    if [[ " $offered " != *" $option "* ]]; then
      echo "tvk $*: $option is not offered"
      failed=1
    fi
  done
  commands=$((commands + 1))
  for name in $(awk '/^Subcommands:/ { within = 1 } within && /^  [a-z]/ { print $1 }' <<<"$help"); do
    walk "$@" "$name"
  done
}
walk
if [ $commands -lt 15 ]; then
  echo "only $commands commands found"
  failed=1
fi
exit $failed
