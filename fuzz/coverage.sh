#!/usr/bin/env bash
# Tells how many lines of each folder the inputs of the fuzz targets reach: those of the repository
# and, if it is given, of a fuzzing build (fuzz/run.sh keeps them there).
#
# fuzz/coverage.sh [FOLDER OF THE FUZZING BUILD]
set -euo pipefail
found=$(realpath -m "${1:-build/fuzz}")
cd "$(dirname "$0")/.."

build=build/coverage
targets=()
for folder in fuzz/seeds/*; do targets+=("fuzz_${folder##*/}"); done
cmake --preset coverage >/dev/null
cmake --build $build -j "$(nproc)" --target "${targets[@]}" >/dev/null

rm -f $build/*.profraw
objects=()
for target in "${targets[@]}"; do
  inputs=(fuzz/*/"${target#fuzz_}")
  [ ! -d "$found/corpus/${target#fuzz_}" ] || inputs+=("$found/corpus/${target#fuzz_}")
  LLVM_PROFILE_FILE=$PWD/$build/$target.profraw \
    $build/fuzz/"$target" "${inputs[@]/#fuzz/$PWD/fuzz}" >/dev/null 2>&1
  objects+=(-object "$build/fuzz/$target")
done
llvm-profdata merge -o $build/profile $build/*.profraw

# Lines and missed lines are the eighth and ninth column of the report. The first program is named
# without an option. A function that some of the programs do not use is "mismatched data" for them.
llvm-cov report -instr-profile=$build/profile "${objects[@]:1}" src tvk/analyze tvk/check tvk/convert \
  tvk/text 2> >(grep -v 'mismatched data' >&2) | awk '
  $1 ~ /\.(h|cpp)$/ {
    folder = $1; sub("/[^/]*$", "", folder)
    lines[folder] += $8; missed[folder] += $9
  }
  END {
    print "| folder | lines | reached |"
    print "| --- | ---: | ---: |"
    for (folder in lines) {
      reached = lines[folder] - missed[folder]
      printf "| %s | %d | %.1f %% |\n", folder, lines[folder], 100 * reached / lines[folder] | "sort"
    }
  }'
