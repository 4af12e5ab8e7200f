#!/usr/bin/env bash
# Builds the shipped models, byte for byte, from resources/ and the corpora named in
# data/MODEL_CARD.md:
#
#   resources/train.sh CORPORA [OUT]
#
# CORPORA is the folder that holds zh/gsd_train.tagged, zh/raw_wiki.txt, zh/raw_more.txt and, for
# the report, zh/gsd_dev.tagged; OUT is data/ unless given. Takes about a minute on two cores. The
# constants are explained, and their alternatives measured, in docs/models.md.
set -euo pipefail
corpora=$(realpath "${1:?usage: resources/train.sh CORPORA [OUT]}")
out=$(realpath "${2:-$(dirname "$0")/../data}")
cd "$(dirname "$0")/.."

tools/install-packages.sh ./test
cmake --preset release -DTOLVEK_BUILD_TVK=ON >/dev/null
cmake --build --preset release -j "$(nproc)" >/dev/null
tvk=build/release/tvk

$tvk train chars --lists resources/characters --out "$out/binarySource"
$tvk train seg \
  --corpus "$corpora/zh/gsd_train.tagged" \
  --raw "$corpora/zh/raw_wiki.txt" "$corpora/zh/raw_more.txt" \
  --lexicon resources/lexicon/{idioms,places,names,words}.txt \
  --dev "$corpora/zh/gsd_dev.tagged" \
  --chars "$out/binarySource" --out "$out" \
  --lexicon-weight 2 --l2 2 --prune 5e-6 --threshold 0.05
