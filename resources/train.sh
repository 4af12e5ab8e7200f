#!/usr/bin/env bash
# Builds the shipped models, byte for byte, from resources/ and the corpora named in
# data/MODEL_CARD.md:
#
#   resources/train.sh CORPORA [OUT]
#
# CORPORA is the folder that holds zh/{gsd_train.tagged,pud.tagged,raw_wiki.txt,raw_more.txt},
# en/{ewt_train.tagged,ewt_train.raw,raw_masc.txt} and, for the report, zh/gsd_dev.tagged and
# en/ewt_dev.{tagged,raw}; OUT is data/ unless given. Takes about 20 minutes of processor time. The
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
$tvk train pos \
  --corpus "$corpora/zh/gsd_train.tagged" "$corpora/zh/pud.tagged" \
  --raw "$corpora/zh/raw_wiki.txt" "$corpora/zh/raw_more.txt" \
  --dev "$corpora/zh/gsd_dev.tagged" \
  --data "$out" --out "$out"

$tvk train abbtitle --out "$out/abbtitle"
$tvk train engpos \
  --corpus "$corpora/en/ewt_train.tagged" --text "$corpora/en/ewt_train.raw" \
  --raw "$corpora/en/raw_masc.txt" \
  --dev "$corpora/en/ewt_dev.tagged" --dev-text "$corpora/en/ewt_dev.raw" \
  --lists "$out/abbtitle" --out "$out"
