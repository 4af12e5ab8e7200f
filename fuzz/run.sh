#!/usr/bin/env bash
# Builds the fuzz targets and runs each for a while, several at a time. Ends with a table of what
# was done, and with status 1 when a target found something: the input is kept and named.
#
# fuzz/run.sh [--seconds N] [--jobs N] [--build FOLDER] [--keep] [TARGET...]
#
# --keep replaces fuzz/corpus/TARGET by a small choice of all inputs that reaches the same edges.
# Each target (all, if none is named) starts with its seeds and with what it found in runs before;
# the build folder keeps both: corpus/TARGET, findings/TARGET.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=1800
jobs=$(nproc)
build=build/fuzz
keeps=
while [[ ${1:-} == --* ]]; do
  case $1 in
    --seconds) seconds=$2 ;;
    --jobs) jobs=$2 ;;
    --build) build=$2 ;;
    --keep) keeps=1 && shift && continue ;;
    *) sed -n '2,/^set/{/^# \?/s///p}' "$0"; exit 2 ;;
  esac
  shift 2
done
targets=("$@")
if [ $# -eq 0 ]; then
  for folder in fuzz/seeds/*; do targets+=("${folder##*/}"); done
fi

cmake --preset fuzz -B "$build" >/dev/null
cmake --build "$build" -j "$(nproc)" --target "${targets[@]/#/fuzz_}"
build=$(realpath "$build")

# What aborts as documented leaves its memory behind, which is no finding.
export ASAN_OPTIONS=detect_leaks=0:allocator_may_return_null=0
export UBSAN_OPTIONS=print_stacktrace=1

fuzz() {
  local target=$1 corpus=$build/corpus/$1 log=$build/log/$1
  mkdir -p "$corpus" "$build/findings/$target" "$build/log"
  cp -n fuzz/seeds/"$target"/* "$corpus"
  if [ -d fuzz/corpus/"$target" ]; then cp -n fuzz/corpus/"$target"/* "$corpus"; fi
  "$build/fuzz/fuzz_$target" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=6000 \
    -malloc_limit_mb=1024 -print_final_stats=1 -artifact_prefix="$build/findings/$target/" \
    "$corpus" >"$log" 2>&1 || true
  row "$target"
  [ -z "$keeps" ] || keep "$target"
}

keep() {
  local target=$1 smallest=$build/smallest/$1
  rm -rf "$smallest"
  mkdir -p "$smallest"
  "$build/fuzz/fuzz_$target" -set_cover_merge=1 -use_counters=0 "$smallest" \
    "$build/corpus/$target" >"$build/log/$target.keep" 2>&1
  rm -rf "fuzz/corpus/$target"
  mkdir -p fuzz/corpus
  cp -r "$smallest" "fuzz/corpus/$target"
}

# A row of the table. `cov` and `ft` are libFuzzer's: edges of the code, and those by how often
# they were taken.
row() {
  local log=$build/log/$1 last cov features inputs
  last=$(grep -a -o 'DONE *cov: [0-9]* ft: [0-9]* corp: [0-9]*' "$log" | tail -n 1 || true)
  read -r _ _ cov _ features _ inputs <<<"${last:-- - - - - - -}"
  printf '| %s | %s | %s | %s | %s | %s | %s |\n' "$1" "$seconds" \
    "$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")" \
    "$cov" "$features" "$inputs" "$(find "$build/findings/$1" -type f | wc -l)"
}
export -f fuzz keep row
export build keeps seconds

echo "| target | seconds | executions | edges | features | inputs kept | findings |"
echo "| --- | ---: | ---: | ---: | ---: | ---: | ---: |"
printf '%s\n' "${targets[@]}" | xargs -P "$jobs" -I {} bash -c 'fuzz {}'

failed=0
for target in "${targets[@]}"; do
  if ! grep -a -q 'DONE *cov:' "$build/log/$target" ||
    [ -n "$(find "$build/findings/$target" -type f)" ]; then
    echo "fuzz_$target: see $build/log/$target and $build/findings/$target" >&2
    failed=1
  fi
done
exit $failed
