#!/usr/bin/env bash
# The long tests, after the build of the presets test and asan: what ./test --long adds.
#
#   run.sh SECONDS    for each fuzz target
set -euo pipefail
cd "$(dirname "$0")/../.."

echo "== Damaged resources and killed runs, many times"
TOLVEK_SWEEP_ROUNDS=20 ctest --preset test -R CorruptionSweep
TOLVEK_SWEEP_ROUNDS=2 ctest --preset asan -R CorruptionSweep
TOLVEK_KILL_ROUNDS=60 build/test/tests/tvk/test_tvk --gtest_filter='*SurvivesAKill*'

echo "== ThreadSanitizer"
CMAKE_BUILD_PARALLEL_LEVEL=$(nproc) cmake --workflow --preset tsan

echo "== A gigabyte of text"
tests/long/soak.sh build/test

echo "== Fuzzing"
fuzz/run.sh --seconds "$1"
fuzz/coverage.sh build/fuzz
